// Twenty keywords of securities: random calls with a fixed seed are compared with a plain model,
// bit for bit where the order of operations is fixed.

#include <gtest/gtest.h>

#include <limits>

#include "tests/plain_model.h"

namespace {

using namespace plain;

constexpr std::string_view kKeywords[] = {
    "PRICE",     "YIELD",   "DURATION",   "MDURATION",  "ODDLPRICE", "ODDLYIELD", "ODDFPRICE",
    "ODDFYIELD", "DISC",    "INTRATE",    "RECEIVED",   "PRICEDISC", "YIELDDISC", "PRICEMAT",
    "YIELDMAT",  "TBILLEQ", "TBILLPRICE", "TBILLYIELD", "ACCRINT",   "ACCRINTM"};

struct Security {
  std::string_view name;
  int basis;
  Given given;
  // Settlement, maturity, issue or last interest, first coupon or first interest.
  Date S = date_of(given["settlement"]), M = date_of(given["maturity"]);
  Date I = date_of(given["issue"] + given["last_interest"]);
  Date F = date_of(given["first_coupon"] + given["first_interest"]);
  double rate = given["rate"] + given["coupon"], yield = given["yld"], discount = given["discount"];
  double price = given["pr"] + given["investment"], redemption = given["redemption"] + given["par"];
  double frequency = given["frequency"], coupon = 100 * rate / frequency;
  int months = frequency == 0 ? 0 : static_cast<int>(12 / frequency);

  double factor(double rate_of_year, bool is_price = false) const {  // discount factor of a period
    const double x = rate_of_year / frequency, v = 1 / (1 + x);
    require(!(1 + x < kTiny) && !(is_price && x * v >= 1), kUnmarked);
    return v;
  }

  double years(const Date& a, const Date& b) const {
    const bool end_31 = name != "DISC" && name != "ACCRINTM";
    return annual_ratio(a, b, basis, end_31, false, name == "RECEIVED");
  }

  // The days from a to b as a fraction of the coupon period.
  double share(const Date& a, const Date& b, const Date& from, const Date& to) const {
    return days(a, b, basis) / period_days(from, to, basis, frequency);
  }

  // 30/360 in odd first periods has rules for the end of February.
  double odd_first_days(const Date& a, const Date& b) const {
    if (basis != 0) return days(a, b, basis);
    const auto february_end = [](const Date& d) {
      return d.month() == cal::February && month_end(d);
    };
    unsigned start{a.day()}, end{b.day()};
    if (february_end(a) && february_end(b)) end = 30;
    if (february_end(a)) start = 30;
    if (end == 31 && start >= 30) end = 30;
    if (start == 31) start = 30;
    return 30. * (months_of(b) - months_of(a)) + end - start;
  }

  double odd_first_share(const Date& a, const Date& b, const Date& from, const Date& to) const {
    return odd_first_days(a, b) / period_days(from, to, basis, frequency);
  }

  // In odd last periods 30/360 has other rules and a limit. All bases with actual days are equal.
  double odd_last_share(const Date& a, const Date& b, const Date& from, const Date& to) const {
    if (basis == 4) return share(a, b, from, to);
    if (basis != 0) return days(a, b, 1) / days(from, to, 1);
    const bool moves = month_end(a) && a.month() != cal::February;
    const bool follows = moves && (month_end(b) || b.day() == 30d);
    const Date start = moves ? date_of(number_of(a) + 1) : a;
    const Date end = follows ? (b.year() / b.month() + cal::months{1}) / 1 : b;
    const bool february = start == end && month_end(end);  // the end of February: 2 days
    const double count = february ? 30. - unsigned{end.day()} : days(start, end, 0);
    return std::min(count, 360 / frequency) / (360 / frequency);
  }

  double coupon_bond(bool is_yield) const {
    const int k = months_to(S, M, months);
    const bool is_duration = name.ends_with("DURATION");
    const double E = period_days(stepped(M, k), stepped(M, k + months), basis, frequency);
    const double N = coupons_left(S, M, months), passed = days(stepped(M, k), S, basis);
    const double A = passed < E || is_duration ? passed : 0, a = A / E, s = (E - A) / E;
    if (is_yield && N == 1) {
      const double r = rate / frequency;
      return ((redemption / 100 + r) / (price / 100 + a * r) - 1) * frequency * E / (E - A);
    }
    const auto off = [&](double x) {
      const double v = factor(x);
      double t = std::pow(v, s), d = -s * t * v / frequency, sum = t, slope = d;
      for (double i = 1; i < N; ++i) {
        t *= v;
        d = -(s + i) * t * v / frequency;
        sum += t;
        slope += d;
      }
      return std::pair(coupon * (sum - a) + redemption * t - price,
                       coupon * slope + redemption * d);
    };
    if (is_yield) return found(root_near(0.1, off, 0));
    const double v = factor(yield, true);
    if (is_duration) {
      double w = s == 0 ? 1 : s, t = s == 0 ? 0 : s / frequency;
      double times = coupon * w * t, sum = coupon * w;
      for (double i = 1; i < N; ++i) {
        w *= v;
        t += 1 / frequency;
        times += coupon * w * t;
        sum += coupon * w;
      }
      const double duration = (times + 100 * w * t) / (sum + 100 * w);
      return name == "DURATION" ? duration : duration / (1 + yield / frequency);
    }
    if (N == 1) return (redemption + coupon) / (1 + yield / frequency * s) - coupon * a;
    double sum = 1, term = 1;
    for (double i = 1; i < N; ++i) sum += term *= v;
    return std::pow(v, s) * (redemption * std::pow(v, N - 1) + coupon * sum) - coupon * a;
  }

  double periods_left(const Date& from) const {
    int k = months_to(from, M, months);
    Date a = stepped(M, k), b = stepped(M, k += months);
    if (k == 0) return odd_last_share(from, M, a, a == from ? a : b);  // division by 0 days
    double sum = odd_last_share(from, b, a, b);
    for (; k < 0; sum += odd_last_share(a, b, a, b)) {
      a = b;
      b = stepped(M, k += months);
    }
    return sum;
  }

  double odd_last(bool is_yield) const {
    double accrued = 0;
    Date a = I, b = I;
    for (int k = months; b <= S; k += months) {
      a = b;
      b = stepped(I, k);
      accrued += odd_last_share(a, std::min(b, S), a, b);
    }
    const double paid = periods_left(I) * coupon + redemption, left = periods_left(S);
    const double paid_for = accrued * coupon + price, z = 1 + yield / frequency * left;
    require(is_yield ? paid_for != 0 && left != 0 : !(z < kTiny), kUnmarked);
    return is_yield ? frequency / left * (paid / paid_for - 1) : paid / z - coupon * accrued;
  }

  double odd_first(bool is_yield) const {
    const auto at = [&](int k) { return stepped(F, k, month_end(F) && month_end(M)); };
    double first_coupon = 0, accrued = 0, s = 0, more = 0;  // more: coupons after the first
    for (int k = 0; at(k) > I; k -= months) {
      const Date a = at(k - months), b = at(k), from = std::max(a, I);
      const double whole = from == a ? 1 : odd_first_share(from, b, a, b);
      first_coupon += whole;
      if (S > a) accrued += S >= b ? whole : odd_first_share(from, S, a, b);
      if (S < b) s += S < a ? 1 : odd_first_share(S, b, a, b);
    }
    for (int k = 0; stepped(F, k) < M; k += months) ++more;
    const auto off = [&](double x) {
      const double v = factor(x, !is_yield);
      double sum = -coupon * accrued - (is_yield ? price : 0), slope = 0;
      for (double i = 0; i <= more; ++i) {
        const double flow = coupon * (i == 0 ? first_coupon : 1) + (i == more ? redemption : 0);
        const double worth = flow * std::pow(v, s + i);
        sum += worth;
        slope -= worth * (s + i) * v / frequency;
      }
      return std::pair(sum, slope);
    };
    return is_yield ? found(root_near(0.1, off, 0)) : off(yield).first;
  }

  double accrued() const {
    int k = months_to(I, F, months);
    Date a = stepped(F, k), b = stepped(F, k += months);
    const double of_period = redemption * rate / frequency,
                 to_first = a == I ? 1 : share(I, b, a, b);
    if (S <= b) return of_period * share(I, S, a, b);
    double whole = 0;
    for (a = b; (b = stepped(F, k += months)) < S; a = b) ++whole;
    return of_period * (whole + to_first + share(a, S, a, b));
  }

  double discounted() const {
    const double t = years(S, M), q = 1 - discount * t, most = std::numeric_limits<double>::max();
    require(name != "DISC" || t > 0, kUnmarked);
    require(name != "RECEIVED" || !(std::abs(q) < 1 && price > std::abs(q) * most), kUnmarked);
    if (name == "RECEIVED") return price / q;
    if (name == "PRICEDISC") return q * redemption;
    return (redemption - price) / (name == "DISC" ? redemption : price) / t;
  }

  double at_maturity(bool is_yield) const {
    const double paid = years(I, M), left = years(S, M), accrued = years(I, S) * rate * 100;
    const double d = is_yield ? accrued + price : 1 + left * yield;
    require(d != 0, kUnmarked);
    if (is_yield) return ((100 + rate * paid * 100) / d - 1) / left;
    return (100 + paid * rate * 100) / d - accrued;
  }

  double bill() {
    const double span = given["maturity"] - given["settlement"], t = span / 365,
                 d = 360 - discount * span;
    if (name == "TBILLPRICE") return (1 - discount * span / 360) * 100;
    if (name == "TBILLYIELD") return (100 - price) / price * 360 / span;
    if (span <= 182) return 365 * discount / d;
    const double q = t * t - (2 * t - 1) * (discount * span / -d);
    if (q < 0) throw Outcome{kFailed, harness::kUntouched, kUnmarked};
    return (std::sqrt(q) - t) / (t - 0.5);
  }

  double value() {
    const bool is_yield = name.find("YIELD") != std::string::npos;
    if (name.starts_with("TBILL")) return bill();
    if (name.ends_with("MAT")) return at_maturity(is_yield);
    if (name == "ACCRINTM") return rate * years(I, S) * redemption;
    if (name == "ACCRINT") return accrued();
    if (name.starts_with("ODDL")) return odd_last(is_yield);
    if (name.starts_with("ODDF")) return odd_first(is_yield);
    return months > 0 ? coupon_bond(is_yield) : discounted();
  }
};

struct Calls : Generator {
  Values operator()(const catalog::Keyword& keyword) {
    const std::string_view name = keyword.word;
    const bool is_bill = name.starts_with("TBILL");
    const bool starts_odd = name.starts_with("ODDF");  // its values must not overflow
    const double rare = starts_odd ? of({1, 3}) : of({1e-9, 3, 0x1p-1000, 1e300, HUGE_VAL});
    const double span = of({182, 182.5, 183, 1. * below(999)}), any = day();
    const double f = of({1, 2, 4, 6, 12}), M = day();
    const int months = static_cast<int>(12 / f);
    const double F = before(M, months), S = below(12) ? before(starts_odd ? F : M, months) : any;
    const double I = below(12) ? before(S, months) : any, s = 1 + below(40000);
    const double rate = of({0.05, (1 + below(400)) / 1e3, below(9) ? 0.1 : rare});
    const double price = of({100, 1. + below(200), 10. * below(2000), below(3) ? 98.5 : rare});
    const double yield = of({0.06, below(999) / 1e3, -f * below(999) / 1e3, f * 1e15, rare});
    const double exact = 360 / (is_bill ? span : M - S);
    const double redemption = of({100, 1. + below(200), below(9) ? 105 : rare});
    // clang-format off
    Given drawn = {
        {"settlement", S}, {"maturity", M}, {"issue", I}, {"last_interest", I}, {"first_coupon", F},
        {"first_interest", of({F, before(S, months)})}, {"rate", rate}, {"coupon", rate},
        {"pr", price}, {"investment", price}, {"redemption", redemption}, {"par", redemption},
        {"discount", of({below(999) / 1e3, below(9) ? 0.1 : rare, below(3) ? 0.07 : exact})},
        {"yld", of({yield, yield, yield, -exact, f * (kTiny * near() - 1)})},
        {"frequency", below(12) ? f : odd()}};
    // clang-format on
    if (is_bill) {
      drawn["settlement"] = s + below(2) / 2.;
      drawn["maturity"] = s + (below(9) ? span : -span);
    }
    if (name == "ODDLYIELD") drawn["pr"] = of({price, -price, -100 * rate / f * below(4)});
    Values v = call(keyword, drawn);
    if (below(30) == 0) v[0] = odd();
    spoil(v);
    return v;
  }
};

TEST(Securities, RandomCallsMatchThePlainModel) {
  Calls calls;
  const auto model = [](const catalog::Keyword& keyword, const Values& v, int basis) {
    return Security{keyword.word, basis, given_by(keyword, v, basis)}.value();
  };
  for (const std::string_view word : kKeywords)
    compare(calls, word, model, word.starts_with("ODDF") ? 1e-11 : 0);
}

}  // namespace
