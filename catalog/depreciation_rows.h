// Depreciation of assets.
#pragma once

#include "catalog/common_arguments.h"

namespace catalog::rows {

inline constexpr Argument positive_cost = cost.above(0);
inline constexpr Argument purchased = date("date_purchased", "date of purchase");
inline constexpr Argument first_period =
    date("first_period", "end of the first period").not_before("date_purchased");
inline constexpr Argument prorated_salvage = salvage.at_least(0);
inline constexpr Argument prorated_period =
    whole("period", "period asked for, 0 is the prorated first").at_least(0);
inline constexpr Argument prorated_rate =
    number("rate", "yearly depreciation rate, a fraction").above(0);

inline constexpr Keyword kDepreciation[] = {
    {"SLN",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, life},
     {.title = "straight-line depreciation for one period",
      .summary = "Spreads the loss of value evenly over the life, which need not be whole.",
      .result = "amount, in the currency of the cost",
      .formula = "(cost - salvage) / life",
      .example = "35000 5000 5",
      .value = "6000",
      .fails = "",
      .related = "SYD DB DDB VDB AMORLINC"}},
    {"SYD",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, whole_life, period},
     {.title = "sum-of-years'-digits depreciation for one period",
      .summary = "Charges each year in proportion to the years left. A period beyond the life is "
                 "not refused: the first gives 0, later ones an amount of the opposite sign.",
      .result = "amount, in the currency of the cost",
      .formula = "(cost - salvage) (life - period + 1) 2 / (life (life + 1))",
      .example = "35000 5000 5 1",
      .value = "10000",
      .fails = "",
      .related = "SLN DB DDB"}},
    {"DB",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, whole_life, period.not_beyond("life", 1),
      whole("month", "months of the first year").at_least(1).optional("12")},
     {.title = "fixed-declining-balance depreciation for one period",
      .summary = "Charges a fixed rate, rounded to three decimals, on what is left. A first year "
                 "of fewer months leaves its other months to period life + 1, which is 0 with 12 "
                 "months. More than 12 months are not refused and make that period negative. A "
                 "salvage of 0 makes a rate of 1; a cost of 0, or a salvage of the opposite sign, "
                 "makes none, and the answer is the missing value.",
      .result = "amount, in the currency of the cost",
      .formula = "r = 1 - (salvage / cost)^(1 / life), rounded to three decimals\n"
                 "period 1: cost r month / 12\n"
                 "later: (cost - taken) r\n"
                 "period life + 1: (cost - taken) r (12 - month) / 12",
      .example = "1000000 100000 6 1 7",
      .value = "186083.3333",
      .fails = "",
      .related = "DDB VDB SLN SYD"}},
    {"DDB",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, life, period.not_beyond("life"),
      factor.optional("2, also for one that is missing or not above 0")},
     {.title = "double-declining-balance depreciation for one period",
      .summary = "Charges a multiple of the straight-line rate on what is left, down to the "
                 "salvage. It never switches to straight line. A factor that is missing or not "
                 "above 0 is not refused but taken as 2. A salvage above the cost gives 0.",
      .result = "amount, in the currency of the cost",
      .formula = "min((cost - taken) factor / life, cost - salvage - taken)",
      .example = "1000000 100000 6 4 1.5",
      .value = "105468.75",
      .fails = "the charges are still changing after 16,777,216 periods",
      .related = "VDB DB SLN SYD"}},
    {"VDB",
     Task::kDepreciation,
     kAmount,
     {cost, salvage, life,
      whole("start_period", "periods passed before the span").at_least(0).not_beyond("life"),
      whole("end_period", "last period of the span").at_least(1).not_beyond("life"),
      factor.above(0).optional("2"),
      whole("no_switch", "0: switch to straight line when that charges more; 1: never switch")
          .at_least(0)
          .at_most(1)
          .optional("1, also for a missing one")},
     {.title = "declining-balance depreciation over a span of periods",
      .summary = "Sums the charges of the periods after start_period up to end_period. Unless "
                 "no_switch is given as 0, it does not switch to straight line. A start at or "
                 "after the end gives 0. The whole life in one span gives cost less salvage, even "
                 "where its parts add up to less. A salvage above the cost gives negative amounts.",
      .result = "amount, in the currency of the cost",
      .formula = "charge = min((cost - taken) factor / life, cost - salvage - taken)\n"
                 "with no_switch 0, once it is more: (cost - salvage - taken) / periods left",
      .example = "2400 300 3650 0 1 2 0",
      .value = "1.315068493",
      .fails = "the charges are still changing after 16,777,216 periods",
      .related = "DDB DB SLN"}},
    {"AMORDEGRC",
     Task::kDepreciation,
     kAmount,
     {positive_cost, purchased, first_period, prorated_salvage, prorated_period,
      prorated_rate.below(0.5), basis},
     {.title = "prorated declining-balance depreciation, in whole amounts",
      .summary =
          "Charges the rate times a coefficient on what is left: 1.5 for a life (1 / rate) of up "
          "to 4, 2 up to 6, 2.5 beyond. Period n - 1 takes half of what is left and period n the "
          "rest, n being the whole periods of the life. The salvage is no floor: the charge that "
          "crosses it is made in full (period 0 excepted), and only later ones are 0. Every charge "
          "is rounded to a whole number, halves away from 0. A life below 3 gives 0, and so do a "
          "period beyond n and a purchase on the day the first period ends. Under ACTUAL the first "
          "year has the days of the year of purchase.",
      .result = "amount, a whole number in the currency of the cost",
      .formula =
          "period 0: min(cost r t, cost - salvage), t = years from date_purchased to first_period\n"
          "later: (cost - taken) r, or 0 once salvage is more than is left\n"
          "r = coefficient rate",
      .example = "2400 2008-08-19 2008-12-31 300 1 0.15 1",
      .value = "776",
      .fails = "a charge does not fit 32 bits, or the charges are still changing after 16,777,216 "
               "periods",
      .related = "AMORLINC DDB VDB"}},
    {"AMORLINC",
     Task::kDepreciation,
     kAmount,
     {positive_cost, purchased, first_period, prorated_salvage.not_beyond("cost"), prorated_period,
      prorated_rate, basis},
     {.title = "prorated straight-line depreciation",
      .summary =
          "Charges cost times rate each period, a prorated part of that in period 0, until only "
          "the salvage is left. Period 0 itself is not capped: after a long first period, or with "
          "a high salvage, it may take more than cost less salvage. With a purchase on the day the "
          "first period ends there is no prorated period: period 0 is then a full one. Periods "
          "beyond the life give 0. Under ACTUAL the first year has the days of the year of "
          "purchase; under 30/360 a first period that ends on the 31st counts no extra day.",
      .result = "amount, in the currency of the cost",
      .formula = "period 0: cost rate t, t = years from date_purchased to first_period\n"
                 "later: max(0, min(cost rate, cost - salvage - taken))",
      .example = "2400 2008-08-19 2008-12-31 300 1 0.15 1",
      .value = "360",
      .fails = "",
      .related = "AMORDEGRC SLN"}},
};

}  // namespace catalog::rows
