// Newton's method for rates: the one root finder of every keyword that solves for a rate.
//
// It works on ln(1 + x), so that no step carries x to or below -1, and ends after at most
// maxIterations + 1 evaluations.
//
// Error: the last step is at most the tolerance, and Newton's method squares what is left. At
// 1e-12 the rest is far below rounding, and the error of the root is that of the objective's value
// over its slope. docs/accuracy.md lists the errors and the residuals of RATE, XIRR and YIELD
// beside a solve by 256 bits, with the worst inputs. Two exceptions: a root within 1.05e-8 of 0 may
// be returned as 0, and one below -0.9999999 as -0.9999999.
#pragma once

#include <cstdint>

namespace vxfnc {

// How a solve ended.
enum class NewtonEnd : std::int8_t {
  kConverged,        // a step within the tolerance
  kConvergedAtZero,  // two points in a row that do not differ from 0: x is exactly 0
  kSmallResidual,    // out of iterations, but the last value is next to nothing
  kExhausted,        // out of iterations
  kNoValue,          // the objective cannot be evaluated at x
  kStepTooLong,      // the step would overflow, or is no finite number
};

struct NewtonControl {
  double tolerance = 1e-12;  // of a step, relative for points beyond 1
  std::int32_t maxIterations = 100;
  // The objective: reads x, stores value and derivative, returns 0; anything else: it has no value.
  std::int32_t (*evaluate)(NewtonControl& control) noexcept = nullptr;
  void* context = nullptr;  // the objective's own
  double derivative = 0.0;
  double value = 0.0;
  double start = 0.0;
  double x = 0.0;              // the current point, and the root of a solve that succeeds
  double residualScale = 0.0;  // what a value is compared with when the iterations are used up

  NewtonEnd end = NewtonEnd::kNoValue;  // what the return value sums up
  std::int32_t iterations = 0;          // that did not converge
};

// 0: x is the root. 1: the solve failed.
std::int32_t CallSpecialNewton(NewtonControl& control) noexcept;

}  // namespace vxfnc
