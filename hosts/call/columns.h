// A checked call that is evaluated for many rows, with one column per argument.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "hosts/call/checked_call.h"

namespace host {

// The values of one argument.
struct ColumnArgument {
  vxk_column column{};          // for a basis, the codes of the basis; its values must not be null
  bool is_date = false;         // the values are known to be dates
  bool is_in_calendar = false;  // the values are known to be days of the calendar, or missing
};

// What became of the rows.
struct ColumnReport {
  bool is_cancelled = false;  // the flag was set before the end; there are no results
  std::int64_t failed = 0;
  std::int64_t missing = 0;  // rows without a result, because a value is missing
};

// Evaluates a call for each row. A result is NaN when a value of the row is missing, and when the
// row fails. `failures` has one bit per row, which becomes 1 when the row fails; bits are numbered
// from the lowest bit of each byte. Throws std::bad_alloc.
ColumnReport evaluate_columns(CheckedCall& call, std::span<const ColumnArgument> arguments,
                              std::int64_t rows, double* results, std::uint8_t* failures,
                              int threads = 1, const volatile std::int32_t* cancel = nullptr);

inline bool has_failed(const std::uint8_t* failures, std::int64_t row) noexcept {
  return (failures[row / 8] >> (row % 8) & 1) != 0;
}
inline void set_failed(std::uint8_t* failures, std::int64_t row) noexcept {
  failures[row / 8] = static_cast<std::uint8_t>(failures[row / 8] | 1U << (row % 8));
}

// The number in a row of a column; NaN for a missing value.
double number_at(const vxk_column& column, std::int64_t row) noexcept;

// The values of a row, for CheckedCall::set and an error message.
std::vector<Value> values_at(const CheckedCall& call, std::span<const ColumnArgument> arguments,
                             std::int64_t row);

}  // namespace host
