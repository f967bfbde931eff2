// The internal rate of return of flows one period apart: the general root finder behind IRR.
#pragma once

#include <cstdint>

namespace vxfnc::cashflow {

// Answers flow i, counted from 0.
using ReadFlow = double(std::int64_t i, const void* flows);

struct IrrProblem {
  double frequency = 1.0;         // of compounding; 0 is continuous
  std::int32_t sign_changes = 0;  // found in the flows
  std::int32_t count = 0;         // of flows, 2 to 32767
  ReadFlow* read_flow = nullptr;
  const void* flows = nullptr;     // handed to read_flow
  std::int32_t several_roots = 0;  // 1: there may be more rates than the one found
  double rate = 0.0;
};

enum IrrStatus : std::int32_t {
  kIrrFound = 0,
  kIrrNone = 1,                // no sign change, or no root found
  kIrrUnlocatedChange = -995,  // the single sign change is not there
  kIrrNotConverged = -993,
  kIrrAllZero = -994,
  kIrrNoRate = -997,  // the root is that of no rate
  kIrrBadInput = -999,
};

// Solves for the rate.
std::int32_t zirr_s(IrrProblem& problem) noexcept;

// The same as one call: the rate, or MISSING when the status is not 0.
double zirr(std::int32_t count, ReadFlow* read_flow, const void* flows, std::int32_t* status,
            double frequency) noexcept;

// A polynomial, and what EvalPol finds at a point: value and derivatives are stored without a
// factor e^exponent, so that large arguments cannot overflow.
struct PolynomialState {
  std::int64_t degree = 0;
  const double* coefficients = nullptr;  // of rising powers
  double value = 0.0;
  double first = 0.0;
  double second = 0.0;
  double exponent = 0.0;  // a whole number; 0 for arguments below 1 in magnitude
  double scale = 0.0;     // sum of the coefficients' magnitudes
  double largest = 0.0;   // of these magnitudes
};

void EvalPol(double x, PolynomialState& polynomial) noexcept;

}  // namespace vxfnc::cashflow
