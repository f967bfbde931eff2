// The least work that leads from the same numbers to the same answers: no call record, no keyword,
// no checks, no statuses, and the quickest formula that comes to mind. What the module takes longer
// is the price of its interface and of its order of operations.
//
// Arguments are valid and stand as in a call, without the keyword; dates are days from 1 January
// 1960. Annuities have no second amount and no type; cash flows change their sign once.
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
