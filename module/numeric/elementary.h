// Elementary functions that are accurate for rates near 0 and do not overflow. All are pure
// functions of doubles.
//
// Error bounds are in units in the last place of the exact result (ulp). They hold for a C library
// whose exp, log and pow have errors of at most 0.52 ulp, such as glibc. The worst inputs were
// found by `./dev accuracy`, which compares results with an evaluation in 256 bits for 400,000
// random arguments per range and for the 2,000 doubles next to each end of a range.
// docs/accuracy.md lists the ranges. tools/check_constants.py derives the constants.
#pragma once

#include <cstdint>

namespace vxfnc {

// exp(x) overflows for this and larger x: the natural logarithm of the largest double, rounded to
// the nearest double.
inline constexpr double kExpOverflow = 709.782712893384;

// Returns e^x - 1. For |x| up to 0.01 a polynomial is used, because exp(x) - 1 would lose digits by
// cancellation.
//
// For |x| up to 0.01 the error is at most 3 ulp. The Taylor polynomial of degree 6 omits a share
// x^6 / 5040 of the result, which is 1.15 ulp at 0.01. Worst input:
//   zexpm1(0x1.47ae147ae1012p-7) returns 0x1.4952e97910ec8p-7,
//     exactly 0x1.4952e97910ecap-7: 2.27 ulp
// For larger |x| the result is exp(x) - 1. The rounding error of exp is magnified by about 1 / |x|:
// the error is at most 66 ulp for x above 0.01, 34 ulp for x below -0.01, and 2 ulp for |x| of 1
// and more. Worst inputs:
//   zexpm1(0x1.909400f1d77b1p-7) returns 0x1.93095fa992b8p-7,
//     exactly 0x1.93095fa992bcp-7: 64.12 ulp
//   zexpm1(-0x1.b25b1ef9a293cp-7) returns -0x1.af7d64c093bp-7,
//     exactly -0x1.af7d64c093b2p-7: 32.16 ulp
double zexpm1(double x) noexcept;

// Returns ln(1 + x) for x > -1, and minus infinity for -1. Exact for the smallest |x|.
//
// For |x| up to 1/32 the error is at most 2 ulp. With s = x / (1 + x / 2) and t = s^2, ln(1 + x) is
// 2 artanh(s / 2) = s + t s (1/12 + t/80 + t^2/448 + ...). The series in parentheses is replaced by
// the rational function of t that is closest to it for 0 <= x <= 1/32, with an error of at most
// 9.4e-16. For x down to -1/32 its error is at most 2.3e-15. Relative to s, both errors are below
// 3e-18. Worst input:
//   zln1px(0x1.f6464bc8b9cf8p-8) returns 0x1.f45c10b7adcfep-8,
//     exactly 0x1.f45c10b7adcfcp-8: 1.93 ulp
// For larger |x| the result is log(1 + x). The rounding error of 1 + x is magnified by about 1 /
// |x|: the error is at most 34 ulp for x above 1/32, and 10 ulp for x below -1/32. Worst inputs:
//   zln1px(0x1.000000000027p-5) returns 0x1.f829b0e7837dap-6,
//     exactly 0x1.f829b0e7837bap-6: 31.52 ulp
//   zln1px(-0x1.ef40482bb3128p-5) returns -0x1.feda80aaf03f4p-5,
//     exactly -0x1.feda80aaf03fdp-5: 9.01 ulp
double zln1px(double x) noexcept;

// Returns ln(e^a + e^b) without overflow.
//
// For a and b from 1 to 700 the error is at most 2 ulp. If the result is near 0, it is a difference
// of larger numbers, and their rounding errors are magnified. Worst input:
//   zlnSumOfExp(0x1.05b3add37b047p+0, 0x1.15105e1d33f31p+0) returns 0x1.bef19c95246b8p+0,
//     exactly 0x1.bef19c95246b7p+0: 1.03 ulp
double zlnSumOfExp(double a, double b) noexcept;

enum PowerStatus : std::int32_t {
  kPowerOk = 0,
  kPowerOverflow = 1,
  kPowerNegativeBase = 2,  // a negative base and an exponent that is not whole
  kPowerZeroBase = 3,      // a base of 0 and an exponent that is not positive
};

// Returns x^y, or the missing value if the status is not kPowerOk.
//
// If y is not whole, or the result is above e^72 or below e^-72, the result is that of pow, with an
// error of at most 1 ulp. For other whole y the result is computed by multiplication. Each squaring
// doubles the relative error, so the error is at most |y| ulp. Worst inputs for |y| up to 100 and
// up to 700:
//   zpower(0x1.6cb2e9519987ap-1, -0x1.88p+6) returns 0x1.f3b44e252ae17p+47,
//     exactly 0x1.f3b44e252ae5cp+47: 69.43 ulp
//   zpower(0x1.03051b25441cdp+0, 0x1.44p+9) returns 0x1.f34ca2938f26ep+10,
//     exactly 0x1.f34ca2938f46ap+10: 507.99 ulp
double zpower(double x, double y, std::int32_t* status) noexcept;

}  // namespace vxfnc
