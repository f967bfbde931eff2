#include "securities/coupon_bonds.h"

#include <algorithm>
#include <cmath>

#include "coupons/schedule.h"
#include "numeric/bounded.h"
#include "numeric/newton.h"
#include "securities/arguments.h"

namespace vxfnc::securities {

double coupons_per_year(const SecurityCalc& calc) noexcept {
  return std::max(static_cast<double>(calc.params->frequency), 1.0);
}

double coupon_amount(const SecurityCalc& calc) noexcept {
  return 100.0 * calc.rate / coupons_per_year(calc);
}

namespace {

// Finds the position of settlement between the coupons. On a coupon date nothing is accrued.
// Returns false if the schedule is too long, which happens only with an invalid frequency.
bool find_position(SecurityCalc& calc) noexcept {
  zgetMonthDayYear(*calc.settlement);
  zgetMonthDayYear(*calc.maturity);
  const auto coupons = CountTheCoupons(*calc.settlement, *calc.maturity, *calc.params);
  CouponSearch search(*calc.settlement, *calc.maturity, *calc.params,
                      kDaysFromPrevious + kDaysInPeriod);
  if (!coupons || !FindCouponInfo(search)) return false;
  calc.couponCount = *coupons;
  calc.couponPeriodDays = search.daysInPeriod;
  calc.accruedDays = search.couponOnSettlement != nullptr ? 0.0 : search.daysFromPrevious;
  calc.remainingDays = calc.couponPeriodDays - calc.accruedDays;
  calc.accruedFraction = calc.accruedDays / calc.couponPeriodDays;
  calc.remainingFraction = calc.remainingDays / calc.couponPeriodDays;
  return true;
}

// The days accrued may reach or exceed the length of the period, for example 184 of 180 days. Price
// and yield then treat settlement as a coupon date on which a new period begins.
void renew_used_up_period(SecurityCalc& calc) noexcept {
  if (calc.remainingFraction > 0.0) return;
  calc.accruedDays = 0.0;
  calc.remainingDays = calc.couponPeriodDays;
  calc.accruedFraction = 0.0;
  calc.remainingFraction = 1.0;
}

// Computes v, the present value of an amount of 1 that is due in one period.
CalcStatus find_discount_factor(const SecurityCalc& calc, double& v) noexcept {
  const double y = calc.yld / coupons_per_year(calc);
  if (1.0 + y < kLeastDiscountBase) return kYieldTooLow;
  v = 1.0 / (1.0 + y);
  const bool is_all_lost = -(y * v) <= -1.0;  // v is 1 / y, because 1 + y was rounded to y
  return is_all_lost ? kCannotBeComputed : kDone;
}

// The maximum number of coupons of a bond whose yield is searched. Only bonds of more than 20,000
// years have more. A search evaluates the price up to 101 times.
constexpr std::int64_t kLongestTrial = 1 << 18;

// Computes the price at yield x minus the given price, and its derivative.
std::int32_t ComputeF_YIELD(NewtonControl& control) noexcept {
  auto& calc = *static_cast<SecurityCalc*>(control.context);
  calc.yld = control.x;
  const double f = coupons_per_year(calc);
  // For a power of two, multiplication by the reciprocal returns the same bits as division and is
  // faster.
  const double period = 1.0 / f;
  const bool is_exact = f == 1.0 || f == 2.0 || f == 4.0;
  const auto by_f = [&](double x) { return is_exact ? x * period : x / f; };
  const double base = 1.0 + by_f(calc.yld);
  if (base < kLeastDiscountBase) return kYieldTooLow;
  const double v = 1.0 / base;
  const double s = calc.remainingFraction;
  const auto slope = [&](double k, double t) { return by_f(-(s + k) * t * v); };

  double k = 0.0;
  double t = std::pow(v, s);
  double terms = calc.firstCoupon * t;
  double slopes = calc.firstCoupon * slope(k, t);
  const bool is_done = walk(
      calc.couponCount - 1.0, kLongestTrial,
      [&] {
        k += 1.0;
        t = t * v;
        terms += t;
        slopes += slope(k, t);
      },
      [&] {
        return same_bits(t * v, t) && is_settled(terms, t) &&
               is_settled(slopes, slope(calc.couponCount, t));
      });
  if (!is_done) return kCannotBeComputed;
  const double cpn = coupon_amount(calc);
  const double last_slope = slope(calc.couponCount - 1.0, t);
  control.value = cpn * (terms - calc.accruedFraction) + calc.redemption * t - calc.price;
  control.derivative = cpn * slopes + calc.redemption * last_slope;
  return kDone;
}

}  // namespace

CalcStatus PriceTheCoupons(SecurityCalc& calc) noexcept {
  double v = 1.0;
  if (const CalcStatus status = find_discount_factor(calc, v); status != kDone) return status;
  double term = 1.0;
  double sum = calc.firstCoupon;
  const bool is_done = walk(
      calc.couponCount - 1.0, kLongestWalk,
      [&] {
        term = term * v;
        sum += term;
      },
      [&] { return (v < 1.0 || !std::isfinite(term)) && is_settled(sum, term); });
  if (!is_done) return kCannotBeComputed;
  const double cpn = coupon_amount(calc);
  const double at_first_coupon = calc.redemption * std::pow(v, calc.couponCount - 1.0) + cpn * sum;
  calc.price = std::pow(v, calc.remainingFraction) * at_first_coupon - cpn * calc.accruedFraction;
  return kDone;
}

CalcStatus SolveForTheYield(SecurityCalc& calc) noexcept {
  NewtonControl control;
  control.evaluate = ComputeF_YIELD;
  control.context = &calc;
  control.start = 0.1;
  if (CallSpecialNewton(control) != 0) return kCannotBeComputed;
  calc.yld = control.x;
  return kDone;
}

CalcStatus zComputePRICE(SecurityCalc& calc) noexcept {
  if (!find_position(calc)) return kCannotBeComputed;
  renew_used_up_period(calc);
  if (calc.couponCount != 1.0) return PriceTheCoupons(calc);

  // With one coupon left, interest up to that coupon is simple.
  double v = 1.0;
  if (const CalcStatus status = find_discount_factor(calc, v); status != kDone) return status;
  const double y = calc.yld / coupons_per_year(calc);
  const double cpn = coupon_amount(calc);
  calc.price =
      (calc.redemption + cpn) / (1.0 + y * calc.remainingFraction) - cpn * calc.accruedFraction;
  return kDone;
}

CalcStatus zComputeYIELD(SecurityCalc& calc) noexcept {
  if (!find_position(calc)) return kCannotBeComputed;
  renew_used_up_period(calc);
  if (calc.couponCount != 1.0) return SolveForTheYield(calc);

  const double f = calc.params->frequency;
  const double coupon = calc.rate / f;
  const double growth =
      (calc.redemption / 100.0 + coupon) / (calc.price / 100.0 + calc.accruedFraction * coupon);
  calc.yld = (growth - 1.0) * f * calc.couponPeriodDays / calc.remainingDays;
  return kDone;
}

// Every weight has the remaining fraction of the period as a factor, where one would expect the
// discount for that fraction. A common factor does not change the result, which is a quotient.
CalcStatus zComputeDURATION(SecurityCalc& calc) noexcept {
  if (!find_position(calc)) return kCannotBeComputed;  // a used-up period is not renewed here
  double v = 1.0;
  if (const CalcStatus status = find_discount_factor(calc, v); status != kDone) return status;
  const double f = coupons_per_year(calc);
  const double cpn = coupon_amount(calc);
  const double s = calc.remainingFraction;
  const double period = 1.0 / f;
  double weight = s == 0.0 ? 1.0 : s;
  double time = s == 0.0 ? 0.0 : s / f;
  double weighted = cpn * weight * time;
  double total = cpn * weight;
  const bool is_done = walk(
      calc.couponCount - 1.0, kLongestWalk,
      [&] {
        weight = weight * v;
        time += period;
        weighted += cpn * weight * time;
        total += cpn * weight;
      },
      [&] {
        const double largest = std::max(cpn, 100.0) * weight;
        return same_bits(weight * v, weight) && is_settled(total, largest) &&
               is_settled(weighted, largest * calc.couponCount);
      });
  if (!is_done) return kCannotBeComputed;
  calc.duration = (weighted + 100.0 * weight * time) / (total + 100.0 * weight);
  return kDone;
}

// The duration is divided by 1 + yield per period, which must not be almost 0.
CalcStatus zComputeMDURATION(SecurityCalc& calc) noexcept {
  const double growth = calc.yld / calc.params->frequency + 1.0;
  if (growth < kLeastDiscountBase) return kYieldTooLow;
  const CalcStatus status = zComputeDURATION(calc);
  calc.duration = calc.duration / growth;
  return status;
}

// PRICE(settlement, maturity, rate, yld, redemption, frequency [, basis])
Status fnc_PRICE(Reader& in) noexcept {
  Security bond;
  read_dates(in, {bond.settlement, bond.maturity});
  if (is_empty_span(in, bond.settlement, bond.maturity, 2)) return in.store(0.0);
  bond.rate = in.positive(3);
  bond.yld = in.number(4);
  bond.redemption = in.positive(5);
  read_schedule(in, 6, bond);
  return calculate_and_store(in, bond, zComputePRICE, &SecurityCalc::price);
}

// YIELD(settlement, maturity, rate, pr, redemption, frequency [, basis])
Status fnc_YIELD(Reader& in) noexcept {
  Security bond;
  read_dates(in, {bond.settlement, bond.maturity});
  if (is_empty_span(in, bond.settlement, bond.maturity, 2)) return in.store(0.0);
  bond.rate = in.positive(3);
  bond.price = in.positive(4);
  bond.redemption = in.positive(5);
  read_schedule(in, 6, bond);
  return calculate_and_store(in, bond, zComputeYIELD, &SecurityCalc::yld);
}

namespace {

// Both durations read the same arguments.
bool read_duration(Reader& in, Security& bond) noexcept {
  read_dates(in, {bond.settlement, bond.maturity});
  if (is_empty_span(in, bond.settlement, bond.maturity, 2)) return true;
  bond.rate = in.positive(3);  // a bond without coupons is rejected, on purpose
  bond.yld = in.number(4);
  read_schedule(in, 5, bond);
  return false;
}

}  // namespace

// DURATION(settlement, maturity, coupon, yld, frequency [, basis])
Status fnc_DURATION(Reader& in) noexcept {
  Security bond;
  if (read_duration(in, bond)) return in.store(0.0);
  return calculate_and_store(in, bond, zComputeDURATION, &SecurityCalc::duration);
}

// MDURATION(settlement, maturity, coupon, yld, frequency [, basis])
Status fnc_MDURATION(Reader& in) noexcept {
  Security bond;
  if (read_duration(in, bond)) return in.store(0.0);
  return calculate_and_store(in, bond, zComputeMDURATION, &SecurityCalc::duration);
}

}  // namespace vxfnc::securities
