// The record on which all keywords of securities calculate. A handler fills it and passes it to a
// routine zCompute<KEYWORD>, which does not know the arguments of the call.
//
// Rates and yields are fractions per year. Prices and redemptions are per 100 of face value. Times
// are in days or coupon periods, according to the name.
#pragma once

#include <cstdint>

#include "calendar/day_count.h"
#include "call/calc_status.h"

namespace vxfnc::securities {

// The yield is too low if 1 + yield per period is below this value.
inline constexpr double kLeastDiscountBase = 1.053671212772351e-08;

// A routine reads its input members and sets the members of its result. It may change the terms.
struct SecurityCalc {
  CalendarDate* settlement = nullptr;  // handlers set only the day number of dates
  CalendarDate* maturity = nullptr;
  double rate = 0.0;
  double yld = 0.0;
  double redemption = 0.0;
  double price = 0.0;
  double duration = 0.0;  // years
  DayCountTerms* params = nullptr;

  // The position of settlement in its coupon period.
  double accruedFraction = 0.0;    // periods since the last coupon
  double remainingFraction = 0.0;  // periods to the next coupon; may exceed 1 in an odd period
  double remainingDays = 0.0;
  double couponPeriodDays = 0.0;
  double accruedDays = 0.0;
  double couponCount = 0.0;  // coupons after settlement
  double firstCoupon = 1.0;  // the next coupon, as a multiple of the regular coupon

  CalendarDate* issue = nullptr;
  CalendarDate* firstInterest = nullptr;
  CalendarDate* lastInterest = nullptr;
  double par = 0.0;
  double investment = 0.0;
  double discount = 0.0;
  double yearFraction = 0.0;  // the last year fraction that was measured
  double result = 0.0;        // the result, if it is not a price, yield or duration

  // The lengths of an odd last period, in quasi-coupon periods.
  double accruedPeriods = 0.0;    // last interest to settlement
  double oddPeriods = 0.0;        // last interest to maturity
  double remainingPeriods = 0.0;  // settlement to maturity
};

// The record together with the terms and the dates to which it points.
struct Security : SecurityCalc {
  Security() noexcept {
    settlement = &dates[0];
    maturity = &dates[1];
    issue = &dates[2];
    firstInterest = &dates[3];
    lastInterest = &dates[3];  // no keyword has both
    params = &terms;
  }
  Security(const Security&) = delete;
  Security& operator=(const Security&) = delete;

  DayCountTerms terms{};
  CalendarDate dates[4];
};

}  // namespace vxfnc::securities
