// The argument reader: every handler fnc_<KEYWORD> takes one and reads top to bottom.
//
// The first refusal wins: it stores MISSING, marks the argument and fixes the status. Every later
// reading is then a no-op that answers a value inside the range it promises, so that a handler may
// go on to its one check, `if (!in.ok()) return in.status();`. The order of lines is therefore the
// order of refusals. Slots count the keyword as 0; dates are answered as day numbers.
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
  // count is the argument count, keyword included; row is the keyword's row in FinancialList. No
  // handler depends on the row.
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

  // True when the argument is part of the call, whatever it holds.
  [[nodiscard]] bool given(std::int64_t slot) const noexcept { return slot < count_; }
  // True when the argument is part of the call and holds a number that is not missing.
  [[nodiscard]] bool has_number(std::int64_t slot) const noexcept {
    return given(slot) && number_at(slot) != nullptr && !std::isnan(*number_at(slot));
  }

  // True when the argument is part of the call and missing, which a null pointer is not.
  [[nodiscard]] bool is_missing(std::int64_t slot) const noexcept {
    return given(slot) && number_at(slot) != nullptr && std::isnan(*number_at(slot));
  }

  // Refuses the argument unless the condition holds.
  bool require(bool holds, std::int64_t slot) noexcept {
    if (ok() && !holds) refuse(STATUS_BAD_ARG, slot);
    return ok();
  }

  // A number: neither absent nor missing. 1.0 after a refusal.
  double number(std::int64_t slot) noexcept {
    if (!ok()) return 1.0;
    const double* const value = number_at(slot);
    if (value == nullptr) {
      refuse(STATUS_BAD_ARG, slot);
    } else if (std::isnan(*value)) {
      refuse(STATUS_MISSING_ARG, slot);
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
  // Forgiving reading of an optional number: the fallback also stands in for an absent or missing
  // one, and nothing is refused.
  double number_if_any(std::int64_t slot, double fallback) const noexcept {
    return has_number(slot) ? *number_at(slot) : fallback;
  }

  // A whole number, truncated toward zero. The tolerance is relative and the truncation lopsided
  // on purpose: 5.0000000000001 is 5, 4.9999999999999 is refused.
  std::int64_t whole(std::int64_t slot) noexcept {
    const double value = number(slot);
    if (!require(value >= kLeastWhole && value <= kMostWhole, slot)) return 1;
    const auto truncated = static_cast<std::int64_t>(value);
    const double difference = std::fabs(value - static_cast<double>(truncated));
    return require(difference <= kWholeTolerance * std::fabs(value), slot) ? truncated : 1;
  }
  // A whole number that is kept in 32 bits: its low 32 bits, at least `least`.
  std::int32_t integer(std::int64_t slot, std::int32_t least) noexcept {
    const auto value = static_cast<std::int32_t>(whole(slot));
    return require(value >= least, slot) ? value : least;
  }
  std::int32_t integer_or(std::int64_t slot, std::int32_t least, std::int32_t fallback) noexcept {
    return given(slot) ? integer(slot, least) : fallback;
  }
  // A choice such as a payment type: a 32-bit whole number without any tolerance. The fallback
  // also stands in for an absent or missing one.
  std::int32_t choice_if_any(std::int64_t slot, std::int32_t fallback) noexcept {
    if (!has_number(slot)) return fallback;
    const double value = *number_at(slot);
    if (!require(fits_32_bits(value) && value == std::trunc(value), slot)) return fallback;
    return static_cast<std::int32_t>(value);
  }

  // A date, as its day number.
  std::int64_t date(std::int64_t slot) noexcept { return whole(slot) + kDayNumberOfDateZero; }

  // The optional day-count basis, by number or by keyword. An omitted basis is 30/360; one that is
  // given but missing is ACTUAL: the difference is intended.
  BasisCode basis(std::int64_t slot) noexcept;

  // The two ways out of a handler that has read its arguments: a value, or a calculation that
  // cannot be carried out (MISSING is stored and no argument is marked).
  Status store(double value) noexcept {
    if (result_ != nullptr) *result_ = value;
    return STATUS_SUCCESS;
  }
  Status fail(Status status = STATUS_BAD_ARG) noexcept;

 private:
  static constexpr double kLeastWhole = -0x1p63;  // below, nothing truncates to 64 bits
  static constexpr double kMostWhole = 0x1p53;
  static constexpr double kWholeTolerance = 1e-12;

  static bool fits_32_bits(double value) noexcept { return value > -0x1p31 - 1 && value < 0x1p31; }

  const double* number_at(std::int64_t slot) const noexcept {
    return static_cast<const double*>(slots_[slot].value);
  }

  [[gnu::cold]] void refuse(Status status, std::int64_t slot) noexcept;
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

// A handler reads its arguments, has its value calculated and stores it.
using Handler = Status (*)(Reader& in) noexcept;

}  // namespace vxfnc
