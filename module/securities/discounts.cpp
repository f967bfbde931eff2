// Securities without coupons. They are bought at a discount or pay interest at maturity. Time is
// measured in years under the basis.
#include <cmath>
#include <limits>

#include "securities/arguments.h"

namespace vxfnc::securities {
namespace {

double years_between(SecurityCalc& calc, const CalendarDate& start,
                     const CalendarDate& end) noexcept {
  calc.yearFraction = ComputeTheAnnualRatio(start, end, *calc.params);
  return calc.yearFraction;
}

double years_to_maturity(SecurityCalc& calc) noexcept {
  zgetMonthDayYear(*calc.settlement);
  zgetMonthDayYear(*calc.maturity);
  return years_between(calc, *calc.settlement, *calc.maturity);
}

CalcStatus zComputeDISC(SecurityCalc& calc) noexcept {
  const double t = years_to_maturity(calc);
  if (t <= 0.0 || calc.redemption == 0.0) return kCannotBeComputed;
  calc.result = (calc.redemption - calc.price) / calc.redemption / t;
  return kDone;
}

// Unlike DISC, INTRATE does not fail if the time is 0: the rate is then infinite.
CalcStatus zComputeINTRATE(SecurityCalc& calc) noexcept {
  const double t = years_to_maturity(calc);
  if (t < 0.0) return kCannotBeComputed;
  calc.result = (calc.redemption - calc.investment) / calc.investment / t;
  return kDone;
}

CalcStatus zComputePRICEDISC(SecurityCalc& calc) noexcept {
  const double t = years_to_maturity(calc);
  calc.result = (1.0 - calc.discount * t) * calc.redemption;
  return kDone;
}

CalcStatus zComputeYIELDDISC(SecurityCalc& calc) noexcept {
  const double t = years_to_maturity(calc);
  calc.result = (calc.redemption - calc.price) / calc.price / t;
  return kDone;
}

// If the discount exceeds the whole amount, the result is negative.
CalcStatus zComputeRECEIVED(SecurityCalc& calc) noexcept {
  calc.params->leapYearsWhole = 1;
  const double q = 1.0 - calc.discount * years_to_maturity(calc);
  constexpr double kLargest = std::numeric_limits<double>::max();
  if (std::fabs(q) < 1.0 && calc.investment > std::fabs(q) * kLargest) return kCannotBeComputed;
  calc.result = calc.investment / q;
  return kDone;
}

struct AtMaturity {
  double issue_to_maturity;
  double settlement_to_maturity;
  double issue_to_settlement;
};

AtMaturity years_at_maturity(SecurityCalc& calc) noexcept {
  zgetMonthDayYear(*calc.settlement);
  zgetMonthDayYear(*calc.maturity);
  zgetMonthDayYear(*calc.issue);
  const double a = years_between(calc, *calc.issue, *calc.maturity);
  const double b = years_between(calc, *calc.settlement, *calc.maturity);
  return {a, b, years_between(calc, *calc.issue, *calc.settlement)};
}

CalcStatus zComputePRICEMAT(SecurityCalc& calc) noexcept {
  const auto [a, b, c] = years_at_maturity(calc);
  const double d = 1.0 + b * calc.yld;
  if (d == 0.0) return kCannotBeComputed;
  calc.result = (100.0 + a * calc.rate * 100.0) / d - c * calc.rate * 100.0;
  return kDone;
}

CalcStatus zComputeYIELDMAT(SecurityCalc& calc) noexcept {
  const auto [a, b, c] = years_at_maturity(calc);
  const double k = calc.rate / calc.params->frequency;
  const double d = c * k * 100.0 + calc.price;
  if (d == 0.0) return kCannotBeComputed;
  calc.result = ((100.0 + k * a * 100.0) / d - 1.0) / b;
  return kDone;
}

// Evaluates one of the five keywords that have the arguments settlement, maturity, two positive
// amounts and basis. They differ in the amounts that they read and in the calculation.
Status calculate_discounted(Reader& in, double SecurityCalc::*third, double SecurityCalc::*fourth,
                            CalcStatus (*calculate)(SecurityCalc&) noexcept,
                            std::uint8_t keep_end_31 = 0) noexcept {
  Security bill;
  read_dates(in, {bill.settlement, bill.maturity});
  if (is_empty_span(in, bill.settlement, bill.maturity, 2)) return in.store(0.0);
  bill.*third = in.positive(3);
  bill.*fourth = in.positive(4);
  read_year_basis(in, 5, bill);
  bill.terms.keepEnd31 = keep_end_31;
  return calculate_and_store(in, bill, calculate, &SecurityCalc::result);
}

}  // namespace

// DISC(settlement, maturity, pr, redemption [, basis])
// Unlike the other four, it does not add a day under 30/360 if maturity is the 31st.
Status fnc_DISC(Reader& in) noexcept {
  constexpr std::uint8_t kKeepEnd31 = 1;
  return calculate_discounted(in, &SecurityCalc::price, &SecurityCalc::redemption, zComputeDISC,
                              kKeepEnd31);
}

// INTRATE(settlement, maturity, investment, redemption [, basis])
Status fnc_INTRATE(Reader& in) noexcept {
  return calculate_discounted(in, &SecurityCalc::investment, &SecurityCalc::redemption,
                              zComputeINTRATE);
}

// RECEIVED(settlement, maturity, investment, discount [, basis])
Status fnc_RECEIVED(Reader& in) noexcept {
  return calculate_discounted(in, &SecurityCalc::investment, &SecurityCalc::discount,
                              zComputeRECEIVED);
}

// PRICEDISC(settlement, maturity, discount, redemption [, basis])
Status fnc_PRICEDISC(Reader& in) noexcept {
  return calculate_discounted(in, &SecurityCalc::discount, &SecurityCalc::redemption,
                              zComputePRICEDISC);
}

// YIELDDISC(settlement, maturity, pr, redemption [, basis])
Status fnc_YIELDDISC(Reader& in) noexcept {
  return calculate_discounted(in, &SecurityCalc::price, &SecurityCalc::redemption,
                              zComputeYIELDDISC);
}

// PRICEMAT(settlement, maturity, issue, rate, yld [, basis])
// Issue may be after settlement, here and for YIELDMAT.
Status fnc_PRICEMAT(Reader& in) noexcept {
  Security bill;
  read_dates(in, {bill.settlement, bill.maturity});
  // Equal dates are invalid here.
  in.require(bill.settlement->dayNumber < bill.maturity->dayNumber, 2);
  bill.issue->dayNumber = in.date(3);
  if (is_empty_span(in, bill.issue, bill.maturity, 3)) return in.store(0.0);
  bill.rate = in.positive(4);
  bill.yld = in.number(5);
  read_year_basis(in, 6, bill);
  return calculate_and_store(in, bill, zComputePRICEMAT, &SecurityCalc::result);
}

// YIELDMAT(settlement, maturity, issue, rate, pr [, basis])
Status fnc_YIELDMAT(Reader& in) noexcept {
  Security bill;
  // All are read before they are compared.
  read_dates(in, {bill.settlement, bill.maturity, bill.issue});
  if (is_empty_span(in, bill.settlement, bill.maturity, 2)) return in.store(0.0);
  if (is_empty_span(in, bill.issue, bill.maturity, 3)) return in.store(0.0);
  bill.rate = in.positive(4);
  bill.price = in.positive(5);
  read_year_basis(in, 6, bill);
  return calculate_and_store(in, bill, zComputeYIELDMAT, &SecurityCalc::result);
}

}  // namespace vxfnc::securities
