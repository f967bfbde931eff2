// Conversions of rates and of prices quoted in fractions.
#include <cmath>
#include <cstdint>
#include <iterator>

#include "call/reader.h"
#include "numeric/elementary.h"

namespace vxfnc::tvm {

// EFFECT(nominal_rate, npery)
Status fnc_EFFECT(Reader& in) noexcept {
  const double rate = in.number(1);
  const double n = in.integer(2, 1);
  if (!in.ok()) return in.status();
  return in.store(zexpm1(n * zln1px(rate / n)));
}

// NOMINAL(effect_rate, npery)
Status fnc_NOMINAL(Reader& in) noexcept {
  const double rate = in.number(1);
  const double n = in.integer(2, 1);
  if (!in.ok()) return in.status();
  return in.store(n * zexpm1(zln1px(rate) / n));
}

// FVSCHEDULE(principal, rate ...)
Status fnc_FVSCHEDULE(Reader& in) noexcept {
  double value = in.number(1);
  for (std::int64_t slot = 2; slot < in.count() && in.ok(); ++slot) {
    value = value * (1.0 + in.number(slot));
  }
  return in.ok() ? in.store(value) : in.status();
}

namespace {

constexpr double powTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6, 1e7,
                             1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};

// A price whose digits after the decimal point are a numerator: with denominator 16, 1.02 means 1 +
// 2/16.
struct Quotation {
  double price;
  double denominator;
  double whole;  // the integer part of the price, of any size
  double unit;   // the smallest power of ten that is not below the denominator
};

// The denominator and its low 32 bits must be above 0. The calculation uses the whole denominator.
Quotation read_quotation(Reader& in) noexcept {
  const double price = in.number(1);
  const std::int64_t denominator = in.whole(2);
  in.require(denominator > 0 && static_cast<std::int32_t>(denominator) > 0, 2);
  if (!in.ok()) return {};
  const auto d = static_cast<double>(denominator);
  const auto k = static_cast<std::size_t>(std::ceil(std::log10(d)));
  const double unit = k < std::size(powTen) ? powTen[k] : std::pow(10.0, static_cast<double>(k));
  return {price, d, std::trunc(price) + 0.0, unit};  // + 0.0 avoids a negative zero
}

}  // namespace

// DOLLARDE(fractional_dollar, fraction)
// For a positive price, a fraction that may be only the rounding error of the price is ignored. For
// a negative price no fraction is ignored.
Status fnc_DOLLARDE(Reader& in) noexcept {
  const Quotation q = read_quotation(in);
  if (!in.ok()) return in.status();
  const double part = q.price - q.whole;
  const bool counts = std::fabs(part) > 5.0 * q.whole * 1.1102230246251565e-16;
  return in.store(counts ? q.whole + q.unit * part / q.denominator : q.whole);
}

// DOLLARFR(decimal_dollar, fraction)
Status fnc_DOLLARFR(Reader& in) noexcept {
  const Quotation q = read_quotation(in);
  if (!in.ok()) return in.status();
  return in.store(q.whole + (q.price - q.whole) * q.denominator / q.unit);
}

}  // namespace vxfnc::tvm
