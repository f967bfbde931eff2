// SLN, SYD, DB, DDB and VDB: random calls with a fixed seed are compared with plain loops, bit for
// bit, and some calls with values computed by hand. NaN is the missing value, kNull a null pointer.

#include <gtest/gtest.h>

#include "tests/plain_model.h"

namespace {

using namespace plain;

double sln(Given& a) { return (a["cost"] - a["salvage"]) / a["life"]; }

double syd(Given& a) {
  const double life = a["life"];
  return (a["cost"] - a["salvage"]) * (life - a["period"] + 1) * 2 / life / (1 + life);
}

double db(Given& a) {
  const double cost = a["cost"], life = a["life"], period = a["period"], month = a["month"];
  const double r0 = -zexpm1(std::log(a["salvage"] / cost) / life);
  // The module rounds to an integer, which cannot be -0: hence + 0.0.
  const double rate = (std::trunc(r0 * 1000 + (r0 > 0 ? 0.5 : -0.5)) + 0.0) / 1000;
  double d = cost * month * rate / 12, acc = d;
  for (double p = 2; p <= std::min(period, life); ++p) {
    d = (cost - acc) * rate;
    acc = acc + d;
  }
  return period == life + 1 ? (12 - month) * rate * (cost - acc) / 12 : d;
}

double ddb(Given& a) {
  const double cost = a["cost"], salvage = a["salvage"], life = a["life"], period = a["period"];
  const double factor = a["factor"] > 0 ? a["factor"] : 2;
  double acc = 0, d = 0;
  for (double p = 1; p <= period && !(salvage > cost); ++p) {
    d = salvage > cost - acc ? 0 : std::min((cost - acc) * factor / life, cost - salvage - acc);
    acc = acc + d;
  }
  return d;
}

double vdb(Given& a) {
  const double cost = a["cost"], life = a["life"], start = a["start_period"], end = a["end_period"];
  const double factor = a["factor"], depreciable = cost - a["salvage"];
  const bool no_switch = a["no_switch"] == 1;
  if (life == end - start) return depreciable;
  double acc = 0, sum = 0, d = 0;
  bool switched = false;
  for (double p = 0; p < end; ++p) {
    const double sl = (depreciable - acc) / (life - p), declining = (cost - acc) * factor / life;
    const bool keeps = no_switch || declining >= sl;
    if (!switched) d = keeps ? declining : sl;
    const bool crosses = acc + d > depreciable;
    if (p >= start) sum = sum + (crosses ? depreciable - acc : d);
    if (crosses && no_switch) break;
    // If salvage is above cost, acc is always above depreciable, so later periods cross again.
    switched = switched || !keeps || crosses;
    d = crosses ? 0 : d;
    acc = acc + d;
  }
  return sum;
}

const std::map<std::string, double (*)(Given&)> kModels = {
    {"SLN", sln}, {"SYD", syd}, {"DB", db}, {"DDB", ddb}, {"VDB", vdb}};

double modelled(const catalog::Keyword& keyword, const Values& v, int) {
  Given a = given_by(keyword, v);
  return kModels.at(std::string(keyword.word))(a);
}

// Realistic calls. In a third of them, one or two values are replaced. No call has more than
// 100,001 periods.
struct Calls : Generator {
  double unit() { return static_cast<double>(random() >> 11) * 0x1p-53; }
  double from(double least, double n) { return least + std::floor(n * unit()); }

  void spoil(double& x) {
    const double edge = of({0, -0.0, 1, -1, -2.5, 1e-300, 1e300, -1e300, 0x1p31, 0x1p53, 0x1p53 - 1,
                            0x1p53 + 2, -0x1p63, -0x1p64, kNull, kNull, HUGE_VAL, -HUGE_VAL});
    const double near = x * (1 + of({5e-13, -5e-13, 2e-12, -2e-12}));
    x = of({edge, edge, edge, near, near, x + 0x1p32, x - 0x1p32, x + 0x1p52, x + 0.5, -x, NAN});
  }

  Values operator()(const catalog::Keyword& keyword) {
    const double cost = of({1e6, 0, from(1, 2e6), std::exp(17 * unit()), 1e3 * from(1, 2e3)});
    const double last = from(1, unit() < 5e-4 ? 1e5 : of({40, 40, 40, 40, 40, 40, 40, 3000}));
    const double life = last + of({0, 0, 0, unit()});
    Values v = {cost, cost * of({unit(), unit(), 0.1, 0, 1, 1 + unit(), 1e-9}), life};
    if (keyword.max_args() == 7) v.push_back(of({0, from(0, last + 1)}));
    v.push_back(of({last, last + 1, from(1, last), from(1, last), from(1, last + 2)}));
    v.push_back(
        of({2, 1, 1.5, 0.5, 3, from(1, 14), from(1, 14), life * unit(), of({0, -1, kNull})}));
    v.push_back(of({0, 1, 0, 1, 0, 1, 0, 1, -0.0, kMissing, kNull, 2, -1, 0.5, 0x1p32 + 1}));
    for (auto n = random() % 6; n < 2; ++n) spoil(v[random() % keyword.max_args()]);
    const std::size_t right =
        keyword.min_args() + random() % (keyword.max_args() - keyword.min_args() + 1);
    v.resize(random() % 9 == 0 ? random() % 10 : right, 1);
    return v;
  }
};

TEST(Depreciation, RandomCallsMatchPlainLoops) {
  Calls calls;
  for (const auto& [keyword, model] : kModels) compare(calls, keyword, modelled);
}

// Edge cases that random calls do not contain, and calls with billions of periods, which end early
// or fail and mark no argument.
TEST(Depreciation, EdgeCasesAndManyPeriods) {
  const double failed = kMissing, far = 2e9, most = 0x1p24;
  // clang-format off
  const struct { const char* keyword; Values values; double wanted; int marked; } rows[] = {
      {"DB", {1e6, 0, 0x1p31 - 1, 1}, 1e6, -1},            {"DB", {1e6, 0, far, far + 1, 6}, 0, -1},
      {"DB", {10000, 2545, 1, 1}, 7460, -1},               {"DB", {10000, 3275, 1, 1}, 6720, -1},
      {"DB", {0, 0, far, far}, NAN, -1},                   {"SYD", {1e308, 0, 2, 2}, HUGE_VAL, -1},
      {"DDB", {1e6, 1e5, far, far, 1e9}, 0, -1},           {"DDB", {100, 0, far, far, HUGE_VAL}, NAN, -1},
      {"DDB", {1e6, 0, most + 1, most + 1}, failed, -1},   {"VDB", {1000, 0, 5, 6, 0}, failed, 4},
      {"VDB", {1e6, 0, far, far, 1e9}, 0, -1},             {"VDB", {1e6, -1e6, far, 0, 1.9e9, 1e9}, 1e6, -1},
      {"VDB", {1e6, -1e6, far, 1e9, 1.9e9, 1e9}, 0, -1},   {"VDB", {1e6, 1e5, far, 0, 1.9e9, 1e9, 0}, 9e5, -1},
      {"VDB", {1e6, 0, far, 1e9, far}, failed, -1},        {"VDB", {1e6, 0, far, 1e9, far, 2, 0}, failed, -1},
  };
  // clang-format on
  for (const auto& [keyword, values, wanted, marked] : rows) {
    const Outcome got = evaluate(Width::wide, keyword, values, kBases[0]);
    const bool fails = std::bit_cast<harness::Word>(wanted) == harness::kMissingBits;
    EXPECT_TRUE(
        alike(got, fails ? Outcome{kFailed, harness::kMissingBits, marked} : holding(wanted), 0))
        << keyword << testing::PrintToString(values) << got;
  }
  const std::pair<const char*, Values> loops[] = {{"DDB", {1e6, 0, most, most}},
                                                  {"VDB", {1e6, 0, 3000, 700, 720, 150}}};
  for (const auto& [keyword, v] : loops)
    EXPECT_EQ(std::bit_cast<double>(evaluate(Width::wide, keyword, v, kBases[0]).bits),
              modelled(*catalog::find(keyword), v, 0));
}

}  // namespace
