// Newton's method for rates. YIELD, ODDFYIELD, RATE and XIRR use it.
//
// The variable of the method is ln(1 + x), so that x stays above -1. It makes at most maxIterations
// + 1 evaluations.
//
// Error: the last step is at most the tolerance, and each step of Newton's method squares the
// error. With a tolerance of 1e-12, the remaining error is far below the rounding error; the error
// of the root is then that of the objective's value divided by its slope. docs/accuracy.md lists
// the errors and the residuals of RATE, XIRR and YIELD compared with a solution in 256 bits, and
// the worst inputs. There are two exceptions: a root within 1.05e-8 of 0 may be returned as 0, and
// a root below -0.9999999 as -0.9999999.
#pragma once

#include <cstdint>

namespace vxfnc {

// Why the search ended.
enum class NewtonEnd : std::int8_t {
  kConverged,        // a step within the tolerance
  kConvergedAtZero,  // two successive points are almost 0, so x is set to 0
  kSmallResidual,    // out of iterations, but the last value is almost 0
  kExhausted,        // out of iterations
  kNoValue,          // the objective cannot be evaluated at x
  kStepTooLong,      // the step would overflow, or is not finite
};

struct NewtonControl {
  double tolerance = 1e-12;  // maximum size of the last step; relative if |x| > 1
  std::int32_t maxIterations = 100;
  // The objective function. It reads x, stores value and derivative, and returns 0. Any other
  // return value means that it has no value at x.
  std::int32_t (*evaluate)(NewtonControl& control) noexcept = nullptr;
  void* context = nullptr;  // for use by the objective function
  double derivative = 0.0;
  double value = 0.0;
  double start = 0.0;
  double x = 0.0;              // the current point; at the end, the root
  double residualScale = 0.0;  // scale for the last value if the iterations are used up

  NewtonEnd end = NewtonEnd::kNoValue;  // output: the reason for the return value
  std::int32_t iterations = 0;          // output: the number of iterations that did not converge
};

// Returns 0 if x is the root, and 1 if no root was found.
std::int32_t CallSpecialNewton(NewtonControl& control) noexcept;

}  // namespace vxfnc
