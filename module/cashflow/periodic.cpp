// Cash flows that are one period apart.
#include <cmath>
#include <limits>

#include "call/reader.h"
#include "cashflow/irr.h"
#include "numeric/elementary.h"

namespace vxfnc::cashflow {

// NPV(rate, amount ...)
// The first amount is due after one period. The amounts are read from the last to the first.
Status fnc_NPV(Reader& in) noexcept {
  const double rate = in.positive(1);
  const double d = 1.0 / (1.0 + rate);
  double sum = 0.0;
  for (std::int64_t slot = in.count() - 1; slot >= 2 && in.ok(); --slot) {
    sum = sum * d + in.number(slot);
  }
  return in.ok() ? in.store(d * sum) : in.status();
}

// MIRR(amount ..., finance_rate, reinvest_rate)
// The arguments are read from the last to the first.
Status fnc_MIRR(Reader& in) noexcept {
  const std::int64_t amounts = in.count() - 3;
  if (amounts < 1) return in.fail();
  const double reinvest_rate = in.positive(amounts + 2);
  const double finance_rate = in.positive(amounts + 1);
  const double f = 1.0 / (1.0 + finance_rate);
  const double g = 1.0 / (1.0 + reinvest_rate);
  double received = 0.0;
  double paid = 0.0;
  bool has_paid = false;
  for (std::int64_t slot = amounts; slot >= 1 && in.ok(); --slot) {
    const double amount = in.number(slot);
    received = received * g;
    paid = paid * f;
    if (amount < 0.0) {
      paid += amount;
      has_paid = true;
    } else {
      received += amount;
    }
  }
  if (!in.ok()) return in.status();

  const double discounted = f * paid;
  const double q = -g * received / discounted;
  if (!has_paid || discounted == 0.0 || !(q > 0.0)) return in.fail();
  if (amounts == 1) return in.store(0.0);
  const auto m = static_cast<double>(amounts);
  const double growth = zexpm1(m * zln1px(reinvest_rate));
  return in.store(zexpm1(std::log(q * (growth + 1.0) / (1.0 + finance_rate)) / (m - 1.0)));
}

namespace {

// Returns flow number i of a call. Flow 0 is the argument after the keyword.
double cashflow(std::int64_t i, const void* call) noexcept {
  return static_cast<const Reader*>(call)->number_if_any(i + 1, 0.0);
}

}  // namespace

// IRR(amount ...)
// If an amount is missing or a null pointer, the call fails and no argument is marked.
Status fnc_IRR(Reader& in) noexcept {
  for (std::int64_t slot = 1; slot < in.count(); ++slot) {
    if (in.is_missing(slot)) return in.fail(STATUS_MISSING_ARG);
    if (!in.has_number(slot)) return in.fail();
  }
  constexpr double kCompounding = 1.0;
  std::int32_t status = kIrrFound;
  const double rate =
      zirr(static_cast<std::int32_t>(in.count() - 1), cashflow, &in, &status, kCompounding);
  const bool is_rate =
      status == kIrrFound && !std::isnan(rate) && rate != std::numeric_limits<double>::max();
  return is_rate ? in.store(rate) : in.fail();
}

}  // namespace vxfnc::cashflow
