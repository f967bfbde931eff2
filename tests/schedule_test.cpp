// YEARFRAC, the six coupon queries, AMORDEGRC and AMORLINC held to plain loops over seeded random
// calls, and coupon days held to the schedule a bond person writes down. Days count from 1 January
// 1960; a coupon day after February 4000 comes back one lower, as the host's year 4000 is common.

#include <gtest/gtest.h>

#include "plain_model.h"

namespace {

using namespace plain;

const std::vector<std::pair<std::string, std::size_t>> kKeywords = {  // arguments without the basis
    {"YEARFRAC", 2}, {"COUPDAYBS", 3}, {"COUPDAYS", 3},  {"COUPDAYSNC", 3}, {"COUPNCD", 3},
    {"COUPNUM", 3},  {"COUPPCD", 3},   {"AMORDEGRC", 6}, {"AMORLINC", 6}};

double host_day(const Date& d) {
  const int year = int{d.year()}, februaries = d.month() < cal::March ? year - 1 : year;
  if (year < 1582 || (year % 4000 == 0 && d.month() / d.day() == 2 / 29d)) return kMissing;
  return number_of(d) - februaries / 4000;
}

double dated(const Values& v, int basis, const std::string& query) {
  const double start = number(v, 1, true), end = number(v, 2, true);
  require(start < end || query != "COUPDAYBS", 3);  // the frequency is marked
  require(start <= end, 2);
  if (start == end) return 0;
  const double frequency = v.size() == 2 ? 1 : number(v, 3, true);
  require(frequency > 0 && frequency < 0x1p31, 3);  // unlike a period's, its high bits count
  require(basis >= 0, v.size() == 2 ? 3 : 4);
  if (query == "COUPDAYS" && basis != 1) return (basis == 3 ? 365 : 360) / frequency;
  const Date settlement = date_of(start), maturity = date_of(end);
  if (query == "YEARFRAC") return annual_ratio(settlement, maturity, basis, true, false);
  const int months = static_cast<int>(12 / frequency);
  if (query == "COUPNUM") return coupons_left(settlement, maturity, months);
  const int k = months_to(settlement, maturity, months);
  const Date previous = stepped(maturity, k), next = stepped(maturity, k + months);
  if (query.ends_with("CD")) return host_day(query == "COUPNCD" ? next : previous);
  if (query == "COUPDAYBS") return days(previous, settlement, basis);
  return days(query == "COUPDAYS" ? previous : settlement, next, basis);
}

double rounded(double x) { return static_cast<int>(x + (x > 0 ? 0.5 : -0.5)); }

double amor(const Values& v, int basis, bool degressive) {
  const double cost = number(v, 1);
  require(cost > 0, 1);
  const double start = number(v, 2, true), end = number(v, 3, true);
  require(start <= end, 3);
  if (start == end && degressive) return 0;
  const double salvage = number(v, 4);
  require(salvage >= 0 && (degressive || salvage <= cost), 4);
  double period = low_bits(v, 5);
  require(period >= 0, 5);
  const double rate = number(v, 6), life = 1 / rate;
  require(rate > 0 && (!degressive || rate < 0.5), 6);
  require(basis >= 0, 7);
  const double y = annual_ratio(date_of(start), date_of(end), basis, degressive, true);
  if (degressive) {
    const double n = std::floor(life);
    if (n < 3 || period > n) return 0;
    const double c = life <= 4.000000000004 ? 1.5 : life <= 6.0000000000060005 ? 2.0 : 2.5;
    const double a = cost * c * rate * y;
    double d = rounded(salvage > cost - a ? cost - salvage : a), value = cost - d;
    for (int k = 0; k < period; ++k, value = value - d)
      d = rounded(salvage > value ? 0 : value * (k < n - 2 ? c * rate : k < n - 1 ? 0.5 : 1));
    return d;
  }
  double n = std::trunc(1.000000000001 * life);
  if (std::abs(n - life) > n * 1.053671212772351e-08) n = n + 1;
  if (period > n) return 0;
  const double full = cost * rate;
  if ((period += start == end) == 0) return y * full;
  return std::max(std::min(cost - y * full - salvage - (period - 1) * full, full), 0.0);
}

Answer modelled(const std::string& name, const Values& v, int basis) {
  return modelled_by(
      [&] { return v.size() < 6 ? dated(v, basis, name) : amor(v, basis, name == "AMORDEGRC"); });
}

struct Calls : Generator {
  Values call(std::size_t size) {
    const double late = day(), close = before(late, 1);
    const double early = of({close, close, close, close, close, late, day(), odd()});
    Values v = {early, late, below(12) ? of({1, 2, 4, 6, 12}) : odd()};
    if (size == 6) {
      const double cost = of({8.0 * below(99999), 1.0 + below(999999), std::exp(below(200) / 10.)});
      const double salvage = cost * of({0.1, 0.1, below(99) / 99., below(1999) / 1e3, 0, 1, 1e-3});
      const double rate =
          near() * of({0.4, 0.25, 0.2, 0.1, 1 / 3., 1 / 6., below(51) / 50., 4e-10});
      const double n = 3 + below(1 + static_cast<int>(std::min(1 / rate, 60.0)));
      v = {cost, early, late, salvage, of({0, 1, 2, n, n - 1, n - 2, n - 3, odd()}), rate};
    }
    v.resize(size);
    spoil(v);
    return v;
  }
};

TEST(Schedule, RandomCallsMatchPlainLoops) {
  Calls g;
  for (const auto& [keyword, size] : kKeywords) {
    int good = 0;
    for (int i = 0; i < 9000; ++i) {
      const Values v = g.call(size);
      const Basis& basis = g.basis();
      const Answer want = modelled(keyword, v, basis.second);
      for (const Width width : {Width::wide, Width::byte})
        ASSERT_EQ(answered(width, keyword, v, basis), want)
            << keyword << testing::PrintToString(v) << " basis row " << &basis - kBases;
      good += want.status == 0;
      if (want.status != 0 || size != 3 || keyword.ends_with("CD")) continue;
      const double later = 146097 * 0x1p22;  // the calendar repeats itself every 400 years
      const Values far = {v[0] + later, v[1] + later, v[2]};
      ASSERT_EQ(answered(Width::wide, keyword, far, basis), want)
          << keyword << testing::PrintToString(v) << " basis row " << &basis - kBases;
    }
    EXPECT_NEAR(good, 6000, 1500) << keyword;
  }
}

// A bond pays on the same day of each coupon month, or on the last of a shorter one, and from month
// end to month end. On 28 February COUPNUM has it otherwise: in a common year a coupon of the 29th
// is still to come, as if on 1 March; in a leap year that of a month-end 28th is gone a day early.
TEST(Schedule, CouponDaysAreTheWrittenOnes) {
  int still = 0, gone = 0;
  for (const Date maturity : {2031y / 5 / 15, 2031y / 1 / 29, 2031y / 8 / 30, 2031y / 7 / 31,
                              2030y / 4 / 30, 2030y / 11 / 30, 2032y / 2 / 28, 2032y / 2 / 29,
                              2031y / 2 / 28, 2104y / 2 / 29, 2103y / 2 / 28, 2031y / 12 / 31})
    for (const int months : {12, 6, 3, 2, 1})
      for (int m = -months; m >= -30 * 12; m -= months) {
        const Date previous = stepped(maturity, m), next = stepped(maturity, m + months);
        for (double day = number_of(previous); day < number_of(next); ++day) {
          const Date at = date_of(day);
          const Date due = stepped(maturity, months_of(at) - months_of(maturity));
          const bool yearly = at.month() == maturity.month();
          const bool to_come = yearly && at == due && at.day() < maturity.day();
          const bool paid = yearly && at < due && at.day() == maturity.day();
          const Values v = {day, number_of(maturity), 12.0 / months};
          for (const auto& [name, value] : {std::pair("COUPPCD", number_of(previous)),
                                            {"COUPNCD", number_of(next)},
                                            {"COUPNUM", -m / months + to_come - paid}})
            ASSERT_EQ(answered(Width::wide, name, v, kBases[0]), holding(value))
                << name << testing::PrintToString(v);
          still += to_come, gone += paid;
        }
      }
  EXPECT_EQ(std::pair(still, gone), std::pair(5 * (23 + 24), 5 * (7 + 6)));  // a day a year
}

}  // namespace
