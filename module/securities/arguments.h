// Functions that several handlers of securities use to read arguments.
#pragma once

#include <initializer_list>

#include "call/reader.h"
#include "coupons/schedule.h"
#include "securities/security.h"

namespace vxfnc::securities {

// Reads the dates, which are the first arguments of every call.
inline void read_dates(Reader& in, std::initializer_list<CalendarDate*> dates) noexcept {
  std::int64_t slot = 0;
  for (CalendarDate* const date : dates) date->dayNumber = in.date(++slot);
}

// Rejects the argument if the span ends before it begins. Returns true if the span has no days;
// most keywords then return 0 and read no other argument.
inline bool is_empty_span(Reader& in, const CalendarDate* begin, const CalendarDate* end,
                          std::int64_t slot) noexcept {
  in.require(begin->dayNumber <= end->dayNumber, slot);
  return in.ok() && begin->dayNumber == end->dayNumber;
}

// Reads frequency and basis, the last two arguments of every keyword with coupons.
inline void read_schedule(Reader& in, std::int64_t slot, Security& security) noexcept {
  const std::int32_t frequency = in.integer(slot, 1);
  measure_in_coupons(security.terms, frequency, in.basis(slot + 1));
}

// Reads the basis, the last argument of keywords that measure time in years.
inline void read_year_basis(Reader& in, std::int64_t slot, Security& security) noexcept {
  measure_in_years(security.terms, in.basis(slot));
}

// Ends a handler: if all arguments are valid, calculates and stores the field that holds the
// result.
inline Status calculate_and_store(Reader& in, Security& security,
                                  CalcStatus (*calculate)(SecurityCalc&) noexcept,
                                  double SecurityCalc::*field) noexcept {
  if (!in.ok()) return in.status();
  return calculate(security) == kDone ? in.store(security.*field) : in.fail();
}

}  // namespace vxfnc::securities
