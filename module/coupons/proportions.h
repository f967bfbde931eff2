// Spans of time measured in coupon periods: fractions, sums of fractions, and the periods of
// accrued interest. The remarks of schedule.h on dates and on schedules that are too long apply
// here too.
#pragma once

#include <cstdint>
#include <optional>

#include "calendar/day_count.h"

namespace vxfnc {

// Returns the span a..b as a fraction of the period c..d.
double Compute1CouponProportion(const CalendarDate& a, const CalendarDate& b, const CalendarDate& c,
                                const CalendarDate& d, DayCountTerms& terms) noexcept;

// Returns the fraction of the current period from settlement to the next coupon, and 0 on a coupon
// date. No keyword uses it.
std::optional<double> ComputeFromSettlementToNextCoupon(const CalendarDate& settlement,
                                                        const CalendarDate& maturity,
                                                        DayCountTerms& terms) noexcept;

// Returns the number of periods from start to end, with fractions, on the schedule of maturity.
// Returns nothing if there are too many periods.
std::optional<double> ComputeCouponProportions(const CalendarDate& start, const CalendarDate& end,
                                               const CalendarDate& maturity,
                                               DayCountTerms& terms) noexcept;

struct CouponPeriod {
  CalendarDate start;
  CalendarDate end;
  double days;  // actual days for basis 1, otherwise periodDays
};

// The quasi-coupon periods between two dates, as accrued interest needs them.
struct CouponList {
  // The period that contains the start, and the last period if it is a different one.
  CouponPeriod slots[2];
  std::int32_t used;      // slots in use, 1 or 2
  std::int64_t periods;   // the number of periods, including the first and the last
  bool starts_on_coupon;  // true if start is a coupon date, so that the first period is complete
};

// Fills the list for a schedule that contains the anchor, which may be before, between or after the
// dates. Returns false if there are too many periods.
bool MakeTheCouponList(const CalendarDate& start, const CalendarDate& end,
                       const CalendarDate& anchor, DayCountTerms& terms, CouponList& list) noexcept;

}  // namespace vxfnc
