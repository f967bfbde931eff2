// Lines of cells separated by tabs, as engines and pipes exchange them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

enum class Escape : std::uint8_t {
  kBackslash,  // \t \n \r \\ and other escapes stand for characters
  kNone,       // cells stand as they are
};

// Puts the cells of a line into `cells`. \N, which stands for the missing value, stays as it is.
void split_line(std::string_view line, Escape escape, std::vector<std::string>& cells);

inline constexpr std::string_view kMissingCell = "\\N";

}  // namespace cli
