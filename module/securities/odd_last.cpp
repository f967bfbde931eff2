// Bonds with an odd last coupon period, settled in that period. Interest is simple, and time is
// measured in quasi-coupon periods. Price and yield are exact inverses of each other.
#include <optional>

#include "coupons/proportions.h"
#include "coupons/schedule.h"
#include "securities/arguments.h"
#include "securities/coupon_bonds.h"

namespace vxfnc::securities {
namespace {

// Counts the periods from last interest to settlement, stepping forward from last interest.
std::optional<double> accrued_periods(const CalendarDate& last_interest,
                                      const CalendarDate& settlement,
                                      DayCountTerms& terms) noexcept {
  double periods = 0.0;
  CalendarDate from = last_interest;
  for (std::int64_t k = 1; k <= kLongestSchedule; ++k) {
    const CalendarDate to = zAdvanceDate(last_interest, k, terms);
    if (zCompareDates(to, settlement) == kLater) {
      return periods + Compute1CouponProportion(from, settlement, from, to, terms);
    }
    periods += Compute1CouponProportion(from, to, from, to, terms);
    from = to;
  }
  return std::nullopt;
}

// Measures the odd period for both keywords. Returns false if there are too many periods.
bool measure_odd_period(SecurityCalc& calc) noexcept {
  const CalendarDate& settlement = *calc.settlement;
  const CalendarDate& maturity = *calc.maturity;
  const CalendarDate& last_interest = *calc.lastInterest;
  DayCountTerms& terms = *calc.params;
  zgetMonthDayYear(*calc.settlement);
  zgetMonthDayYear(*calc.maturity);
  zgetMonthDayYear(*calc.lastInterest);
  // Actual days are divided by the actual length of the period, whatever the length of the year.
  if (terms.basis == kBasisActual360 || terms.basis == kBasisActual365) terms.basis = kBasisActual;
  const auto accrued = accrued_periods(last_interest, settlement, terms);
  if (!accrued) return false;
  const auto odd = ComputeCouponProportions(last_interest, maturity, maturity, terms);
  if (!odd) return false;
  const auto remaining = ComputeCouponProportions(settlement, maturity, maturity, terms);
  if (!remaining) return false;
  calc.accruedPeriods = *accrued;
  calc.oddPeriods = *odd;
  calc.remainingPeriods = *remaining;
  return true;
}

CalcStatus zComputeODDLPRICE(SecurityCalc& calc) noexcept {
  if (!measure_odd_period(calc)) return kCannotBeComputed;
  const double cpn = coupon_amount(calc);
  const double z = 1.0 + calc.yld / coupons_per_year(calc) * calc.remainingPeriods;
  if (z < kLeastDiscountBase) return kYieldTooLow;
  calc.price = (calc.oddPeriods * cpn + calc.redemption) / z - cpn * calc.accruedPeriods;
  return kDone;
}

CalcStatus zComputeODDLYIELD(SecurityCalc& calc) noexcept {
  if (!measure_odd_period(calc)) return kCannotBeComputed;
  const double cpn = coupon_amount(calc);
  const double d = calc.accruedPeriods * cpn + calc.price;
  if (d == 0.0 || calc.remainingPeriods == 0.0) return kCannotBeComputed;
  calc.yld = coupons_per_year(calc) / calc.remainingPeriods *
             ((cpn * calc.oddPeriods + calc.redemption) / d - 1.0);
  return kDone;
}

// Reads and checks the dates. Returns true if settlement is maturity or last interest; the result
// is then 0.
bool read_odd_period(Reader& in, Security& bond) noexcept {
  read_dates(in, {bond.settlement, bond.maturity, bond.lastInterest});
  if (is_empty_span(in, bond.settlement, bond.maturity, 2)) return true;
  return is_empty_span(in, bond.lastInterest, bond.settlement, 3);
}

}  // namespace

// ODDLPRICE(settlement, maturity, last_interest, rate, yld, redemption, frequency [, basis])
Status fnc_ODDLPRICE(Reader& in) noexcept {
  Security bond;
  if (read_odd_period(in, bond)) return in.store(0.0);
  bond.rate = in.positive(4);
  bond.yld = in.number(5);
  bond.redemption = in.positive(6);
  read_schedule(in, 7, bond);
  return calculate_and_store(in, bond, zComputeODDLPRICE, &SecurityCalc::price);
}

// ODDLYIELD(settlement, maturity, last_interest, rate, pr, redemption, frequency [, basis])
// Unlike YIELD, it accepts a price of 0 and below.
Status fnc_ODDLYIELD(Reader& in) noexcept {
  Security bond;
  if (read_odd_period(in, bond)) return in.store(0.0);
  bond.rate = in.positive(4);
  bond.price = in.number(5);
  bond.redemption = in.positive(6);
  read_schedule(in, 7, bond);
  return calculate_and_store(in, bond, zComputeODDLYIELD, &SecurityCalc::yld);
}

}  // namespace vxfnc::securities
