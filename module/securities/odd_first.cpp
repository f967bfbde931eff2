// Bonds with an odd (short or long) first coupon period, settled in that period. Price and yield
// follow the market's standard securities calculation method, at compound interest.
#include <algorithm>

#include "coupons/schedule.h"
#include "securities/arguments.h"
#include "securities/coupon_bonds.h"

namespace vxfnc::securities {
namespace {

// Counts the regular periods from the first coupon to maturity. An incomplete last period counts as
// one. The last period is complete if stepping forward from the first coupon reaches maturity, or
// if stepping back from maturity reaches the first coupon. From 30 August to 28 February, for
// example, only the first is true.
double periods_to_maturity(const CalendarDate& first_coupon, const CalendarDate& maturity,
                           const DayCountTerms& terms) noexcept {
  const std::int64_t months =
      12 * (std::int64_t{maturity.year} - first_coupon.year) + maturity.month - first_coupon.month;
  const std::int64_t periods = months / terms.monthsPerPeriod;
  const bool meets =
      zCompareDates(zAdvanceDate(first_coupon, periods, terms), maturity) != kEarlier ||
      zCompareDates(zAdvanceDate(maturity, -periods, terms), first_coupon) != kLater;
  return static_cast<double>(meets ? periods : periods + 1);
}

// Counts days by the market's 30/360 rule. A start on the 31st or on the last day of February
// counts as the 30th. An end on the 31st counts as the 30th only if the start counts as the 30th.
// An end on the last day of February counts as the 30th only if the start is the last day of
// February too. Splitting a span may change the total number of days.
double market_days_30_360(const CalendarDate& start, const CalendarDate& end) noexcept {
  const auto ends_february = [](const CalendarDate& date) {
    return date.month == 2 && date.day == zlastDay(date.year, 2);
  };
  const std::int32_t first = ends_february(start) ? 30 : std::min(start.day, 30);
  std::int32_t last = end.day;
  if (ends_february(start) && ends_february(end)) last = 30;
  if (first == 30) last = std::min(last, 30);
  return static_cast<double>(360 * (std::int64_t{end.year} - start.year) +
                             30 * (std::int64_t{end.month} - start.month) + last - first);
}

// Measures the odd period in quasi-coupon periods, which are stepped back from the first coupon.
// Sets firstCoupon, accruedFraction, remainingFraction and couponCount. Returns false if the
// frequency does not divide a year into whole months, or if there are too many periods.
bool measure_odd_period(SecurityCalc& calc) noexcept {
  const CalendarDate& settlement = *calc.settlement;
  const CalendarDate& maturity = *calc.maturity;
  const CalendarDate& issue = *calc.issue;
  CalendarDate& first_coupon = *calc.firstInterest;
  DayCountTerms& terms = *calc.params;
  for (CalendarDate* const date : {calc.settlement, calc.maturity, calc.issue, &first_coupon}) {
    zgetMonthDayYear(*date);
  }
  if (terms.monthsPerPeriod == kNoMonthsPerPeriod) return false;
  // Coupon dates are month ends only if both the first coupon and maturity are month ends.
  if (maturity.endOfMonth == 0) first_coupon.endOfMonth = 0;

  const auto days_between = [&terms](const CalendarDate& from, const CalendarDate& to) {
    if (terms.basis == kBasisUs30360) return market_days_30_360(from, to);
    CountTheDays(from, to, terms);
    return terms.dayCount;
  };
  const double fixed_period = terms.periodDays;  // CountTheDays overwrites periodDays
  double first_coupons = 0.0;
  double accrued = 0.0;
  CalendarDate end = first_coupon;
  for (std::int64_t k = 1; k <= kLongestSchedule; ++k) {
    const CalendarDate start = zAdvanceDate(first_coupon, -k, terms);
    const double length = terms.basis == kBasisActual ? days_between(start, end) : fixed_period;
    const bool is_whole = zCompareDates(issue, start) != kLater;
    const CalendarDate& from = is_whole ? start : issue;
    const double part = is_whole ? 1.0 : days_between(issue, end) / length;
    first_coupons += part;
    if (zCompareDates(settlement, end) != kEarlier) {
      accrued += part;
    } else if (zCompareDates(settlement, start) != kEarlier) {
      accrued += days_between(from, settlement) / length;
      calc.remainingFraction = days_between(settlement, end) / length + static_cast<double>(k - 1);
    }
    if (zCompareDates(issue, start) != kEarlier) {
      calc.firstCoupon = first_coupons;
      calc.accruedFraction = accrued;
      calc.couponCount = 1.0 + periods_to_maturity(first_coupon, maturity, terms);
      return true;
    }
    end = start;
  }
  return false;
}

CalcStatus zComputeODDFPRICE(SecurityCalc& calc) noexcept {
  return measure_odd_period(calc) ? PriceTheCoupons(calc) : kCannotBeComputed;
}

CalcStatus zComputeODDFYIELD(SecurityCalc& calc) noexcept {
  return measure_odd_period(calc) ? SolveForTheYield(calc) : kCannotBeComputed;
}

// Reads and checks the dates. Returns true if settlement is maturity; the result is then 0.
bool read_odd_period(Reader& in, Security& bond) noexcept {
  read_dates(in, {bond.settlement, bond.maturity, bond.issue, bond.firstInterest});
  if (is_empty_span(in, bond.settlement, bond.maturity, 2)) return true;
  in.require(bond.issue->dayNumber <= bond.settlement->dayNumber, 3);
  in.require(bond.settlement->dayNumber < bond.firstInterest->dayNumber, 4);
  in.require(bond.firstInterest->dayNumber <= bond.maturity->dayNumber, 4);
  return false;
}

}  // namespace

// ODDFPRICE(settlement, maturity, issue, first_coupon, rate, yld, redemption, frequency [, basis])
Status fnc_ODDFPRICE(Reader& in) noexcept {
  Security bond;
  if (read_odd_period(in, bond)) return in.store(0.0);
  bond.rate = in.positive(5);
  bond.yld = in.number(6);
  bond.redemption = in.positive(7);
  read_schedule(in, 8, bond);
  return calculate_and_store(in, bond, zComputeODDFPRICE, &SecurityCalc::price);
}

// ODDFYIELD(settlement, maturity, issue, first_coupon, rate, pr, redemption, frequency [, basis])
Status fnc_ODDFYIELD(Reader& in) noexcept {
  Security bond;
  if (read_odd_period(in, bond)) return in.store(0.0);
  bond.rate = in.positive(5);
  bond.price = in.positive(6);
  bond.redemption = in.positive(7);
  read_schedule(in, 8, bond);
  return calculate_and_store(in, bond, zComputeODDFYIELD, &SecurityCalc::yld);
}

}  // namespace vxfnc::securities
