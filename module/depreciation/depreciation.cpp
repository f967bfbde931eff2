// Do not change the order of operations in the formulas: results must be the same to the last bit.
#include "depreciation/depreciation.h"

#include <algorithm>
#include <cmath>

#include "call/reader.h"
#include "numeric/bounded.h"
#include "numeric/elementary.h"

namespace vxfnc::depreciation {
namespace {

// Rounds to an integer, halves away from zero. The result is never a negative zero. A value that is
// not finite, or too large to have a fraction, is returned unchanged.
double rounded(double value) noexcept {
  const double moved = value + (value > 0.0 ? 0.5 : -0.5);
  if (!(std::fabs(moved) < 0x1p53)) return moved;
  return static_cast<double>(static_cast<std::int64_t>(moved));
}

}  // namespace

double straight_line(double cost, double salvage, double life) noexcept {
  return (cost - salvage) / life;
}

double sum_of_years_digits(double cost, double salvage, std::int32_t life,
                           std::int32_t period) noexcept {
  const double years = life;
  const double years_left = years - period + 1.0;
  return (cost - salvage) * years_left * 2.0 / years / (1.0 + years);
}

double fixed_declining_balance(double cost, double salvage, std::int32_t life, std::int32_t period,
                               std::int32_t months) noexcept {
  const double exact_rate = -zexpm1(std::log(salvage / cost) / life);
  const double rate = rounded(exact_rate * 1000.0) / 1000.0;

  double charge = cost * months * rate / 12.0;
  double total = charge;
  for (std::int32_t p = 2; p <= std::min(period, life); ++p) {
    charge = (cost - total) * rate;
    const double next = total + charge;
    if (same_bits(next, total)) break;  // all later charges are the same
    total = next;
  }
  if (period <= life) return charge;
  return (12.0 - months) * rate * (cost - total) / 12.0;
}

std::optional<double> declining_balance(double cost, double salvage, double life,
                                        std::int32_t period, double factor) noexcept {
  if (salvage > cost) return 0.0;
  double total = 0.0;
  for (std::int32_t p = 1;; ++p) {
    const double remaining = cost - total;
    const double charge =
        salvage > remaining ? 0.0 : std::min(remaining * factor / life, cost - salvage - total);
    const double next = total + charge;
    if (p == period || same_bits(next, total)) return charge;
    if (p == kLongestWalk) return std::nullopt;
    total = next;
  }
}

std::optional<double> variable_balance(double cost, double salvage, double life, Span span,
                                       double factor) noexcept {
  const double depreciable = cost - salvage;
  double taken = 0.0;
  double sum = 0.0;
  std::int32_t p = 0;
  for (std::int64_t steps = 0; steps < kLongestWalk; ++steps) {
    const bool counts = p >= span.start;
    const double charge = (cost - taken) * factor / life;
    const double next_taken = taken + charge;
    if (next_taken > depreciable) return counts ? sum + (depreciable - taken) : sum;
    const double next_sum = counts ? sum + charge : sum;
    // If a charge no longer changes `taken`, all later charges are the same. The remaining periods
    // before the span can then be skipped, and those inside it too if the sum no longer changes.
    const bool settled = same_bits(next_taken, taken);
    if (settled && counts && same_bits(next_sum, sum)) return sum;
    taken = next_taken;
    sum = next_sum;
    p = settled && !counts ? span.start : p + 1;
    if (p >= span.end) return sum;
  }
  return std::nullopt;
}

std::optional<double> variable_balance_with_switch(double cost, double salvage, double life,
                                                   Span span, double factor) noexcept {
  const double depreciable = cost - salvage;
  double taken = 0.0;
  double sum = 0.0;
  double charge = 0.0;
  bool switched = false;
  for (std::int32_t p = 0; p < span.end; ++p) {
    if (p == kLongestWalk) return std::nullopt;
    const bool counts = p >= span.start;
    if (!switched) {
      const double straight = (depreciable - taken) / (life - p);
      const double declining = (cost - taken) * factor / life;
      switched = !(declining >= straight);  // if both are equal, there is no switch
      charge = switched ? straight : declining;
    }
    if (taken + charge > depreciable) {
      // The test is repeated in every period, so if salvage is above the cost, the difference is
      // added in each period.
      if (counts) sum += depreciable - taken;
      switched = true;
      charge = 0.0;
    } else {
      taken += charge;
      if (counts) sum += charge;
      if (switched && charge == 0.0) break;
    }
  }
  return sum;
}

// SLN(cost, salvage, life)
Status fnc_SLN(Reader& in) noexcept {
  const double cost = in.number(1);
  const double salvage = in.number(2);
  const double life = in.positive(3);
  if (!in.ok()) return in.status();
  return in.store(straight_line(cost, salvage, life));
}

// SYD(cost, salvage, life, period)
Status fnc_SYD(Reader& in) noexcept {
  const double cost = in.number(1);
  const double salvage = in.number(2);
  const std::int32_t life = in.integer(3, 1);
  const std::int32_t period = in.integer(4, 1);  // not compared with the life
  if (!in.ok()) return in.status();
  return in.store(sum_of_years_digits(cost, salvage, life, period));
}

// DB(cost, salvage, life, period [, month])
Status fnc_DB(Reader& in) noexcept {
  const double cost = in.number(1);
  const double salvage = in.number(2);
  const std::int32_t life = in.integer(3, 1);
  const std::int32_t period = in.integer(4, 1);
  const std::int32_t months = in.integer_or(5, 1, 12);  // no upper bound
  in.require(period - 1 <= life, 4);                    // checked after the months, on purpose
  if (!in.ok()) return in.status();
  return in.store(fixed_declining_balance(cost, salvage, life, period, months));
}

constexpr double kDoubleDeclining = 2.0;

// DDB(cost, salvage, life, period [, factor])
Status fnc_DDB(Reader& in) noexcept {
  const double cost = in.number(1);
  const double salvage = in.number(2);
  const double life = in.positive(3);
  const std::int32_t period = in.integer(4, 1);
  in.require(period <= life, 4);
  double factor = in.number_if_any(5, kDoubleDeclining);
  // Unlike other optional arguments, never rejected.
  if (!(factor > 0.0)) factor = kDoubleDeclining;
  if (!in.ok()) return in.status();

  const auto charge = declining_balance(cost, salvage, life, period, factor);
  return charge ? in.store(*charge) : in.fail();
}

// VDB(cost, salvage, life, start, end [, factor [, no_switch]])
Status fnc_VDB(Reader& in) noexcept {
  const double cost = in.number(1);
  const double salvage = in.number(2);
  const double life = in.positive(3);
  const std::int32_t start = in.integer(4, 0);
  in.require(start <= life, 4);
  const std::int32_t end = in.integer(5, 1);
  in.require(end <= life, 5);
  const double factor = in.positive_or(6, kDoubleDeclining);
  const std::int32_t no_switch = in.choice_if_any(7, 1);  // no switch by default
  in.require(no_switch == 0 || no_switch == 1, 7);
  if (!in.ok()) return in.status();

  if (life == end - start) return in.store(cost - salvage);
  if (start >= end) return in.store(0.0);
  const auto charges =
      no_switch == 1 ? variable_balance(cost, salvage, life, {start, end}, factor)
                     : variable_balance_with_switch(cost, salvage, life, {start, end}, factor);
  return charges ? in.store(*charges) : in.fail();
}

}  // namespace vxfnc::depreciation
