// Days of accrual within coupon periods. Dates must have been filled by zgetMonthDayYear.
#pragma once

#include "calendar/day_count.h"

namespace vxfnc {

// Returns the days of accrual from start to end. Stores dayCount, cappedDayCount and basisYearDays.
double CountTheCouponDays(const CalendarDate& start, const CalendarDate& end,
                          DayCountTerms& terms) noexcept;

// Returns the days of a coupon period, by which fractions are measured: the actual days for basis
// 1, the fixed number periodDays for all others.
inline double period_length(const CalendarDate& start, const CalendarDate& end,
                            DayCountTerms& terms) noexcept {
  return terms.basis == kBasisActual ? CountTheCouponDays(start, end, terms) : terms.periodDays;
}

}  // namespace vxfnc
