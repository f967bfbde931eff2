// The functions of expressions that are not keywords: round, abs, min, max, sum, mean, wmean,
// count, if and ifmissing.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace cli {

enum class Function : std::uint8_t {
  kRound,
  kAbs,
  kMin,
  kMax,
  kSum,
  kMean,
  kWeightedMean,
  kCount,
  kIf,
  kIfMissing,
};

struct FunctionInfo {
  std::string_view name;
  Function function;
  std::string_view signature;  // "round(value [, digits])"
  std::size_t min_operands;
  std::size_t max_operands;
  bool takes_lists;
};

// The function of this name, whatever its case; null when there is none.
const FunctionInfo* find_function(std::string_view name) noexcept;

// All functions.
std::span<const FunctionInfo> functions() noexcept;

// The result of a function on numbers; NaN is a missing value. min, max, sum, mean, wmean and count
// skip missing values, and wmean also skips a value whose weight is missing. The values of wmean
// come first, then as many weights. Not for if and ifmissing, which choose one of their operands.
double evaluate_function(Function function, std::span<const double> values) noexcept;

}  // namespace cli
