// Coupon schedules, bonds, discount securities, Treasury bills, accrued interest, year fractions.
#pragma once

#include "catalog/common_arguments.h"

namespace catalog::rows {

inline constexpr Keyword kSecurities[] = {
    // Coupon schedules.
    {"COUPDAYBS",
     Task::kSchedules,
     kDays,
     {settlement, maturity_date,
      any_frequency.bound({Comparison::kBelow, 0.0, "maturity", "settlement"}).at_least(1), basis},
     {.title = "days from the last coupon date to settlement",
      .summary =
          "Counts the days from the last coupon date on or before settlement. A settlement on a "
          "coupon date gives 0. Coupon dates go back from maturity in whole periods; a month-end "
          "maturity makes a month-end schedule. Alone among the coupon queries it refuses equal "
          "dates, and it is the frequency that is marked when settlement is not before maturity.",
      .result = "number of days, under the basis",
      .formula = "days from the previous coupon to settlement",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "71",
      .fails = "",
      .related = "COUPPCD COUPDAYS COUPDAYSNC"}},
    {"COUPDAYS",
     Task::kSchedules,
     kDays,
     {settlement, maturity, frequency, basis},
     {.title = "days in the coupon period that holds settlement",
      .summary = "Measures the coupon period around settlement. Only under ACTUAL are its days "
                 "counted; a settlement on a coupon date then opens the period. A month-end "
                 "maturity makes a month-end schedule. Equal dates give 0.",
      .result = "number of days, may have a fraction under ACT/365",
      .formula = "30/360, ACT/360, EU30/360: 360 / frequency\n"
                 "ACT/365: 365 / frequency\n"
                 "ACTUAL: days from the previous coupon to the next one",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "181",
      .fails = "",
      .related = "COUPDAYBS COUPDAYSNC"}},
    {"COUPDAYSNC",
     Task::kSchedules,
     kDays,
     {settlement, maturity, frequency, basis},
     {.title = "days from settlement to the next coupon date",
      .summary = "Counts the days from settlement to the first coupon date after it. Only under "
                 "ACTUAL do they always add up with COUPDAYBS to COUPDAYS. A month-end maturity "
                 "makes a month-end schedule. Equal dates give 0.",
      .result = "number of days, under the basis",
      .formula = "days from settlement to the next coupon",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "110",
      .fails = "",
      .related = "COUPNCD COUPDAYS COUPDAYBS"}},
    {"COUPNCD",
     Task::kSchedules,
     kDate,
     {settlement, maturity, frequency, basis},
     {.title = "next coupon date after settlement",
      .summary =
          "Finds the first coupon date after settlement; the basis does not matter. Coupon dates "
          "go back from maturity in whole periods; a month-end maturity makes a month-end "
          "schedule. Equal dates give 0, which is 1960-01-01. Coupon dates from 1582 to 28 "
          "February 4000 come out right; others come out as the missing value or as a wrong date.",
      .result = "date",
      .formula =
          "the first after settlement of maturity less whole periods of 12 / frequency months",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "2011-05-15",
      .fails = "",
      .related = "COUPPCD COUPDAYSNC COUPNUM"}},
    {"COUPNUM",
     Task::kSchedules,
     kCount,
     {settlement, maturity, frequency, basis},
     {.title = "number of coupons after settlement",
      .summary = "Counts the coupons payable after settlement, the one at maturity included; the "
                 "basis does not matter. For a settlement on 28 February it is one too many when "
                 "maturity is a 29 February and the year of settlement no leap year, one too few "
                 "when maturity is a 28 February that ends its month and the year of settlement a "
                 "leap year. PRICE and YIELD count alike. Equal dates give 0.",
      .result = "number of coupons",
      .formula = "coupon dates after settlement, up to maturity",
      .example = "2007-01-25 2008-11-15 2 1",
      .value = "4",
      .fails = "",
      .related = "COUPNCD COUPPCD PRICE"}},
    {"COUPPCD",
     Task::kSchedules,
     kDate,
     {settlement, maturity, frequency, basis},
     {.title = "last coupon date on or before settlement",
      .summary =
          "Finds the coupon date on or before settlement; the basis does not matter. Coupon dates "
          "go back from maturity in whole periods; a month-end maturity makes a month-end "
          "schedule. Equal dates give 0, which is 1960-01-01. Coupon dates from 1582 to 28 "
          "February 4000 come out right; others come out as the missing value or as a wrong date.",
      .result = "date",
      .formula = "the last on or before settlement of maturity less whole periods of\n"
                 "12 / frequency months",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "2010-11-15",
      .fails = "",
      .related = "COUPNCD COUPDAYBS"}},
    {"YEARFRAC",
     Task::kSchedules,
     kYears,
     {date("start_date", "first date"), date("end_date", "second date").not_before("start_date"),
      basis},
     {.title = "years between two dates",
      .summary =
          "Measures the time between two dates as a fraction of a year. Under 30/360 an end on the "
          "31st counts as the 31st, an end on the last day of February as the 30th, and a start on "
          "the 31st with an end before the 30th counts from the first of the next month: 31 "
          "January to 15 March are 44 days. Under ACTUAL the year length is the mean of the "
          "calendar years touched; a leap year at either end counts 366 days only when the time "
          "begins in its January or February or ends in its March or later. Dates in the wrong "
          "order are refused, not swapped. Equal dates give 0, whatever the basis.",
      .result = "years",
      .formula = "days / days in a year, both under the basis",
      .example = "2007-01-01 2008-07-01 2",
      .value = "1.519444444",
      .fails = "30/360 is asked to count millions of years",
      .related = "COUPDAYS DISC ACCRINTM"}},

    // Bonds.
    {"PRICE",
     Task::kBonds,
     kAmount,
     {settlement, maturity, coupon_rate, yld, redemption, frequency, basis},
     {.title = "price of a bond with coupons",
      .summary =
          "Discounts the coupons and the redemption at a yield, less the accrued interest. With "
          "one coupon left it discounts at simple interest. Except under ACTUAL, accrued days that "
          "reach the days in the period count as none, as on 30 December for a coupon on the 31st "
          "under 30/360: the price jumps. A coupon rate of 0 is refused, a yield below 0 is not. A "
          "month-end maturity makes a month-end schedule. Equal dates give 0.",
      .result = "clean price per 100 of face value",
      .formula = "price = v^s (R v^(N-1) + cpn (1 + v + ... + v^(N-1))) - cpn A/E\n"
                 "v = 1 / (1 + yld / frequency), cpn = 100 rate / frequency, R = redemption\n"
                 "N = coupons left, A = accrued days, E = days in the period, s = 1 - A/E;\n"
                 "A = 0 and s = 1 on a coupon date and where A reaches E\n"
                 "one coupon left: price = (R + cpn) / (1 + s yld / frequency) - cpn A/E",
      .example = "2008-02-15 2017-11-15 0.0575 0.065 100 2 0",
      .value = "94.63436162",
      .fails = "the yield is -100 % a period or lower, or so large that nothing else counts; or "
               "the dates lie too many coupon periods apart",
      .related = "YIELD DURATION ODDFPRICE ODDLPRICE PRICEDISC PRICEMAT"}},
    {"YIELD",
     Task::kBonds,
     kRate,
     {settlement, maturity, coupon_rate, clean_price, redemption, frequency, basis},
     {.title = "yield of a bond with coupons",
      .summary = "Finds the yield at which PRICE gives the price. With one coupon left it is a "
                 "closed form, otherwise a search from 0.1. In the last days of a period it jumps "
                 "as PRICE does. The lowest yield that a search comes to is -0.9999999; where the "
                 "true one is lower, that is the answer. Equal dates give 0.",
      .result = "yearly yield, a fraction",
      .formula = "PRICE(settlement, maturity, rate, yield, redemption, ...) = pr\n"
                 "one coupon left: ((R + cpn) / (pr + cpn A/E) - 1) frequency E / (E - A)\n"
                 "R, cpn, A and E as for PRICE",
      .example = "2008-11-11 2021-03-01 0.0785 98.45 100 2 2",
      .value = "0.08048425765",
      .fails = "the search finds no yield, or the dates lie too many coupon periods apart",
      .related = "PRICE ODDFYIELD ODDLYIELD YIELDDISC YIELDMAT"}},
    {"DURATION",
     Task::kBonds,
     kYears,
     {settlement, maturity,
      number("coupon", "yearly coupon rate, a fraction of face value").above(0), yld, frequency,
      basis},
     {.title = "Macaulay duration of a bond",
      .summary =
          "Averages the times of the payments, weighted by their present values. The redemption is "
          "100, whatever the bond. Except under ACTUAL, the time to a coupon a few days away can "
          "come out as 0 or below. A coupon rate of 0 is refused. Equal dates give 0.",
      .result = "years",
      .formula = "duration = sum of time x present value / sum of present values",
      .example = "2018-07-01 2048-01-01 0.08 0.09 2 1",
      .value = "10.91914528",
      .fails = "the yield is -100 % a period or lower, or so large that nothing else counts; or "
               "the dates lie too many coupon periods apart",
      .related = "MDURATION PRICE"}},
    {"MDURATION",
     Task::kBonds,
     kYears,
     {settlement, maturity,
      number("coupon", "yearly coupon rate, a fraction of face value").above(0), yld, frequency,
      basis},
     {.title = "modified duration of a bond",
      .summary = "Divides the Macaulay duration by 1 + yld / frequency: times a small rise of the "
                 "yield, it is the fraction by which the price falls. Except under ACTUAL, the "
                 "time to a coupon a few days away can come out as 0 or below. A coupon rate of 0 "
                 "is refused. Equal dates give 0.",
      .result = "years",
      .formula = "DURATION / (1 + yld / frequency)",
      .example = "2008-01-01 2016-01-01 0.08 0.09 2 1",
      .value = "5.735669814",
      .fails = "the yield is -100 % a period or lower, or so large that nothing else counts; or "
               "the dates lie too many coupon periods apart",
      .related = "DURATION PRICE"}},

    // Bonds with an odd first or last period.
    {"ODDFPRICE",
     Task::kOddPeriods,
     kAmount,
     {settlement, maturity, issue_before_settlement, first_coupon, coupon_rate, yld, redemption,
      frequency, basis},
     {.title = "price of a bond with an odd first period",
      .summary =
          "Prices a bond whose first coupon period is short or long, settled inside it, at "
          "compound interest. The schedule goes back from the first coupon; it keeps to month ends "
          "when both the first coupon and maturity are month ends. A maturity between two coupon "
          "dates counts as the later one. Under 30/360 a start on the 31st or on the last day "
          "of February counts as the 30th: 28 February to 30 June are 120 days. After such a "
          "start, "
          "or one on the 30th, an end on the 31st counts as the 30th. An end on the last day of "
          "February counts as the 30th only after a start on such a day. So the accrued days and "
          "the days left do not always add up to the period, and the price moves by a few "
          "hundredths "
          "on these days. Settlement at maturity gives 0.",
      .result = "clean price per 100 of face value",
      .formula = "as PRICE, compound also with one coupon left, with the first coupon\n"
                 "and the accrued interest measured in quasi-coupon periods from issue",
      .example = "2008-11-11 2021-03-01 2008-10-15 2009-03-01 0.0785 0.0625 100 2 1",
      .value = "113.5977175",
      .fails = "the yield is -100 % a period or lower, or so large that nothing else counts; or "
               "the dates lie too many coupon periods apart",
      .related = "ODDFYIELD PRICE ODDLPRICE"}},
    {"ODDFYIELD",
     Task::kOddPeriods,
     kRate,
     {settlement, maturity, issue_before_settlement, first_coupon, coupon_rate, clean_price,
      redemption, frequency, basis},
     {.title = "yield of a bond with an odd first period",
      .summary =
          "Finds the yield at which ODDFPRICE gives the price, with the day counts of ODDFPRICE. A "
          "maturity between two coupon dates counts as the later one. The lowest yield that the "
          "search comes to is -0.9999999; where "
          "the true one is lower, that is the answer. Settlement at maturity gives 0.",
      .result = "yearly yield, a fraction",
      .formula = "ODDFPRICE(settlement, maturity, issue, first_coupon, rate, yield, ...) = pr",
      .example = "2008-11-11 2021-03-01 2008-10-15 2009-03-01 0.0575 84.5 100 2 0",
      .value = "0.0772455416",
      .fails = "the search finds no yield, or the dates lie too many coupon periods apart",
      .related = "ODDFPRICE YIELD ODDLYIELD"}},
    {"ODDLPRICE",
     Task::kOddPeriods,
     kAmount,
     {settlement, maturity, last_interest, coupon_rate, yld, redemption, frequency, basis},
     {.title = "price of a bond with an odd last period",
      .summary =
          "Prices a bond whose last coupon period is short or long, settled inside it, at simple "
          "interest. ACT/360 and ACT/365 are taken as ACTUAL. Under these three a last interest "
          "date exactly one period before maturity gives an infinite price, and a settlement there "
          "a meaningless one. Settlement at maturity or on the last interest date gives 0.",
      .result = "clean price per 100 of face value",
      .formula = "price = (NP cpn + R) / (1 + RP yld / frequency) - AP cpn\n"
                 "cpn = 100 rate / frequency, R = redemption; in quasi-coupon periods:\n"
                 "AP accrued, stepped forward from last_interest; NP of the odd period and\n"
                 "RP from settlement to maturity, both stepped back from maturity",
      .example = "2008-02-07 2008-06-15 2007-10-15 0.0375 0.0405 100 2 0",
      .value = "99.87828601",
      .fails = "the yield is -100 % or lower over the time to maturity, or the dates lie too many "
               "coupon periods apart",
      .related = "ODDLYIELD PRICE ODDFPRICE"}},
    {"ODDLYIELD",
     Task::kOddPeriods,
     kRate,
     {settlement, maturity, last_interest, coupon_rate, any_clean_price, redemption, frequency,
      basis},
     {.title = "yield of a bond with an odd last period",
      .summary = "Undoes ODDLPRICE, at simple interest. ACT/360 and ACT/365 are taken as ACTUAL. "
                 "Under these three a last interest date exactly one period before maturity gives "
                 "an infinite yield, and a settlement there 0. Unlike YIELD it accepts a price of "
                 "0 or below. Settlement at maturity or on the last interest date gives 0.",
      .result = "yearly yield, a fraction",
      .formula = "yield = (frequency / RP) ((NP cpn + R) / (AP cpn + pr) - 1)\n"
                 "cpn = 100 rate / frequency, R = redemption; in quasi-coupon periods:\n"
                 "AP accrued, stepped forward from last_interest; NP of the odd period and\n"
                 "RP from settlement to maturity, both stepped back from maturity",
      .example = "2008-04-20 2008-06-15 2007-12-24 0.0375 99.875 100 2 0",
      .value = "0.04519223563",
      .fails = "price and accrued interest add up to 0, the basis counts no days from settlement "
               "to maturity, or the dates lie too many coupon periods apart",
      .related = "ODDLPRICE YIELD ODDFYIELD"}},

    // Discount securities and interest at maturity.
    {"DISC",
     Task::kDiscounts,
     kRate,
     {settlement, maturity, price, redemption, basis},
     {.title = "discount rate of a discount security",
      .summary = "The discount from redemption to price, as a yearly rate of the redemption. Under "
                 "30/360 a maturity on the 31st adds no day, unlike for the other discount "
                 "securities. Equal dates give 0.",
      .result = "yearly discount rate, a fraction",
      .formula = "(redemption - pr) / redemption / t\n"
                 "t = years from settlement to maturity",
      .example = "1998-04-12 1998-08-12 93.41 100 1",
      .value = "0.1971598361",
      .fails = "there is no time between the dates under the basis",
      .related = "PRICEDISC YIELDDISC INTRATE"}},
    {"INTRATE",
     Task::kDiscounts,
     kRate,
     {settlement, maturity, investment,
      number("redemption", "amount received at maturity").above(0), basis},
     {.title = "interest rate of a fully invested security",
      .summary = "The gain from investment to redemption, as a yearly rate of the investment. "
                 "Equal dates give 0. Where the basis counts no days between the dates, such as "
                 "the 30th and the 31st under EU30/360, or 31 January and 1 February under 30/360, "
                 "the result is infinite, or missing when there is no gain.",
      .result = "yearly rate, a fraction",
      .formula = "(redemption - investment) / investment / t\n"
                 "t = years from settlement to maturity",
      .example = "2008-02-15 2008-05-15 1000000 1014420 2",
      .value = "0.05768",
      .fails = "30/360 is asked to count millions of years",
      .related = "RECEIVED DISC YIELDDISC"}},
    {"RECEIVED",
     Task::kDiscounts,
     kAmount,
     {settlement, maturity, investment, discount, basis},
     {.title = "amount received at maturity for an investment",
      .summary = "What an investment in a discount security pays at maturity. A discount of more "
                 "than the whole amount gives a negative result. Under ACTUAL every leap year "
                 "touched counts 366 days. Equal dates give 0.",
      .result = "amount, in the currency of the investment",
      .formula = "investment / (1 - discount t)\n"
                 "t = years from settlement to maturity",
      .example = "2008-02-15 2008-05-15 1000000 0.0575 2",
      .value = "1014584.654",
      .fails =
          "the discount takes the whole amount, or all but so little that the result is too large",
      .related = "INTRATE DISC PRICEDISC"}},
    {"PRICEDISC",
     Task::kDiscounts,
     kAmount,
     {settlement, maturity, discount, redemption, basis},
     {.title = "price of a discount security",
      .summary = "Takes the discount off the redemption. A discount of more than the whole amount "
                 "gives a negative price. Equal dates give 0, not the redemption.",
      .result = "price per 100 of face value",
      .formula = "redemption (1 - discount t)\n"
                 "t = years from settlement to maturity",
      .example = "2008-02-16 2008-03-01 0.0525 100 2",
      .value = "99.79583333",
      .fails = "",
      .related = "DISC YIELDDISC TBILLPRICE"}},
    {"YIELDDISC",
     Task::kDiscounts,
     kRate,
     {settlement, maturity, price, redemption, basis},
     {.title = "yield of a discount security",
      .summary = "The gain from price to redemption, as a yearly rate of the price at simple "
                 "interest. Equal dates give 0. Where the basis counts no days between the dates, "
                 "such as the 30th and the 31st under EU30/360, or 31 January and 1 February under "
                 "30/360, the result is infinite, or missing when there is no gain.",
      .result = "yearly yield, a fraction",
      .formula = "(redemption - pr) / pr / t\n"
                 "t = years from settlement to maturity",
      .example = "2008-02-16 2008-03-01 99.795 100 2",
      .value = "0.05282257199",
      .fails = "",
      .related = "PRICEDISC DISC TBILLYIELD"}},
    {"PRICEMAT",
     Task::kDiscounts,
     kAmount,
     {settlement, maturity_date.after("settlement"), issue_before_maturity, interest_rate, yld,
      basis},
     {.title = "price of a security that pays interest at maturity",
      .summary = "Discounts the face value and all interest at simple interest, less the accrued "
                 "interest. The issue may come after settlement, but under ACTUAL one in a later "
                 "calendar year gives the missing value. An issue on maturity gives 0. A yield "
                 "below -100 % over the time to maturity gives a negative price. Unlike YIELDMAT "
                 "it refuses a maturity on settlement.",
      .result = "clean price per 100 of face value",
      .formula = "100 (1 + a rate) / (1 + b yld) - 100 c rate\n"
                 "a = years from issue to maturity, b = from settlement to maturity,\n"
                 "c = from issue to settlement",
      .example = "2008-02-15 2008-04-13 2007-11-11 0.061 0.061 0",
      .value = "99.98449888",
      .fails = "the yield is exactly -100 % over the time to maturity",
      .related = "YIELDMAT ACCRINTM PRICE"}},
    {"YIELDMAT",
     Task::kDiscounts,
     kRate,
     {settlement, maturity, issue_before_maturity, interest_rate, clean_price, basis},
     {.title = "yield of a security that pays interest at maturity",
      .summary = "The yield at simple interest. The issue may come after settlement, but under "
                 "ACTUAL one in a later calendar year gives the missing value. Where the basis "
                 "counts no days between the dates, such as the 30th and the 31st under EU30/360, "
                 "or 31 January and 1 February under 30/360, the result is infinite, or missing "
                 "when there is no gain. A maturity on settlement or on the issue date gives 0.",
      .result = "yearly yield, a fraction",
      .formula = "((100 + 100 a rate) / (pr + 100 c rate) - 1) / b\n"
                 "a = years from issue to maturity, b = from settlement to maturity,\n"
                 "c = from issue to settlement",
      .example = "2008-03-15 2008-11-03 2007-11-08 0.0625 100.0123 0",
      .value = "0.06095433369",
      .fails = "price and accrued interest add up to 0",
      .related = "PRICEMAT ACCRINTM YIELD"}},

    // Treasury bills.
    {"TBILLEQ",
     Task::kTreasuryBills,
     kRate,
     {bill_settlement, bill_maturity.after("settlement"), discount},
     {.title = "bond-equivalent yield of a Treasury bill",
      .summary =
          "The yield at which a bill can be compared with a bond. Up to 182 days it is simple "
          "interest, beyond that it counts a coupon after half a year. Up to 182 days a discount "
          "of the whole face value gives an infinite yield, a larger one a negative yield. Bills "
          "of more than a year are computed, not refused. Dates up to 1960-01-01 are refused.",
      .result = "yearly yield, a fraction",
      .formula = "365 discount / (360 - discount D), D = days to maturity\n"
                 "beyond 182 days: (sqrt(t^2 - (2 t - 1) (1 - 100 / price)) - t) / (t - 0.5), t = "
                 "D / 365,\n"
                 "price = 100 (1 - discount D / 360)",
      .example = "2008-03-31 2008-06-01 0.0914",
      .value = "0.09415149357",
      .fails = "the discount exceeds the face value beyond 182 days, which leaves a negative "
               "number under the root",
      .related = "TBILLPRICE TBILLYIELD DISC"}},
    {"TBILLPRICE",
     Task::kTreasuryBills,
     kAmount,
     {bill_settlement, bill_maturity, discount},
     {.title = "price of a Treasury bill",
      .summary = "Takes the discount off the face value, in years of 360 days. The dates are not "
                 "compared: a maturity before settlement gives a price above 100. Dates up to "
                 "1960-01-01 are refused.",
      .result = "price per 100 of face value",
      .formula = "100 (1 - discount D / 360), D = days to maturity",
      .example = "2008-03-31 2008-06-01 0.09",
      .value = "98.45",
      .fails = "",
      .related = "TBILLYIELD TBILLEQ PRICEDISC"}},
    {"TBILLYIELD",
     Task::kTreasuryBills,
     kRate,
     {bill_settlement, bill_maturity, price},
     {.title = "yield of a Treasury bill",
      .summary = "The gain from price to 100, as a yearly rate of the price in years of 360 days. "
                 "The dates are not compared: equal ones give an infinite yield, or the missing "
                 "value at a price of 100, and a maturity before settlement turns the sign. Dates "
                 "up to 1960-01-01 are refused.",
      .result = "yearly yield, a fraction",
      .formula = "(100 - pr) / pr x 360 / D, D = days to maturity",
      .example = "2008-03-31 2008-06-01 98.45",
      .value = "0.09141696293",
      .fails = "",
      .related = "TBILLPRICE TBILLEQ YIELDDISC"}},

    // Accrued interest.
    {"ACCRINT",
     Task::kAccruedInterest,
     kAmount,
     {issue, date("first_interest", "any date of the coupon schedule"),
      date("settlement", "date up to which interest accrues").not_before("issue"), coupon_rate, par,
      frequency, basis},
     {.title = "accrued interest of a bond with coupons",
      .summary = "Interest from issue to settlement, in quasi-coupon periods. Periods between the "
                 "first and the last count 1 whatever the basis; the last is always counted in "
                 "days, even when whole, and so is a broken first. The first interest date only "
                 "anchors the schedule: it may come before issue or after settlement. There is no "
                 "argument for a calculation method. Equal dates give 0.",
      .result = "amount, in the currency of the face value",
      .formula = "par rate / frequency x quasi-coupon periods from issue to settlement",
      .example = "2007-03-01 2008-08-31 2008-05-01 0.1 1000 2 0",
      .value = "116.9444444",
      .fails = "the dates lie too many coupon periods apart",
      .related = "ACCRINTM PRICE COUPDAYBS"}},
    {"ACCRINTM",
     Task::kAccruedInterest,
     kAmount,
     {issue, date("settlement", "date up to which interest accrues").not_before("issue"),
      interest_rate, par, basis},
     {.title = "accrued interest of a security that pays at maturity",
      .summary = "Simple interest from issue to settlement. Under 30/360 a settlement on the 31st "
                 "adds no day, unlike for YEARFRAC. Equal dates give 0.",
      .result = "amount, in the currency of the face value",
      .formula = "par rate t, t = years from issue to settlement",
      .example = "2008-04-01 2008-06-15 0.1 1000 3",
      .value = "20.54794521",
      .fails = "30/360 is asked to count millions of years",
      .related = "ACCRINT PRICEMAT YEARFRAC"}},
};

}  // namespace catalog::rows
