#include "numeric/newton.h"

#include <algorithm>
#include <cmath>

#include "numeric/elementary.h"

namespace vxfnc {
namespace {

// tools/check_constants.py derives these constants, except kLowestPoint, which is a choice.
constexpr double kLongestStep = 354.891356446692;      // 512 ln 2; e^g overflows at twice this g
constexpr double kLowestPoint = -0.9999999;            // just above a rate of -100 %
constexpr double kNextToZero = 1.053671212772351e-08;  // 2^-26.5: adding its square to 1 gives 1
constexpr double kNothing = 1.110223024625157e-15;     // 10 * 2^-53, ten rounding errors of 1

NewtonEnd search(NewtonControl& control) noexcept {
  control.x = control.start;
  control.iterations = 0;
  for (;;) {
    if (control.evaluate(control) != 0) return NewtonEnd::kNoValue;
    const double x = control.x;
    const double g = -control.value / ((x + 1.0) * control.derivative);
    if (g > kLongestStep || !std::isfinite(g)) return NewtonEnd::kStepTooLong;
    const double e = zexpm1(g);
    const double moved = e * x + (e + x);
    const double next = moved > kLowestPoint ? moved : kLowestPoint;  // also if `moved` is NaN
    if (!std::isfinite(next)) return NewtonEnd::kStepTooLong;

    NewtonEnd end = NewtonEnd::kConverged;
    if (std::fabs(x) < kNextToZero && std::fabs(next) < kNextToZero) {
      control.x = 0.0;
      end = NewtonEnd::kConvergedAtZero;
    } else {
      control.x = next;
      if (std::fabs(x - next) > control.tolerance * std::max(std::fabs(next), 1.0)) {
        // At the limit, the count is increased once more before the loop ends. The test below
        // relies on it.
        if (control.iterations++ < control.maxIterations) continue;
      }
    }
    // A step that converges only in the last evaluation must have a small residual, too.
    if (control.iterations < control.maxIterations) return end;
    return std::fabs(control.value) < kNothing * control.residualScale ? NewtonEnd::kSmallResidual
                                                                       : NewtonEnd::kExhausted;
  }
}

}  // namespace

std::int32_t CallSpecialNewton(NewtonControl& control) noexcept {
  control.end = search(control);
  return control.end <= NewtonEnd::kSmallResidual ? 0 : 1;
}

}  // namespace vxfnc
