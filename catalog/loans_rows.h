// Loans and annuities, conversions of rates, prices in fractions.
#pragma once

#include "catalog/causes.h"
#include "catalog/common_arguments.h"

namespace catalog::rows {

inline constexpr Argument loan_pv =
    number("pv", "amount of the loan, positive if you receive it, negative if you lend it");

inline constexpr Keyword kLoans[] = {
    // Level payments.
    {"PMT",
     Task::kLoans,
     kAmount,
     {rate, nper, pv, fv, type},
     {.title = "level payment of a loan or a savings plan",
      .summary = "Returns the payment per period that takes a present value to a future value. For "
                 "a loan, pv is the amount of the loan and fv is the amount still owed at the end, "
                 "as a negative number. A rate of 0 or below is an error.",
      .result = "amount per period, negative if you pay it",
      .formula =
          "-rate * (pv * (1 + rate)^nper + fv) / (((1 + rate)^nper - 1) * (1 + rate * type))",
      .example = "0.00875 8 0 5000 1",
      .value = "-600.8520272",
      .related = "IPMT PPMT NPER RATE PV FV",
      .causes = kAnnuityCauses}},
    {"IPMT",
     Task::kLoans,
     kAmount,
     {rate, per, nper, pv, fv, type},
     {.title = "interest in the payment of one period",
      .summary = "Returns the interest in the level payment of one period. If payments are at the "
                 "start of each period, the first payment has no interest. A rate of 0 or below is "
                 "an error.",
      .result = "amount, negative if you pay it",
      .formula = "period 1: -pv * rate, or 0 with type 1\n"
                 "later: -pv * rate * g / (1 + rate * type) - pmt * (g - 1)\n"
                 "g = (1 + rate)^(per - 1), pmt = PMT(rate, nper, pv, fv, type)",
      .example = "0.00425 2 60 50000",
      .value = "-209.383245",
      .related = "PPMT PMT CUMIPMT ISPMT",
      .causes = kAnnuityCauses}},
    {"PPMT",
     Task::kLoans,
     kAmount,
     {rate, per, nper, pv, fv, type},
     {.title = "principal in the payment of one period",
      .summary = "Returns the part of the level payment of one period that repays the loan. If "
                 "payments are at the start of each period, the whole first payment is principal. "
                 "A rate of 0 or below is an error.",
      .result = "amount, negative if you pay it",
      .formula = "PMT(rate, nper, pv, fv, type) - IPMT(rate, per, nper, pv, fv, type)",
      .example = "0.008333333333333333 6 24 100000",
      .value = "-3941.355383",
      .related = "IPMT PMT CUMPRINC",
      .causes = kAnnuityCauses}},
    {"CUMIPMT",
     Task::kLoans,
     kAmount,
     {rate, any_nper, loan_pv.above(0), whole("start_period", "first period of the sum"),
      whole("end_period", "last period of the sum"), type},
     {.title = "interest paid over several periods",
      .summary =
          "Returns the total interest in the payments from start_period to end_period. pv must be "
          "greater than 0. The periods are not checked. If start_period is after end_period, the "
          "result is 0. Periods before 1 add nothing. After nper the payments continue, and the "
          "interest has the opposite sign. An nper below 1 is not an error, but the result is "
          "meaningless. CUMPRINC, in contrast, checks the periods and accepts any pv.",
      .result = "amount, negative if you pay it",
      .formula = "sum of IPMT(rate, k, nper, pv, 0, type) for k = start_period to end_period",
      .example = "0.0075 360 125000 13 24 1",
      .value = "-11052.33958",
      .related = "CUMPRINC IPMT ISPMT",
      .causes = kSumCauses}},
    {"CUMPRINC",
     Task::kLoans,
     kAmount,
     {rate, nper, loan_pv,
      whole("start_period", "first period of the sum")
          .at_least(1)
          .at_most_the("nper")
          .at_most_the("end_period"),
      whole("end_period", "last period of the sum").at_least(1).at_most_the("nper"), type},
     {.title = "principal repaid over several periods",
      .summary = "Returns the total principal in the payments from start_period to end_period. "
                 "CUMPRINC checks the periods and accepts any pv; CUMIPMT does not check the "
                 "periods and accepts only a pv greater than 0.",
      .result = "amount, negative if you pay it",
      .formula = "sum of PPMT(rate, k, nper, pv, 0, type) for k = start_period to end_period",
      .example = "0.0075 360 125000 13 24 1",
      .value = "-927.1534724",
      .related = "CUMIPMT PPMT PMT",
      .causes = kSumCauses}},
    {"ISPMT",
     Task::kLoans,
     kAmount,
     {rate, any_per, nper, loan_pv},
     {.title = "interest of one period of a loan with level principal",
      .summary = "Returns the interest of one period of a loan that is repaid in equal parts of "
                 "principal. The interest is on the balance after the principal of the same period "
                 "is repaid, so the last period has no interest. A per greater than nper is not an "
                 "error and gives the opposite sign. A rate of 0 or below is an error.",
      .result = "amount, negative if you pay it",
      .formula = "-pv * rate * (nper - per) / nper",
      .example = "0.004175 1 60 50000",
      .value = "-205.2708333",
      .related = "IPMT CUMIPMT"}},
    {"PV",
     Task::kLoans,
     kAmount,
     {any_rate.above(-1), nper, pmt, fv,
      any_type.bound({.comparison = Comparison::kAtMost, .value = 1.0, .marks = false})},
     {.title = "present value of level payments",
      .summary = "Returns the value today of level payments and a future value. The rate may be 0 "
                 "or negative, but must be greater than -1; the other loan functions accept only a "
                 "rate greater than 0. A rate of 0 is an error: the result is then not a number.",
      .result = "amount, negative if you pay it",
      .formula = "-fv * (1 + rate)^-nper - pmt * (1 + rate * type) * (1 - (1 + rate)^-nper) / rate",
      .example = "0.006666666666666667 240 500 0 0",
      .value = "-59777.14585",
      .related = "FV PMT NPV",
      .causes = kPresentValueCauses}},
    {"FV",
     Task::kLoans,
     kAmount,
     {rate, nper,
      pmt.named("pmt",
                "payment per period, negative if you pay, positive if you receive (a missing value "
                "means 0)"),
      pv.optional("0; a missing value also means 0, but is an error if pmt is missing too"), type},
     {.title = "future value of level payments",
      .summary = "Returns the future value of a present value and level payments, at the end of "
                 "the last period. A rate of 0 or below is an error.",
      .result = "amount, negative if you pay it",
      .formula = "-pv * (1 + rate)^nper - pmt * (1 + rate * type) * ((1 + rate)^nper - 1) / rate",
      .example = "0.005 10 -200 -500 1",
      .value = "2581.403374",
      .related = "PV PMT NPER RATE FVSCHEDULE",
      .causes = kAnnuityCauses}},
    {"NPER",
     Task::kLoans,
     kCount,
     {rate, pmt, pv, any_fv.optional("0"), any_type},
     {.title = "number of periods of level payments",
      .summary =
          "Returns the number of periods in which level payments take a present value to a "
          "future value. The number can have a fraction. It is negative if pmt, pv or fv has "
          "the wrong sign. A rate of 0 or below is an error.",
      .result = "number of periods",
      .formula = "-ln((pv * rate + p) / (p - fv * rate)) / ln(1 + rate)\n"
                 "p = pmt * (1 + rate * type)",
      .example = "0.01 -100 -1000 10000 1",
      .value = "59.67386567",
      .related = "PMT RATE FV PV",
      .causes = kPeriodsCauses}},
    {"RATE",
     Task::kLoans,
     kRate,
     {nper, pmt, pv, fv, type},
     {.title = "interest rate of level payments",
      .summary =
          "Returns the rate per period at which level payments take a present value to a future "
          "value. RATE has no argument for a guess: the search starts at -pmt / pv, which suits "
          "loans. For a savings plan, the search always fails if pv is 0, and it seldom finds the "
          "rate if pv has the sign of the payments. If pmt is 0, pv and fv must have the same "
          "sign, which is the opposite of the usual sign convention. The search does not go below "
          "-0.9999999. If it ends there, it found no rate, which is an error.",
      .result = "rate per period as a fraction",
      .formula = "the rate that solves\n"
                 "pv + pmt * (1 + rate * type) * (1 - (1 + rate)^-nper) / rate\n"
                 "   + fv * (1 + rate)^-nper = 0\n"
                 "if pmt is 0: (fv / pv)^(1 / nper) - 1",
      .example = "48 -200 8000",
      .value = "0.007701472488",
      .related = "PMT NPER IRR XIRR",
      .causes = kRateCauses,
      .searches = true}},

    // Rates and prices.
    {"EFFECT",
     Task::kRates,
     kRate,
     {number("nominal_rate", "nominal yearly rate as a fraction (0.05 is 5 %)"), npery},
     {.title = "effective yearly rate from a nominal rate",
      .summary = "Returns the effective yearly rate of a nominal rate that is compounded npery "
                 "times per year. The rate may be 0 or negative. If it is below -npery, the result "
                 "is not a number, which is an error.",
      .result = "yearly rate as a fraction",
      .formula = "(1 + nominal_rate / npery)^npery - 1",
      .example = "0.0525 4",
      .value = "0.05354266737",
      .related = "NOMINAL RATE"}},
    {"NOMINAL",
     Task::kRates,
     kRate,
     {number("effect_rate", "effective yearly rate as a fraction (0.05 is 5 %)"), npery},
     {.title = "nominal yearly rate from an effective rate",
      .summary =
          "Returns the nominal yearly rate that gives an effective rate when it is compounded "
          "npery times per year. NOMINAL is the inverse of EFFECT. The rate may be 0 or negative. "
          "If it is below -1, the result is not a number, which is an error.",
      .result = "yearly rate as a fraction",
      .formula = "npery * ((1 + effect_rate)^(1 / npery) - 1)",
      .example = "0.053543 4",
      .value = "0.05250031987",
      .related = "EFFECT RATE"}},
    {"FVSCHEDULE",
     Task::kRates,
     kAmount,
     {number("principal", "amount at the start, in currency"),
      number("schedule", "rates, one for each period, as fractions (0.05 is 5 %)")
          .with(Presence::kAnyNumber)},
     {.title = "future value at varying rates",
      .summary = "Returns the value of a principal that grows at a different rate in each period. "
                 "Without rates, the result is the principal.",
      .result = "amount, in the currency of the principal",
      .formula = "principal * (1 + rate 1) * (1 + rate 2) * ...",
      .example = "1 0.09 0.11 0.1",
      .value = "1.33089",
      .related = "FV EFFECT"}},
    {"DOLLARDE",
     Task::kRates,
     kAmount,
     {number("fractional_dollar", "price whose digits after the point are a numerator"), fraction},
     {.title = "decimal price from a price quoted in fractions",
      .summary = "Returns the decimal value of a price whose digits after the point are the "
                 "numerator of a fraction. If fraction is 16, 1.02 means 1 and 2/16, and 1.2 means "
                 "1 and 20/16. The numerator has one digit if fraction is 2 to 10, two digits if "
                 "it is 11 to 100, and so on. In a positive price, digits after the point that are "
                 "only a rounding error of the number are ignored.",
      .result = "price as a decimal number",
      .formula = "i + 10^k * f / fraction\n"
                 "i = integer part of the price, f = the rest\n"
                 "k = smallest whole number with 10^k >= fraction",
      .example = "1.02 16",
      .value = "1.125",
      .related = "DOLLARFR"}},
    {"DOLLARFR",
     Task::kRates,
     kAmount,
     {number("decimal_dollar", "price as a decimal number"), fraction},
     {.title = "price quoted in fractions from a decimal price",
      .summary = "Returns a price whose digits after the point are the numerator of a fraction. If "
                 "fraction is 16, 1.125 gives 1.02, which means 1 and 2/16. DOLLARFR is the "
                 "inverse of DOLLARDE.",
      .result = "price whose digits after the point are a numerator",
      .formula = "i + f * fraction / 10^k\n"
                 "i = integer part of the price, f = the rest\n"
                 "k = smallest whole number with 10^k >= fraction",
      .example = "1.125 16",
      .value = "1.02",
      .related = "DOLLARDE"}},
};

}  // namespace catalog::rows
