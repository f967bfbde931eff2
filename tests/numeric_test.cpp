// Accuracy and edge cases of the numeric functions. Expected values are exact, or computed by the C
// library in long double.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "abi/kernel_records.h"
#include "numeric/bounded.h"
#include "numeric/elementary.h"
#include "numeric/vectors.h"

namespace vxfnc {
namespace {

double relative_error(double got, long double wanted) {
  return static_cast<double>(std::fabs((got - wanted) / wanted));
}

TEST(Elementary, IsAccurateNearZero) {
  for (double x = 1e-300; x < 0.03125; x *= 1.37) {
    for (const double v : {x, -x}) {
      // Just above 0.01, exp(x) - 1 loses up to seven bits by cancellation.
      EXPECT_LT(relative_error(zexpm1(v), std::expm1(static_cast<long double>(v))),
                std::fabs(v) > 0.01 ? 3e-14 : 5e-16);
      EXPECT_LT(relative_error(zln1px(v), std::log1p(static_cast<long double>(v))), 5e-16);
    }
  }
  EXPECT_EQ(zln1px(1e-20), 1e-20);
  EXPECT_EQ(zexpm1(0.0100001), std::exp(0.0100001) - 1.0);
  EXPECT_NE(zexpm1(0.01), std::exp(0.01) - 1.0);
  EXPECT_NE(zln1px(0.03125), std::log(1.03125));
  EXPECT_EQ(zln1px(0.0312501), std::log(1.0312501));
  EXPECT_EQ(zln1px(-1.0), -HUGE_VAL);
  EXPECT_EQ(zlnSumOfExp(1000.0, 1000.0), 1000.0 + 0.6931471805599453);
  EXPECT_DOUBLE_EQ(zlnSumOfExp(1000.0, 1001.0), 1001.3132616875183);  // 1001 + ln(1 + 1/e)
  EXPECT_EQ(zlnSumOfExp(HUGE_VAL, HUGE_VAL), HUGE_VAL);
  EXPECT_EQ(zlnSumOfExp(1001.0, 1000.0), zlnSumOfExp(1000.0, 1001.0));
}

TEST(Elementary, PowersReturnAStatus) {
  constexpr double kUnderOverflow = 1024 - 4.5e-12;  // just within the safety margin
  // clang-format off
  const struct { double x, y, wanted; int status; } rows[] = {
      {-2, 3, -8, 0},         {-2, 0.5, MISSING, 2},  {0, -1, MISSING, 3},   {0, 0, MISSING, 3},
      {-0.0, 3, 0, 0},        {10, 400, MISSING, 1},  {10, -400, 0, 0},      {-10, -401, 0, 0},
      {7, 1, 7, 0},           {7, 0, 1, 0},           {-1, 3, -1, 0},        {-1, 1e300, 1, 0},
      {2, 1e200, MISSING, 1}, {0.5, 1e200, 0, 0},     {2, -3, 0.125, 0},     {4, 0.5, 2, 0},
      {-2, 103, -0x1p103, 0}, {-2, 105, -0x1p105, 0}, {2, 1024, MISSING, 1}, {2, -1022, 0, 0},
      {2, 0x1.fffffffffffffp+9, MISSING, 1}, {2, kUnderOverflow, static_cast<double>(std::exp2(static_cast<long double>(kUnderOverflow))), 0},
      {2, 1023.5, 0x1.6a09e667f3bcdp+1023, 0}, {2, -1021.5, 0x1.6a09e667f3bcdp-1022, 0},
      {-1, 0x1p52 + 1, -1, 0}, {2, -1e200, 0, 0}, {0.5, -1e200, MISSING, 1}, {1e-310, 1, 1e-310, 0},
      {3, 33, 5559060566555523.0, 0}, {1.5, 40, 12157665459056928801.0 / 0x1p40, 0},
  };
  // clang-format on
  for (const auto& [x, y, wanted, status] : rows) {
    std::int32_t got_status = -1;
    const double got = zpower(x, y, &got_status);
    EXPECT_EQ(got_status, status) << x << "^" << y;
    EXPECT_TRUE(same_bits(got, wanted) || relative_error(got, wanted) < 3e-15) << x << "^" << y;
  }
}

// Compares both forms of both functions, for both alignments and for lengths around each block
// size.
TEST(Vectors, BothFormsAgreeToTheBit) {
  EXPECT_EQ(has_wide_vectors(), __builtin_cpu_supports("avx") != 0);
  if (!has_wide_vectors()) GTEST_SKIP() << "no 256-bit vectors here: only the plain forms ran";
  std::vector<double> x;
  for (int i = 0; i < 101; ++i) x.push_back(std::ldexp(std::sin(i * i), i % 60));
  for (const int poisoned : {-1, 40, 66, 0}) {  // zvamx keeps a first NaN, ignores others
    if (poisoned >= 0) x[static_cast<std::size_t>(poisoned)] = MISSING;
    for (const double* const v : {x.data(), x.data() + 1}) {
      double sum = 0.0;
      double maximum = 0.0;
      for (std::int64_t n = 0; n <= 100; ++n) {
        EXPECT_TRUE(same_bits(zvasum_plain(v, n), zvasum_256(v, n))) << n;
        EXPECT_TRUE(same_bits(zvamx_plain(v, n), zvamx_256(v, n))) << n;
        EXPECT_TRUE(poisoned >= 0 || std::fabs(zvasum(v, n) - sum) <= 1e-13 * sum) << n;
        EXPECT_TRUE(poisoned == 0 || zvamx(v, n) == maximum) << n;
        sum += std::fabs(v[n]);
        maximum = std::fmax(maximum, std::fabs(v[n]));
      }
    }
  }
}

}  // namespace
}  // namespace vxfnc
