// Elementary functions that keep financial formulas accurate near zero rates and safe from
// overflow. Everything here is a pure function of doubles.
//
// Bounds are in units of the last place of the exact result (ulp), for a C library whose exp, log
// and pow are within 0.52 ulp, as glibc's are. The worst inputs are those of `./dev accuracy`:
// 400,000 random arguments of each range and the 2,000 doubles next to each of its ends, compared
// with 256 bits. docs/accuracy.md has the ranges. tools/check_constants.py derives the constants.
#pragma once

#include <cstdint>

namespace vxfnc {

// exp(x) overflows from here on: the natural logarithm of the largest double, rounded to nearest.
inline constexpr double kExpOverflow = 709.782712893384;

// e^x - 1. Below 0.01 in magnitude a polynomial keeps the digits that exp(x) - 1 would cancel.
//
// Up to 0.01 in magnitude: within 3 ulp. The Taylor polynomial of degree 6 leaves out x^6 / 5040
// of the result, 1.15 ulp at 0.01. Worst:
//   zexpm1(0x1.47ae147ae1012p-7) returns 0x1.4952e97910ec8p-7,
//     exactly 0x1.4952e97910ecap-7: 2.27 ulp
// Beyond: exp(x) - 1. What exp has rounded counts for 1 / |x|: within 66 ulp above 0.01, 34
// below -0.01, 2 from 1 and -1 on. Worst:
//   zexpm1(0x1.909400f1d77b1p-7) returns 0x1.93095fa992b8p-7,
//     exactly 0x1.93095fa992bcp-7: 64.12 ulp
//   zexpm1(-0x1.b25b1ef9a293cp-7) returns -0x1.af7d64c093bp-7,
//     exactly -0x1.af7d64c093b2p-7: 32.16 ulp
double zexpm1(double x) noexcept;

// ln(1 + x) for x > -1; -1 gives minus infinity. Exact for the tiniest x.
//
// Up to 1/32 in magnitude: within 2 ulp. With s = x / (1 + x / 2) and t = s^2, ln(1 + x) is
// 2 artanh(s / 2) = s + t s (1/12 + t/80 + t^2/448 + ...). The rational function of t is the one
// of its degrees that is closest to that series for 0 <= x <= 1/32, off by at most 9.4e-16. For x
// down to -1/32 it is off by 2.3e-15. Beside s both are below 3e-18. Worst:
//   zln1px(0x1.f6464bc8b9cf8p-8) returns 0x1.f45c10b7adcfep-8,
//     exactly 0x1.f45c10b7adcfcp-8: 1.93 ulp
// Beyond: log(1 + x). What 1 + x has rounded counts for 1 / |x|: within 34 ulp above 1/32, 10 below
// -1/32. Worst:
//   zln1px(0x1.000000000027p-5) returns 0x1.f829b0e7837dap-6,
//     exactly 0x1.f829b0e7837bap-6: 31.52 ulp
//   zln1px(-0x1.ef40482bb3128p-5) returns -0x1.feda80aaf03f4p-5,
//     exactly -0x1.feda80aaf03fdp-5: 9.01 ulp
double zln1px(double x) noexcept;

// ln(e^a + e^b) without overflow.
//
// Within 2 ulp for a and b of 1 to 700. A result near 0 is a difference, in which what its parts
// have rounded counts. Worst:
//   zlnSumOfExp(0x1.05b3add37b047p+0, 0x1.15105e1d33f31p+0) returns 0x1.bef19c95246b8p+0,
//     exactly 0x1.bef19c95246b7p+0: 1.03 ulp
double zlnSumOfExp(double a, double b) noexcept;

enum PowerStatus : std::int32_t {
  kPowerOk = 0,
  kPowerOverflow = 1,
  kPowerNegativeBase = 2,  // a negative base with an exponent that is not whole
  kPowerZeroBase = 3,      // a zero base with an exponent that is not positive
};

// x^y. Every status but kPowerOk returns the missing value.
//
// By pow, for a y that is not whole or a power beyond e^72 or e^-72: within 1 ulp. By
// multiplication, for other whole y: each squaring doubles the relative error, so it is within
// |y| ulp. The worst for |y| up to 100 and up to 700:
//   zpower(0x1.6cb2e9519987ap-1, -0x1.88p+6) returns 0x1.f3b44e252ae17p+47,
//     exactly 0x1.f3b44e252ae5cp+47: 69.43 ulp
//   zpower(0x1.03051b25441cdp+0, 0x1.44p+9) returns 0x1.f34ca2938f26ep+10,
//     exactly 0x1.f34ca2938f46ap+10: 507.99 ulp
double zpower(double x, double y, std::int32_t* status) noexcept;

}  // namespace vxfnc
