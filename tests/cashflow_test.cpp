// Annuities and cash flows held to a plain model over seeded random calls, rates to the worth of
// their flows, storage to pools that count.

#include <gtest/gtest.h>

#include <mpfr.h>

#include <map>

#include "plain_model.h"

namespace {

using namespace plain;

constexpr double kMost = 709.782712893384;  // e to more than this is no double

// Rate, nper, per, start, end, pmt, pv (a), fv, type, any number (q); none: a list.
const std::map<std::string, std::string> kKeywords = {
    {"FV", "rnmft"},    {"PV", "rnmft"},       {"PMT", "rnaft"},       {"IPMT", "rpnaft"},
    {"PPMT", "rpnaft"}, {"CUMIPMT", "rnaset"}, {"CUMPRINC", "rnaset"}, {"NPER", "rmaft"},
    {"RATE", "nmaft"},  {"ISPMT", "rpna"},     {"EFFECT", "qn"},       {"NOMINAL", "qn"},
    {"DOLLARDE", "qn"}, {"DOLLARFR", "qn"},    {"FVSCHEDULE", ""},     {"NPV", ""},
    {"MIRR", ""},       {"IRR", ""},           {"XNPV", ""},           {"XIRR", ""}};

std::map<char, double> given(const std::string& name, const Values& v) {
  std::map<char, double> x;
  for (const double raw : v) {
    const int slot = static_cast<int>(x.size()) + 1;
    const char kind = kKeywords.at(name)[x.size()];
    const bool whole = std::string_view("npse").find(kind) < 4, loose = name == "CUMIPMT";
    const bool may_lack = kind == 't' || (kind == 'f' && name != "NPER"), nan = std::isnan(raw);
    const bool zero = may_lack ? nan || raw == kNull : nan && name == "FV" && kind == 'm';
    const double a = x[kind] = zero ? 0 : whole ? low_bits(v, slot) : number(v, slot);
    const bool positive = kind == 'r' || (loose ? kind == 'a' : whole);
    require(!positive || a > (name == "PV" && !whole ? -1 : 0), slot);
    require(kind != 't' || (std::trunc(a) == a && a >= -0x1p31 && a < 0x1p31), slot);
    require(kind != 't' || name == "NPER" || a <= 1, name == "PV" ? kUnmarked : slot);
    require(kind != 'n' || name[0] != 'D' || raw > 0, slot);
    require(kind != 'f' || name != "FV" || !nan || !std::isnan(v[2]), slot);
    require(kind != 'n' || name.find("PMT") != 1 || x['p'] <= a, 2);
    require((kind != 's' && kind != 'e') || loose || a <= x['n'], slot);
    require(kind != 'e' || loose || x['s'] <= a, 4);
  }
  return x;
}

double rate(double n, double pmt, double pv, double fv, bool at_start) {
  const double f = fv / pmt, p = -pv / pmt;
  require(pmt != 0 || (fv != 0 && !(pv / fv <= 0)), kUnmarked);
  if (pmt == 0) return exp_minus_1(-std::log(pv / fv) / n);
  const auto off = [=](double r) {
    const bool series = std::abs(r * n) < 0.0001;
    double A = series ? n : -exp_minus_1(-n * log_1_plus(r)) / r, t = n, k = 0;
    double B = series ? 0 : n / (1 + r) * (1 / r - A) - A / r;
    while (series && ++k <= 5) t *= -(n + k) / (k + 1), B += k * t, t *= r, A += t;
    const double D = (r * A - 1) * f + p;
    require(r > -1 && D > 2.2250738585072014e-308, kUnmarked);
    return std::pair(std::log(D) - std::log(A) - (at_start ? log_1_plus(r) : 0),
                     f * (r * B + A) / D - B / A - (at_start ? 1 / (1 + r) : 0));
  };
  return solved(off, -pmt / pv, std::max(std::abs(pmt), std::abs(pv)));
}

double scalar(const std::string& name, const Values& v) {
  std::map<char, double> x = given(name, v);
  const double r = x['r'], n = x['n'], per = x['p'], pmt = x['m'], pv = x['a'], fv = x['f'];
  const double q = x['q'], i = std::trunc(q), left = q - i, d = std::trunc(v[1]);
  const double ten = std::pow(10, std::ceil(std::log10(d))), due = x['t'] == 1 ? 1 + r : 1;
  const bool at_start = x['t'] == 1, principals = name == "CUMPRINC";
  const auto growth = [log = log_1_plus(r)](double k) {
    return require(!(k * log >= kMost), kUnmarked), k == 0 ? 0 : exp_minus_1(k * log);
  };
  if (name == "EFFECT") return exp_minus_1(n * log_1_plus(q / n));
  if (name == "NOMINAL") return n * exp_minus_1(log_1_plus(q) / n);
  if (name == "DOLLARFR") return i + left * d / ten;
  if (name == "DOLLARDE") return i + (std::abs(left) > 5 * i * 0x1p-53 ? ten * left / d : 0);
  if (name == "RATE") return rate(n, pmt, pv, fv, at_start);
  if (name == "FV") return 0 - (growth(n) + 1) * fv - growth(n) * pmt * due / r;
  if (name == "PV") return -fv * (growth(-n) + 1) + growth(-n) * pmt * due / r;
  if (name == "ISPMT") return -pv * r * (n - per) / n;
  const double base = pmt * due - fv * r, ratio = (pv * r + pmt * due) / base;
  require(name != "NPER" || (base != 0 && !(ratio <= 0)), kUnmarked);
  if (name == "NPER") return -std::log(ratio) / log_1_plus(r);
  const double first = at_start ? 0 : -pv * r;
  if (name == "IPMT" && per == 1) return first;
  const double g = growth(n), p = -r * ((g + 1) * pv + fv) / g / due, u = growth(per - (per > 0));
  const double interest = per == 1 ? first : (u + 1) * (-pv * r) / due - u * p;
  if (name.ends_with("PMT") && name[0] != 'C')
    return name == "PMT" ? p : name == "IPMT" ? interest : p - interest;
  double b = at_start ? pv + p : pv, sum = principals && at_start && x['s'] == 1 ? p : 0;
  if (at_start && x['e'] == 1) return principals ? p : 0;
  for (double k = 1 + at_start; k <= x['e']; ++k) {
    const double accrued = r * b, principal = accrued + p;
    b = principals ? b + principal : b + p + accrued;
    if (x['s'] <= k) sum += principals ? principal : -accrued;
  }
  return sum;
}

double periodic(const std::string& name, const Values& v) {
  const int count = static_cast<int>(v.size()), values = name == "NPV", at = values ? 1 : count;
  require(name != "MIRR" || count > 2, kUnmarked);
  double P = name[0] == 'F' ? number(v, 1) : 0, N = 0;
  for (int i = 2; i <= count && name[0] == 'F'; ++i) P = P * (1 + number(v, i));
  if (name[0] == 'F') return P;
  const double r = number(v, at), g = 1 / (1 + r);
  require(r > 0, at);
  const double financed = values ? 1 : number(v, count - 1), f = 1 / (1 + financed);
  require(financed > 0, count - 1);
  for (int i = values ? count : count - 2; i > values; --i)
    P = P * g, N = N * f, (number(v, i) < 0 && !values ? N : P) += number(v, i);
  const double q = -g * P / (f * N), power = exp_minus_1((count - 2) * log_1_plus(r)) + 1;
  require(values || (f * N != 0 && q > 0), kUnmarked);
  return values ? g * P : exp_minus_1(std::log(q * power / (1 + financed)) / (count - 3));
}

double result(const Answer& answer) { return std::bit_cast<double>(answer.bits); }

// The worth of flows at a rate, its derivative and the largest term.
template <class Float>
std::array<Float, 3> worth(const Values& a, const Values& years, Float rate) {
  Float d = 1 / (1 + rate), sum = a[0], slope = 0, largest = std::abs(sum);
  for (std::size_t i = 1; i < a.size(); ++i) {
    const Float term = a[i] * std::pow(d, Float{years[i]});
    sum += term, slope += -years[i] * d * term, largest = std::max(largest, std::abs(term));
  }
  return {sum, slope, largest};
}

double dated(const std::string& name, const Values& v) {
  const bool odd = v.size() % 2 == 1, values = name == "XNPV";
  const int n = static_cast<int>(v.size() / 2), first = values + 1;
  if (values && !odd) throw Answer{kRefused, harness::kUntouched, kUnmarked};
  require(n > 0, kUnmarked);
  double scale = 0, known = odd ? number(v, values ? 1 : 2 * n + 1) : 0;
  std::map<double, double> on;  // the first amount of a day that is not next to nothing
  Values a, years;
  for (int i = first; i < first + n; ++i) {
    a.push_back(number(v, i)), years.push_back(number(v, i + n, true));
    if (std::abs(a.back()) >= kTiny) on.emplace(years.back(), a.back());
  }
  for (int i = n; --i >= 0;) years[i] = (years[i] - years[0]) / 365;
  if (values) return worth(a, years, known)[0];
  const auto [least, most] = std::minmax_element(a.begin(), a.end());
  require(*least < 0 && *most > 0, kUnmarked);
  const auto off = [&](double x) {
    const auto [sum, slope, largest] = worth(a, years, x);
    return scale = largest, std::pair(sum, slope);
  };
  for (const double start : {known, -0.9}) {
    const Answer found = modelled_by([&] { return solved(off, start, scale); });
    if (found.status == 0) return result(found);
  }
  require(on.size() > 1, kUnmarked);
  const auto [from, to] = std::pair(*on.begin(), *on.rbegin());
  const double s = std::log(std::abs(to.second / from.second)) * 365 / (to.first - from.first);
  return require(s <= kMost, kUnmarked), solved(off, exp_minus_1(s), scale);
}

double modelled(const std::string& name, const Values& v) {
  if (!kKeywords.at(name).empty()) return scalar(name, v);
  if (name != "IRR") return name[0] == 'X' ? dated(name, v) : periodic(name, v);
  for (const double flow : v) require(!std::isnan(flow) && flow != kNull, kUnmarked);
  const auto [least, most] = std::minmax_element(v.begin(), v.end());
  return require(*least < 0 && *most > 0, kUnmarked), 0;  // of one sign they have no rate
}

struct Calls : Generator {
  double amount() { return of({100, -100, 1. + below(9999), -below(9999) / 7., 0}); }
  double rate() { return of({0.05, (1 + below(999)) / 1e3, 0.01, below(9) / 1e4, 1e-9}); }

  Values scalars(const std::string& kinds) {
    const double n = of({1, 256, 360, 1. + below(400), 1. + below(9)}), pv = amount();
    const double bound = std::expm1(kMost / n * (1 + of({1e-9, -1e-9}))), early = 1 + below(9);
    const double r = below(9) ? rate() : of({0, -0.01, -0.5, -1, bound, bound, 1e300, HUGE_VAL});
    const double fv = of({0, 0, pv, amount(), amount()}), i = below(5) ? r : r - 0.04;
    const double level = -(pv * std::pow(1 + i, n) + fv) * i / std::expm1(n * std::log1p(i));
    const double odd = of({n + 0x1p32, n - 0x1p32, 0x1p52 + 1, 0x1p31 - 3, 0, -early, 0x1p31,
                           std::floor(std::pow(10, below(160) / 10.)), n * near()});
    // clang-format off
    const std::map<char, double> at = {
        {'r', r}, {'n', below(12) ? of({n, n, 10, 1. + below(2000)}) : odd}, {'f', below(4) ? fv : of({NAN, kNull})},
        {'p', below(9) ? 1 + below(static_cast<int>(n)) : odd}, {'s', below(9) ? early : odd},
        {'e', of({n, n, early, early + 1, n + below(5000)})}, {'a', kinds[3] == 's' ? std::abs(pv) : pv},
        {'m', below(5) ? level : of({0, -pv / n, amount(), NAN})}, {'q', of({r, 1.02, of({early, -early}) * (1 + below(9) * 0x1p-52), amount() / 7, 3e15 + 0.5, -0.3})},
        {'t', below(3) ? below(2) : of({-1, -3, 2, 7, 0.5, NAN, NAN, kNull, 0x1p31, -0x1p40})}};
    // clang-format on
    Values v;
    for (const char kind : kinds) v.push_back(at.at(kind));
    while (v.size() > kinds.find_first_of("ft") && below(3) == 0) v.pop_back();
    return v;
  }

  Values flows(std::size_t n, bool once, bool days) {  // once: with one change of sign
    const int apart = below(3) ? 365 : 1 + below(below(2) ? 30 : 400);
    const double odd = below(30) ? 1 : of({0, 0.5, 1e4}), sign = of({1, -1});
    const std::size_t change = random() % (n + 1), other = days && below(3) == 0 ? change % n : 0;
    Values v(days ? 2 * n : n);
    for (std::size_t i = 0; i < v.size(); ++i) {
      v[i] = once ? std::abs(amount()) * (i < change ? -sign : sign) : amount();
      if (i >= n) v[i] = odd * (static_cast<double>(i) * apart + below(2 * apart));
    }
    std::swap(v[0], v[other]), std::swap(v[v.size() - n], v[v.size() - n + other]);
    return v;
  }

  Values call(const std::string& name) {
    const std::string& kinds = kKeywords.at(name);
    const std::size_t n = 1 + random() % 14, many = below(60) ? n : 98 + n;
    Values v = !kinds.empty() ? scalars(kinds) : flows(many, below(3), name[0] == 'X');
    if (name[0] == 'X' && below(50) == 0) v.clear();  // no flow
    if (name.ends_with("NPV")) v.insert(v.begin(), below(9) ? rate() : of({-0.3, 0, -1, -2}));
    if (name == "MIRR" && below(9)) v.insert(v.end(), {rate(), rate()});
    if (v.empty() || (name[0] == 'X' && below(3) == 0)) v.push_back(of({0.1, rate(), -0.99, -3}));
    spoil(v);
    return v;
  }
};

// Whether the worth changes sign at the rate or all but vanishes. At the lower bound it need not.
bool is_root(const Values& v, bool days, long double rate) {
  const std::size_t n = days ? v.size() / 2 : v.size();
  Values years, a(&v[0], &v[0] + n);
  for (double i = 0; i < static_cast<double>(n); ++i)
    years.push_back(days ? (v[n + years.size()] - v[n]) / 365 : i);
  const auto at = [&](double u) { return worth(a, years, std::expm1(std::log1p(rate) + u)); };
  const auto [sum, slope, largest] = at(0);
  const bool crosses = at(-2e-8)[0] * at(2e-8)[0] <= 0 || (rate > -1 && rate <= -0.9999999);
  return crosses || std::abs(sum) <= 1e-9 * static_cast<double>(n) * largest;
}

// Pools of a kernel handle, which refuses one request, for a pool or for storage.
int pools, requests, refused;
std::vector<std::vector<char>> blocks;
void* allocate(void*, std::size_t bytes, unsigned flags) {
  return ++requests == refused || flags != 0x80000000 ? nullptr : blocks.emplace_back(bytes).data();
}
void destroy(void*) { blocks.clear(), --pools; }
harness::Word pool[] = {0, 0, harness::word(&destroy), harness::word(&allocate)};
void* create(void*, void*, void*, const char* name) {
  return ++requests == refused || std::string("WORKPOOL") != name ? nullptr : (++pools, pool);
}

TEST(CashFlow, RandomCallsMatchThePlainModel) {
  Calls g;
  harness::Word handle[28] = {0, 0, 0, 0, 0, 0, harness::word(&create)};
  const auto record = reinterpret_cast<void (*)(harness::Word*)>(harness::entry("vxextent"));
  // clang-format off
  const std::pair<Values, double> rates[] = {
      {{1, -100.5, 51, -100.5, 50}, 99}, {{1, -100.75, 75}, 99}, {{5, -1, 10, -2}, -0.8},
      {{85, -7, -2, 0, 5, -1}, -0.8},    {{-6, 1, -1, -1, 1}, -0.5}};
  // clang-format on
  for (const auto& [flows, wanted] : rates)
    EXPECT_NEAR(result(answered(Width::wide, "IRR", flows, kBases[0])), wanted, 1e-9);
  for (const auto& [name, kinds] : kKeywords) {
    int good = 0;
    for (int i = 0; i < 12000; ++i) {
      const Values v = g.call(name);
      const bool periods = name == "IRR", days = name[0] == 'X', pooled = g.below(2);
      Answer want = modelled_by([&, &keyword = name] { return modelled(keyword, v); });
      requests = 0, refused = g.below(9), record(pooled ? handle : nullptr);
      const Answer got = answered(i % 2 ? Width::wide : Width::byte, name, v, kBases[0]);
      if (refused > 0 && requests >= refused)
        want = {kRefused, days ? harness::kUntouched : harness::kMissingBits, kUnmarked};
      const bool found = got.status == 0, stores = pooled && (periods || (days && v.size() > 201));
      const bool is_right = (periods && want.status == 0) || alike(got, want, 0);
      good += found, record(nullptr);
      const bool rated = found && (periods || name == "XIRR");
      ASSERT_TRUE(is_right && pools == 0 && (!found || (requests > 0) == stores) &&
                  (!rated || is_root(v, days, result(got))))
          << name << testing::PrintToString(v) << got << ", not " << want << ' ' << requests;
    }
    EXPECT_GT(good, name == "IRR" ? 6000 : 3000) << name;
  }
}

// 32,767 flows are the most.
TEST(CashFlow, CountsManyFlows) {
  Values flows(32767);
  flows[0] = -1, flows[1] = 2;
  EXPECT_NEAR(result(answered(Width::wide, "IRR", flows, kBases[0])), 1, 1e-9);
  flows.push_back(0);
  EXPECT_EQ(answered(Width::wide, "IRR", flows, kBases[0]).status, kRefused);
}

// (1 + rate)^n - 1 by 200 bits, rounded to 64.
long double growth(long double rate, long double n) {
  mpfr_t x, y;
  mpfr_inits2(200, x, y, nullptr), mpfr_set_ld(x, rate, MPFR_RNDN), mpfr_set_ld(y, n, MPFR_RNDN);
  mpfr_log1p(x, x, MPFR_RNDN), mpfr_mul(x, x, y, MPFR_RNDN), mpfr_expm1(x, x, MPFR_RNDN);
  const long double power = mpfr_get_ld(x, MPFR_RNDN);
  return mpfr_clears(x, y, nullptr), power;
}

// Over a million such loans the worst errors were, in units of the last place, FV 1466 (near where
// the growth leaves the doubles), EFFECT 242, NOMINAL 98, PMT 92, PV 48; RATE 121 of max(rate, 1),
// as rates within 1.05e-8 of zero are found as 0.
TEST(CashFlow, AccuracyIsAsMeasured) {
  Calls g;
  for (int i = 0; i < 10000; ++i) {
    const double r = std::pow(10, g.below(15001) / 1e3 - 14), type = g.below(2);
    const double n = 1 + g.below(static_cast<int>(std::min(1000.0, 600 / std::log1p(r))));
    const double pmt = 1 + g.below(9999) / 7., pv = pmt * n / (1 + g.below(30)),
                 fv = g.of({0, pv / 4});
    const long double R = r, v = growth(R, n), w = growth(R, -n), due = R * type + 1;
    const long double level = -R * ((v + 1) * pv + fv) / v / due;
    const Values loan = {n, static_cast<double>(level), pv, fv, type};
    const auto off = [&](long double x) {
      return (growth(x, -n) + 1) * fv + pv - growth(x, -n) * loan[1] * (x * type + 1) / x;
    };
    const auto hold = [](const std::string& name, const Values& x, long double exact, double most) {
      const double y = std::max(static_cast<double>(std::abs(exact)), name == "RATE" ? 1.0 : 0.0);
      const auto error = std::abs(result(answered(Width::wide, name, x, kBases[0])) - exact);
      EXPECT_LE(error, most * (std::nextafter(y, HUGE_VAL) - y))
          << name << testing::PrintToString(x);
    };
    hold("FV", {r, n, pmt, fv, type}, -(v + 1) * fv - v * pmt * due / R, 2000);
    hold("PV", {r, n, pmt, fv, type}, w * pmt * due / R - (w + 1) * fv, 60);
    hold("PMT", {r, n, pv, fv, type}, level, 120);
    hold("EFFECT", {r, n}, growth(R / n, n), 300);
    hold("NOMINAL", {r, n}, growth(R, 1 / (0 * R + n)) * n, 120);
    if (r > 2e-8 && n > 1) hold("RATE", loan, R - off(R) * 1e-6 / (off(R + 1e-6) - off(R)), 150);
  }
}

}  // namespace
