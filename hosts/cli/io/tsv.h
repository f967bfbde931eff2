// Lines of cells separated by tabs, the exchange format of engines and pipes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

enum class Escape : std::uint8_t {
  kBackslash,  // \t, \n, \r, \\ and other escape sequences
  kNone,       // no escape sequences
};

// Splits a line into cells. \N, the missing value, is kept as it is.
void split_line(std::string_view line, Escape escape, std::vector<std::string>& cells);

inline constexpr std::string_view kMissingCell = "\\N";

}  // namespace cli
