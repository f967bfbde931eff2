// A sum of doubles that in practice does not depend on the order of the terms. Hosts may use it to
// add up the flows of one date before they pass them to the kernel.
#pragma once

#include <cmath>

namespace vxkernel {

// Plain data: a host may copy the bytes. The members begin at -0.0 and 0.0, so that a sum of
// negative zeros is a negative zero. Needs -ffp-contract=off.
struct CompensatedSum {
  double sum = -0.0;  // the terms, added up one after the other
  double rest = 0.0;  // the rounding errors of these additions

  void add(double term) noexcept {
    const double total = sum + term;
    const double added = total - sum;  // the part of the term that is in the total
    rest += (sum - (total - added)) + (term - added);
    sum = total;
  }

  // If the plain sum is infinite or NaN, the rest is NaN, and the value is the plain sum.
  [[nodiscard]] double value() const noexcept {
    return std::isfinite(rest) && rest != 0.0 ? sum + rest : sum;
  }
};

}  // namespace vxkernel
