// Arguments that several keywords share. Each has its standard name, its meaning with the unit, and
// the bounds that the module checks.
#pragma once

#include "catalog/catalog.h"

namespace catalog::rows {

using enum ResultKind;

constexpr Argument number(std::string_view name, std::string_view meaning) {
  return {name, ArgumentKind::kNumber, meaning};
}
constexpr Argument whole(std::string_view name, std::string_view meaning) {
  return {name, ArgumentKind::kWhole, meaning};
}
constexpr Argument date(std::string_view name, std::string_view meaning) {
  return {name, ArgumentKind::kDate, meaning};
}

// Dates. Keywords that accept the dates in any order use the variants without a bound.
inline constexpr Argument settlement =
    date("settlement", "date on which the buyer pays for the security");
inline constexpr Argument maturity_date =
    date("maturity", "date on which the security is redeemed");
inline constexpr Argument maturity = maturity_date.not_before("settlement");
inline constexpr Argument issue = date("issue", "date of issue");
inline constexpr Argument issue_before_settlement = issue.not_after("settlement");
inline constexpr Argument issue_before_maturity = issue.not_after("maturity");
inline constexpr Argument first_coupon =
    date("first_coupon", "date of the first coupon").after("settlement").not_after("maturity");
inline constexpr Argument last_interest =
    date("last_interest", "date of the last coupon before maturity").not_after("settlement");

// Securities: amounts are per 100 of face value, rates are fractions per year.
inline constexpr Argument coupon_rate =
    number("rate", "yearly coupon rate as a fraction of face value (0.05 is 5 %)").above(0);
inline constexpr Argument interest_rate =
    number("rate", "yearly interest rate as a fraction (0.05 is 5 %)").above(0);
inline constexpr Argument yld = number("yld", "yearly yield as a fraction (0.05 is 5 %)");
inline constexpr Argument any_clean_price =
    number("pr", "price per 100 of face value, without accrued interest");
inline constexpr Argument clean_price = any_clean_price.above(0);
inline constexpr Argument price = number("pr", "price per 100 of face value").above(0);
inline constexpr Argument redemption =
    number("redemption", "amount repaid at maturity per 100 of face value").above(0);
inline constexpr Argument par = number("par", "face value, in currency").above(0);
inline constexpr Argument investment =
    number("investment", "amount paid at settlement, in currency").above(0);
inline constexpr Argument discount =
    number("discount", "yearly discount rate as a fraction (0.05 is 5 %)").above(0);
inline constexpr Argument frequency =
    Argument{"frequency", ArgumentKind::kFrequency, "number of coupons per year"}.at_least(1);
inline constexpr Argument basis =
    Argument{"basis", ArgumentKind::kBasis, "day-count basis"}.optional(
        "30/360; a missing value means ACTUAL");

// Treasury bills: dates may have a fraction of a day.
inline constexpr Argument bill_settlement =
    Argument{"settlement", ArgumentKind::kDateTime, "date on which the buyer pays for the bill"}
        .above(0);
inline constexpr Argument bill_maturity =
    Argument{"maturity", ArgumentKind::kDateTime, "date on which the bill is redeemed"}.above(0);

// Loans: money received is positive, money paid is negative, and rates are per period.
inline constexpr Argument any_rate =
    number("rate", "interest rate per period as a fraction (0.01 is 1 %)");
inline constexpr Argument rate = any_rate.above(0);
inline constexpr Argument any_nper = whole("nper", "number of periods");
inline constexpr Argument nper = any_nper.at_least(1);
inline constexpr Argument any_per =
    whole("per", "number of the period (the first is 1)").at_least(1);
inline constexpr Argument per = any_per.at_most_the("nper");
inline constexpr Argument pmt =
    number("pmt", "payment per period, negative if you pay, positive if you receive");
inline constexpr Argument pv =
    number("pv", "present value, positive if you receive it, negative if you pay it");
inline constexpr Argument any_fv =
    number("fv", "future value, positive if you receive it, negative if you pay it");
inline constexpr Argument fv = any_fv.optional("0; a missing value also means 0");
inline constexpr Argument any_type =
    whole("type", "1 for payments at the start of each period, another value for the end")
        .optional("0; a missing value also means 0");
inline constexpr Argument type = any_type.at_most(1);

// Rates and prices.
inline constexpr Argument npery =
    whole("npery", "number of compounding periods per year").at_least(1);
inline constexpr Argument fraction =
    whole("fraction", "denominator of the fraction, such as 32").at_least(1);

// Cash flows: money received is positive, money paid is negative.
inline constexpr Argument amount =
    number("amount", "amounts, positive if received, negative if paid").with(Presence::kRepeated);
inline constexpr Argument flow_date =
    date("date", "dates, one for each amount, in the same order").with(Presence::kRepeated);

// Depreciation.
inline constexpr Argument cost = number("cost", "purchase cost, in currency");
inline constexpr Argument salvage =
    number("salvage", "value at the end of the asset's life, in currency");
inline constexpr Argument life = number("life", "number of periods in the asset's life").above(0);
inline constexpr Argument whole_life =
    whole("life", "number of years in the asset's life").at_least(1);
inline constexpr Argument period =
    whole("period", "number of the period (the first is 1)").at_least(1);
inline constexpr Argument factor =
    number("factor", "multiple of the straight-line rate (2 is double declining)");

}  // namespace catalog::rows
