// Accuracy and edges of the numeric support. Wanted values come from the C library in long double,
// or are exact.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "frame/kernel_records.h"
#include "numeric/bounded.h"
#include "numeric/elementary.h"
#include "numeric/vectors.h"

namespace vxfnc {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

double relative_error(double got, long double wanted) {
  return static_cast<double>(std::fabs((got - wanted) / wanted));
}

TEST(Elementary, KeepsItsDigitsNearZero) {
  for (double x = 1e-300; x < 0.03125; x *= 1.37) {
    for (const double v : {x, -x}) {
      // Just above its series, exp(x) - 1 cancels up to seven bits.
      EXPECT_LT(relative_error(zexpm1(v), std::expm1(static_cast<long double>(v))),
                std::fabs(v) > 0.01 ? 3e-14 : 5e-16)
          << v;
      EXPECT_LT(relative_error(zln1px(v), std::log1p(static_cast<long double>(v))), 5e-16) << v;
    }
  }
  EXPECT_EQ(zln1px(1e-20), 1e-20);
}

TEST(Elementary, ChangesFormsAtTheStatedPoints) {
  EXPECT_EQ(zexpm1(0.0100001), std::exp(0.0100001) - 1.0);
  EXPECT_NE(zexpm1(0.01), std::exp(0.01) - 1.0);
  EXPECT_EQ(zln1px(std::nextafter(0.03125, 1.0)), std::log(1.0 + std::nextafter(0.03125, 1.0)));
  EXPECT_EQ(zln1px(-1.0), -kInf);
  EXPECT_EQ(zexpm1(-kInf), -1.0);
}

TEST(Elementary, SumsExponentialsWithoutOverflow) {
  EXPECT_EQ(zlnSumOfExp(1000.0, 1000.0), 1000.0 + 0.6931471805599453);
  EXPECT_DOUBLE_EQ(zlnSumOfExp(1000.0, 1001.0), 1001.3132616875183);  // 1001 + ln(1 + 1/e)
  EXPECT_EQ(zlnSumOfExp(1001.0, 1000.0), zlnSumOfExp(1000.0, 1001.0));
}

TEST(Elementary, PowersAnswerAStatus) {
  const struct {
    double x, y, wanted;
    int status;
  } rows[] = {
      {-2, 3, -8, 0},         {-2, 0.5, MISSING, 2},
      {0, -1, MISSING, 3},    {0, 0, MISSING, 3},
      {-0.0, 3, 0, 0},        {10, 400, MISSING, 1},
      {10, -400, 0, 0},       {-10, -401, 0, 0},
      {7, 1, 7, 0},           {7, 0, 1, 0},
      {-1, 3, -1, 0},         {-1, 1e300, 1, 0},
      {2, 1e200, MISSING, 1}, {0.5, 1e200, 0, 0},
      {2, -3, 0.125, 0},      {3, 33, 5559060566555523.0, 0},
      {4, 0.5, 2, 0},         {-2, 103, -0x1p103, 0},
      {-2, 105, -0x1p105, 0}, {1.5, 40, 12157665459056928801.0 / 0x1p40, 0},
      {2, 1024, MISSING, 1},  {2, -1022, 0, 0},
      {kInf, 2, MISSING, 1},
  };
  for (const auto& row : rows) {
    std::int32_t status = -1;
    const double got = zpower(row.x, row.y, &status);
    EXPECT_EQ(status, row.status) << row.x << "^" << row.y;
    if (status == 0 && row.wanted != 0.0) {
      EXPECT_LT(relative_error(got, row.wanted), 3e-15) << row.x << "^" << row.y;
    } else {
      EXPECT_TRUE(same_bits(got, row.wanted)) << row.x << "^" << row.y << " is " << got;
    }
  }
}

// Both forms of both routines, at both alignments, with lengths around every block size.
TEST(Vectors, BothFormsAgreeToTheBit) {
  if (!has_wide_vectors()) GTEST_SKIP() << "no 256-bit vectors here: only the plain forms ran";
  std::vector<double> x(101);
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i] = std::ldexp(std::sin(static_cast<double>(i * i)), static_cast<int>(i % 60));
  }
  for (int poison = 0; poison < 3; ++poison) {
    if (poison == 1) x[40] = MISSING;
    if (poison == 2) x[0] = x[1] = MISSING;
    for (std::size_t offset = 0; offset < 2; ++offset) {
      for (std::int64_t n = -1; n <= 100; ++n) {
        const double* const v = x.data() + offset;
        EXPECT_TRUE(same_bits(zvasum_plain(v, n), zvasum_256(v, n))) << n;
        EXPECT_TRUE(same_bits(zvamx_plain(v, n), zvamx_256(v, n))) << n;
        long double sum = 0.0L;
        double maximum = 0.0;
        for (std::int64_t i = 0; i < n; ++i) {
          sum += std::fabs(v[i]);
          maximum = std::fmax(maximum, std::fabs(v[i]));
        }
        if (poison == 0) {
          EXPECT_NEAR(zvasum(v, n), static_cast<double>(sum), 1e-13 * maximum);
        }
        if (poison < 2) {
          EXPECT_EQ(zvamx(v, n), maximum);  // a NaN after the first is passed over
        }
      }
    }
  }
}

}  // namespace
}  // namespace vxfnc
