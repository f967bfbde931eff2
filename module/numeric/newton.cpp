#include "numeric/newton.h"

#include <algorithm>
#include <cmath>

#include "numeric/elementary.h"

namespace vxfnc {
namespace {

// tools/check_constants.py derives all but the lowest point, which is a choice.
constexpr double kLongestStep = 354.891356446692;      // 512 ln 2, half of where e^g overflows
constexpr double kLowestPoint = -0.9999999;            // just above a rate of -100 %
constexpr double kNextToZero = 1.053671212772351e-08;  // 2^-26.5: its square is nothing beside 1
constexpr double kNothing = 1.110223024625157e-15;     // 10 * 2^-53, ten units of rounding

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
    const double next = moved > kLowestPoint ? moved : kLowestPoint;  // also for a NaN
    if (!std::isfinite(next)) return NewtonEnd::kStepTooLong;

    NewtonEnd end = NewtonEnd::kConverged;
    if (std::fabs(x) < kNextToZero && std::fabs(next) < kNextToZero) {
      control.x = 0.0;
      end = NewtonEnd::kConvergedAtZero;
    } else {
      control.x = next;
      if (std::fabs(x - next) > control.tolerance * std::max(std::fabs(next), 1.0)) {
        // The count goes up once more on the way out, so that the test below sees the limit.
        if (control.iterations++ < control.maxIterations) continue;
      }
    }
    // A step that converges only on the last evaluation is held to its residual, too.
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
