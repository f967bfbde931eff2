#include "bench/minimal.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace minimal {
namespace {

// ---- Dates -------------------------------------------------------------------------------------

struct Date {
  int year;
  int month;
  int day;
};

constexpr int kDayZero = 715815;  // 1 January 1960, in days since 1 March of year 0

// Years begin in March. Remainders are computed from the low half of a product with the reciprocal.
Date date_of(double value) {
  const auto quarters = 4 * static_cast<std::uint32_t>(static_cast<int>(value) + kDayZero) + 3;
  const std::uint32_t century = quarters / 146097;
  const std::uint64_t years = 2939745ULL * (quarters % 146097 | 3);
  const auto day_of_year = static_cast<std::uint32_t>((years & 0xFFFFFFFF) * 1461 >> 34);
  const std::uint32_t months = 2141 * day_of_year + 197913;
  const int next_year = day_of_year >= 306 ? 1 : 0;
  return {static_cast<int>(100 * century + static_cast<std::uint32_t>(years >> 32)) + next_year,
          static_cast<int>(months >> 16) - 12 * next_year,
          static_cast<int>((months & 0xFFFF) / 2141) + 1};
}

double value_of(const Date& date) {
  const int early = date.month <= 2 ? 1 : 0;
  const int year = date.year - early;
  const int month = date.month + 12 * early;
  return 365 * year + year / 4 - year / 100 + year / 400 + (153 * month - 457) / 5 + date.day - 1 -
         kDayZero;
}

bool is_leap(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int last_day(int year, int month) {
  return month == 2 ? (is_leap(year) ? 29 : 28) : 30 + ((month + month / 8) & 1);
}

int days_30_european(const Date& start, const Date& end) {
  return 360 * (end.year - start.year) + 30 * (end.month - start.month) + std::min(end.day, 30) -
         std::min(start.day, 30);
}

int days_30_us(const Date& start, const Date& end) {
  const bool ends_february = end.month == 2 && end.day == last_day(end.year, 2);
  return days_30_european(start, end) + (ends_february ? 30 - end.day : 0) -
         (start.day == 31 && end.day < 30 ? 1 : 0);
}

// Counts the leap years between two dates. The first and last year count only if their 29 February
// can be inside.
int long_years(const Date& start, const Date& end) {
  const auto through = [](int year) { return year / 4 - year / 100 + year / 400; };
  const bool from_start = start.month <= 2;
  const bool to_end = end.month >= 3;
  if (start.year == end.year) return is_leap(start.year) && (from_start || to_end) ? 1 : 0;
  return through(to_end ? end.year : end.year - 1) -
         through(from_start ? start.year - 1 : start.year);
}

// ---- Coupons -----------------------------------------------------------------------------------

int coupon_day(const Date& maturity, int year, int month) {
  if (maturity.day < 28) return maturity.day;
  const int last = last_day(year, month);
  const bool ends_month = maturity.day == last_day(maturity.year, maturity.month);
  return ends_month ? last : std::min(maturity.day, last);
}

int coupons_between(const Date& settlement, const Date& maturity, int frequency) {
  const int months = 12 * (maturity.year - settlement.year) + maturity.month - settlement.month;
  const int due = settlement.month == maturity.month
                      ? maturity.day
                      : coupon_day(maturity, settlement.year, settlement.month);
  return (months - (settlement.day >= due ? 1 : 0)) * frequency / 12 + 1;
}

// A bond per 100 of face value, between two coupons.
struct Bond {
  double frequency;
  double coupon;
  double redemption;
  double count;      // coupons after settlement
  double accrued;    // accrued part of the coupon
  double remaining;  // remaining part of the period
};

// Inlined, as full_price is, so that a caller computes only the fields that it uses.
[[gnu::always_inline]] inline Bond bond_of(Arguments in) {
  const Date settlement = date_of(in[0]);
  const Date maturity = date_of(in[1]);
  const int frequency = static_cast<int>(in[5]);
  const int basis = static_cast<int>(in[6]);
  const int period = 12 / frequency;
  const auto coupon_in = [&](int months) {
    Date date = settlement;
    date.month += months;
    const int years = date.month < 1 ? -1 : date.month > 12 ? 1 : 0;
    date.year += years;
    date.month -= 12 * years;
    date.day = coupon_day(maturity, date.year, date.month);
    return date;
  };

  const int ahead = maturity.month - settlement.month + 12;
  int to_next = ahead - ahead * frequency / 12 * period;
  bool is_due = false;
  if (to_next == 0) {
    const int due = coupon_day(maturity, settlement.year, settlement.month);
    is_due = settlement.day == due;
    if (settlement.day >= due) to_next = period;
  }
  const Date previous = coupon_in(to_next - period);
  double days = basis == 3 ? 365 / in[5] : 360 / in[5];
  double accrued = 0;
  if (basis == 0) {
    accrued = days_30_us(previous, settlement);
  } else if (basis == 4) {
    accrued = days_30_european(previous, settlement);
  } else {
    accrued = in[0] - value_of(previous);
    if (basis == 1) days = value_of(coupon_in(to_next)) - value_of(previous);
  }
  if (is_due || accrued >= days) accrued = 0;
  const double part = accrued / days;
  return {in[5], 100 * in[2] / in[5],
          in[4], static_cast<double>(coupons_between(settlement, maturity, frequency)),
          part,  1 - part};
}

// A function's value and its first two derivatives.
struct Taylor {
  double value;
  double first;
  double second;
};

// The price with accrued interest for a yield of y per period. Multiplied by y, it is coupon ((1 +
// y)^(1 - s) - (1 + y)^-t) + y redemption (1 + y)^-t.
[[gnu::always_inline]] inline Taylor full_price(const Bond& bond, double y) {
  const double s = bond.remaining;
  const double t = s + bond.count - 1;
  const double v = 1 / (1 + y);
  const double l = std::log(1 + y);
  const double last = std::exp(-t * l);
  if (std::fabs(y) < 1e-3) {  // the quotient would lose digits by cancellation
    Taylor sum{};
    const auto pay = [&](double amount, double time, double factor) {
      sum.value += amount * factor;
      sum.first -= amount * time * factor * v;
      sum.second += amount * time * (time + 1) * factor * v * v;
    };
    double factor = std::exp(-s * l);
    for (double k = 0; k < bond.count; ++k, factor *= v) pay(bond.coupon, s + k, factor);
    pay(bond.redemption, t, last);
    return sum;
  }
  const double first = std::exp((1 - s) * l);
  const double per_y = 1 / y;
  const double slope = (1 - s) * first * v;
  const double last_slope = -t * last * v;
  const double last_bend = -(t + 1) * last_slope * v;
  const double c = bond.coupon;
  const double r = bond.redemption;
  const double value = c * (first - last) * per_y + r * last;
  const double d = (c * (slope - last_slope) + r * (last + y * last_slope) - value) * per_y;
  return {
      value, d,
      (c * (-s * slope * v - last_bend) + r * (2 * last_slope + y * last_bend) - 2 * d) * per_y};
}

// ---- Roots -------------------------------------------------------------------------------------

// ln(a / b), which becomes more exact as a approaches b. A root finder needs this.
double log_ratio(double a, double b) {
  const double q = (a - b) / (a + b);
  return std::fabs(q) < 0.25 ? q * (2 + 2.0 / 3 * q * q) : std::log(a / b);
}

// Halley's step, whose error is the third power of the previous error; at most twice Newton's step.
double step_of(const Taylor& g) {
  const double square = g.first * g.first;
  return -2 * g.value * g.first / std::max(2 * square - g.value * g.second, square);
}

// g is a logarithm. The error after the step is at most g^2 times the step.
bool is_last(double g, double step, double x) {
  return std::fabs(step) * g * g <= 1e-12 * std::fabs(x);
}

// Approximates (1 + x) e^s - 1 for small s. The result is above -1 for every s.
double grown(double x, double s) { return x + (1 + x) * s / (1 + s * (s / 12 - 0.5)); }

// The sums of a, t a and t^2 a for discounted amounts a at times t.
struct Moments {
  double sum = 0;
  double first = 0;
  double second = 0;
};

// ln(after / -before) as a function of the logarithmic rate.
Taylor balance(const Moments& before, const Moments& after) {
  const double mean_before = before.first / before.sum;
  const double mean_after = after.first / after.sum;
  return {log_ratio(after.sum, -before.sum), mean_before - mean_after,
          after.second / after.sum - mean_after * mean_after -
              (before.second / before.sum - mean_before * mean_before)};
}

std::size_t sign_change(Arguments flows) {
  std::size_t k = 1;
  while (flows[k] * flows[0] >= 0) ++k;
  return k;
}

double power(double x, std::size_t n) {
  double result = 1;
  for (; n != 0; n >>= 1, x *= x) {
    if ((n & 1) != 0) result *= x;
  }
  return result;
}

// Moments of flows that are one period apart, by Horner's scheme in v^4. Its four strands are
// independent, so the processor can interleave them.
Moments periodic(Arguments flows, double v) {
  constexpr std::size_t kStrands = 4;
  const double x = power(v, kStrands);
  double value[kStrands] = {};
  double slope[kStrands] = {};
  double half_bend[kStrands] = {};
  std::size_t i = flows.size() - flows.size() % kStrands;
  for (std::size_t j = 0; i + j < flows.size(); ++j) value[j] = flows[i + j];
  while (i != 0) {
    i -= kStrands;
    for (std::size_t j = 0; j < kStrands; ++j) {
      half_bend[j] = half_bend[j] * x + slope[j];
      slope[j] = slope[j] * x + value[j];
      value[j] = value[j] * x + flows[i + j];
    }
  }
  Moments m;
  double factor = 1;
  for (std::size_t j = 0; j < kStrands; ++j, factor *= v) {
    const auto t = static_cast<double>(j);
    const double once = 4 * x * slope[j];
    m.sum += factor * value[j];
    m.first += factor * (t * value[j] + once);
    m.second += factor * (t * t * value[j] + 2 * (t + 2) * once + 32 * x * x * half_bend[j]);
  }
  return m;
}

Moments dated(Arguments amounts, const double* dates, double day_zero, double u) {
  Moments m;
  for (std::size_t k = 0; k < amounts.size(); ++k) {
    const double t = dates[k] - day_zero;
    const double present = u == 0 ? amounts[k] : amounts[k] * std::exp(-t * u);
    m.sum += present;
    m.first += t * present;
    m.second += t * t * present;
  }
  return m;
}

}  // namespace

double yearfrac(Arguments in) {
  const double days = in[1] - in[0];
  switch (static_cast<int>(in[2])) {
    case 0: {
      const Date end = date_of(in[1]);
      return (days_30_us(date_of(in[0]), end) + (end.day == 31 ? 1 : 0)) / 360.0;
    }
    case 1: {
      const Date start = date_of(in[0]);
      const Date end = date_of(in[1]);
      const int years = end.year - start.year + 1;
      return days * years / (365 * years + long_years(start, end));
    }
    case 2:
      return days / 360;
    case 3:
      return days / 365;
    default:
      return days_30_european(date_of(in[0]), date_of(in[1])) / 360.0;
  }
}

double coupnum(Arguments in) {
  return coupons_between(date_of(in[0]), date_of(in[1]), static_cast<int>(in[2]));
}

double price(Arguments in) {
  const Bond bond = bond_of(in);
  const double y = in[3] / bond.frequency;
  const double full = bond.count == 1 ? (bond.redemption + bond.coupon) / (1 + y * bond.remaining)
                                      : full_price(bond, y).value;
  return full - bond.coupon * bond.accrued;
}

double yield(Arguments in) {
  const Bond bond = bond_of(in);
  const double full = in[3] + bond.coupon * bond.accrued;
  if (bond.count == 1) {
    return ((bond.redemption + bond.coupon) / full - 1) * bond.frequency / bond.remaining;
  }
  const double gain = (bond.redemption - in[3]) / (bond.count - bond.accrued);
  double y = (bond.coupon + gain) / (0.6 * in[3] + 0.4 * bond.redemption);
  for (;;) {
    const Taylor p = full_price(bond, y);
    const double slope = p.first / p.value;
    const Taylor g = {log_ratio(p.value, full), slope, p.second / p.value - slope * slope};
    const double step = step_of(g);
    y += step;
    if (is_last(g.value, step, y)) return y * bond.frequency;
  }
}

double pmt(Arguments in) {
  const double growth = power(1 + in[0], static_cast<std::size_t>(in[1]));
  return -in[2] * in[0] * growth / (growth - 1);
}

double rate(Arguments in) {
  const double n = in[0];
  const double factor = -in[2] / in[1];  // (1 - (1 + r)^-n) / r
  const double l = std::log(n / factor);
  if (l == 0) return 0;
  // As a series in u = ln(1 + r), l is a u - b u^2, without a cubic term.
  const double a = (n + 1) / 2;
  const double b = (n * n - 1) / 24;
  double u = l < 1 ? 2 * l / (a + std::sqrt(a * a - 4 * b * l)) : std::log(1 + 1 / factor);
  for (;;) {
    const double growth = std::expm1(u);
    const double discount = -std::expm1(-n * u);
    const double at_start = 1 / growth;
    const double at_end = n / discount;
    const Taylor g = {log_ratio(discount, factor * growth), at_end - n - 1 - at_start,
                      (1 + growth) * at_start * at_start - at_end * at_end * (1 - discount)};
    const double step = step_of(g);
    u += step;
    if (is_last(g.value, step, u)) return grown(growth, step);
  }
}

double irr(Arguments in) {
  const std::size_t k = sign_change(in);
  const auto shift = static_cast<double>(k);
  double r = 0;
  for (;;) {
    const double v = 1 / (1 + r);
    Moments after = periodic(in.subspan(k), v);
    const double factor = power(v, k);
    after = {factor * after.sum, factor * (after.first + shift * after.sum),
             factor * (after.second + shift * (2 * after.first + shift * after.sum))};
    const Moments before = k == 1 ? Moments{in[0]} : periodic(in.first(k), v);
    const Taylor g = balance(before, after);
    const double step = step_of(g);
    r = grown(r, step);
    if (is_last(g.value, step, r)) return r;
  }
}

double xirr(Arguments in) {
  const Arguments amounts = in.first(in.size() / 2);
  const double* const dates = in.data() + amounts.size();
  const std::size_t k = sign_change(amounts);
  double u = 0;  // per day
  for (;;) {
    const Taylor g = balance(dated(amounts.first(k), dates, dates[0], u),
                             dated(amounts.subspan(k), dates + k, dates[0], u));
    const double step = step_of(g);
    u += step;
    if (is_last(g.value, step, u)) return std::expm1(365 * u);
  }
}

}  // namespace minimal
