// What the handlers of securities read in the same way.
#pragma once

#include <initializer_list>

#include "call/reader.h"
#include "coupons/schedule.h"
#include "securities/security.h"

namespace vxfnc::securities {

// The dates that open every call, in argument order from slot 1.
inline void read_dates(Reader& in, std::initializer_list<CalendarDate*> dates) noexcept {
  std::int64_t slot = 0;
  for (CalendarDate* const date : dates) date->dayNumber = in.date(++slot);
}

// Refuses the argument when the span ends before it begins. True when it has no days: most
// keywords then answer 0 and read nothing else.
inline bool is_empty_span(Reader& in, const CalendarDate* begin, const CalendarDate* end,
                          std::int64_t slot) noexcept {
  in.require(begin->dayNumber <= end->dayNumber, slot);
  return in.ok() && begin->dayNumber == end->dayNumber;
}

// Frequency and basis, the last two arguments of every keyword with coupons.
inline void read_schedule(Reader& in, std::int64_t slot, Security& security) noexcept {
  const std::int32_t frequency = in.integer(slot, 1);
  measure_in_coupons(security.terms, frequency, in.basis(slot + 1));
}

// The basis, the last argument of a keyword that measures time in years.
inline void read_year_basis(Reader& in, std::int64_t slot, Security& security) noexcept {
  measure_in_years(security.terms, in.basis(slot));
}

// The way out of a handler once all is read: the field that the routine fills.
inline Status answer(Reader& in, Security& security,
                     CalcStatus (*calculate)(SecurityCalc&) noexcept,
                     double SecurityCalc::*field) noexcept {
  if (!in.ok()) return in.status();
  return calculate(security) == kDone ? in.store(security.*field) : in.fail();
}

}  // namespace vxfnc::securities
