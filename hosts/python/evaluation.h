// The evaluation of a keyword for all rows of arrays, in threads that a signal can stop.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "hosts/call/columns.h"

namespace finance_python {

// The values of one argument: numbers, or times.
struct Column {
  vxk_column numbers{};
  // Not 0: the values are 64-bit times since 1970 in units of this many per day, as NumPy's
  // datetime64 stores them. numbers.values and numbers.stride are their place.
  std::int64_t units_per_day = 0;

  [[nodiscard]] bool is_time() const noexcept { return units_per_day != 0; }
};

// The days from 1960 of 64-bit times, `stride` bytes apart; NaN for NaT. Returns whether all
// results are days of the calendar or NaN.
bool convert_to_days(const std::int64_t* times, std::int64_t stride, std::int64_t units_per_day,
                     std::span<double> days) noexcept;

// Calls the function in `threads` threads at once and returns when all calls have returned. The
// caller must not hold the lock of the interpreter. When Python has a signal to handle, such as the
// one of Ctrl-C, and its handler raises an error, the flag is set, at which the function must
// return soon. Returns false then. Exceptions of the function are thrown again.
bool run_in_threads(int threads, const std::function<void(const volatile std::int32_t*)>& function);

// Evaluates a call for each row, as host::evaluate_columns does. The caller must not hold the lock
// of the interpreter. is_cancelled is set if Python has an error to raise.
host::ColumnReport evaluate(const catalog::Keyword& keyword, std::span<const Column> columns,
                            std::int64_t rows, double* results, std::uint8_t* failures,
                            int threads);

// A row that failed, in words.
class Explainer {
 public:
  Explainer(const catalog::Keyword& keyword, std::span<const Column> columns);

  [[nodiscard]] host::CheckedCall::Reason reason(std::int64_t row);

 private:
  host::CheckedCall call_;
  std::span<const Column> columns_;
};

}  // namespace finance_python
