// The rows that counters make of one record.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hosts/cli/table/work.h"

namespace cli {

// Every combination of the values of the counters is a row. The last counter changes first. The
// bounds of a counter can use the counters before it.
class Expansion {
 public:
  explicit Expansion(Work& work) : work_(work), levels_(work.plan.counters.size()) {}

  // Starts with the values of the record in the evaluator. Returns an error message, or "".
  std::string start();
  [[nodiscard]] bool is_at_row() const noexcept { return is_at_row_; }
  [[nodiscard]] Value value(std::size_t counter) const noexcept { return levels_[counter].value(); }

  // Goes to the next row. Returns an error message, or "".
  std::string next();

 private:
  static constexpr std::uint64_t kMostRows = 1'000'000;
  static constexpr std::uint64_t kMostValues = 10 * kMostRows;  // also of counters without a row

  struct Level {
    double first = 0.0;  // scaled, as the step is
    double step = 1.0;
    double scale = 1.0;
    double count = 0.0;
    double index = 0.0;
    Value::Kind kind = Value::Kind::kCount;
    [[nodiscard]] Value value() const noexcept {
      return {.number = (first + index * step) / scale, .kind = kind};
    }
  };

  // The power of ten that makes whole numbers of decimals, so that the values of 0.1..0.3 step 0.1
  // are the doubles nearest to 0.1, 0.2 and 0.3. 1 when there is none.
  static double scale_of(double first, double last, double step);

  // Starts the counters from a level on. False when they have no values.
  bool enter(std::size_t level);

  // Goes to the next values of the counters before a level, and starts those from the level on.
  bool advance(std::size_t level);

  // Sets the value of a counter. False when the counters have taken too many values.
  bool publish(std::size_t level);

  // Evaluates the bounds and the step of a counter. False when they are invalid.
  bool set_bounds(std::size_t level);

  // The value of a bound, which must be a number or a date.
  Value bound(const Counter& counter, const Node& node);

  Work& work_;
  std::vector<Level> levels_;
  std::uint64_t rows_ = 0;
  std::uint64_t values_ = 0;
  bool is_at_row_ = false;
  std::string error_;
};

}  // namespace cli
