// Annuities, rates and cash flows: random calls with a fixed seed are compared with a plain model,
// bit for bit. Also tests working storage.

#include <gtest/gtest.h>

#include <map>

#include "tests/plain_model.h"

namespace {

using namespace plain;

constexpr double kMost = 709.782712893384;  // e to a higher power overflows

double growth(double rate, double periods) {  // (1 + rate)^periods - 1
  const double exponent = periods * zln1px(rate);
  require(!(exponent >= kMost), kUnmarked);
  return periods == 0 ? 0 : zexpm1(exponent);
}

double annuity_rate(double n, double pmt, double pv, double fv, bool at_start) {
  require(pmt != 0 || (fv != 0 && !(pv / fv <= 0)), kUnmarked);
  if (pmt == 0) return zexpm1(-std::log(pv / fv) / n);
  const auto off = [&](double r) {
    const bool is_series = std::abs(r * n) < 0.0001;
    double A = is_series ? n : -zexpm1(-n * zln1px(r)) / r, t = n;
    double B = is_series ? 0 : n / (1 + r) * (1 / r - A) - A / r;
    for (int k = 1; is_series && k <= 5; ++k) {
      t *= -(n + k) / (k + 1);
      B += k * t;
      t *= r;
      A += t;
    }
    const double f = fv / pmt, D = (r * A - 1) * f + -pv / pmt;
    require(r > -1 && D > 2.2250738585072014e-308, kUnmarked);
    return std::pair(std::log(D) - std::log(A) - (at_start ? zln1px(r) : 0),
                     f * (r * B + A) / D - B / A - (at_start ? 1 / (1 + r) : 0));
  };
  return found(root_near(-pmt / pv, off, std::max(std::abs(pmt), std::abs(pv))));
}

double of_loan(std::string_view word, Given& a) {
  const double rate = a["rate"], nper = a["nper"], per = a["per"], pmt = a["pmt"];
  const double pv = a["pv"], fv = a["fv"];
  const bool at_start = a["type"] == 1, is_principal = word == "CUMPRINC";
  const double due = at_start ? 1 + rate : 1, first_interest = at_start ? 0 : -pv * rate;
  if (word == "ISPMT") return -pv * rate * (nper - per) / nper;
  if (word == "RATE") return annuity_rate(nper, pmt, pv, fv, at_start);
  if (word == "NPER") {
    const double base = pmt * due - fv * rate, ratio = (pv * rate + pmt * due) / base;
    require(base != 0 && !(ratio <= 0), kUnmarked);
    return -std::log(ratio) / zln1px(rate);
  }
  if (word == "PV") {
    const double w = growth(rate, -nper);
    return -fv * (w + 1) + w * pmt * due / rate;
  }
  if (word == "IPMT" && per == 1) return first_interest;
  const double v = growth(rate, nper);
  if (word == "FV") return 0 - (v + 1) * pv - v * pmt * due / rate;
  const double payment = -rate * ((v + 1) * pv + fv) / v / due;
  if (word == "PMT") return payment;
  if (word == "IPMT" || word == "PPMT") {
    const double u = growth(rate, per - 1), later = (u + 1) * (-pv * rate) / due - u * payment;
    const double interest = per == 1 ? first_interest : later;
    return word == "IPMT" ? interest : payment - interest;
  }
  if (at_start && a["end_period"] == 1) return is_principal ? payment : 0;
  double balance = at_start ? pv + payment : pv;
  double sum = at_start && a["start_period"] == 1 && is_principal ? payment : 0;
  for (double k = 1 + at_start; k <= a["end_period"]; ++k) {
    const double interest = rate * balance, principal = interest + payment;
    balance = is_principal ? balance + principal : balance + payment + interest;
    if (a["start_period"] <= k) sum += is_principal ? principal : -interest;
  }
  return sum;
}

double of_price(std::string_view word, Given& a) {
  const double n = a["npery"], d = a["fraction"], ten = std::pow(10, std::ceil(std::log10(d)));
  if (word == "EFFECT") return zexpm1(n * zln1px(a["nominal_rate"] / n));
  if (word == "NOMINAL") return n * zexpm1(zln1px(a["effect_rate"]) / n);
  const double price = a["fractional_dollar"] + a["decimal_dollar"];
  const double whole = std::trunc(price), left = price - whole;
  if (word == "DOLLARFR") return whole + left * d / ten;
  return whole + (std::abs(left) > 5 * whole * 0x1p-53 ? ten * left / d : 0);
}

int size(const Values& v) { return static_cast<int>(v.size()); }

double fvschedule(const Values& v) {
  double value = number(v, 1);
  for (int i = 2; i <= size(v); ++i) value = value * (1 + number(v, i));
  return value;
}

double npv(const Values& v) {
  const double rate = number(v, 1), d = 1 / (1 + rate);
  require(rate > 0, 1);
  double sum = 0;
  for (int i = size(v); i > 1; --i) sum = sum * d + number(v, i);
  return d * sum;
}

double mirr(const Values& v) {
  const int flows = size(v) - 2;
  require(flows > 0, kUnmarked);
  const double reinvested = number(v, flows + 2), g = 1 / (1 + reinvested);
  require(reinvested > 0, flows + 2);
  const double financed = number(v, flows + 1), f = 1 / (1 + financed);
  require(financed > 0, flows + 1);
  double received = 0, paid = 0;
  for (int i = flows; i > 0; --i) {
    received = received * g;
    paid = paid * f;
    (number(v, i) < 0 ? paid : received) += number(v, i);
  }
  const double q = -g * received / (f * paid);
  require(f * paid != 0 && q > 0, kUnmarked);
  const double power = zexpm1(flows * zln1px(reinvested)) + 1;
  return zexpm1(std::log(q * power / (1 + financed)) / (flows - 1));
}

// IRR searches for v = 1 / (1 + rate), a root of the polynomial whose coefficients are the flows.
// For |v| of 1 and above, the values of a point are divided by e^exponent.
struct Point {
  double value, first, second, exponent;
  bool is_noise;
  double magnitude() const { return std::abs(value) * std::exp(exponent); }
};
Point at(const Values& c, double x) {
  const double n = size(c) - 1, z = std::abs(x) < 1 ? x : 1 / x;
  double p = 0, q = 0, h = 0, scale = 0, largest = 0;
  for (int i = 0; i <= n; ++i) {
    const double each = c[static_cast<std::size_t>(std::abs(x) < 1 ? n - i : i)];
    h = h * z + q;
    q = q * z + p;
    p = p * z + each;
    scale += std::abs(each);
    largest = std::max(largest, std::abs(each));
  }
  const bool is_noise = std::pow(std::abs(x), n) * largest < 0x1p-42 * scale;
  if (std::abs(x) < 1) return {p, q, 2 * h, 0, is_noise};
  const double power = n * std::log(std::abs(x)), exponent = std::floor(power);
  const double s = std::exp(power - exponent) * (x < 0 && std::fmod(n, 2) == 1 ? -1 : 1);
  return {s * p, s * z * (n * p - z * q),
          s * z * z * (n * (n - 1) * p - 2 * (n - 1) * z * q + z * z * (2 * h)), exponent,
          is_noise};
}

double irr_of_one_change(const Values& c, int change) {
  const Values before(c.begin(), c.begin() + change), after(c.begin() + change, c.end());
  double u = 0;
  for (int i = 0; i < 40; ++i) {
    const double v = std::exp(u);
    const Point b = at(before, v), a = at(after, v);
    const double off = std::log(std::abs(b.value)) + b.exponent -
                       (std::log(std::abs(a.value)) + a.exponent) - change * u;
    const double step = off / (v * b.first / b.value - v * a.first / a.value - change);
    u -= step;
    if (std::abs(step) <= 1e-10) return std::exp(u);
  }
  throw int{kUnmarked};
}

// Newton's method: in (0, 1] with a start just below 1, or above 1 with a start just above 1.
std::optional<double> root_beside_one(const Values& c, bool is_below) {
  double v = is_below ? 0.999999999999 : 1.000000000001, largest = 0;
  for (const double each : c) largest = std::max(largest, std::abs(each));
  for (int i = 0; i < 40; ++i) {
    const Point p = at(c, v);
    const double step = p.value / p.first, next = v - step;
    const bool is_done = p.magnitude() < 1e-10 * largest || std::abs(step) < 1e-10;
    const bool stays = is_below ? next > 0 && next <= 1 : next > 1;
    if (is_done && p.is_noise) return {};
    if (is_done) return stays ? next : v;
    v = stays ? next : is_below ? v / 2 : v + 1;
  }
  return {};
}

double root_by_laguerre(const Values& c) {
  const double a = 1. / (size(c) - 1), b = 1 - a;
  double scale = 0;
  for (const double each : c) scale += std::abs(each);
  int iterations = 0;
  for (double v : {0.99, 0.3629244535057, 0.7451947130008, 0.8310586730163, 0.2762771729735})
    for (;;) {
      const Point p = at(c, v);
      const double t = (p.first * p.first * b - p.value * p.second) * b;
      if (t < 0) break;
      const double lead = (p.value < 0 ? -p.first : p.first) * a;
      const double step =
          std::abs(p.value) / (lead < 0 ? lead - std::sqrt(t) : lead + std::sqrt(t));
      v -= step;
      require(++iterations <= 39, kUnmarked);
      if (std::abs(step) <= 1e-12 * std::abs(v) || p.magnitude() < 1e-12 * scale) return v;
    }
  throw int{kUnmarked};
}

double irr(const Values& v) {
  for (const double flow : v) require(!std::isnan(flow) && flow != kNull, kUnmarked);
  Values c = v;
  while (!c.empty() && c.back() == 0) c.pop_back();
  while (!c.empty() && c.front() == 0) c.erase(c.begin());
  int changes = 0, change = 0;
  double sign = 0;
  for (int i = 0; i < size(c); ++i) {
    const double flow = c[static_cast<std::size_t>(i)];
    if (flow * sign < 0 && ++changes == 1) change = i;
    if (flow != 0) sign = std::copysign(1, flow);
  }
  require(changes > 0 && size(v) > 1, kUnmarked);
  std::optional<double> root;
  if (changes == 1) root = irr_of_one_change(c, change);
  if (!root) root = root_beside_one(c, true);
  if (!root) root = root_beside_one(c, false);
  if (!root) root = root_by_laguerre(c);
  require(*root > 0, kUnmarked);
  const double rate = 1 / *root - 1;
  require(!std::isnan(rate) && rate != 0x1.fffffffffffffp1023, kUnmarked);
  return rate;
}

// XNPV, and XIRR with its three starting points.
double dated(bool is_value, const Values& v) {
  const bool is_odd = size(v) % 2 == 1;
  if (is_value && !is_odd) throw Outcome{kFailed, harness::kUntouched, kUnmarked};
  const int n = size(v) / 2, first = is_value ? 2 : 1;
  require(n > 0, kUnmarked);
  const double known = is_odd ? number(v, is_value ? 1 : 2 * n + 1) : 0;
  Values amounts, days;
  std::map<double, double> on;  // the first amount of each day that is not almost 0
  for (int i = first; i < first + n; ++i) {
    amounts.push_back(number(v, i));
    days.push_back(number(v, i + n, true));
    if (std::abs(amounts.back()) >= kTiny) on.emplace(days.back(), amounts.back());
  }
  double largest = 0;
  const auto worth = [&](double rate) {
    const double d = 1 / (1 + rate);
    double sum = amounts[0], slope = 0;
    largest = std::abs(sum);
    for (std::size_t i = 1; i < amounts.size(); ++i) {
      const double years = (days[i] - days[0]) / 365, term = amounts[i] * std::pow(d, years);
      sum += term;
      slope += -years * d * term;
      largest = std::max(largest, std::abs(term));
    }
    return std::pair(sum, slope);
  };
  if (is_value) return worth(known).first;
  const auto [least, most] = std::minmax_element(amounts.begin(), amounts.end());
  require(*least < 0 && *most > 0, kUnmarked);
  for (const double start : {known, -0.9})
    if (const auto root = root_near(start, worth, largest)) return *root;
  require(on.size() > 1, kUnmarked);
  const auto [from, to] = std::pair(*on.begin(), *on.rbegin());
  const double s = std::log(std::abs(to.second / from.second)) * 365 / (to.first - from.first);
  require(s <= kMost, kUnmarked);
  return found(root_near(zexpm1(s), worth, largest));
}

double modelled(const catalog::Keyword& keyword, const Values& v, int) {
  const std::string_view word = keyword.word;
  if (word == "FVSCHEDULE") return fvschedule(v);
  if (word == "NPV" || word == "MIRR") return word == "NPV" ? npv(v) : mirr(v);
  if (word == "IRR") return irr(v);
  if (word[0] == 'X') return dated(word == "XNPV", v);
  Given a = given_by(keyword, v);
  return a.contains("npery") || a.contains("fraction") ? of_price(word, a) : of_loan(word, a);
}

struct Calls : Generator {
  double amount() { return of({100, -100, 1. + below(9999), -below(9999) / 7., 0}); }
  double some_rate() { return of({0.05, (1 + below(999)) / 1e3, 0.01, below(9) / 1e4, 1e-9}); }

  Values loan(const catalog::Keyword& keyword) {
    const double n = of({1, 256, 360, 1. + below(400), 1. + below(9)}), early = 1 + below(9);
    const double bound = std::expm1(kMost / n * (1 + of({1e-9, -1e-9})));
    const double rate =
        below(9) ? some_rate() : of({0, -0.01, -0.5, -1, bound, bound, 1e300, HUGE_VAL});
    const double pv = amount(), fv = of({0, 0, pv, amount(), amount()});
    const double i = below(5) ? rate : rate - 0.04;
    const double level = -(pv * std::pow(1 + i, n) + fv) * i / std::expm1(n * std::log1p(i));
    const double odd = of({n + 0x1p32, n - 0x1p32, 0x1p52 + 1, 0x1p31 - 3, 0, -early, 0x1p31,
                           std::floor(std::pow(10, below(160) / 10.)), n * near()});
    const double nper = below(12) ? of({n, n, 10, 1. + below(2000)}) : odd;
    const double nearly_whole = of({early, -early}) * (1 + below(9) * 0x1p-52);
    const double price = of({rate, 1.02, nearly_whole, amount() / 7, 3e15 + 0.5, -0.3});
    const bool sums = keyword.word.starts_with("CUM");
    const double per = below(9) ? 1 + below(static_cast<int>(n)) : odd;
    const double type = of({-1, -3, 2, 7, 0.5, NAN, NAN, kNull, 0x1p31, -0x1p40});
    // clang-format off
    Given drawn = {
        {"rate", rate}, {"nper", nper}, {"npery", nper}, {"fraction", nper}, {"per", per},
        {"start_period", below(9) ? early : odd}, {"pv", sums ? std::abs(pv) : pv},
        {"end_period", of({n, n, early, early + 1, n + below(5000)})},
        {"pmt", below(5) ? level : of({0, -pv / n, amount(), NAN})},
        {"fv", below(4) ? fv : of({NAN, kNull})}, {"type", below(3) ? below(2) : type},
        {"nominal_rate", price}, {"effect_rate", price}, {"fractional_dollar", price},
        {"decimal_dollar", price}};
    // clang-format on
    if (keyword.word == "FV") drawn["pv"] = drawn["fv"];
    return call(keyword, drawn);
  }

  Values flows(std::size_t n, bool has_one_change, bool has_days) {
    const int apart = below(3) ? 365 : 1 + below(below(2) ? 30 : 400);
    const double odd = below(30) ? 1 : of({0, 0.5, 1e4}), sign = of({1, -1});
    const double growth = below(3) ? 1 : of({2, 0.1, 30, 1e4});  // from one amount to the next
    const std::size_t change = random() % (n + 1);
    Values v(n), days(has_days ? n : 0);
    for (std::size_t i = 0; i < n; ++i) {
      const double size = std::pow(growth, static_cast<double>(i % 60));
      v[i] = size * (has_one_change ? std::abs(amount()) * (i < change ? -sign : sign) : amount());
    }
    for (std::size_t i = 0; i < days.size(); ++i)
      days[i] = odd * (static_cast<double>(i) * apart + below(2 * apart));
    v.insert(v.end(), days.begin(), days.end());
    const std::size_t other = has_days && below(3) == 0 ? change % n : 0;
    std::swap(v[0], v[other]);
    std::swap(v[v.size() - n], v[v.size() - n + other]);
    return v;
  }

  Values operator()(const catalog::Keyword& keyword) {
    const std::string_view name = keyword.word;
    const std::size_t n = 1 + random() % 14, many = below(60) ? n : 98 + n;
    const bool is_dated = name[0] == 'X';
    Values v = keyword.max_args() < 9 ? loan(keyword) : flows(many, below(3), is_dated);
    if (is_dated && below(50) == 0) v.clear();  // no flows
    if (name.ends_with("NPV")) v.insert(v.begin(), below(9) ? some_rate() : of({-0.3, 0, -1, -2}));
    if (name == "MIRR" && below(9)) v.insert(v.end(), {some_rate(), some_rate()});
    if (v.empty() || (is_dated && below(3) == 0)) v.push_back(of({0.1, some_rate(), -0.99, -3}));
    spoil(v);
    return v;
  }
};

TEST(CashFlow, RandomCallsMatchThePlainModel) {
  Calls calls;
  for (const std::string_view word :
       {"FV",         "PV",   "PMT",   "IPMT",   "PPMT",    "CUMIPMT",  "CUMPRINC",
        "NPER",       "RATE", "ISPMT", "EFFECT", "NOMINAL", "DOLLARDE", "DOLLARFR",
        "FVSCHEDULE", "NPV",  "MIRR",  "IRR",    "XNPV",    "XIRR"})
    compare(calls, word, modelled);
}

// A kernel handle whose pools count. It fails one request, for a pool or for memory.
int pools, requests, failing;
std::vector<std::vector<char>> blocks;
void* allocate(void*, std::size_t bytes, unsigned flags) {
  return ++requests == failing || flags != 0x80000000 ? nullptr : blocks.emplace_back(bytes).data();
}
void destroy(void*) {
  blocks.clear();
  --pools;
}
harness::Word pool[] = {0, 0, harness::word(&destroy), harness::word(&allocate)};
void* create(void*, void*, void*, const char* name) {
  if (++requests == failing || std::string("WORKPOOL") != name) return nullptr;
  ++pools;
  return pool;
}

TEST(CashFlow, LongListsAllocateFromAPoolAndFreeIt) {
  harness::Word handle[28] = {0, 0, 0, 0, 0, 0, harness::word(&create)};
  const auto record = reinterpret_cast<void (*)(harness::Word*)>(harness::entry("vxextent"));
  for (const std::string name : {"IRR", "XIRR", "XNPV"})
    for (const std::size_t n : {100, 101})
      for (const bool is_missing : {false, true})  // the last value, read after allocating
        for (failing = 0; failing < 3; ++failing) {
          const bool is_irr = name == "IRR", stores = is_irr ? !is_missing : n > 100;
          Values v(n, 1);
          v.resize(is_irr ? n : 2 * n, 365);  // days; the first becomes 0
          v[0] = -static_cast<double>(n);
          if (!is_irr) v[n] = 0;
          if (is_missing) v.back() = NAN;
          if (name == "XNPV") v.insert(v.begin(), 0.1);
          requests = 0;
          record(handle);
          const Outcome got = evaluate(Width::wide, name, v, kBases[0]);
          record(nullptr);
          const bool lacks = stores && failing > 0;
          EXPECT_EQ(requests, !stores ? 0 : failing == 1 ? 1 : 2) << name << n << failing;
          EXPECT_EQ(got.status == 0, !is_missing && !lacks) << name << n << failing << got;
          EXPECT_EQ(got.bits == harness::kUntouched, lacks && !is_irr) << name << n << failing;
          EXPECT_EQ(pools, 0);
        }
}

// Searches that need all their steps, that choose between several roots or find distant ones, and
// edge cases of arithmetic.
TEST(CashFlow, KnownCallsReturnKnownValues) {
  const double no = harness::missing().number;
  const Values days = {number_of(2009y / 4 / 13), number_of(2015y / 4 / 12),
                       number_of(2033y / 4 / 7), number_of(2037y / 2 / 22),
                       number_of(2052y / 2 / 19)};
  Values flows = {10, 6, 1000, 800, -300};
  flows.insert(flows.end(), days.begin(), days.end());
  const std::tuple<const char*, Values, double> rows[] = {
      {"IRR", {-6, 1000, -3000, 900, 800, 4000}, 162.61637236374455},
      {"IRR", {8, 10000, -700, 4}, no},
      {"IRR", {251189, -100000, -39811, 39811, -20, -2}, -0.99262782879683331},  // in step 40
      {"IRR", {-2, 251189, -3981, 3}, 125593.48415137417},   // a 41st step would lose it
      {"IRR", {-8, 7, -1, -7, -6, 8}, no},                   // all five starting points fail
      {"IRR", {-8, 4, -2, 6, -9, 2}, -0.73363037087949345},  // the fifth succeeds
      {"XIRR", flows, -0.1003061714995052},
      {"RATE", {13, 48, -49, 9100, 1}, 47.999999999999616},
      {"RATE", {16, -48, 52, 39811, 1}, no},  // the last residual is slightly too large
      {"PV", {0.01, 1e6, -100}, 10000},       // (1 + rate)^-nper underflows
      {"DOLLARDE", {-0.0, 35}, 0}};
  for (const auto& [name, v, wanted] : rows)
    EXPECT_EQ(evaluate(Width::wide, name, v, kBases[0]).bits, std::bit_cast<harness::Word>(wanted))
        << name << testing::PrintToString(v) << wanted;
}

TEST(CashFlow, IrrAcceptsUpTo32767Flows) {
  Values flows(32767);
  flows[0] = -1;
  flows[1] = 2;
  EXPECT_EQ(evaluate(Width::wide, "IRR", flows, kBases[0]), holding(1));
  flows.push_back(0);
  EXPECT_EQ(evaluate(Width::wide, "IRR", flows, kBases[0]).status, kFailed);
}

}  // namespace
