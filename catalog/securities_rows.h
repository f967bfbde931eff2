// Coupon schedules, bonds, discount securities, Treasury bills, accrued interest, year fractions.
#pragma once

#include "catalog/causes.h"
#include "catalog/common_arguments.h"

namespace catalog::rows {

inline constexpr Keyword kSecurities[] = {
    // Coupon schedules.
    {"COUPDAYBS",
     Task::kSchedules,
     kDays,
     {settlement.bound(
          {.comparison = Comparison::kBelow, .other = "maturity", .marked = "frequency"}),
      maturity_date, frequency, basis},
     {.title = "days from the last coupon date to settlement",
      .summary = "Returns the number of days from the last coupon date to settlement. A settlement "
                 "on a coupon date gives 0. Coupon dates are counted back from maturity in steps "
                 "of 12 / frequency months. If maturity is the last day of a month, all coupon "
                 "dates are month ends. If settlement equals maturity, the call is an error; in "
                 "the other coupon functions the result is then 0.",
      .result = "number of days under the basis",
      .formula = "days from the last coupon date on or before settlement to settlement",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "71",
      .related = "COUPPCD COUPDAYS COUPDAYSNC"}},
    {"COUPDAYS",
     Task::kSchedules,
     kDays,
     {settlement, maturity, frequency, basis},
     {.title = "days in the coupon period that contains settlement",
      .summary = "Returns the number of days in the coupon period that contains settlement. The "
                 "days are counted only under ACTUAL; the other bases have periods of a fixed "
                 "length. A settlement on a coupon date belongs to the period that starts on this "
                 "date. Coupon dates are counted back from maturity in steps of 12 / frequency "
                 "months. If maturity is the last day of a month, all coupon dates are month ends. "
                 "If settlement equals maturity, the result is 0.",
      .result = "number of days, which can have a fraction under ACT/365",
      .formula = "30/360, ACT/360, EU30/360: 360 / frequency\n"
                 "ACT/365: 365 / frequency\n"
                 "ACTUAL: days from the last coupon date to the next one",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "181",
      .related = "COUPDAYBS COUPDAYSNC"}},
    {"COUPDAYSNC",
     Task::kSchedules,
     kDays,
     {settlement, maturity, frequency, basis},
     {.title = "days from settlement to the next coupon date",
      .summary = "Returns the number of days from settlement to the next coupon date. COUPDAYBS "
                 "and COUPDAYSNC always add up to COUPDAYS under ACTUAL, but not always under the "
                 "other bases. Coupon dates are counted back from maturity in steps of 12 / "
                 "frequency months. If maturity is the last day of a month, all coupon dates are "
                 "month ends. If settlement equals maturity, the result is 0.",
      .result = "number of days under the basis",
      .formula = "days from settlement to the first coupon date after settlement",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "110",
      .related = "COUPNCD COUPDAYS COUPDAYBS"}},
    {"COUPNCD",
     Task::kSchedules,
     kDate,
     {settlement, maturity, frequency, basis},
     {.title = "next coupon date after settlement",
      .summary = "Returns the first coupon date after settlement. The basis does not change the "
                 "result. Coupon dates are counted back from maturity in steps of 12 / frequency "
                 "months. If maturity is the last day of a month, all coupon dates are month ends. "
                 "If settlement equals maturity, the result is 0, which is the date 1960-01-01. A "
                 "coupon date before 1582 is an error, and so is 29 February 4000. A coupon date "
                 "after that is returned one day early.",
      .result = "date",
      .formula = "first date after settlement among maturity and the dates\n"
                 "k * 12 / frequency months before it, k = 1, 2, ...",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "2011-05-15",
      .related = "COUPPCD COUPDAYSNC COUPNUM"}},
    {"COUPNUM",
     Task::kSchedules,
     kCount,
     {settlement, maturity, frequency, basis},
     {.title = "number of coupons after settlement",
      .summary =
          "Returns the number of coupons that are paid after settlement, up to and including "
          "maturity. The basis does not change the result. For a settlement on 28 February, the "
          "result can be wrong by one. It is one too many if maturity is a 29 February and the "
          "year of settlement is not a leap year. It is one too few if maturity is a 28 February "
          "that ends its month and the year of settlement is a leap year. PRICE and YIELD count "
          "coupons in the same way. If settlement equals maturity, the result is 0.",
      .result = "number of coupons",
      .formula = "number of coupon dates after settlement, up to and including maturity",
      .example = "2007-01-25 2008-11-15 2 1",
      .value = "4",
      .related = "COUPNCD COUPPCD PRICE"}},
    {"COUPPCD",
     Task::kSchedules,
     kDate,
     {settlement, maturity, frequency, basis},
     {.title = "last coupon date on or before settlement",
      .summary = "Returns the last coupon date on or before settlement. The basis does not change "
                 "the result. Coupon dates are counted back from maturity in steps of 12 / "
                 "frequency months. If maturity is the last day of a month, all coupon dates are "
                 "month ends. If settlement equals maturity, the result is 0, which is the date "
                 "1960-01-01. A coupon date before 1582 is an error, and so is 29 February 4000. A "
                 "coupon date after that is returned one day early.",
      .result = "date",
      .formula = "last date on or before settlement among the dates\n"
                 "k * 12 / frequency months before maturity, k = 1, 2, ...",
      .example = "2011-01-25 2011-11-15 2 1",
      .value = "2010-11-15",
      .related = "COUPNCD COUPDAYBS"}},
    {"YEARFRAC",
     Task::kSchedules,
     kYears,
     {date("start_date", "start of the period"),
      date("end_date", "end of the period").not_before("start_date"), basis},
     {.title = "years between two dates",
      .summary = "Returns the time between two dates in years. Dates in the wrong order are an "
                 "error. Equal dates give 0. Under 30/360, an end date on the 31st counts as the "
                 "31st, and an end date on the last day of February counts as the 30th. Also under "
                 "30/360, if the start date is on the 31st and the end date is before the 30th of "
                 "its month, days are counted from the first of the next month: from 31 January to "
                 "15 March there are 44 days. Under ACTUAL, the length of a year is the mean of "
                 "all calendar years from the start date to the end date. A leap year at the start "
                 "counts 366 days only if the period starts in its January or February; a leap "
                 "year at the end counts 366 days only if the period ends in its March or later.",
      .result = "number of years",
      .formula = "days / days per year, both under the basis",
      .example = "2007-01-01 2008-07-01 2",
      .value = "1.519444444",
      .related = "COUPDAYS DISC ACCRINTM",
      .causes = kTooManyYears}},

    // Bonds.
    {"PRICE",
     Task::kBonds,
     kAmount,
     {settlement, maturity, coupon_rate, yld, redemption, frequency, basis},
     {.title = "price of a bond with coupons",
      .summary = "Returns the price of a bond at a given yield, without the accrued interest. If "
                 "one coupon is left, the price is discounted at simple interest, otherwise at "
                 "compound interest. The yield may be negative, but a coupon rate of 0 is an "
                 "error. Coupon dates are counted back from maturity in steps of 12 / frequency "
                 "months; if maturity is the last day of a month, all coupon dates are month ends. "
                 "Under every basis but ACTUAL, the accrued days can equal the length of the "
                 "period before the coupon date is reached. This happens under 30/360 on 30 "
                 "December if the coupon date is 31 December. The accrued interest is then taken "
                 "as 0, and the price jumps. If settlement equals maturity, the result is 0.",
      .result = "price per 100 of face value, without accrued interest",
      .formula = "price = v^s * (R * v^(N-1) + cpn * (1 + v + ... + v^(N-1))) - cpn * A/E\n"
                 "with one coupon left: price = (R + cpn) / (1 + s * yld / frequency) - cpn * A/E\n"
                 "v = 1 / (1 + yld / frequency), cpn = 100 * rate / frequency, R = redemption\n"
                 "N = number of coupons left, A = accrued days, E = days in the period\n"
                 "s = 1 - A/E; on a coupon date, and where A reaches E, A = 0 and s = 1",
      .example = "2008-02-15 2017-11-15 0.0575 0.065 100 2 0",
      .value = "94.63436162",
      .related = "YIELD DURATION ODDFPRICE ODDLPRICE PRICEDISC PRICEMAT",
      .causes = kPriceCauses}},
    {"YIELD",
     Task::kBonds,
     kRate,
     {settlement, maturity, coupon_rate, clean_price, redemption, frequency, basis},
     {.title = "yield of a bond with coupons",
      .summary = "Returns the yield at which PRICE gives the price. If one coupon is left, the "
                 "yield is computed directly; otherwise it is found by a search that starts at "
                 "0.1. In the last days of a coupon period the yield can jump where the result of "
                 "PRICE jumps. The search does not go below -0.9999999. If it ends there, it found "
                 "no yield, which is an error. If settlement equals maturity, the result is 0.",
      .result = "yearly yield as a fraction",
      .formula =
          "the yield that solves\n"
          "PRICE(settlement, maturity, rate, yield, redemption, frequency, basis) = pr\n"
          "with one coupon left: ((R + cpn) / (pr + cpn * A/E) - 1) * frequency * E / (E - A)\n"
          "R, cpn, A and E as for PRICE",
      .example = "2008-11-11 2021-03-01 0.0785 98.45 100 2 2",
      .value = "0.08048425765",
      .related = "PRICE ODDFYIELD ODDLYIELD YIELDDISC YIELDMAT",
      .causes = kYieldCauses,
      .searches = true}},
    {"DURATION",
     Task::kBonds,
     kYears,
     {settlement, maturity,
      number("coupon", "yearly coupon rate as a fraction of face value (0.05 is 5 %)").above(0),
      yld, frequency, basis},
     {.title = "Macaulay duration of a bond",
      .summary = "Returns the average time to the payments of a bond, weighted by their present "
                 "values. The redemption is always 100. A coupon rate of 0 is an error. Under "
                 "every basis but ACTUAL, the time to a coupon that is a few days away can be 0 or "
                 "negative. If settlement equals maturity, the result is 0.",
      .result = "number of years",
      .formula = "sum of (time * present value) / sum of present values",
      .example = "2018-07-01 2048-01-01 0.08 0.09 2 1",
      .value = "10.91914528",
      .related = "MDURATION PRICE",
      .causes = kPriceCauses}},
    {"MDURATION",
     Task::kBonds,
     kYears,
     {settlement, maturity,
      number("coupon", "yearly coupon rate as a fraction of face value (0.05 is 5 %)").above(0),
      yld, frequency, basis},
     {.title = "modified duration of a bond",
      .summary = "Returns the Macaulay duration divided by 1 + yld / frequency. If the yield rises "
                 "by a small amount d, the price falls by about the fraction d * MDURATION. The "
                 "redemption is always 100. A coupon rate of 0 is an error. Under every basis but "
                 "ACTUAL, the time to a coupon that is a few days away can be 0 or negative. If "
                 "settlement equals maturity, the result is 0.",
      .result = "number of years",
      .formula = "DURATION / (1 + yld / frequency)",
      .example = "2008-01-01 2016-01-01 0.08 0.09 2 1",
      .value = "5.735669814",
      .related = "DURATION PRICE",
      .causes = kPriceCauses}},

    // Bonds with an odd first or last period.
    {"ODDFPRICE",
     Task::kOddPeriods,
     kAmount,
     {settlement, maturity, issue_before_settlement, first_coupon, coupon_rate, yld, redemption,
      frequency, basis},
     {.title = "price of a bond with an odd first period",
      .summary =
          "Returns the price of a bond whose first coupon period is shorter or longer than the "
          "others, for a settlement in this period. The price is discounted at compound interest. "
          "Coupon dates are counted from first_coupon; they are month ends if first_coupon and "
          "maturity are both month ends. A maturity between two coupon dates counts as the later "
          "of them. Under 30/360, a start date on the 31st or on the last day of February counts "
          "as the 30th: from 28 February to 30 June there are 120 days. An end date on the 31st "
          "counts as the 30th if the start date is on the 30th or counts as the 30th. An end date "
          "on the last day of February counts as the 30th only if the start date is on the last "
          "day of February too. Because of these rules, the accrued days and the days left do not "
          "always add up to the length of the period, and the price then jumps by a few "
          "hundredths. If settlement equals maturity, the result is 0.",
      .result = "price per 100 of face value, without accrued interest",
      .formula = "as for PRICE with compound interest, also with one coupon left;\n"
                 "the first coupon and the accrued interest are measured from issue\n"
                 "in coupon periods counted back from first_coupon",
      .example = "2008-11-11 2021-03-01 2008-10-15 2009-03-01 0.0785 0.0625 100 2 1",
      .value = "113.5977175",
      .related = "ODDFYIELD PRICE ODDLPRICE",
      .causes = kOddFirstPriceCauses}},
    {"ODDFYIELD",
     Task::kOddPeriods,
     kRate,
     {settlement, maturity, issue_before_settlement, first_coupon, coupon_rate, clean_price,
      redemption, frequency, basis},
     {.title = "yield of a bond with an odd first period",
      .summary = "Returns the yield at which ODDFPRICE gives the price. The day counts are those "
                 "of ODDFPRICE, and a maturity between two coupon dates counts as the later of "
                 "them. The yield is found by a search that starts at 0.1. The search does not go "
                 "below -0.9999999. If it ends there, it found no yield, which is an error. If "
                 "settlement equals maturity, the result is 0.",
      .result = "yearly yield as a fraction",
      .formula = "the yield that solves\n"
                 "ODDFPRICE(settlement, maturity, issue, first_coupon, rate, yield, ...) = pr",
      .example = "2008-11-11 2021-03-01 2008-10-15 2009-03-01 0.0575 84.5 100 2 0",
      .value = "0.0772455416",
      .related = "ODDFPRICE YIELD ODDLYIELD",
      .causes = kOddFirstYieldCauses,
      .searches = true}},
    {"ODDLPRICE",
     Task::kOddPeriods,
     kAmount,
     {settlement, maturity, last_interest, coupon_rate, yld, redemption, frequency, basis},
     {.title = "price of a bond with an odd last period",
      .summary =
          "Returns the price of a bond whose last coupon period is shorter or longer than the "
          "others, for a settlement in this period. The price is discounted at simple interest. "
          "ACT/360 and ACT/365 count days as ACTUAL does. Under these three bases, the price is "
          "infinite, which is an error, if last_interest is exactly one coupon period before "
          "maturity. The price is meaningless if settlement is exactly one coupon period before "
          "maturity. If settlement equals maturity or last_interest, the result is 0.",
      .result = "price per 100 of face value, without accrued interest",
      .formula = "price = (NP * cpn + R) / (1 + RP * yld / frequency) - AP * cpn\n"
                 "cpn = 100 * rate / frequency, R = redemption\n"
                 "AP, NP and RP are numbers of coupon periods:\n"
                 "AP = from last_interest to settlement, counted forward from last_interest\n"
                 "NP = from last_interest to maturity, counted back from maturity\n"
                 "RP = from settlement to maturity, counted back from maturity",
      .example = "2008-02-07 2008-06-15 2007-10-15 0.0375 0.0405 100 2 0",
      .value = "99.87828601",
      .related = "ODDLYIELD PRICE ODDFPRICE",
      .causes = kOddLastPriceCauses}},
    {"ODDLYIELD",
     Task::kOddPeriods,
     kRate,
     {settlement, maturity, last_interest, coupon_rate, any_clean_price, redemption, frequency,
      basis},
     {.title = "yield of a bond with an odd last period",
      .summary = "Returns the yield at which ODDLPRICE gives the price, at simple interest. "
                 "ACT/360 and ACT/365 count days as ACTUAL does. Under these three bases, the "
                 "yield is infinite, which is an error, if last_interest is exactly one coupon "
                 "period before maturity. The yield is 0 if settlement is exactly one coupon "
                 "period before maturity. The price may be 0 or negative, which YIELD does not "
                 "accept. If settlement equals maturity or last_interest, the result is 0.",
      .result = "yearly yield as a fraction",
      .formula = "yield = (frequency / RP) * ((NP * cpn + R) / (AP * cpn + pr) - 1)\n"
                 "cpn = 100 * rate / frequency, R = redemption\n"
                 "AP, NP and RP are numbers of coupon periods:\n"
                 "AP = from last_interest to settlement, counted forward from last_interest\n"
                 "NP = from last_interest to maturity, counted back from maturity\n"
                 "RP = from settlement to maturity, counted back from maturity",
      .example = "2008-04-20 2008-06-15 2007-12-24 0.0375 99.875 100 2 0",
      .value = "0.04519223563",
      .related = "ODDLPRICE YIELD ODDFYIELD",
      .causes = kOddLastYieldCauses}},

    // Discount securities and interest at maturity.
    {"DISC",
     Task::kDiscounts,
     kRate,
     {settlement, maturity, price, redemption, basis},
     {.title = "discount rate of a discount security",
      .summary = "Returns the discount per year, as a fraction of the redemption. Under 30/360, "
                 "DISC counts no extra day for a maturity on the 31st; the other functions for "
                 "discount securities do. If settlement equals maturity, the result is 0.",
      .result = "yearly discount rate as a fraction",
      .formula = "(redemption - pr) / redemption / t\n"
                 "t = years from settlement to maturity",
      .example = "1998-04-12 1998-08-12 93.41 100 1",
      .value = "0.1971598361",
      .related = "PRICEDISC YIELDDISC INTRATE",
      .causes = kDiscountCauses}},
    {"INTRATE",
     Task::kDiscounts,
     kRate,
     {settlement, maturity, investment,
      number("redemption", "amount received at maturity, in currency").above(0), basis},
     {.title = "interest rate of a fully invested security",
      .summary = "Returns the gain per year, as a fraction of the investment. If settlement equals "
                 "maturity, the result is 0. If the basis counts no days from settlement to "
                 "maturity, the call is an error. Examples are the 30th and the 31st of a month "
                 "under EU30/360, and 31 January and 1 February under 30/360.",
      .result = "yearly rate as a fraction",
      .formula = "(redemption - investment) / investment / t\n"
                 "t = years from settlement to maturity",
      .example = "2008-02-15 2008-05-15 1000000 1014420 2",
      .value = "0.05768",
      .related = "RECEIVED DISC YIELDDISC",
      .causes = kTooManyYears}},
    {"RECEIVED",
     Task::kDiscounts,
     kAmount,
     {settlement, maturity, investment, discount, basis},
     {.title = "amount received at maturity for an investment",
      .summary = "Returns the amount that an investment in a discount security pays at maturity. "
                 "If the discount is more than the whole amount, the result is negative. Under "
                 "ACTUAL, every leap year from settlement to maturity counts 366 days. If "
                 "settlement equals maturity, the result is 0.",
      .result = "amount, in the currency of the investment",
      .formula = "investment / (1 - discount * t)\n"
                 "t = years from settlement to maturity",
      .example = "2008-02-15 2008-05-15 1000000 0.0575 2",
      .value = "1014584.654",
      .related = "INTRATE DISC PRICEDISC",
      .causes = kReceivedCauses}},
    {"PRICEDISC",
     Task::kDiscounts,
     kAmount,
     {settlement, maturity, discount, redemption, basis},
     {.title = "price of a discount security",
      .summary = "Returns the price of a discount security, which is the redemption less the "
                 "discount. If the discount is more than the whole redemption, the price is "
                 "negative. If settlement equals maturity, the result is 0, not the redemption.",
      .result = "price per 100 of face value",
      .formula = "redemption * (1 - discount * t)\n"
                 "t = years from settlement to maturity",
      .example = "2008-02-16 2008-03-01 0.0525 100 2",
      .value = "99.79583333",
      .related = "DISC YIELDDISC TBILLPRICE"}},
    {"YIELDDISC",
     Task::kDiscounts,
     kRate,
     {settlement, maturity, price, redemption, basis},
     {.title = "yield of a discount security",
      .summary = "Returns the gain per year, as a fraction of the price. If settlement equals "
                 "maturity, the result is 0. If the basis counts no days from settlement to "
                 "maturity, the call is an error. Examples are the 30th and the 31st of a month "
                 "under EU30/360, and 31 January and 1 February under 30/360.",
      .result = "yearly yield as a fraction",
      .formula = "(redemption - pr) / pr / t\n"
                 "t = years from settlement to maturity",
      .example = "2008-02-16 2008-03-01 99.795 100 2",
      .value = "0.05282257199",
      .related = "PRICEDISC DISC TBILLYIELD"}},
    {"PRICEMAT",
     Task::kDiscounts,
     kAmount,
     {settlement, maturity_date.after("settlement"), issue_before_maturity, interest_rate, yld,
      basis},
     {.title = "price of a security that pays interest at maturity",
      .summary =
          "Returns the price, without the accrued interest, of a security that pays all its "
          "interest at maturity. The price is discounted at simple interest. The issue may be "
          "after settlement, but under ACTUAL it is an error if the issue is in a later calendar "
          "year than settlement. If issue equals maturity, the result is 0. If the yield from "
          "settlement to maturity is below -100 %, the price is negative. If settlement equals "
          "maturity, the call is an error; in YIELDMAT the result is then 0.",
      .result = "price per 100 of face value, without accrued interest",
      .formula = "100 * (1 + a * rate) / (1 + b * yld) - 100 * c * rate\n"
                 "a = years from issue to maturity, b = years from settlement to maturity\n"
                 "c = years from issue to settlement",
      .example = "2008-02-15 2008-04-13 2007-11-11 0.061 0.061 0",
      .value = "99.98449888",
      .related = "YIELDMAT ACCRINTM PRICE",
      .causes = kPriceAtMaturityCauses}},
    {"YIELDMAT",
     Task::kDiscounts,
     kRate,
     {settlement, maturity, issue_before_maturity, interest_rate, clean_price, basis},
     {.title = "yield of a security that pays interest at maturity",
      .summary = "Returns the yearly yield, at simple interest, of a security that pays all its "
                 "interest at maturity. The issue may be after settlement, but under ACTUAL it is "
                 "an error if the issue is in a later calendar year than settlement. If settlement "
                 "or issue equals maturity, the result is 0. If the basis counts no days from "
                 "settlement to maturity, the call is an error. Examples are the 30th and the 31st "
                 "of a month under EU30/360, and 31 January and 1 February under 30/360.",
      .result = "yearly yield as a fraction",
      .formula = "((100 + 100 * a * rate) / (pr + 100 * c * rate) - 1) / b\n"
                 "a = years from issue to maturity, b = years from settlement to maturity\n"
                 "c = years from issue to settlement",
      .example = "2008-03-15 2008-11-03 2007-11-08 0.0625 100.0123 0",
      .value = "0.06095433369",
      .related = "PRICEMAT ACCRINTM YIELD",
      .causes = kYieldAtMaturityCauses}},

    // Treasury bills.
    {"TBILLEQ",
     Task::kTreasuryBills,
     kRate,
     {bill_settlement, bill_maturity.after("settlement"), discount},
     {.title = "bond-equivalent yield of a Treasury bill",
      .summary =
          "Returns the yield of a bond that is equivalent to a Treasury bill. With up to 182 days "
          "to maturity it is a yield at simple interest; with more days it is the yield of a bond "
          "that pays a coupon after half a year. With up to 182 days, a discount of the whole face "
          "value is an error, because the yield is infinite, and a larger discount gives a "
          "negative yield. A bill of more than a year is not an error.",
      .result = "yearly yield as a fraction",
      .formula = "up to 182 days: 365 * discount / (360 - discount * D)\n"
                 "more days: (sqrt(t^2 - (2 * t - 1) * (1 - 100 / price)) - t) / (t - 0.5)\n"
                 "D = days to maturity, t = D / 365, price = 100 * (1 - discount * D / 360)",
      .example = "2008-03-31 2008-06-01 0.0914",
      .value = "0.09415149357",
      .related = "TBILLPRICE TBILLYIELD DISC",
      .causes = kBillCauses}},
    {"TBILLPRICE",
     Task::kTreasuryBills,
     kAmount,
     {bill_settlement, bill_maturity, discount},
     {.title = "price of a Treasury bill",
      .summary = "Returns the price of a Treasury bill, which is the face value less the discount. "
                 "A year counts as 360 days. The dates are not compared: a maturity before "
                 "settlement gives a price above 100.",
      .result = "price per 100 of face value",
      .formula = "100 * (1 - discount * D / 360), D = days to maturity",
      .example = "2008-03-31 2008-06-01 0.09",
      .value = "98.45",
      .related = "TBILLYIELD TBILLEQ PRICEDISC"}},
    {"TBILLYIELD",
     Task::kTreasuryBills,
     kRate,
     {bill_settlement, bill_maturity, price},
     {.title = "yield of a Treasury bill",
      .summary =
          "Returns the yearly yield of a Treasury bill at simple interest. A year counts as 360 "
          "days. The dates are not compared. Equal dates are an error, because the yield is "
          "infinite. A maturity before settlement gives a yield with the opposite sign.",
      .result = "yearly yield as a fraction",
      .formula = "(100 - pr) / pr * 360 / D, D = days to maturity",
      .example = "2008-03-31 2008-06-01 98.45",
      .value = "0.09141696293",
      .related = "TBILLPRICE TBILLEQ YIELDDISC"}},

    // Accrued interest.
    {"ACCRINT",
     Task::kAccruedInterest,
     kAmount,
     {issue, date("first_interest", "date of any coupon"),
      date("settlement", "date up to which interest accrues").not_before("issue"), coupon_rate, par,
      frequency, basis},
     {.title = "accrued interest of a bond with coupons",
      .summary =
          "Returns the interest that a bond accrues from issue to settlement. first_interest can "
          "be any coupon date, also one before issue or after settlement: the coupon periods are "
          "counted from it. A whole period between the first and the last counts as 1 under every "
          "basis. The last period is always counted in days, even if it is whole. A first period "
          "that is not whole is counted in days too. ACCRINT has no argument for the calculation "
          "method. If issue equals settlement, the result is 0.",
      .result = "amount, in the currency of the face value",
      .formula = "par * rate / frequency * number of coupon periods from issue to settlement",
      .example = "2007-03-01 2008-08-31 2008-05-01 0.1 1000 2 0",
      .value = "116.9444444",
      .related = "ACCRINTM PRICE COUPDAYBS",
      .causes = kAccrualCauses}},
    {"ACCRINTM",
     Task::kAccruedInterest,
     kAmount,
     {issue, date("settlement", "date up to which interest accrues").not_before("issue"),
      interest_rate, par, basis},
     {.title = "accrued interest of a security that pays at maturity",
      .summary =
          "Returns the interest that a security accrues from issue to settlement, at simple "
          "interest. Under 30/360, ACCRINTM counts no extra day for a settlement on the 31st; "
          "YEARFRAC does for an end date on the 31st. If issue equals settlement, the result is 0.",
      .result = "amount, in the currency of the face value",
      .formula = "par * rate * t, t = years from issue to settlement",
      .example = "2008-04-01 2008-06-15 0.1 1000 3",
      .value = "20.54794521",
      .related = "ACCRINT PRICEMAT YEARFRAC",
      .causes = kTooManyYears}},
};

}  // namespace catalog::rows
