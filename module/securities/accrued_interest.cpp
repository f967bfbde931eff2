// Interest accrued from issue to settlement.
#include "coupons/coupon_days.h"
#include "coupons/proportions.h"
#include "coupons/schedule.h"
#include "securities/arguments.h"

namespace vxfnc::securities {
namespace {

// Quasi-coupon periods from issue to settlement on the schedule that passes through first interest,
// wherever that stands. False: too many to walk.
bool count_accrued_periods(SecurityCalc& calc, double& periods) noexcept {
  const CalendarDate& issue = *calc.issue;
  const CalendarDate& settlement = *calc.settlement;
  DayCountTerms& terms = *calc.params;
  CouponList list;
  if (!MakeTheCouponList(issue, settlement, *calc.firstInterest, terms, list)) return false;
  const CouponPeriod& first = list.slots[0];
  const CouponPeriod& last = list.slots[list.used - 1];

  // Up to the end of the first period, that end included, all is one stretch. (Taken as a first and
  // a last part, a settlement on that end would count its period twice.)
  if (list.used == 1) {
    periods = CountTheCouponDays(issue, settlement, terms) / last.days;
    return true;
  }
  // The last period counts as a part, also when settlement ends it.
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

// Stands for a par that is not part of the call, which the least argument counts do not let happen.
constexpr double kPar = 1000.0;

}  // namespace

// ACCRINT(issue, first_interest, settlement, rate, par, frequency [, basis])
// First interest may stand anywhere, also before issue or after settlement.
Status fnc_ACCRINT(Reader& in) noexcept {
  Security bond;
  read_dates(in, {bond.issue, bond.firstInterest, bond.settlement});
  if (is_empty_span(in, bond.issue, bond.settlement, 3)) return in.store(0.0);
  bond.rate = in.positive(4);
  bond.par = in.positive_or(5, kPar);
  read_schedule(in, 6, bond);
  return answer(in, bond, zComputeACCRINT, &SecurityCalc::result);
}

// ACCRINTM(issue, settlement, rate, par [, basis])
Status fnc_ACCRINTM(Reader& in) noexcept {
  Security bond;
  read_dates(in, {bond.issue, bond.settlement});
  if (is_empty_span(in, bond.issue, bond.settlement, 2)) return in.store(0.0);
  bond.rate = in.positive(3);
  bond.par = in.positive_or(4, kPar);
  read_year_basis(in, 5, bond);
  bond.terms.countEnd31 = 0;  // no day more for a settlement on the 31st under 30/360
  return answer(in, bond, zComputeACCRINTM, &SecurityCalc::result);
}

}  // namespace vxfnc::securities
