// Day counts and year lengths under the five bases. Nothing here validates or fails: an unknown
// basis or method answers an absurd number, so that a caller who forgets to check gets no plausible
// one. Dates must be filled by zgetMonthDayYear.
#pragma once

#include <cstdint>

#include "calendar/basis.h"
#include "calendar/calendar.h"

namespace vxfnc {

enum StepUnit : std::int32_t { kMonths = 2, kYears = 4 };

// Carries the basis and its companions through the calendar and the coupon engine.
struct DayCountTerms {
  std::int32_t countEnd31;        // basis 0: a day more when the later date is a 31st
  std::int32_t atLeastOnePeriod;  // coupon proportions are raised to 1.0
  std::int32_t frequency;         // coupons per year
  std::int32_t stepUnit;          // a StepUnit
  std::int64_t monthsPerPeriod;
  double periodDays;          // days in a coupon period; a day count leaves its year length here
  std::int32_t basis;         // a BasisCode
  std::int32_t plainUs30360;  // basis 0 in CountTheCouponDays: the plain US method
  double dayCount;            // of the last measurement
  // Of CountTheCouponDays, for readers of the record; no calculation of this module reads them.
  double cappedDayCount;  // the count, limited to periodDays except under basis 1
  double basisYearDays;   // 360, 365, or 1.0 for basis 1
  // These three concern ComputeTheAnnualRatio alone.
  std::uint8_t useStartYearLength;  // basis 1: the year length is that of the first date's year
  std::uint8_t keepEnd31;           // countEnd31 is ignored
  std::uint8_t leapYearsWhole;      // basis 1: every leap year counts 366 days, at the ends too
};

// Makes zero-filled terms those of a time measured in years.
constexpr void measure_in_years(DayCountTerms& terms, BasisCode basis) noexcept {
  terms.countEnd31 = 1;
  terms.frequency = 1;
  terms.stepUnit = kYears;
  terms.monthsPerPeriod = 12;
  terms.basis = basis;
}

enum Days360Method : int { kUsMethod = 0, kEuropeanMethod = 4 };

// 30/360 days from start to end. The US method moves a start on the 31st to the first of the next
// month when the end is before the 30th, and gives February's last day as an end the number 30.
std::int64_t zdays360(const CalendarDate& start, const CalendarDate& end, int method) noexcept;

// Measures under the basis: stores dayCount, and the year length in periodDays.
void CountTheDays(const CalendarDate& start, const CalendarDate& end,
                  DayCountTerms& terms) noexcept;

// The same under the terms' flags; answers dayCount / year length.
double ComputeTheAnnualRatio(const CalendarDate& start, const CalendarDate& end,
                             DayCountTerms& terms) noexcept;

}  // namespace vxfnc
