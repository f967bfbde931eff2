// Day counts and year lengths under the five bases. The functions do not validate and do not fail.
// For an unknown basis or method they return an absurdly large number, so that an unchecked error
// does not look plausible. Dates must have been filled by zgetMonthDayYear.
#pragma once

#include <cstdint>

#include "calendar/basis.h"
#include "calendar/calendar.h"

namespace vxfnc {

enum StepUnit : std::int32_t { kMonths = 2, kYears = 4 };

// The basis and related settings, which are passed through the calendar and the coupon functions.
struct DayCountTerms {
  std::int32_t countEnd31;        // basis 0: one day more if the later date is the 31st
  std::int32_t atLeastOnePeriod;  // coupon proportions below 1.0 become 1.0
  std::int32_t frequency;         // coupons per year
  std::int32_t stepUnit;          // a StepUnit
  std::int64_t monthsPerPeriod;
  double periodDays;          // days in a coupon period; day counts store their year length here
  std::int32_t basis;         // a BasisCode
  std::int32_t plainUs30360;  // basis 0: CountTheCouponDays uses zdays360
  double dayCount;            // the result of the last day count
  // CountTheCouponDays stores these two. No calculation of this module reads them.
  double cappedDayCount;  // the count, limited to periodDays except under basis 1
  double basisYearDays;   // 360, 365, or 1.0 for basis 1
  // Only ComputeTheAnnualRatio uses these three.
  std::uint8_t useStartYearLength;  // basis 1: use the length of the first date's year
  std::uint8_t keepEnd31;           // ignore countEnd31
  // Basis 1: every leap year has 366 days, also the first and last.
  std::uint8_t leapYearsWhole;
};

// Sets up zero-filled terms for a time that is measured in years.
constexpr void measure_in_years(DayCountTerms& terms, BasisCode basis) noexcept {
  terms.countEnd31 = 1;
  terms.frequency = 1;
  terms.stepUnit = kYears;
  terms.monthsPerPeriod = 12;
  terms.basis = basis;
}

enum Days360Method : int { kUsMethod = 0, kEuropeanMethod = 4 };

// Counts 30/360 days from start to end. The US method replaces a start on the 31st by the first of
// the next month if the end is before the 30th, and treats an end on the last day of February as
// the 30th.
std::int64_t zdays360(const CalendarDate& start, const CalendarDate& end, int method) noexcept;

// Counts the days under the basis. Stores dayCount, and the year length in periodDays.
void CountTheDays(const CalendarDate& start, const CalendarDate& end,
                  DayCountTerms& terms) noexcept;

// Does the same, but observes the flags of the terms. Returns dayCount / year length.
double ComputeTheAnnualRatio(const CalendarDate& start, const CalendarDate& end,
                             DayCountTerms& terms) noexcept;

}  // namespace vxfnc
