// Stretches of time in coupon periods: fractions, sums of fractions, and the periods that accrued
// interest is counted in. What schedule.h says of dates and of schedules too long to walk holds
// here.
#pragma once

#include <cstdint>
#include <optional>

#include "calendar/day_count.h"

namespace vxfnc {

// Which fraction of the period c..d the stretch a..b is.
double Compute1CouponProportion(const CalendarDate& a, const CalendarDate& b, const CalendarDate& c,
                                const CalendarDate& d, DayCountTerms& terms) noexcept;

// The part of the current period from settlement to the next coupon; 0 on a coupon date. No keyword
// asks for it.
std::optional<double> ComputeFromSettlementToNextCoupon(const CalendarDate& settlement,
                                                        const CalendarDate& maturity,
                                                        DayCountTerms& terms) noexcept;

// Periods, whole and part, from start to end on maturity's schedule. Nothing when there are too
// many to walk.
std::optional<double> ComputeCouponProportions(const CalendarDate& start, const CalendarDate& end,
                                               const CalendarDate& maturity,
                                               DayCountTerms& terms) noexcept;

struct CouponPeriod {
  CalendarDate start;
  CalendarDate end;
  double days;  // counted for basis 1, periodDays otherwise
};

// The quasi-coupon periods from a start to an end date, as accrued interest reads them.
struct CouponList {
  CouponPeriod slots[2];  // the period that holds the start, and the last one when it is another
  std::int32_t used;      // slots in use, 1 or 2
  std::int64_t periods;   // from the first to the last, both counted
  bool starts_on_coupon;  // start is a coupon date, so that the first period is whole
};

// Fills the list for a schedule stepped from the anchor, which may stand anywhere. False when there
// are too many periods to walk.
bool MakeTheCouponList(const CalendarDate& start, const CalendarDate& end,
                       const CalendarDate& anchor, DayCountTerms& terms, CouponList& list) noexcept;

}  // namespace vxfnc
