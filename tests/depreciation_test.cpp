// SLN, SYD, DB, DDB and VDB held to plain loops, bit for bit, over seeded random calls, and to
// figures worked by hand. Slots count from 1; a NaN is a missing value, kNull a null pointer.

#include <gtest/gtest.h>

#include "plain_model.h"

namespace {

using namespace plain;

double whole(const Values& v, int slot, double low, double high = INFINITY) {
  const double kept = low_bits(v, slot);
  return require(kept >= low && kept <= high, slot), kept;
}

double above_zero(const Values& v, int slot) {
  const double x = number(v, slot);
  return require(x > 0, slot), x;
}

bool given(const Values& v, std::size_t slot) {
  return slot <= v.size() && !std::isnan(v[slot - 1]) && v[slot - 1] != kNull;
}

double sln(const Values& v, double cost, double salvage) {
  return (cost - salvage) / above_zero(v, 3);
}

double syd(const Values& v, double cost, double salvage) {
  const double life = whole(v, 3, 1), period = whole(v, 4, 1);
  return (cost - salvage) * (life - period + 1) * 2 / life / (1 + life);
}

double db(const Values& v, double cost, double salvage) {
  const double life = whole(v, 3, 1), period = whole(v, 4, 1);
  const double month = v.size() < 5 ? 12 : whole(v, 5, 1);
  require(period <= life + 1, 4);
  const double r0 = -zexpm1(std::log(salvage / cost) / life);
  // An integer has no -0, hence the + 0.0; what is not finite, or too large, stays what it is.
  const double rate = (std::trunc(r0 * 1000 + (r0 > 0 ? 0.5 : -0.5)) + 0.0) / 1000;
  double d = cost * month * rate / 12, acc = d;
  for (double p = 2; p <= std::min(period, life); ++p) {
    d = (cost - acc) * rate;
    acc = acc + d;
  }
  return period == life + 1 ? (12 - month) * rate * (cost - acc) / 12 : d;
}

double ddb(const Values& v, double cost, double salvage) {
  const double life = above_zero(v, 3), period = whole(v, 4, 1, life);
  const double factor = given(v, 5) && v[4] > 0 ? v[4] : 2;
  double acc = 0, d = 0;
  for (double p = 1; p <= period && !(salvage > cost); ++p) {
    d = salvage > cost - acc ? 0 : std::min((cost - acc) * factor / life, cost - salvage - acc);
    acc = acc + d;
  }
  return d;
}

double vdb(const Values& v, double cost, double salvage) {
  const double life = above_zero(v, 3), start = whole(v, 4, 0, life), end = whole(v, 5, 1, life);
  const double factor = v.size() < 6 ? 2 : above_zero(v, 6), depreciable = cost - salvage;
  const double no_switch = given(v, 7) ? v[6] : 1;
  require(no_switch == 0 || no_switch == 1, 7);
  if (life == end - start) return depreciable;
  double acc = 0, sum = 0, d = 0;
  bool switched = false;
  for (double p = 0; p < end; ++p) {
    const double sl = (depreciable - acc) / (life - p), declining = (cost - acc) * factor / life;
    const bool keeps = no_switch == 1 || declining >= sl;
    if (!switched) d = keeps ? declining : sl;
    const bool crosses = acc + d > depreciable;
    if (p >= start) sum = sum + (crosses ? depreciable - acc : d);
    if (crosses && no_switch == 1) break;
    // With salvage above cost acc stays above what there is to take: later periods cross again.
    switched = switched || !keeps || crosses;
    d = crosses ? 0 : d;
    acc = acc + d;
  }
  return sum;
}

struct Keyword {
  const char* name;
  double (*model)(const Values&, double cost, double salvage);
  std::size_t least, most;  // arguments after the keyword
};
constexpr Keyword kSln{"SLN", sln, 3, 3}, kSyd{"SYD", syd, 4, 4}, kDb{"DB", db, 4, 5},
    kDdb{"DDB", ddb, 4, 5}, kVdb{"VDB", vdb, 5, 7};

Answer modelled(const Keyword& keyword, const Values& v) {
  if (v.size() < keyword.least || v.size() > keyword.most)
    return {kRefused, harness::kUntouched, kUnmarked};
  return modelled_by([&] {
    const double cost = number(v, 1), salvage = number(v, 2);
    return keyword.model(v, cost, salvage);
  });
}

// The answer of both character widths; a status of -1 when they differ.
Answer both(const Keyword& keyword, const Values& v) {
  const Answer wide = answered(Width::wide, keyword.name, v, kBases[0]);
  const Answer byte = answered(Width::byte, keyword.name, v, kBases[0]);
  return wide == byte ? wide : Answer{-1, byte.bits, byte.marked};
}

double value_of(const Answer& a) { return a.status == 0 ? std::bit_cast<double>(a.bits) : 0; }

// Realistic calls, a third of them with one or two values spoilt; no walk passes 100,001 periods.
struct Calls : Generator {
  double unit() { return static_cast<double>(random() >> 11) * 0x1p-53; }
  double from(double least, double n) { return least + std::floor(n * unit()); }

  void spoil(double& x) {
    const double edge = of({0, -0.0, 1, -1, -2.5, 1e-300, 1e300, -1e300, 0x1p31, 0x1p53, 0x1p53 - 1,
                            0x1p53 + 2, -0x1p63, -0x1p64, kNull, kNull, HUGE_VAL, -HUGE_VAL});
    const double near = x * (1 + of({5e-13, -5e-13, 2e-12, -2e-12}));
    x = of({edge, edge, edge, near, near, x + 0x1p32, x - 0x1p32, x + 0x1p52, x + 0.5, -x, NAN});
  }

  Values call(const Keyword& keyword) {
    const double cost = of({1e6, 0, from(1, 2e6), std::exp(17 * unit()), 1e3 * from(1, 2e3)});
    const double last = from(1, unit() < 5e-4 ? 1e5 : of({40, 40, 40, 40, 40, 40, 40, 3000}));
    const double life = last + of({0, 0, 0, unit()});
    Values v = {cost, cost * of({unit(), unit(), 0.1, 0, 1, 1 + unit(), 1e-9}), life};
    if (keyword.most == 7) v.push_back(of({0, from(0, last + 1)}));
    v.push_back(of({last, last + 1, from(1, last), from(1, last), from(1, last + 2)}));
    v.push_back(
        of({2, 1, 1.5, 0.5, 3, from(1, 14), from(1, 14), life * unit(), of({0, -1, kNull})}));
    v.push_back(of({0, 1, 0, 1, 0, 1, 0, 1, -0.0, kMissing, kNull, 2, -1, 0.5, 0x1p32 + 1}));
    for (auto n = random() % 6; n < 2; ++n) spoil(v[random() % keyword.most]);
    const std::size_t right = keyword.least + random() % (keyword.most - keyword.least + 1);
    v.resize(random() % 9 == 0 ? random() % 10 : right, 1);
    return v;
  }
};

TEST(Depreciation, RandomCallsMatchPlainLoops) {
  Calls generator;
  for (const Keyword& keyword : {kSln, kSyd, kDb, kDdb, kVdb}) {
    int good = 0;
    for (int i = 0; i < 14000; ++i) {
      const Values v = generator.call(keyword);
      const Answer want = modelled(keyword, v), got = both(keyword, v);
      const bool nans = std::isnan(value_of(want)) && std::isnan(value_of(got));
      good += want.status == 0;
      ASSERT_TRUE(got == want || (nans && got.marked == -1))
          << keyword.name << testing::PrintToString(v) << ": " << got << ", not " << want;
    }
    EXPECT_NEAR(good, 8500, 3500) << keyword.name;
  }
}

// Edges that chance does not meet, and walks over thousands of millions of periods: each settles at
// once, or is too long to carry out and fails with nothing marked.
TEST(Depreciation, EdgesAndLongWalks) {
  const double failed = kMissing, far = 2e9, most = 0x1p24;
  // clang-format off
  const struct { const Keyword& keyword; Values values; double wanted; int marked; } rows[] = {
      {kDb, {1e6, 0, 0x1p31 - 1, 1}, 1e6, -1},            {kDb, {1e6, 0, far, far + 1, 6}, 0, -1},
      {kDb, {10000, 2545, 1, 1}, 7460, -1},               {kDb, {10000, 3275, 1, 1}, 6720, -1},
      {kDb, {0, 0, far, far}, NAN, -1},                   {kSyd, {1e308, 0, 2, 2}, HUGE_VAL, -1},
      {kDdb, {1e6, 1e5, far, far, 1e9}, 0, -1},           {kDdb, {100, 0, far, far, HUGE_VAL}, NAN, -1},
      {kDdb, {1e6, 0, most + 1, most + 1}, failed, -1},   {kVdb, {1000, 0, 5, 6, 0}, failed, 4},
      {kVdb, {1e6, 0, far, far, 1e9}, 0, -1},             {kVdb, {1e6, -1e6, far, 0, 1.9e9, 1e9}, 1e6, -1},
      {kVdb, {1e6, -1e6, far, 1e9, 1.9e9, 1e9}, 0, -1},   {kVdb, {1e6, 1e5, far, 0, 1.9e9, 1e9, 0}, 9e5, -1},
      {kVdb, {1e6, 0, far, 1e9, far}, failed, -1},        {kVdb, {1e6, 0, far, 1e9, far, 2, 0}, failed, -1},
  };
  // clang-format on
  for (const auto& [keyword, values, wanted, marked] : rows) {
    const Answer got = both(keyword, values);
    const bool same = std::isnan(wanted) ? std::isnan(std::bit_cast<double>(got.bits))
                                         : std::bit_cast<double>(got.bits) == wanted;
    const bool refused = got.bits == harness::kMissingBits;
    EXPECT_TRUE(same && refused == (got.status != 0) && got.marked == marked)
        << keyword.name << testing::PrintToString(values) << got;
  }
  const std::pair<Keyword, Values> loops[] = {{kDdb, {1e6, 0, most, most}},
                                              {kVdb, {1e6, 0, 3000, 700, 720, 150}}};
  for (const auto& [keyword, v] : loops) EXPECT_EQ(both(keyword, v), modelled(keyword, v));
}

}  // namespace
