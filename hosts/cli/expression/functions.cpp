#include "hosts/cli/expression/functions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace cli {
namespace {

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kAny = SIZE_MAX;

constexpr std::array kFunctions = {
    FunctionInfo{"round", Function::kRound, "round(value [, digits])", 1, 2, false},
    FunctionInfo{"abs", Function::kAbs, "abs(value)", 1, 1, false},
    FunctionInfo{"min", Function::kMin, "min(value ...)", 1, kAny, true},
    FunctionInfo{"max", Function::kMax, "max(value ...)", 1, kAny, true},
    FunctionInfo{"sum", Function::kSum, "sum(value ...)", 1, kAny, true},
    FunctionInfo{"mean", Function::kMean, "mean(value ...)", 1, kAny, true},
    FunctionInfo{"wmean", Function::kWeightedMean, "wmean(values[], weights[])", 2, 2, true},
    FunctionInfo{"count", Function::kCount, "count(value ...)", 1, kAny, true},
    FunctionInfo{"if", Function::kIf, "if(condition, value, otherwise)", 3, 3, false},
    FunctionInfo{"ifmissing", Function::kIfMissing, "ifmissing(value, otherwise)", 2, 2, false},
};

// Rounds half away from zero, as people do.
double rounded(double value, double digits) noexcept {
  constexpr double kMostDigits = 15.0;
  constexpr double kNoFraction = 0x1p52;  // doubles from here on are whole numbers
  constexpr double kFineFraction = 0x1p42;
  if (std::isnan(digits)) return kMissing;
  digits = std::trunc(std::clamp(digits, -kMostDigits, kMostDigits));
  const double power = std::pow(10.0, std::fabs(digits));  // exact
  double scaled = digits < 0.0 ? value / power : value * power;
  if (!(std::fabs(scaled) < kNoFraction)) return value;
  // What is half of a digit in decimals is often just below it in binary.
  if (std::fabs(scaled) < kFineFraction) scaled = std::nextafter(scaled, scaled * 2.0);
  return digits < 0.0 ? std::round(scaled) * power : std::round(scaled) / power;
}

double weighted_mean(std::span<const double> values, std::span<const double> weights) noexcept {
  double total = 0.0;
  double weight = 0.0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (std::isnan(values[i]) || std::isnan(weights[i])) continue;
    total += values[i] * weights[i];
    weight += weights[i];
  }
  return weight == 0.0 ? kMissing : total / weight;
}

}  // namespace

const FunctionInfo* find_function(std::string_view name) noexcept {
  const auto is_same = [name](const FunctionInfo& info) {
    return std::ranges::equal(name, info.name, {}, [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    });
  };
  const auto* const found = std::ranges::find_if(kFunctions, is_same);
  return found == kFunctions.end() ? nullptr : found;
}

std::span<const FunctionInfo> functions() noexcept { return kFunctions; }

double evaluate_function(Function function, std::span<const double> values) noexcept {
  double result = kMissing;
  double count = 0.0;
  switch (function) {
    case Function::kRound:
      return rounded(values[0], values.size() > 1 ? values[1] : 0.0);
    case Function::kAbs:
      return std::fabs(values[0]);
    case Function::kMin:
      for (const double value : values) result = std::fmin(result, value);
      return result;
    case Function::kMax:
      for (const double value : values) result = std::fmax(result, value);
      return result;
    case Function::kWeightedMean:
      return weighted_mean(values.first(values.size() / 2), values.subspan(values.size() / 2));
    default:
      break;
  }
  double sum = 0.0;
  for (const double value : values) {
    if (std::isnan(value)) continue;
    sum += value;
    ++count;
  }
  if (function == Function::kCount) return count;
  if (function == Function::kSum) return sum;
  return count == 0.0 ? kMissing : sum / count;
}

}  // namespace cli
