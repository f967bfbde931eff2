// Minimal computations of the same results: without call record, keyword, checks and status, with
// the fastest formula that we know. The additional time of the module is the cost of its interface
// and of its order of operations.
//
// Arguments are valid and in the order of a call, without the keyword. Dates are days since 1
// January 1960. Annuities have no second amount and no type. Cash flows have one change of sign.
#pragma once

#include <span>

namespace minimal {

using Arguments = std::span<const double>;
using Calculation = double(Arguments);

double yearfrac(Arguments);
double coupnum(Arguments);
double price(Arguments);
double yield(Arguments);
double pmt(Arguments);
double rate(Arguments);
double irr(Arguments);
double xirr(Arguments);

}  // namespace minimal
