// Cash flows: one period apart, or on given dates.
#pragma once

#include "catalog/causes.h"
#include "catalog/common_arguments.h"

namespace catalog::rows {

inline constexpr Keyword kFlows[] = {
    {"NPV",
     Task::kCashFlows,
     kAmount,
     {rate, amount.with(Presence::kAnyNumber)},
     {.title = "net present value of amounts one period apart",
      .summary = "Returns the present value of amounts that are one period apart. The first amount "
                 "is due after one period, so add an amount that is due today to the result. "
                 "Without amounts, the result is 0. A rate of 0 or below is an error.",
      .result = "amount, in the currency of the amounts",
      .formula = "sum of amount k / (1 + rate)^k for k = 1, 2, ...",
      .example = "0.1 -10000 3000 4200 6800",
      .value = "1188.443412",
      .related = "XNPV IRR PV"}},
    {"IRR",
     Task::kCashFlows,
     kRate,
     {amount},
     {.title = "internal rate of return of amounts one period apart",
      .summary = "Returns the rate per period at which the net present value of the amounts is 0. "
                 "The first amount is due today. IRR has no argument for a guess: every argument "
                 "is an amount. If the amounts change their sign more than once, several rates can "
                 "solve the equation; the search starts just above a rate of 0 and returns the "
                 "first rate that it finds.",
      .result = "rate per period as a fraction",
      .formula = "sum of amount k / (1 + rate)^k = 0 for k = 0, 1, ...",
      .example = "-100 20 24 28.8 34.56 41.47",
      .value = "0.1305757564",
      .related = "XIRR MIRR NPV RATE",
      .causes = kPeriodicRateCauses}},
    {"MIRR",
     Task::kCashFlows,
     kRate,
     {amount,
      number("finance_rate",
             "rate per period at which negative amounts are financed, as a fraction (0.1 is 10 %)")
          .above(0),
      number("reinvest_rate",
             "rate per period at which other amounts are reinvested, as a fraction (0.1 is 10 %)")
          .above(0)},
     {.title = "modified internal rate of return",
      .summary = "Returns the rate of return per period if payments are financed at one rate and "
                 "receipts are reinvested at another. The amounts are one period apart, and the "
                 "first is due today.",
      .result = "rate per period as a fraction",
      .formula = "(F / P)^(1 / (n - 1)) - 1, n = number of amounts\n"
                 "F = value of all positive amounts at the end, at reinvest_rate\n"
                 "P = value of all negative amounts today, at finance_rate, without the sign",
      .example = "-120000 39000 30000 21000 37000 46000 0.1 0.12",
      .value = "0.1260941304",
      .related = "IRR NPV",
      .causes = kModifiedRateCauses}},
    {"XNPV",
     Task::kCashFlows,
     kAmount,
     {any_rate.named("rate", "yearly rate as a fraction (0.05 is 5 %)"), amount, flow_date},
     {.title = "net present value of dated amounts",
      .summary = "Returns the net present value of dated amounts on the first date in the list. A "
                 "year counts as 365 days. Give all amounts first, and then their dates in the "
                 "same order. Amounts with earlier dates are compounded instead of discounted. The "
                 "rate may be 0 or negative, but must be greater than -1 for a meaningful result. "
                 "A rate of -1 or below is an error or gives a meaningless number.",
      .result = "amount, in the currency of the amounts",
      .formula = "sum of amount k / (1 + rate)^((date k - date 1) / 365) for k = 1, 2, ...",
      .example = "0.1 -1000 -9000 20000 -3000 2015-06-11 2015-07-21 2018-06-10 2015-10-17",
      .value = "2218.425664",
      .related = "XIRR NPV"}},
    {"XIRR",
     Task::kCashFlows,
     kRate,
     {amount, flow_date,
      number("guess", "rate at which the search starts, as a fraction (0.05 is 5 %)")
          .optional("0")},
     {.title = "internal rate of return of dated amounts",
      .summary = "Returns the yearly rate at which XNPV is 0. Give all amounts first, and then "
                 "their dates in the same order. List the earliest amount first; otherwise the "
                 "search can miss the rate. If the amounts change their sign more than once, "
                 "several rates can solve the equation. If the search from the guess fails, it is "
                 "repeated from two other starts. The search does not go below -0.9999999. If it "
                 "ends there, it found no rate, which is an error.",
      .result = "yearly rate as a fraction",
      .formula = "sum of amount k / (1 + rate)^((date k - date 1) / 365) = 0 for k = 1, 2, ...",
      .example =
          "-10000 2500 2000 3000 4000 2007-01-12 2008-02-14 2008-03-03 2008-06-14 2008-12-01",
      .value = "0.1006437834",
      .related = "XNPV IRR RATE",
      .causes = kDatedRateCauses,
      .searches = true}},
};

}  // namespace catalog::rows
