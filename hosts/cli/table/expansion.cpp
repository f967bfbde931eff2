#include "hosts/cli/table/expansion.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace cli {

std::string Expansion::start() {
  rows_ = values_ = 0;
  error_.clear();
  is_at_row_ = enter(0);
  return error_;
}

std::string Expansion::next() {
  is_at_row_ = advance(levels_.size());
  if (is_at_row_ && ++rows_ == kMostRows) {
    error_ = fmt::format("the row becomes more than {} rows", kMostRows);
    is_at_row_ = false;
  }
  return error_;
}

double Expansion::scale_of(double first, double last, double step) {
  constexpr double kMostScale = 1e12;
  constexpr double kLargestExact = 0x1p53;
  const double largest = std::max({std::fabs(first), std::fabs(last), std::fabs(step)});
  for (double scale = 1.0; scale <= kMostScale && largest * scale < kLargestExact; scale *= 10) {
    const auto is_whole = [scale](double x) { return std::round(x * scale) / scale == x; };
    if (is_whole(first) && is_whole(step)) return scale;
  }
  return 1.0;
}

bool Expansion::enter(std::size_t level) {
  if (level == levels_.size()) return true;
  if (!set_bounds(level)) return false;
  for (; levels_[level].index < levels_[level].count; ++levels_[level].index) {
    if (!publish(level)) return false;
    if (enter(level + 1)) return true;
    if (!error_.empty()) return false;
  }
  return false;
}

bool Expansion::advance(std::size_t level) {
  while (level-- > 0) {
    for (++levels_[level].index; levels_[level].index < levels_[level].count;
         ++levels_[level].index) {
      if (!publish(level)) return false;
      if (enter(level + 1)) return true;
      if (!error_.empty()) return false;
    }
  }
  return false;
}

bool Expansion::publish(std::size_t level) {
  work_.evaluator.values[work_.plan.width() + level] = levels_[level].value();
  if (++values_ <= kMostValues) return true;
  error_ = fmt::format("the counters take more than {} values", kMostValues);
  return false;
}

bool Expansion::set_bounds(std::size_t level) {
  const Counter& counter = work_.plan.counters[level];
  const Value from = bound(counter, *counter.first);
  const double first = from.number;
  const double last = bound(counter, *counter.last).number;
  const double step = counter.step == nullptr ? 1.0 : bound(counter, *counter.step).number;
  if (!error_.empty()) return false;
  if (step == 0.0) {
    error_ = fmt::format("{}: the step is 0", counter.name);
    return false;
  }
  // 0.1..0.3 step 0.1 has three values, although the quotient is just below 2.
  constexpr double kTolerance = 1e-9;
  const double steps = std::floor((last - first) / step + kTolerance);
  const double scale = scale_of(first, last, step);
  const bool is_whole = scale == 1.0 && first == std::trunc(first) && step == std::trunc(step);
  levels_[level] = {.first = scale == 1.0 ? first : std::round(first * scale),
                    .step = scale == 1.0 ? step : std::round(step * scale),
                    .scale = scale,
                    .count = steps + 1.0,
                    .kind = from.is_date() ? Value::Kind::kDate
                            : is_whole     ? Value::Kind::kCount
                                           : Value::Kind::kNumber};
  return true;
}

Value Expansion::bound(const Counter& counter, const Node& node) {
  if (!error_.empty()) return {};
  work_.evaluator.begin(true);
  const Value value = node.evaluate(work_.evaluator);
  if (work_.evaluator.failed) {
    error_ = fmt::format("{}: {}", counter.name, work_.evaluator.error.message);
  } else if (value.is_text() || !std::isfinite(value.number)) {
    error_ = value.is_missing() ? fmt::format("{}: {} is missing", counter.name, node.source)
                                : fmt::format("{}: {} is {}: must be a number", counter.name,
                                              node.source, format_for_message(value));
  }
  return value;
}

}  // namespace cli
