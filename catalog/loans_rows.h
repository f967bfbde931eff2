// Loans and annuities, conversions of rates, prices in fractions.
#pragma once

#include "catalog/common_arguments.h"

namespace catalog::rows {

inline constexpr Keyword kLoans[] = {
    // Level payments.
    {"PMT",
     Task::kLoans,
     kAmount,
     {rate, nper, pv, fv, type},
     {.title = "level payment of a loan or a savings plan",
      .summary = "The payment of each period that takes a present value to a future value. A rate "
                 "of 0 or below is refused.",
      .result = "amount, negative when it is to be paid",
      .formula = "pmt = -rate (pv (1 + rate)^nper + fv) / (((1 + rate)^nper - 1) (1 + rate type))",
      .example = "0.00875 8 0 5000 1",
      .value = "-600.8520272",
      .fails = "the growth is too large for a double",
      .related = "IPMT PPMT NPER RATE PV FV"}},
    {"IPMT",
     Task::kLoans,
     kAmount,
     {rate, per, nper, pv, fv, type},
     {.title = "interest in the payment of one period",
      .summary = "The part of a level payment that is interest. With payments at the start of "
                 "periods, the first holds no interest. A rate of 0 or below is refused.",
      .result = "amount, negative when it is to be paid",
      .formula =
          "period 1: -pv rate, or 0 with type 1\n"
          "later, with g = (1 + rate)^(per - 1): -pv rate g / (1 + rate type) - pmt (g - 1)\n"
          "pmt = PMT(rate, nper, pv, fv, type)",
      .example = "0.00425 2 60 50000",
      .value = "-209.3832450",
      .fails = "the growth is too large for a double, unless per is 1",
      .related = "PPMT PMT CUMIPMT ISPMT"}},
    {"PPMT",
     Task::kLoans,
     kAmount,
     {rate, per, nper, pv, fv, type},
     {.title = "principal in the payment of one period",
      .summary = "The part of a level payment that repays the loan. With payments at the start of "
                 "periods, the first is all principal. A rate of 0 or below is refused.",
      .result = "amount, negative when it is to be paid",
      .formula = "PMT(rate, nper, pv, fv, type) - IPMT(rate, per, nper, pv, fv, type)",
      .example = "0.008333333333333333 6 24 100000",
      .value = "-3941.355383",
      .fails = "the growth is too large for a double",
      .related = "IPMT PMT CUMPRINC"}},
    {"CUMIPMT",
     Task::kLoans,
     kAmount,
     {rate, any_nper, pv.above(0), whole("start_period", "first period counted"),
      whole("end_period", "last period counted"), type},
     {.title = "interest paid over several periods",
      .summary =
          "Sums the interest from start to end period. Unlike CUMPRINC it requires a pv above 0 "
          "and does not check the periods: a start after the end gives 0, periods before 1 add "
          "nothing, and beyond nper the payments go on, so that interest is received. An nper "
          "below 1 is not refused either, and the answer then means nothing.",
      .result = "amount, negative when it is paid",
      .formula = "sum of IPMT(rate, k, nper, pv, 0, type) for k = start_period to end_period",
      .example = "0.0075 360 125000 13 24 1",
      .value = "-11052.33958",
      .fails = "the growth is too large for a double, or the sum is still changing after "
               "16,777,216 periods",
      .related = "CUMPRINC IPMT ISPMT"}},
    {"CUMPRINC",
     Task::kLoans,
     kAmount,
     {rate, nper, pv,
      whole("start_period", "first period counted")
          .at_least(1)
          .not_beyond("nper")
          .not_beyond("end_period"),
      whole("end_period", "last period counted").at_least(1).not_beyond("nper"), type},
     {.title = "principal repaid over several periods",
      .summary = "Sums the repayments from start to end period. Unlike CUMIPMT it checks the "
                 "periods and accepts any pv.",
      .result = "amount, negative when it is paid",
      .formula = "sum of PPMT(rate, k, nper, pv, 0, type) for k = start_period to end_period",
      .example = "0.0075 360 125000 13 24 1",
      .value = "-927.1534724",
      .fails = "the growth is too large for a double, or the sum is still changing after "
               "16,777,216 periods",
      .related = "CUMIPMT PPMT PMT"}},
    {"ISPMT",
     Task::kLoans,
     kAmount,
     {rate, any_per, nper, pv},
     {.title = "interest of one period of a loan with level principal",
      .summary = "The interest of a loan repaid in equal parts of principal, on the balance after "
                 "the period's own part is repaid: the last period has none. A per beyond nper is "
                 "not refused and gives the opposite sign. A rate of 0 or below is refused.",
      .result = "amount, negative when it is to be paid",
      .formula = "-pv rate (nper - per) / nper",
      .example = "0.004175 1 60 50000",
      .value = "-205.2708333",
      .fails = "",
      .related = "IPMT CUMIPMT"}},
    {"PV",
     Task::kLoans,
     kAmount,
     {any_rate.above(-1), nper, pmt, fv, any_type.bound({Comparison::kAtMost, 1.0, {}, {}, false})},
     {.title = "present value of level payments",
      .summary = "What payments and a future value are worth today. Unlike its siblings it accepts "
                 "a rate of 0 or below, if above -1; at 0, however, the answer is the missing "
                 "value, not the plain sum.",
      .result = "amount, negative when it is to be paid",
      .formula = "pv = -fv (1 + rate)^-nper - pmt (1 + rate type) (1 - (1 + rate)^-nper) / rate",
      .example = "0.006666666666666667 240 500 0 0",
      .value = "-59777.14585",
      .fails = "the growth at a negative rate is too large for a double",
      .related = "FV PMT NPV"}},
    {"FV",
     Task::kLoans,
     kAmount,
     {rate, nper, pmt.named("pmt", "payment of each period; a missing one is 0"),
      pv.optional("0, as for a missing one unless the payment is missing, too"), type},
     {.title = "future value of level payments",
      .summary =
          "What a present value and payments grow to. A missing payment counts as 0, but then a pv "
          "that is given must not be missing, too. A rate of 0 or below is refused.",
      .result = "amount, negative when it is to be paid",
      .formula = "fv = -pv (1 + rate)^nper - pmt (1 + rate type) ((1 + rate)^nper - 1) / rate",
      .example = "0.005 10 -200 -500 1",
      .value = "2581.403374",
      .fails = "the growth is too large for a double",
      .related = "PV PMT NPER RATE FVSCHEDULE"}},
    {"NPER",
     Task::kLoans,
     kCount,
     {rate, pmt, pv, fv.optional("0"), any_type},
     {.title = "number of periods of level payments",
      .summary =
          "How long payments take from a present value to a future value; it may have a fraction. "
          "Unlike its siblings it refuses an fv that is given but missing, and accepts every whole "
          "type: 1 is the start, all others the end. A rate of 0 or below is refused.",
      .result =
          "number of periods, may have a fraction; negative when a sign of pmt, pv or fv is wrong",
      .formula =
          "nper = -ln((pv rate + p) / (p - fv rate)) / ln(1 + rate), p = pmt (1 + rate type)",
      .example = "0.01 -100 -1000 10000 1",
      .value = "59.67386567",
      .fails = "no number of periods, or any number, leads to the future value",
      .related = "PMT RATE FV PV"}},
    {"RATE",
     Task::kLoans,
     kRate,
     {nper, pmt, pv, fv, type},
     {.title = "interest rate of level payments",
      .summary =
          "Searches for the rate per period at which payments take pv to fv. It takes no guess: "
          "the search starts from -pmt/pv, which suits loans. For a savings plan it finds no rate "
          "when pv is 0, and seldom one when pv has the sign of the payments. Without payments, pv "
          "and fv must have the same sign, the opposite of the usual convention. No search goes "
          "below -0.9999999: where the true rate is lower, that is the answer.",
      .result = "rate per period, a fraction",
      .formula =
          "pv + pmt (1 + rate type) (1 - (1 + rate)^-nper) / rate + fv (1 + rate)^-nper = 0\n"
          "without payments: rate = (fv / pv)^(1 / nper) - 1",
      .example = "48 -200 8000",
      .value = "0.007701472488",
      .fails = "the search finds no rate, as always when pv is 0; or there are no payments, and pv "
               "and fv have opposite signs or either is 0",
      .related = "PMT NPER IRR XIRR"}},

    // Rates and prices.
    {"EFFECT",
     Task::kRates,
     kRate,
     {number("nominal_rate", "nominal yearly rate, a fraction"), npery},
     {.title = "effective yearly rate from a nominal rate",
      .summary = "What a nominal rate comes to when interest is added several times a year. The "
                 "rate may be 0 or below; below -npery the answer is the missing value.",
      .result = "yearly rate, a fraction",
      .formula = "(1 + nominal_rate / npery)^npery - 1",
      .example = "0.0525 4",
      .value = "0.05354266737",
      .fails = "",
      .related = "NOMINAL RATE"}},
    {"NOMINAL",
     Task::kRates,
     kRate,
     {number("effect_rate", "effective yearly rate, a fraction"), npery},
     {.title = "nominal yearly rate from an effective rate",
      .summary = "The inverse of EFFECT. The rate may be 0 or below; below -1 the answer is the "
                 "missing value.",
      .result = "yearly rate, a fraction",
      .formula = "npery ((1 + effect_rate)^(1 / npery) - 1)",
      .example = "0.053543 4",
      .value = "0.05250031987",
      .fails = "",
      .related = "EFFECT RATE"}},
    {"FVSCHEDULE",
     Task::kRates,
     kAmount,
     {number("principal", "amount at the start"),
      number("schedule", "rate of each period, a fraction").with(Presence::kAnyNumber)},
     {.title = "future value at varying rates",
      .summary =
          "Grows a principal by one rate after the other. Without rates it is the principal.",
      .result = "amount, in the currency of the principal",
      .formula = "principal (1 + rate 1) (1 + rate 2) ...",
      .example = "1 0.09 0.11 0.1",
      .value = "1.33089",
      .fails = "",
      .related = "FV EFFECT"}},
    {"DOLLARDE",
     Task::kRates,
     kAmount,
     {number("fractional_dollar", "price, its digits after the point a numerator"), fraction},
     {.title = "decimal price from a price quoted in fractions",
      .summary = "Reads the digits after the point as the numerator of a fraction: 1.02 in "
                 "sixteenths is 1 and 2/16, but 1.2 is 1 and 20/16. A denominator of 2 to 10 takes "
                 "one digit, of 11 to 100 two, and so on. In a positive price, a fraction that is "
                 "only rounding noise beside the integer part is ignored.",
      .result = "price as a decimal number",
      .formula = "i + 10^k f / fraction, i the integer part, f the rest,\n"
                 "k the least with 10^k >= fraction",
      .example = "1.02 16",
      .value = "1.125",
      .fails = "",
      .related = "DOLLARFR"}},
    {"DOLLARFR",
     Task::kRates,
     kAmount,
     {number("decimal_dollar", "price as a decimal number"), fraction},
     {.title = "price quoted in fractions from a decimal price",
      .summary = "The inverse of DOLLARDE: 1.125 in sixteenths is 1.02, which reads 1 and 2/16.",
      .result = "price, its digits after the point a numerator",
      .formula = "i + f fraction / 10^k, i the integer part, f the rest,\n"
                 "k the least with 10^k >= fraction",
      .example = "1.125 16",
      .value = "1.02",
      .fails = "",
      .related = "DOLLARDE"}},
};

}  // namespace catalog::rows
