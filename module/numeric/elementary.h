// Elementary functions that keep financial formulas accurate near zero rates and safe from
// overflow. Everything here is a pure function of doubles.
#pragma once

#include <cstdint>

namespace vxfnc {

// exp(x) overflows from here on: the natural logarithm of the largest double.
inline constexpr double kExpOverflow = 709.782712893384;

// e^x - 1. Below 0.01 in magnitude a polynomial keeps the digits that exp(x) - 1 would cancel.
double zexpm1(double x) noexcept;

// ln(1 + x) for x > -1; -1 gives minus infinity. Exact for the tiniest x.
double zln1px(double x) noexcept;

// ln(e^a + e^b) without overflow.
double zlnSumOfExp(double a, double b) noexcept;

enum PowerStatus : std::int32_t {
  kPowerOk = 0,
  kPowerOverflow = 1,
  kPowerNegativeBase = 2,  // a negative base with an exponent that is not whole
  kPowerZeroBase = 3,      // a zero base with an exponent that is not positive
};

// x^y. Every status but kPowerOk answers the missing value.
double zpower(double x, double y, std::int32_t* status) noexcept;

}  // namespace vxfnc
