// Interest accrued from issue to settlement.
#include "coupons/coupon_days.h"
#include "coupons/proportions.h"
#include "coupons/schedule.h"
#include "securities/arguments.h"

namespace vxfnc::securities {
namespace {

// Counts the quasi-coupon periods from issue to settlement. The schedule contains first interest,
// which may be before, between or after these dates. Returns false if there are too many periods.
bool count_accrued_periods(SecurityCalc& calc, double& periods) noexcept {
  const CalendarDate& issue = *calc.issue;
  const CalendarDate& settlement = *calc.settlement;
  DayCountTerms& terms = *calc.params;
  CouponList list;
  if (!MakeTheCouponList(issue, settlement, *calc.firstInterest, terms, list)) return false;
  const CouponPeriod& first = list.slots[0];
  const CouponPeriod& last = list.slots[list.used - 1];

  // If settlement is not after the end of the first period, there is one partial period. It must
  // not be split into a first and a last part: for a settlement on that end, the period would be
  // counted twice.
  if (list.used == 1) {
    periods = CountTheCouponDays(issue, settlement, terms) / last.days;
    return true;
  }
  // The last period is counted as a fraction, even if settlement is its end.
  const auto whole = static_cast<double>(list.periods - (list.starts_on_coupon ? 1 : 2));
  const double first_part =
      list.starts_on_coupon ? 0.0 : CountTheCouponDays(issue, first.end, terms) / first.days;
  const double last_part = CountTheCouponDays(last.start, settlement, terms) / last.days;
  periods = whole + first_part + last_part;
  return true;
}

CalcStatus zComputeACCRINT(SecurityCalc& calc) noexcept {
  zgetMonthDayYear(*calc.issue);
  zgetMonthDayYear(*calc.settlement);
  zgetMonthDayYear(*calc.firstInterest);
  calc.params->plainUs30360 = 1;
  double periods = 0.0;
  const bool is_done = count_accrued_periods(calc, periods);
  calc.params->plainUs30360 = 0;
  calc.result = calc.par * calc.rate / calc.params->frequency * periods;
  return is_done ? kDone : kCannotBeComputed;
}

CalcStatus zComputeACCRINTM(SecurityCalc& calc) noexcept {
  zgetMonthDayYear(*calc.issue);
  zgetMonthDayYear(*calc.settlement);
  calc.yearFraction = ComputeTheAnnualRatio(*calc.issue, *calc.settlement, *calc.params);
  if (calc.yearFraction < 0.0) return kCannotBeComputed;
  calc.result = calc.rate * calc.yearFraction * calc.par;
  return kDone;
}

// The default for an omitted par. It is never used, because the minimum numbers of arguments
// include the par.
constexpr double kPar = 1000.0;

}  // namespace

// ACCRINT(issue, first_interest, settlement, rate, par, frequency [, basis])
// First interest may be any date, also before issue or after settlement.
Status fnc_ACCRINT(Reader& in) noexcept {
  Security bond;
  read_dates(in, {bond.issue, bond.firstInterest, bond.settlement});
  if (is_empty_span(in, bond.issue, bond.settlement, 3)) return in.store(0.0);
  bond.rate = in.positive(4);
  bond.par = in.positive_or(5, kPar);
  read_schedule(in, 6, bond);
  return calculate_and_store(in, bond, zComputeACCRINT, &SecurityCalc::result);
}

// ACCRINTM(issue, settlement, rate, par [, basis])
Status fnc_ACCRINTM(Reader& in) noexcept {
  Security bond;
  read_dates(in, {bond.issue, bond.settlement});
  if (is_empty_span(in, bond.issue, bond.settlement, 2)) return in.store(0.0);
  bond.rate = in.positive(3);
  bond.par = in.positive_or(4, kPar);
  read_year_basis(in, 5, bond);
  bond.terms.countEnd31 = 0;  // 30/360: no additional day if settlement is the 31st
  return calculate_and_store(in, bond, zComputeACCRINTM, &SecurityCalc::result);
}

}  // namespace vxfnc::securities
