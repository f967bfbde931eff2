// Cash flows: one period apart, or on any dates.
#pragma once

#include "catalog/common_arguments.h"

namespace catalog::rows {

inline constexpr Keyword kFlows[] = {
    {"NPV",
     Task::kCashFlows,
     kAmount,
     {rate, amount.with(Presence::kAnyNumber)},
     {.title = "net present value of amounts one period apart",
      .summary = "Discounts amounts that are one period apart. The first amount, too, is a period "
                 "away; add one paid today to the result. Without amounts it is 0. A rate of 0 or "
                 "below is refused.",
      .result = "amount",
      .formula = "sum of amount k / (1 + rate)^k for k = 1, 2, ...",
      .example = "0.1 -10000 3000 4200 6800",
      .value = "1188.443412",
      .fails = "",
      .related = "XNPV IRR PV"}},
    {"IRR",
     Task::kCashFlows,
     kRate,
     {amount},
     {.title = "internal rate of return of amounts one period apart",
      .summary =
          "The rate per period at which the amounts are worth 0 together. It takes no guess: every "
          "argument is an amount. With several changes of sign there may be several rates; the "
          "search begins just above 0. A missing amount is refused, without saying which.",
      .result = "rate per period, a fraction",
      .formula = "sum of amount k / (1 + rate)^k = 0 for k = 0, 1, ...",
      .example = "-100 20 24 28.8 34.56 41.47",
      .value = "0.1305757564",
      .fails = "there are fewer than two or more than 32,767 amounts, one is missing, all have one "
               "sign, no rate is found, or the amounts are too large for a double to add up",
      .related = "XIRR MIRR NPV RATE"}},
    {"MIRR",
     Task::kCashFlows,
     kRate,
     {amount,
      number("finance_rate", "rate per period paid for amounts below 0, a fraction").above(0),
      number("reinvest_rate", "rate per period earned on the other amounts, a fraction").above(0)},
     {.title = "modified internal rate of return",
      .summary = "The rate of return when payments are financed at one rate and receipts are "
                 "invested at another. Both rates must be above 0.",
      .result = "rate per period, a fraction",
      .formula = "(F / P)^(1 / (n - 1)) - 1, n the number of amounts\n"
                 "F = receipts carried to the end at reinvest_rate,\n"
                 "P = payments discounted to the start at finance_rate",
      .example = "-120000 39000 30000 21000 37000 46000 0.1 0.12",
      .value = "0.1260941304",
      .fails = "nothing is paid, or nothing is received",
      .related = "IRR NPV"}},
    {"XNPV",
     Task::kCashFlows,
     kAmount,
     {any_rate.named("rate", "yearly rate, a fraction"), amount, flow_date},
     {.title = "net present value of dated amounts",
      .summary =
          "Discounts amounts in years of 365 days. All amounts come first, then their dates in the "
          "same order. The amount listed first is never discounted; those dated before it are "
          "compounded. The rate may be 0 or below, but must be above -1 to mean anything: at -1 "
          "the answer may be infinite, below it is the missing value or means nothing.",
      .result = "amount",
      .formula = "sum of amount k / (1 + rate)^((date k - date 1) / 365)",
      .example = "0.1 -1000 -9000 20000 -3000 2015-06-11 2015-07-21 2018-06-10 2015-10-17",
      .value = "2218.425664",
      .fails = "there are more than 100 amounts and the host has no storage for them",
      .related = "XIRR NPV"}},
    {"XIRR",
     Task::kCashFlows,
     kRate,
     {amount, flow_date,
      number("guess", "rate that the search starts from, a fraction").optional("0")},
     {.title = "internal rate of return of dated amounts",
      .summary =
          "The yearly rate at which XNPV is 0. All amounts come first, then their dates in the "
          "same order; list the earliest first, or the search may miss the rate. There must be "
          "amounts of both signs; with several changes of sign there may be several rates. A "
          "search that fails is tried again from two other starts. No search goes below "
          "-0.9999999: that answer means that the true rate is lower or was not found.",
      .result = "yearly rate, a fraction",
      .formula = "sum of amount k / (1 + rate)^((date k - date 1) / 365) = 0",
      .example =
          "-10000 2500 2000 3000 4000 2007-01-12 2008-02-14 2008-03-03 2008-06-14 2008-12-01",
      .value = "0.1006437834",
      .fails = "the amounts have one sign, no search finds a rate, or there are more than 100 "
               "amounts and the host has no storage for them",
      .related = "XNPV IRR RATE"}},
};

}  // namespace catalog::rows
