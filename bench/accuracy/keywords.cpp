#include "bench/accuracy/keywords.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <tuple>

#include "bench/accuracy/dates.h"

namespace {

using dates::Date;
using std::exp, std::expm1, std::fabs, std::log, std::log1p, std::sqrt, std::trunc;

// ---- Rows. A formula has the arguments of the call as parameters, in the same order.

template <class T, std::size_t N>
std::array<T, N> first(const Values& values) {
  std::array<T, N> numbers{};
  for (std::size_t i = 0; i < N; ++i) numbers[i] = values[i];
  return numbers;
}

template <std::size_t N>
Row formula(const char* keyword, const char* ranges, double limit, auto f, const char* order = "") {
  return {.keyword = keyword,
          .what = "",
          .ranges = ranges,
          .limit = limit,
          .finish = {},
          .exact = [f](const Values& v) { return Real(std::apply(f, first<Real, N>(v))); },
          .plain = [f](const Values& v) -> double { return std::apply(f, first<double, N>(v)); },
          .balance = {},
          .order = order};
}

Row with(Row row, std::function<void(Values&)> finish) {
  row.finish = std::move(finish);
  return row;
}

Row list(const char* keyword, const char* ranges, double limit, auto f, const char* order = "") {
  return {.keyword = keyword,
          .what = "",
          .ranges = ranges,
          .limit = limit,
          .finish = {},
          .exact = [f](const Values& v) { return Real(f(std::vector<Real>(v.begin(), v.end()))); },
          .plain = [f](const Values& v) -> double { return f(v); },
          .balance = {},
          .order = order};
}

template <std::size_t N>
Row search(const char* keyword, const char* ranges, double limit, auto f) {
  return {.keyword = keyword,
          .what = "",
          .ranges = ranges,
          .limit = limit,
          .finish = {},
          .exact = {},
          .plain = {},
          .balance =
              [f](const Real& x, const Values& v) {
                return std::apply([&](const auto&... a) { return f(x, a...); }, first<Real, N>(v));
              },
          .order = ""};
}

Row list_search(const char* what, const char* keyword, const char* ranges, double limit, auto f) {
  return {.keyword = keyword,
          .what = what,
          .ranges = ranges,
          .limit = limit,
          .finish = {},
          .exact = {},
          .plain = {},
          .balance = [f](const Real& x,
                         const Values& v) { return f(x, std::vector<Real>(v.begin(), v.end())); },
          .order = ""};
}

int whole(const auto& x) { return static_cast<int>(std::lround(rounded(x))); }
Date date(const auto& x) { return dates::date(rounded(x)); }
template <class T>
T least(const T& a, const T& b) {
  return b < a ? b : a;
}
template <class T>
T most(const T& a, const T& b) {
  return a < b ? b : a;
}
template <class T>
T to_whole(const T& x) {  // rounds halves away from zero
  return trunc(x > 0 ? T(x + 0.5) : T(x - 0.5));
}

// ---- Annuities and rates

template <class T>
T growth(const T& rate, const T& periods) {  // (1 + rate)^periods - 1
  return expm1(periods * log1p(rate));
}

template <class T>
T due(const T& rate, const T& type) {
  return 1 + type * rate;
}

const auto FV = [](const auto& r, const auto& n, const auto& pmt, const auto& pv,
                   const auto& type) {
  const auto v = growth(r, n);
  return -(v + 1) * pv - v * pmt * due(r, type) / r;
};
const auto PV = [](const auto& r, const auto& n, const auto& pmt, const auto& fv,
                   const auto& type) {
  const auto w = growth(r, -n);
  return w * pmt * due(r, type) / r - fv * (w + 1);
};
const auto PMT = [](const auto& r, const auto& n, const auto& pv, const auto& fv,
                    const auto& type) {
  const auto v = growth(r, n);
  return -r * ((v + 1) * pv + fv) / v / due(r, type);
};
// The interest of a period is the interest on the present value of the remaining payments.
const auto IPMT = [](const auto& r, const auto& per, const auto& n, const auto& pv, const auto& fv,
                     const auto& type) {
  using T = std::decay_t<decltype(r)>;
  if (per == 1) return type == 1 ? T(0) : T(-pv * r);
  const T before = per - 1;
  const T on_pv = -pv * r * growth(r, T(before - n)) / growth(r, T(-n));
  return T((on_pv + r * fv * growth(r, before) / growth(r, n)) / due(r, type));
};
// The principal of each payment is 1 + r times that of the payment before.
const auto PPMT = [](const auto& r, const auto& per, const auto& n, const auto& pv, const auto& fv,
                     const auto& type) {
  using T = std::decay_t<decltype(r)>;
  if (per == 1 && type == 1) return T(PMT(r, n, pv, fv, type));
  const T grown = exp((per - 1) * log1p(r));
  return T(-r * (pv + fv) / growth(r, n) * grown / due(r, type));
};
const auto CUMPRINC = [](const auto& r, const auto& n, const auto& pv, const auto& start,
                         const auto& end, const auto& type) {
  using T = std::decay_t<decltype(r)>;
  const bool with_payment = type == 1 && start == 1;
  T before = start - 1;
  if (with_payment) before = 1;
  const T sum = with_payment ? T(PMT(r, n, pv, T(0), type)) : T(0);
  const T grown = exp(before * log1p(r)) * growth(r, T(end - before));
  return T(sum - pv * grown / growth(r, n) / due(r, type));
};
// The interest decreases to 0 with the remaining payments. It is summed from the last payment to
// the first; all terms have the same sign.
const auto CUMIPMT = [](const auto& r, const auto& n, const auto& pv, const auto& start,
                        const auto& end, const auto& type) {
  using T = std::decay_t<decltype(r)>;
  T interest = 0, sum = 0;  // interest: per payment of 1
  for (int k = whole(n); k >= std::max(whole(start), 1 + whole(type)); --k) {
    interest = interest + (1 - interest) * r / (1 + r);
    if (!(end < k)) sum = sum + interest;
  }
  return T(-pv * r * sum / -growth(r, T(-n)) / due(r, type));
};
const auto NPER = [](const auto& r, const auto& pmt, const auto& pv, const auto& fv,
                     const auto& type) {
  return -log1p((pv + fv) * r / (pmt * due(r, type) - fv * r)) / log1p(r);
};
const auto RATE = [](const auto& r, const auto& n, const auto& pmt, const auto& pv, const auto& fv,
                     const auto& type) {
  const auto w = growth(r, -n);
  const Real paid = -w / r * pmt * due(r, type), last = fv * (w + 1);
  return Balance<Real>{pv + paid + last, most(fabs(pv), most(fabs(paid), fabs(last)))};
};

const auto ISPMT = [](const auto& r, const auto& per, const auto& n, const auto& pv) {
  return -pv * r * (n - per) / n;
};
const auto EFFECT = [](const auto& r, const auto& n) { return growth(r / n, n); };
const auto NOMINAL = [](const auto& r, const auto& n) { return n * growth(r, 1 / n); };
const auto FVSCHEDULE = [](const auto& v) {
  auto product = v[0];
  for (std::size_t i = 1; i < v.size(); ++i) product = product * (1 + v[i]);
  return product;
};
const auto dollar = [](const auto& price, const auto& denominator, bool to_decimal) {
  using T = std::decay_t<decltype(price)>;
  T ten = 1;
  while (ten < denominator) ten = ten * 10;
  const T dollars = trunc(price), rest = price - dollars;
  if (!to_decimal) return T(dollars + rest * denominator / ten);
  return T(fabs(rest) > 5 * dollars * 0x1p-53 ? dollars + ten * rest / denominator : dollars);
};

// ---- Flows

const auto NPV = [](const auto& v) {
  auto sum = v[0] * 0;
  for (std::size_t i = v.size() - 1; i > 0; --i) sum = (sum + v[i]) / (1 + v[0]);
  return sum;
};
const auto MIRR = [](const auto& v) {
  using T = std::decay_t<decltype(v[0])>;
  const std::size_t n = v.size() - 2;
  const T &finance = v[n], &reinvest = v[n + 1];
  T paid = 0, received = 0;  // values at the first flow (paid) and at the last (received)
  for (std::size_t i = n; i-- > 0;) {
    paid = paid / (1 + finance);
    if (v[i] < 0) paid = paid - v[i];
  }
  for (std::size_t i = 0; i < n; ++i) {
    received = received * (1 + reinvest);
    if (!(v[i] < 0)) received = received + v[i];
  }
  return T(expm1(log(received / paid) / static_cast<double>(n - 1)));
};
const auto IRR = [](const Real& rate, const auto& v) {
  Balance<Real> balance;
  for (std::size_t i = v.size(); i-- > 0;) {
    balance.sum = balance.sum / (1 + rate) + v[i];
    balance.largest = most(Real(balance.largest / (1 + rate)), fabs(v[i]));
  }
  return balance;
};
// A list of amounts, followed by the same number of days.
template <class T>
Balance<T> dated(const T& rate, const T* amounts, std::size_t n) {
  Balance<T> balance{0, 0};
  const T per_day = exp(-log1p(rate) / 365);
  for (std::size_t i = 0; i < n; ++i) {
    const T term = amounts[i] * power(per_day, whole(T(amounts[n + i] - amounts[n])));
    balance.sum = balance.sum + term;
    balance.largest = most(balance.largest, T(fabs(term)));
  }
  return balance;
}

const auto XIRR = [](const Real& rate, const auto& v) {
  return dated(rate, v.data(), v.size() / 2);
};
const auto XNPV = [](const auto& v) { return dated(v[0], v.data() + 1, v.size() / 2).sum; };

// ---- Depreciation. The loops keep the book value, not the sum of the charges.

const auto SLN = [](const auto& cost, const auto& salvage, const auto& life) {
  return (cost - salvage) / life;
};
const auto SYD = [](const auto& cost, const auto& salvage, const auto& life, const auto& period) {
  return (cost - salvage) * (life - period + 1) * 2 / life / (1 + life);
};
const auto DB = [](const auto& cost, const auto& salvage, const auto& life, const auto& period,
                   const auto& month) {
  using T = std::decay_t<decltype(cost)>;
  const T thousandths = to_whole(T(-expm1(log(salvage / cost) / life) * 1000));
  T charge = cost * month * thousandths / 12000,
    left = cost * (12000 - month * thousandths) / 12000;
  for (int p = 2; p <= whole(least(period, life)); ++p) {
    charge = left * thousandths / 1000;
    left = left * (1000 - thousandths) / 1000;
  }
  return period > life ? T(left * (12 - month) * thousandths / 12000) : charge;
};
const auto DDB = [](const auto& cost, const auto& salvage, const auto& life, const auto& period,
                    const auto& factor) {
  using T = std::decay_t<decltype(cost)>;
  T left = cost, charge = 0;
  for (int p = 1; p <= whole(period) && !(salvage > cost); ++p) {
    charge = salvage > left ? T(0) : least(T(left * factor / life), T(left - salvage));
    left = left - charge;
  }
  return charge;
};
const auto VDB = [](const auto& cost, const auto& salvage, const auto& life, const auto& start,
                    const auto& end, const auto& factor, const auto& no_switch) {
  using T = std::decay_t<decltype(cost)>;
  if (life == end - start) return T(cost - salvage);
  T left = cost, sum = 0, charge = 0;
  bool switched = false;
  for (int p = 0; p < whole(end); ++p) {
    const T line = (left - salvage) / (life - p), declining = left * factor / life;
    if (!switched) {
      switched = no_switch == 0 && declining < line;
      charge = switched ? line : declining;
    }
    const bool is_last = charge > left - salvage;
    if (is_last) charge = left - salvage;
    if (!(p < start)) sum = sum + charge;
    left = left - charge;
    if (is_last) break;
  }
  return sum;
};
// The number of periods of the life is computed from the quotient 1 / rate in double, as in the
// definition.
const auto AMORLINC = [](const auto& cost, const auto& bought, const auto& end, const auto& salvage,
                         const auto& period, const auto& rate, const auto& basis) {
  using T = std::decay_t<decltype(cost)>;
  const double life = 1 / rounded(rate);
  double n = std::trunc(1.000000000001 * life);
  if (std::fabs(n - life) > n * 1.053671212772351e-08) ++n;
  if (rounded(period) > n) return T(0);
  const auto t =
      dates::year_fraction(date(bought), date(end), whole(basis), false, dates::Year::kOfStart);
  const T full = cost * rate, part = full * t.days / t.year_days;
  const T p = bought == end ? T(period + 1) : period;
  if (p == 0) return part;
  return most(T(0), least(full, T(cost - salvage - part - (p - 1) * full)));
};
const auto AMORDEGRC = [](const auto& cost, const auto& bought, const auto& end,
                          const auto& salvage, const auto& period, const auto& rate,
                          const auto& basis) {
  using T = std::decay_t<decltype(cost)>;
  const double life = 1 / rounded(rate);
  const int n = static_cast<int>(life), last = whole(period);
  if (n < 3 || last > n) return T(0);
  const double coefficient = life <= 4.000000000004 ? 1.5 : life <= 6.0000000000060005 ? 2 : 2.5;
  const auto t =
      dates::year_fraction(date(bought), date(end), whole(basis), true, dates::Year::kOfStart);
  T charge =
      to_whole(least(T(cost * coefficient * rate * t.days / t.year_days), T(cost - salvage)));
  T left = cost - charge, share = coefficient * rate;
  for (int k = 0; k < last; ++k) {
    if (k == n - 2) share = 0.5;
    if (k == n - 1) share = 1;
    charge = salvage > left ? T(0) : to_whole(T(left * share));
    left = left - charge;
  }
  return charge;
};

// ---- Securities. The lengths of periods are whole days, and exact.

template <class T>
T years(const T& a, const T& b, const T& basis, bool counts_31st = true,
        dates::Year rule = dates::Year::kAverage) {
  const auto t = dates::year_fraction(date(a), date(b), whole(basis), counts_31st, rule);
  return T(t.days) * t.years / t.year_days;
}

template <class T>
T period_days(const Date& from, const Date& to, int basis, const T& f) {
  return basis == 1 ? T(dates::actual_days(from, to)) : T(basis == 3 ? 365 : 360) / f;
}

// The position of settlement between the coupons, in periods; n coupons follow.
template <class T>
struct Position {
  T accrued, left;
  double n;
};
template <class T>
Position<T> position(const T& settlement, const T& maturity, const T& f, const T& basis,
                     bool renews) {
  const int code = whole(basis), months = 12 / whole(f);
  const Date s = date(settlement), m = date(maturity);
  const auto [previous, next] = dates::coupons_around(s, m, months);
  const T length = period_days(previous, next, code, f);
  T accrued = T(dates::days(previous, s, code)) / length;
  if (renews && !(accrued < 1)) accrued = 0;  // 184 days of 180, for example: a new period
  return {accrued, 1 - accrued, dates::coupons_left(s, m, months)};
}

// The value of a bond per 100: the first coupon, n - 1 regular coupons and the redemption.
template <class T>
T bond_price(const T& firsts, const Position<T>& at, const T& rate, const T& yield,
             const T& redemption, const T& f) {
  const T y = yield / f, coupon = 100 * rate / f, log_of_period = log1p(y), later = at.n - 1;
  const T whole_ones = y == 0 ? later : T(-expm1(-later * log_of_period) / y);
  const T at_first = redemption * exp(-later * log_of_period) + coupon * (firsts + whole_ones);
  return exp(-at.left * log_of_period) * at_first - coupon * at.accrued;
}

template <class T>
T price_of(const T& yield, const T& settlement, const T& maturity, const T& rate,
           const T& redemption, const T& f, const T& basis) {
  const Position<T> at = position(settlement, maturity, f, basis, true);
  if (at.n != 1) return bond_price(T(1), at, rate, yield, redemption, f);
  const T coupon = 100 * rate / f;
  return (redemption + coupon) / (1 + yield / f * at.left) - coupon * at.accrued;
}
const auto PRICE = [](const auto& s, const auto& m, const auto& rate, const auto& yield,
                      const auto& redemption, const auto& f, const auto& basis) {
  return price_of(yield, s, m, rate, redemption, f, basis);
};
const auto YIELD = [](const Real& x, const auto& s, const auto& m, const auto& rate, const auto& pr,
                      const auto& redemption, const auto& f, const auto& basis) {
  return Balance<Real>{price_of(x, s, m, rate, redemption, f, basis) - pr, most(pr, redemption)};
};
const auto DURATION = [](const auto& s, const auto& m, const auto& coupon, const auto& yield,
                         const auto& f, const auto& basis) {
  using T = std::decay_t<decltype(s)>;
  const auto at = position(s, m, f, basis, false);
  const T base = 1 + yield / f, amount = 100 * coupon / f;
  T weight = 1, weights = 0, times = 0;
  for (int k = 0; k < at.n; ++k) {
    if (k > 0) weight = weight / base;
    weights += weight;
    times += weight * (at.left + k);
  }
  const T last = 100 * weight, at_last = last * (at.left + at.n - 1);
  return T((amount * times + at_last) / (amount * weights + last) / f);
};

const auto MDURATION = [](const auto& s, const auto& m, const auto& coupon, const auto& yield,
                          const auto& f, const auto& basis) {
  return DURATION(s, m, coupon, yield, f, basis) / (1 + yield / f);
};

// An odd first period is measured in regular periods before the first coupon.
template <class T>
T odd_first_price(const T& yield, const T& settlement, const T& maturity, const T& issue,
                  const T& first_coupon, const T& rate, const T& redemption, const T& f,
                  const T& basis) {
  const int code = whole(basis), months = 12 / whole(f);
  const Date s = date(settlement), m = date(maturity), i = date(issue), c = date(first_coupon);
  const bool to_month_ends = dates::is_month_end(c) && dates::is_month_end(m);
  T firsts = 0;
  Position<T> at{0, 0, 1};
  for (int k = 0;; k -= months) {
    const Date a = dates::stepped(c, k - months, to_month_ends);
    const Date b = dates::stepped(c, k, to_month_ends);
    if (b <= i) break;
    const auto share = [&](const Date& from, const Date& to) {
      return T(dates::days_of_odd_first(from, to, code)) / period_days(a, b, code, f);
    };
    const T part = i <= a ? T(1) : share(i, b);
    firsts += part;
    if (s > a) at.accrued += s >= b ? part : share(std::max(a, i), s);
    if (s < b) at.left += s < a ? T(1) : share(s, b);
  }
  // Both are on the schedule of maturity.
  at.n += (dates::months_of(m) - dates::months_of(c)) / months;
  return bond_price(firsts, at, rate, yield, redemption, f);
}
const auto ODDFPRICE = [](const auto& s, const auto& m, const auto& i, const auto& c,
                          const auto& rate, const auto& yield, const auto& redemption,
                          const auto& f, const auto& basis) {
  return odd_first_price(yield, s, m, i, c, rate, redemption, f, basis);
};
const auto ODDFYIELD = [](const Real& x, const auto& s, const auto& m, const auto& i, const auto& c,
                          const auto& rate, const auto& pr, const auto& redemption, const auto& f,
                          const auto& basis) {
  const Real worth = odd_first_price(x, s, m, i, c, rate, redemption, f, basis);
  return Balance<Real>{worth - pr, most(pr, redemption)};
};
// Sets the first coupon: the first coupon date after settlement on the schedule of maturity.
void set_first_coupon(Values& v) {
  const int months = 12 / whole(v[7]);
  v[3] = dates::number(dates::coupons_around(date(v[0]), date(v[1]), months).second);
}
void set_odd_price(Values& v) {
  set_first_coupon(v);
  v[5] = std::apply(ODDFPRICE, first<double, 9>(v));
}

// The number of periods from a day to maturity; an odd last period is measured by the schedule.
template <class T>
T odd_share(const Date& from, const Date& to, const Date& start, const Date& end, int basis,
            const T& f) {
  const T days = dates::days_of_odd_last(from, to, basis);
  if (basis % 4 != 0) return days / dates::actual_days(start, end);
  const T length = 360 / f;
  return (basis == 0 ? least(days, length) : days) / length;
}
template <class T>
struct OddLast {
  T accrued, all, left;
};
template <class T>
OddLast<T> odd_last(const T& settlement, const T& maturity, const T& last, int basis, const T& f) {
  const int months = 12 / whole(f);
  const Date s = date(settlement), m = date(maturity), l = date(last);
  const auto to_maturity = [&](const Date& from) {
    auto [start, end] = dates::coupons_around(from, m, months);
    if (end >= m && start == from) end = from;  // actual days are then divided by 0 days
    Date at = from;
    int k = dates::months_to(from, m, months) + months;
    T sum = 0;
    for (; k < 0; end = dates::stepped(m, k += months)) {
      sum += odd_share(at, end, start, end, basis, f);
      start = at = end;
    }
    return T(sum + odd_share(at, m, start, end, basis, f));
  };
  T accrued = 0;
  Date start = l, end = l;
  for (int k = months; end <= s; k += months) {
    start = end;
    end = dates::stepped(l, k);
    accrued += odd_share(start, std::min(end, s), start, end, basis, f);
  }
  return {accrued, to_maturity(l), to_maturity(s)};
}
const auto ODDLPRICE = [](const auto& s, const auto& m, const auto& last, const auto& rate,
                          const auto& yield, const auto& redemption, const auto& f,
                          const auto& basis) {
  const auto at = odd_last(s, m, last, whole(basis), f);
  const auto coupon = 100 * rate / f;
  return (at.all * coupon + redemption) / (1 + yield / f * at.left) - coupon * at.accrued;
};
const auto ODDLYIELD = [](const auto& s, const auto& m, const auto& last, const auto& rate,
                          const auto& pr, const auto& redemption, const auto& f,
                          const auto& basis) {
  const auto at = odd_last(s, m, last, whole(basis), f);
  const auto coupon = 100 * rate / f;
  const auto gain = coupon * (at.all - at.accrued) + (redemption - pr);
  return gain / (at.accrued * coupon + pr) * f / at.left;
};

const auto ACCRINT = [](const auto& issue, const auto& first_interest, const auto& settlement,
                        const auto& rate, const auto& par, const auto& f, const auto& basis) {
  using T = std::decay_t<decltype(rate)>;
  const int code = whole(basis), months = 12 / whole(f);
  const Date i = date(issue), anchor = date(first_interest), s = date(settlement);
  int k = dates::months_to(i, anchor, months);
  T periods = 0;
  for (Date a = dates::stepped(anchor, k), b; a < s; a = b) {
    b = dates::stepped(anchor, k += months);
    const Date from = std::max(a, i), to = std::min(b, s);
    const bool is_whole = from == a && b < s;
    const T share = T(dates::days(from, to, code)) / period_days(a, b, code, f);
    periods += is_whole ? T(1) : share;
  }
  return T(par * rate / f * periods);
};
const auto ACCRINTM = [](const auto& i, const auto& s, const auto& rate, const auto& par,
                         const auto& basis) { return rate * years(i, s, basis, false) * par; };
const auto DISC = [](const auto& s, const auto& m, const auto& pr, const auto& redemption,
                     const auto& basis) {
  return (redemption - pr) / redemption / years(s, m, basis, false);
};
const auto INTRATE = [](const auto& s, const auto& m, const auto& investment,
                        const auto& redemption, const auto& basis) {
  return (redemption - investment) / investment / years(s, m, basis);
};
const auto RECEIVED = [](const auto& s, const auto& m, const auto& investment, const auto& discount,
                         const auto& basis) {
  return investment / (1 - discount * years(s, m, basis, true, dates::Year::kWholeLeaps));
};
const auto PRICEDISC = [](const auto& s, const auto& m, const auto& discount,
                          const auto& redemption, const auto& basis) {
  return (1 - discount * years(s, m, basis)) * redemption;
};
const auto PRICEMAT = [](const auto& s, const auto& m, const auto& i, const auto& rate,
                         const auto& yield, const auto& basis) {
  const auto due = 1 + years(i, m, basis) * rate;
  return 100 * due / (1 + years(s, m, basis) * yield) - years(i, s, basis) * rate * 100;
};
const auto YIELDMAT = [](const auto& s, const auto& m, const auto& i, const auto& rate,
                         const auto& pr, const auto& basis) {
  const auto all = years(i, m, basis), accrued = years(i, s, basis);
  const auto gain = 100 * rate * (all - accrued) + (100 - pr);
  return gain / (accrued * rate * 100 + pr) / years(s, m, basis);
};
const auto TBILLPRICE = [](const auto& s, const auto& m, const auto& discount) {
  return (1 - discount * (m - s) / 360) * 100;
};
const auto TBILLYIELD = [](const auto& s, const auto& m, const auto& pr) {
  return (100 - pr) / pr * 360 / (m - s);
};
const auto YEARFRAC = [](const auto& a, const auto& b, const auto& basis) {
  return years(a, b, basis);
};
const auto TBILLEQ = [](const auto& s, const auto& m, const auto& discount) {
  using T = std::decay_t<decltype(s)>;
  const T days = m - s, base = 360 - discount * days, t = days / 365;
  if (!(days > 182)) return T(365 * discount / base);
  const T lost = discount * days / base;
  return T(2 * lost / (sqrt(t * t + (2 * t - 1) * lost) + t));
};

// ---- The schedule. Results are whole numbers.

template <class T>
T coupon_days(const T& settlement, const T& maturity, const T& f, const T& basis, char what) {
  const int code = whole(basis), months = 12 / whole(f);
  const Date s = date(settlement), m = date(maturity);
  const auto [previous, next] = dates::coupons_around(s, m, months);
  switch (what) {
    case 'b':
      return dates::days(previous, s, code);
    case 'd':
      return period_days(previous, next, code, f);
    case 's':
      return dates::days(s, next, code);
    case 'n':
      return dates::number(next);
    case 'p':
      return dates::number(previous);
    default:
      return dates::coupons_left(s, m, months);
  }
}

// Ranges that several keywords share.
#define BASIS "basis=0|1|2|3|4"
#define SCHEDULE "frequency=1|2|4|6|12 " BASIS
#define BOND "settlement=@1950:2050 maturity=settlement+1:10957 "
#define DISCOUNTED "settlement=@1950:2050 maturity=settlement+1:3650 "
#define BILL "settlement=@1961:2050 maturity=settlement+1:366 "
#define ODD_FIRST                                                               \
  "settlement=@1950:2050 maturity=settlement+400:10957 issue=settlement-0:700 " \
  "first_coupon=next(settlement+0:0) rate=0.001..0.2 "
#define ODD_LAST                                                                    \
  "settlement=@1950:2050 maturity=settlement+1:700 last_interest=settlement-1:700 " \
  "rate=0.001..0.2 "
#define LOAN "pv=1..1e6 fv=-1e5..1e5 type=0|1"
#define SPAN "rate=1e-5~0.02 nper=1:480 pv=1..1e6 start=1:nper end=start:nper type=0|1"

// Results are whole numbers, except 365 / frequency.
Row coupons(const char* keyword, char what) {
  return formula<4>(keyword, BOND SCHEDULE, what == 'd' ? 0.5 : 0,
                    [what](const auto& s, const auto& m, const auto& f, const auto& b) {
                      return coupon_days(s, m, f, b, what);
                    });
}

std::vector<Row> all_rows() {
  const char* const expm1_log1p = "`expm1` and `log1p` of the C library for all arguments";
  const char* const what_is_left =
      "the remaining value, reduced each period, instead of the cost minus all charges";
  const char* const powers =
      "powers by `exp` and `log1p` instead of repeated multiplication by a rounded factor";
  const char* const gain =
      "the gain divided by the price paid, instead of a quotient near 1 minus 1";
  // clang-format off
  std::vector<Row> rows = {
      formula<7>("ACCRINT", "issue=@1950:2050 first_interest=issue-0:3650 settlement=issue+1:3650 rate=0.001..0.2 par=1..1e6 " SCHEDULE, 2, ACCRINT),
      formula<5>("ACCRINTM", "issue=@1950:2050 settlement=issue+1:3650 rate=0.001..0.2 par=1..1e6 " BASIS, 2, ACCRINTM),
      formula<7>("AMORDEGRC", "cost=100..1e6 bought=@1950:2050 end=bought+1:366 salvage=0..100 period=0:12 rate=0.05..0.33 " BASIS, 0, AMORDEGRC),
      formula<7>("AMORLINC", "cost=100..1e6 bought=@1950:2050 end=bought+0:366 salvage=0..100 period=0:20 rate=0.05..0.5 " BASIS, 8, AMORLINC),
      coupons("COUPDAYBS", 'b'),
      coupons("COUPDAYS", 'd'),
      coupons("COUPDAYSNC", 's'),
      coupons("COUPNCD", 'n'),
      coupons("COUPNUM", '#'),
      coupons("COUPPCD", 'p'),
      formula<6>("CUMIPMT", SPAN, 1e7, CUMIPMT, "the interest of each period, added from the last period to the first"),
      formula<6>("CUMPRINC", SPAN, 1e6, CUMPRINC, "powers instead of a balance carried from period to period"),
      formula<5>("DB", "cost=100..1e6 salvage=1..100 life=1:40 period=1:life month=1:12", 1e7, DB, what_is_left),
      formula<5>("DDB", "cost=100..1e6 salvage=0..100 life=2:40 period=1:life factor=0.5..4", 1e6, DDB, what_is_left),
      formula<5>("DISC", DISCOUNTED "pr=50..100 redemption=100..110 " BASIS, 2, DISC),
      formula<2>("DOLLARDE", "price=-1000..1000 fraction=1:1024", 1, [](const auto& p, const auto& d) { return dollar(p, d, true); }),
      formula<2>("DOLLARFR", "price=-1000..1000 fraction=1:1024", 1, [](const auto& p, const auto& d) { return dollar(p, d, false); }),
      formula<6>("DURATION", BOND "coupon=0.001..0.2 yld=-0.02..0.3 " SCHEDULE, 200, DURATION),
      formula<2>("EFFECT", "nominal=1e-6~2 periods=1|2|4|12|52|365", 70, EFFECT, expm1_log1p),
      formula<5>("FV", "rate=1e-5~0.02 nper=1:480 pmt=-1e4..1e4 pv=-1e5..1e5 type=0|1", 150, FV, expm1_log1p),
      list("FVSCHEDULE", "principal=1..1e6 rate{1:24}=-0.5..0.5", 8, FVSCHEDULE),
      formula<5>("INTRATE", DISCOUNTED "investment=50..100 redemption=100..110 " BASIS, 2, INTRATE),
      formula<6>("IPMT", "rate=1e-5~0.02 per=1:480 nper=per:480 " LOAN, 1e7, IPMT, "the interest on the present value of the remaining payments"),
      list_search("one change of sign", "IRR", "out{1:3}=-1e4..-1 in{1:20}=1..1e4", 40, IRR),
      list_search("two changes", "IRR", "out{1:3}=-1e4..-1 in{1:20}=1..1e4 out{1:2}=-1e3..-1", 40, IRR),
      formula<4>("ISPMT", "rate=1e-5~0.02 per=1:480 nper=1:480 pv=1..1e6", 2, ISPMT),
      formula<6>("MDURATION", BOND "coupon=0.001..0.2 yld=-0.02..0.3 " SCHEDULE, 200, MDURATION),
      list("MIRR", "out{1:3}=-1e4..-1 in{1:20}=1..1e4 finance=1e-3..0.3 reinvest=1e-3..0.3", 40, MIRR, "division by 1 + rate at each step, and the C library's `expm1`"),
      formula<2>("NOMINAL", "effective=1e-6~2 periods=1|2|4|12|52|365", 70, NOMINAL, expm1_log1p),
      formula<5>("NPER", "rate=1e-5~0.02 pmt=-1e4..-100 pv=1..1e5 fv=-1e5..0 type=0|1", 1e7, NPER, "`log1p` of the ratio minus 1, computed directly, instead of `log` of the ratio"),
      list("NPV", "rate=1e-4~1 flow{1:24}=-1e4..1e4", 30, NPV),
      with(formula<9>("ODDFPRICE", ODD_FIRST "yld=-0.02..0.3 redemption=90..110 " SCHEDULE, 400, ODDFPRICE, powers), set_first_coupon),
      with(search<9>("ODDFYIELD", ODD_FIRST "pr=at(-0.02..0.3) redemption=90..110 " SCHEDULE, 1000, ODDFYIELD), set_odd_price),
      formula<8>("ODDLPRICE", ODD_LAST "yld=-0.02..0.3 redemption=90..110 " SCHEDULE, 8, ODDLPRICE),
      formula<8>("ODDLYIELD", ODD_LAST "pr=50..110 redemption=90..110 " SCHEDULE, 8, ODDLYIELD, gain),
      formula<5>("PMT", "rate=1e-5~0.02 nper=1:480 " LOAN, 150, PMT, expm1_log1p),
      formula<6>("PPMT", "rate=1e-5~0.02 per=1:480 nper=per:480 " LOAN, 1e6, PPMT, "the principal of the first period times a power"),
      formula<7>("PRICE", BOND "rate=0.001..0.2 yld=-0.02..0.3 redemption=90..110 " SCHEDULE, 400, PRICE, powers),
      formula<5>("PRICEDISC", DISCOUNTED "discount=0.001..0.2 redemption=90..110 " BASIS, 8, PRICEDISC),
      formula<6>("PRICEMAT", DISCOUNTED "issue=settlement-0:3650 rate=0.001..0.2 yld=-0.02..0.3 " BASIS, 20, PRICEMAT),
      formula<5>("PV", "rate=1e-5~0.02 nper=1:480 pmt=-1e4..1e4 fv=-1e5..1e5 type=0|1", 100, PV, expm1_log1p),
      with(search<5>("RATE", "nper=1:480 pmt=at(1e-4~0.02) pv=1..1e6 fv=-1e5..1e5 type=0|1", 2000, RATE), [](Values& v) { v[1] = PMT(v[1], v[0], v[2], v[3], v[4]); }),
      formula<5>("RECEIVED", DISCOUNTED "investment=50..100 discount=0.001..0.09 " BASIS, 4, RECEIVED),
      formula<3>("SLN", "cost=100..1e6 salvage=0..1e5 life=1..40", 1, SLN),
      formula<4>("SYD", "cost=100..1e6 salvage=0..1e5 life=1:40 period=1:life", 4, SYD),
      formula<3>("TBILLEQ", BILL "discount=0.001..0.2", 1e6, TBILLEQ, "the root of the quadratic without subtracting nearly equal numbers"),
      formula<3>("TBILLPRICE", BILL "discount=0.001..0.2", 2, TBILLPRICE),
      formula<3>("TBILLYIELD", BILL "pr=80..99.99", 2, TBILLYIELD),
      formula<7>("VDB", "cost=100..1e6 salvage=0..100 life=2:40 start=0:life end=1:life factor=0.5..4 no_switch=0|1", 1e5, VDB, what_is_left),
      list_search("", "XIRR", "out=-1e5..-1e3 in{1:20}=1..1e4 day=@2015:2025 day{*}=day+1:400", 40, XIRR),
      list("XNPV", "rate=-0.5..1 first=-1e4..1e4 amount{0:23}=-1e4..1e4 day=@2015:2025 day{*}=day+1:400", 20, XNPV),
      formula<3>("YEARFRAC", "start=@1950:2050 end=start+0:36525 " BASIS, 2, YEARFRAC),
      with(search<7>("YIELD", BOND "rate=0.001..0.2 pr=at(-0.02..0.3) redemption=90..110 " SCHEDULE, 1000, YIELD), [](Values& v) { v[3] = std::apply(PRICE, first<double, 7>(v)); }),
      formula<5>("YIELDDISC", DISCOUNTED "pr=50..100 redemption=100..110 " BASIS, 2, INTRATE),
      formula<6>("YIELDMAT", DISCOUNTED "issue=settlement-0:3650 rate=0.001..0.2 pr=50..110 " BASIS, 30, YIELDMAT, gain),
  };
  // clang-format on
  return rows;
}

}  // namespace

const std::vector<Row>& rows() {
  static const std::vector<Row> kRows = all_rows();
  return kRows;
}
