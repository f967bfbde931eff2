#include "numeric/elementary.h"

#include <cmath>

#include "abi/kernel_records.h"

namespace vxfnc {

double zexpm1(double x) noexcept {
  constexpr double kSeriesLimit = 0.01;
  if (std::fabs(x) > kSeriesLimit) return std::exp(x) - 1.0;
  return x *
         (1.0 + x / 2.0 * (1.0 + x / 3.0 * (1.0 + x / 4.0 * (1.0 + x / 5.0 * (1.0 + x / 6.0)))));
}

double zln1px(double x) noexcept {
  constexpr double kRationalLimit = 0.03125;
  if (!(std::fabs(x) <= kRationalLimit)) return std::log(1.0 + x);
  // The minimax approximation for 0 <= x <= 1/32; see the header.
  const double s = x / (1.0 + x / 2.0);
  const double t = s * s;
  const double numerator = 0.08333333333333427 - 0.0023812878804825234 * t;
  const double denominator = 1.0 - 0.178575454351365 * t;
  return s + t * s * numerator / denominator;
}

double zlnSumOfExp(double a, double b) noexcept {
  constexpr double kLn2 = 0.6931471805599453;
  if (a > b) return a + zln1px(std::exp(-(a - b)));
  if (a == b) return a + kLn2;
  return b + zln1px(std::exp(a - b));
}

double zpower(double x, double y, std::int32_t* status) noexcept {
  constexpr double kWholeLimit = 9007199254740992.0;      // 2^53
  constexpr double kHugeExponent = 1.3407807929943e+154;  // square root of the largest double
  constexpr double kSafetyMargin = 1.0000000000000007;    // 1 + 3 * 2^-52
  // -1022 ln 2: below, results are subnormal.
  constexpr double kExpUnderflow = -708.3964185;
  constexpr double kMultiplicationLimit = 72.0873067782343;  // 104 ln 2
  const auto failed = [status](PowerStatus why) {
    *status = why;
    return MISSING;
  };
  *status = kPowerOk;

  if (x == 0.0) return y > 0.0 ? 0.0 : failed(kPowerZeroBase);
  if (y == 1.0) return x;
  if (y == 0.0) return 1.0;

  const double base = std::fabs(x);
  const double exponent = std::fabs(y);
  const bool whole = std::trunc(y) == y;
  const bool odd = whole && exponent < kWholeLimit && static_cast<std::int64_t>(exponent) % 2 == 1;
  if (x < 0.0 && !whole) return failed(kPowerNegativeBase);
  const double sign = x < 0.0 && odd ? -1.0 : 1.0;
  if (base == 1.0) return sign;

  if (exponent >= kHugeExponent) return (base > 1.0) == (y > 0.0) ? failed(kPowerOverflow) : 0.0;
  const double t = y * kSafetyMargin * std::log(base);
  if (t >= kExpOverflow) return failed(kPowerOverflow);
  if (t <= kExpUnderflow) return 0.0;

  if (!whole || !(std::fabs(t) < kMultiplicationLimit)) return sign * std::pow(base, y);
  // Since |t| is below its limit, the exponent is below 2^60.
  double square = base;
  double product = 1.0;
  for (auto bits = static_cast<std::uint64_t>(exponent); bits != 0; bits >>= 1) {
    if ((bits & 1) != 0) product *= square;
    square *= square;
  }
  return sign * (y < 0.0 ? 1.0 / product : product);
}

}  // namespace vxfnc
