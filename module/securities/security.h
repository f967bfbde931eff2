// What the securities calculate on: one record for all of them, filled by a handler and handed to a
// routine zCompute<KEYWORD>, which knows no arguments.
//
// Rates and yields are fractions a year; prices and redemptions are per 100 of face value; times
// are days or coupon periods, as their names say.
#pragma once

#include <cstdint>

#include "calendar/day_count.h"
#include "call/calc_status.h"

namespace vxfnc::securities {

// At or below this, 1 + yield a period counts as no discount base.
inline constexpr double kLeastDiscountBase = 1.053671212772351e-08;

// A routine reads its inputs and fills the fields of its answer. It may rewrite the terms.
struct SecurityCalc {
  CalendarDate* settlement = nullptr;  // of dates, a handler sets the day number alone
  CalendarDate* maturity = nullptr;
  double rate = 0.0;
  double yld = 0.0;
  double redemption = 0.0;
  double price = 0.0;
  double duration = 0.0;  // years
  DayCountTerms* params = nullptr;

  // The position of settlement in its coupon period.
  double accruedFraction = 0.0;    // periods since the last coupon
  double remainingFraction = 0.0;  // periods to the next one, more than 1 if it is odd
  double remainingDays = 0.0;
  double couponPeriodDays = 0.0;
  double accruedDays = 0.0;
  double couponCount = 0.0;  // coupons to come
  double firstCoupon = 1.0;  // the next one, as a multiple of the regular coupon

  CalendarDate* issue = nullptr;
  CalendarDate* firstInterest = nullptr;
  CalendarDate* lastInterest = nullptr;
  double par = 0.0;
  double investment = 0.0;
  double discount = 0.0;
  double yearFraction = 0.0;  // the last one measured
  double result = 0.0;        // of keywords whose answer is no price, yield or duration

  // An odd last period, in quasi-coupon periods.
  double accruedPeriods = 0.0;    // last interest to settlement
  double oddPeriods = 0.0;        // last interest to maturity
  double remainingPeriods = 0.0;  // settlement to maturity
};

// A handler's frame: the record with the terms and the dates it points to.
struct Security : SecurityCalc {
  Security() noexcept {
    settlement = &dates[0];
    maturity = &dates[1];
    issue = &dates[2];
    firstInterest = &dates[3];
    lastInterest = &dates[3];  // no keyword knows both
    params = &terms;
  }
  Security(const Security&) = delete;
  Security& operator=(const Security&) = delete;

  DayCountTerms terms{};
  CalendarDate dates[4];
};

}  // namespace vxfnc::securities
