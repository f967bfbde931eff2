// The keywords: how their arguments are drawn, and their results in 256 bits.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/accuracy/ranges.h"
#include "bench/accuracy/real.h"

// The value of an equation at a point, and the largest of the terms whose sum should be 0.
template <class T>
struct Balance {
  T sum, largest;
};

struct Row {
  std::string keyword;
  std::string what;                            // distinguishes several rows of one keyword
  std::string ranges;                          // in the syntax of `Draw`
  double limit;                                // the maximum of error / (1 + sensitivity), in ulp
  std::function<void(Values&)> finish;         // computes arguments that depend on others
  std::function<Real(const Values&)> exact;    // the formula in 256 bits
  std::function<double(const Values&)> plain;  // the same formula in double
  std::function<Balance<Real>(const Real&, const Values&)>
      balance;        // the equation of a search: 0 at the root
  std::string order;  // why the formula here is more accurate than the module; "" if it need not be
};

const std::vector<Row>& rows();
