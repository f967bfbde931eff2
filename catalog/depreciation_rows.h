// Depreciation of assets.
#pragma once

#include "catalog/causes.h"
#include "catalog/common_arguments.h"

namespace catalog::rows {

inline constexpr Argument positive_cost = cost.above(0);
inline constexpr Argument purchased = date("date_purchased", "date of purchase");
inline constexpr Argument first_period =
    date("first_period", "end date of the first period").not_before("date_purchased");
inline constexpr Argument prorated_salvage = salvage.at_least(0);
inline constexpr Argument prorated_period =
    whole("period", "number of the period (0 is the prorated first period)").at_least(0);
inline constexpr Argument prorated_rate =
    number("rate", "yearly depreciation rate as a fraction (0.15 is 15 %)").above(0);

inline constexpr Keyword kDepreciation[] = {
    {"SLN",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, life},
     {.title = "straight-line depreciation for one period",
      .summary = "Returns the depreciation per period if the value falls evenly over the asset's "
                 "life. The life can have a fraction.",
      .result = "amount, in the currency of the cost",
      .formula = "(cost - salvage) / life",
      .example = "35000 5000 5",
      .value = "6000",
      .related = "SYD DB DDB VDB AMORLINC"}},
    {"SYD",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, whole_life, period},
     {.title = "sum-of-years'-digits depreciation for one period",
      .summary =
          "Returns the depreciation of one year, in proportion to the number of years left. A "
          "period after the end of the life is not an error: period life + 1 gives 0, and later "
          "periods give an amount of the opposite sign.",
      .result = "amount, in the currency of the cost",
      .formula = "(cost - salvage) * (life - period + 1) * 2 / (life * (life + 1))",
      .example = "35000 5000 5 1",
      .value = "10000",
      .related = "SLN DB DDB"}},
    {"DB",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, whole_life, period.at_most_the("life", 1),
      whole("month", "number of months in the first year").at_least(1).optional("12")},
     {.title = "fixed-declining-balance depreciation for one period",
      .summary =
          "Returns the depreciation of one year at a fixed rate on the remaining value. The rate "
          "is rounded to three decimals. If the first year has fewer than 12 months, the remaining "
          "months are in period life + 1. If it has 12 months, the result for period life + 1 is "
          "0. More than 12 months are not an error, but the result for period life + 1 is then "
          "negative. A salvage of 0 gives a rate of 1. If cost is 0, or if cost and salvage have "
          "opposite signs, the result is not a number, which is an error.",
      .result = "amount, in the currency of the cost",
      .formula = "r = 1 - (salvage / cost)^(1 / life), rounded to three decimals\n"
                 "taken = the depreciation of all earlier periods\n"
                 "period 1: cost * r * month / 12\n"
                 "periods 2 to life: (cost - taken) * r\n"
                 "period life + 1: (cost - taken) * r * (12 - month) / 12",
      .example = "1000000 100000 6 1 7",
      .value = "186083.3333",
      .related = "DDB VDB SLN SYD"}},
    {"DDB",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, life, period.at_most_the("life"),
      factor.optional("2; a missing value, 0 or a negative factor also means 2")},
     {.title = "double-declining-balance depreciation for one period",
      .summary = "Returns the depreciation of one period at a multiple of the straight-line rate "
                 "on the remaining value. The value never falls below the salvage. The method "
                 "never switches to straight line. If salvage is greater than cost, the result is "
                 "0.",
      .result = "amount, in the currency of the cost",
      .formula = "taken = the depreciation of all earlier periods\n"
                 "min((cost - taken) * factor / life, cost - salvage - taken)",
      .example = "1000000 100000 6 4 1.5",
      .value = "105468.75",
      .related = "VDB DB SLN SYD",
      .causes = kDecliningCauses}},
    {"VDB",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, life,
      whole("start_period", "number of periods before the span").at_least(0).at_most_the("life"),
      whole("end_period", "last period of the span").at_least(1).at_most_the("life"),
      factor.above(0).optional("2"),
      whole("no_switch",
            "0 to switch to straight line when that gives more depreciation, 1 to never switch")
          .at_least(0)
          .at_most(1)
          .optional("1; a missing value also means 1")},
     {.title = "declining-balance depreciation over a span of periods",
      .summary = "Returns the total depreciation of the periods start_period + 1 to end_period. "
                 "The method switches to straight line only if no_switch is 0. If start_period is "
                 "not less than end_period, the result is 0. If the span is the whole life, the "
                 "result is cost - salvage, even where the single periods add up to less. If "
                 "salvage is greater than cost, the result is 0 or negative.",
      .result = "amount, in the currency of the cost",
      .formula =
          "taken = the depreciation of all earlier periods\n"
          "one period: min((cost - taken) * factor / life, cost - salvage - taken)\n"
          "with no_switch 0, once it is more: (cost - salvage - taken) / number of periods left",
      .example = "2400 300 3650 0 1 2 0",
      .value = "1.315068493",
      .related = "DDB DB SLN",
      .causes = kDecliningCauses}},
    {"AMORDEGRC",
     Task::kDepreciation,
     kAmount,
     {positive_cost, purchased, first_period, prorated_salvage, prorated_period,
      prorated_rate.below(0.5), basis},
     {.title = "prorated declining-balance depreciation, in whole amounts",
      .summary =
          "Returns the depreciation of one period at a multiple of the rate on the remaining "
          "value. The multiple depends on the life, which is 1 / rate: 1.5 for a life of up to 4, "
          "2 for a life of up to 6, and 2.5 for a longer life. Let n be the life without its "
          "fraction. Period n - 1 takes half of the remaining value, and period n takes the rest. "
          "The depreciation that takes the value below the salvage is still made in full, except "
          "in period 0; all later periods are 0. Each period is rounded to a whole amount, with "
          "halves rounded away from 0. The result is 0 if the life is less than 3, if period is "
          "greater than n, or if date_purchased equals first_period. Under ACTUAL, the first year "
          "has as many days as the year of purchase.",
      .result = "amount, a whole number in the currency of the cost",
      .formula = "r = multiple * rate, taken = the depreciation of all earlier periods\n"
                 "t = years from date_purchased to first_period\n"
                 "period 0: min(cost * r * t, cost - salvage)\n"
                 "later: (cost - taken) * r, or 0 if salvage is more than cost - taken",
      .example = "2400 2008-08-19 2008-12-31 300 1 0.15 1",
      .value = "776",
      .related = "AMORLINC DDB VDB",
      .causes = kWholeAmountCauses}},
    {"AMORLINC",
     Task::kDepreciation,
     kAmount,
     {positive_cost, purchased, first_period, prorated_salvage.at_most_the("cost"), prorated_period,
      prorated_rate, basis},
     {.title = "prorated straight-line depreciation",
      .summary = "Returns the depreciation of one period, which is cost times rate until only the "
                 "salvage is left. Period 0 is prorated from date_purchased to first_period. Its "
                 "depreciation has no upper limit, so a long first period or a high salvage can "
                 "make it more than cost - salvage. If date_purchased equals first_period, no "
                 "period is prorated and period 0 is a full period. Periods after the end of the "
                 "life give 0. Under ACTUAL, the first year has as many days as the year of "
                 "purchase. Under 30/360, a first period that ends on the 31st has no extra day.",
      .result = "amount, in the currency of the cost",
      .formula = "taken = the depreciation of all earlier periods\n"
                 "t = years from date_purchased to first_period\n"
                 "period 0: cost * rate * t\n"
                 "later: max(0, min(cost * rate, cost - salvage - taken))",
      .example = "2400 2008-08-19 2008-12-31 300 1 0.15 1",
      .value = "360",
      .related = "AMORDEGRC SLN"}},
};

}  // namespace catalog::rows
