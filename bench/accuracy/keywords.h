// The keywords: what is drawn for each, and what its result is by 256 bits.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/accuracy/ranges.h"
#include "bench/accuracy/real.h"

// What an equation is at a trial, and the largest of the terms that should add up to nothing.
template <class T>
struct Balance {
  T sum, largest;
};

struct Row {
  std::string keyword;
  std::string what;    // of the keyword's rows, when it has several
  std::string ranges;  // as `Draw` reads them
  double
      limit;  // what the module is held to, in ulp, beside what half an ulp in each argument makes
  std::function<void(Values&)> finish;         // makes arguments that depend on others
  std::function<Real(const Values&)> exact;    // of a formula
  std::function<double(const Values&)> plain;  // its formula as it stands here, in doubles
  std::function<Balance<Real>(const Real&, const Values&)>
      balance;        // of a search: zero at the root
  std::string order;  // why the formula as it stands here keeps more digits; empty: it need not
};

const std::vector<Row>& rows();
