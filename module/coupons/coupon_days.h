// Days of accrual within coupon periods. Dates must be filled by zgetMonthDayYear.
#pragma once

#include "calendar/day_count.h"

namespace vxfnc {

// Days of accrual from start to end; stores dayCount, cappedDayCount and basisYearDays.
double CountTheCouponDays(const CalendarDate& start, const CalendarDate& end,
                          DayCountTerms& terms) noexcept;

// Days of a period as the measure of fractions: counted for basis 1, fixed for all others.
inline double period_length(const CalendarDate& start, const CalendarDate& end,
                            DayCountTerms& terms) noexcept {
  return terms.basis == kBasisActual ? CountTheCouponDays(start, end, terms) : terms.periodDays;
}

}  // namespace vxfnc
