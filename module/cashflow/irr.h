// The internal rate of return of flows that are one period apart: the root finder of IRR.
#pragma once

#include <cstdint>

namespace vxfnc::cashflow {

// Returns flow number i, counted from 0.
using ReadFlow = double(std::int64_t i, const void* flows);

struct IrrProblem {
  // The number of periods that the rate covers; 0: continuous compounding.
  double frequency = 1.0;
  std::int32_t sign_changes = 0;  // output: the number of sign changes of the flows
  std::int32_t count = 0;         // the number of flows, 2 to 32767
  ReadFlow* read_flow = nullptr;
  const void* flows = nullptr;     // passed to read_flow
  std::int32_t several_roots = 0;  // output: 1 if there may be several rates
  double rate = 0.0;
};

enum IrrStatus : std::int32_t {
  kIrrFound = 0,
  kIrrNone = 1,                // no sign change, or no root found
  kIrrUnlocatedChange = -995,  // the single sign change was not found
  kIrrNotConverged = -993,
  kIrrAllZero = -994,
  kIrrNoRate = -997,  // the root is not a discount factor of any rate
  kIrrBadInput = -999,
};

// Solves for the rate.
std::int32_t zirr_s(IrrProblem& problem) noexcept;

// Does the same with separate parameters. Returns the rate, or MISSING if the status is not 0.
double zirr(std::int32_t count, ReadFlow* read_flow, const void* flows, std::int32_t* status,
            double frequency) noexcept;

// A polynomial, and the value and derivatives that EvalPol computes at a point. They are stored
// without a factor e^exponent, so that they do not overflow for large arguments.
struct PolynomialState {
  std::int64_t degree = 0;
  const double* coefficients = nullptr;  // in ascending order of powers
  double value = 0.0;
  double first = 0.0;
  double second = 0.0;
  double exponent = 0.0;  // a whole number; 0 for arguments below 1 in magnitude
  double scale = 0.0;     // sum of the coefficients' magnitudes
  double largest = 0.0;   // largest of these magnitudes
};

void EvalPol(double x, PolynomialState& polynomial) noexcept;

}  // namespace vxfnc::cashflow
