// The argument reader. Every handler fnc_<KEYWORD> reads its arguments through one.
//
// The first invalid argument decides the outcome: the reader stores MISSING as the result, marks
// the argument and sets the status. After that, every read function does nothing and returns some
// value of its documented range. A handler can therefore read all arguments and then check once:
// `if (!in.ok()) return in.status();`. If several arguments are invalid, the one that is read first
// is marked, so the order of the lines of a handler matters. Slot 0 is the keyword. Dates are
// returned as day numbers.
#pragma once

#include <cmath>
#include <cstdint>

#include "abi/kernel_records.h"
#include "calendar/basis.h"
#include "calendar/calendar.h"
#include "call/characters.h"

namespace vxfnc {

class Reader {
 public:
  // count is the number of arguments, including the keyword; row is the row of the keyword in
  // FinancialList. No handler uses the row.
  Reader(CallEnvironment* environment, FinanceCall* call, double* result, std::int64_t count,
         std::int64_t row, Width width) noexcept
      : environment_(environment),
        slots_(call->slots()),
        result_(result),
        count_(count),
        row_(row),
        width_(width) {}

  [[nodiscard]] bool ok() const noexcept { return status_ == STATUS_SUCCESS; }
  [[nodiscard]] Status status() const noexcept { return status_; }
  [[nodiscard]] std::int64_t count() const noexcept { return count_; }
  [[nodiscard]] std::int64_t row() const noexcept { return row_; }

  // True if the call has the argument, whatever its value.
  [[nodiscard]] bool given(std::int64_t slot) const noexcept { return slot < count_; }
  // True if the call has the argument and its value is a number that is not missing.
  [[nodiscard]] bool has_number(std::int64_t slot) const noexcept {
    return given(slot) && number_at(slot) != nullptr && !std::isnan(*number_at(slot));
  }

  // True if the call has the argument and its value is missing. A null pointer is not a missing
  // value.
  [[nodiscard]] bool is_missing(std::int64_t slot) const noexcept {
    return given(slot) && number_at(slot) != nullptr && std::isnan(*number_at(slot));
  }

  // Rejects the argument unless the condition holds.
  bool require(bool holds, std::int64_t slot) noexcept {
    if (ok() && !holds) reject(STATUS_BAD_ARG, slot);
    return ok();
  }

  // Reads a number. Rejects a null pointer and a missing value. Returns 1.0 if an argument was
  // rejected.
  double number(std::int64_t slot) noexcept {
    if (!ok()) return 1.0;
    const double* const value = number_at(slot);
    if (value == nullptr) {
      reject(STATUS_BAD_ARG, slot);
    } else if (std::isnan(*value)) {
      reject(STATUS_MISSING_ARG, slot);
    } else {
      return *value;
    }
    return 1.0;
  }
  double positive(std::int64_t slot) noexcept {
    const double value = number(slot);
    return require(value > 0.0, slot) ? value : 1.0;
  }
  double number_or(std::int64_t slot, double fallback) noexcept {
    return given(slot) ? number(slot) : fallback;
  }
  double positive_or(std::int64_t slot, double fallback) noexcept {
    return given(slot) ? positive(slot) : fallback;
  }
  // Reads an optional number and rejects nothing: returns the fallback if the argument is omitted,
  // a null pointer or missing.
  double number_if_any(std::int64_t slot, double fallback) const noexcept {
    return has_number(slot) ? *number_at(slot) : fallback;
  }

  // Reads a whole number, which is truncated toward zero. The tolerance is relative and works in
  // one direction only, on purpose: 5.0000000000001 is 5, but 4.9999999999999 is rejected.
  std::int64_t whole(std::int64_t slot) noexcept {
    const double value = number(slot);
    if (!require(value >= kLeastWhole && value <= kMostWhole, slot)) return 1;
    const auto truncated = static_cast<std::int64_t>(value);
    const double difference = std::fabs(value - static_cast<double>(truncated));
    return require(difference <= kWholeTolerance * std::fabs(value), slot) ? truncated : 1;
  }
  // Reads a whole number and keeps its low 32 bits, which must be at least `least`.
  std::int32_t integer(std::int64_t slot, std::int32_t least) noexcept {
    const auto value = static_cast<std::int32_t>(whole(slot));
    return require(value >= least, slot) ? value : least;
  }
  std::int32_t integer_or(std::int64_t slot, std::int32_t least, std::int32_t fallback) noexcept {
    return given(slot) ? integer(slot, least) : fallback;
  }
  // Reads a choice such as a payment type: a whole number of 32 bits, without tolerance. Returns
  // the fallback if the argument is omitted, a null pointer or missing.
  std::int32_t choice_if_any(std::int64_t slot, std::int32_t fallback) noexcept {
    if (!has_number(slot)) return fallback;
    const double value = *number_at(slot);
    if (!require(fits_32_bits(value) && value == std::trunc(value), slot)) return fallback;
    return static_cast<std::int32_t>(value);
  }

  // Reads a date and returns its day number.
  std::int64_t date(std::int64_t slot) noexcept { return whole(slot) + kDayNumberOfDateZero; }

  // Reads the optional day-count basis, a number or a text. If the basis is omitted, it is 30/360.
  // If it is a missing value or a null pointer, it is ACTUAL. The difference is intended.
  BasisCode basis(std::int64_t slot) noexcept;

  // A handler whose arguments are valid ends with one of these two functions. `store` stores the
  // result. `fail` reports that there is no result: it stores MISSING and marks no argument.
  Status store(double value) noexcept {
    if (result_ != nullptr) *result_ = value;
    return STATUS_SUCCESS;
  }
  Status fail(Status status = STATUS_BAD_ARG) noexcept;

 private:
  static constexpr double kLeastWhole = -0x1p63;  // smaller numbers do not fit into 64 bits
  static constexpr double kMostWhole = 0x1p53;
  static constexpr double kWholeTolerance = 1e-12;

  static bool fits_32_bits(double value) noexcept { return value > -0x1p31 - 1 && value < 0x1p31; }

  const double* number_at(std::int64_t slot) const noexcept {
    return static_cast<const double*>(slots_[slot].value);
  }

  [[gnu::cold]] void reject(Status status, std::int64_t slot) noexcept;
  template <class Characters>
  BasisCode basis_keyword(std::int64_t slot) noexcept;

  CallEnvironment* environment_;
  ArgumentSlot* slots_;
  double* result_;
  std::int64_t count_;
  std::int64_t row_;
  Width width_;
  Status status_ = STATUS_SUCCESS;
};

// A handler reads the arguments, calls the calculation and stores the result.
using Handler = Status (*)(Reader& in) noexcept;

}  // namespace vxfnc
