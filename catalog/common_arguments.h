// The arguments that several keywords share, by the field's standard terms, each with its meaning,
// its unit and the bounds that the module holds it to.
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

// Dates. Where others are allowed to be in any order, the keyword starts from the plain one.
inline constexpr Argument settlement = date("settlement", "date on which the buyer pays");
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

// Securities: amounts are per 100 of face value, rates are fractions a year.
inline constexpr Argument coupon_rate =
    number("rate", "yearly coupon rate, a fraction of face value").above(0);
inline constexpr Argument interest_rate =
    number("rate", "yearly interest rate, a fraction").above(0);
inline constexpr Argument yld = number("yld", "yearly yield, a fraction");
inline constexpr Argument any_clean_price = number("pr", "clean price per 100 of face value");
inline constexpr Argument clean_price = any_clean_price.above(0);
inline constexpr Argument price = number("pr", "price per 100 of face value").above(0);
inline constexpr Argument redemption =
    number("redemption", "amount repaid at maturity per 100 of face value").above(0);
inline constexpr Argument par = number("par", "face value, in currency").above(0);
inline constexpr Argument investment = number("investment", "amount paid at settlement").above(0);
inline constexpr Argument discount =
    number("discount", "yearly discount rate, a fraction").above(0);
inline constexpr Argument any_frequency = {"frequency", ArgumentKind::kFrequency, "coupons a year"};
inline constexpr Argument frequency = any_frequency.at_least(1);
inline constexpr Argument basis =
    Argument{"basis", ArgumentKind::kBasis, "day-count basis"}.optional(
        "30/360; a missing value means ACTUAL");

// Treasury bills: fractions of a day count.
inline constexpr Argument bill_settlement =
    Argument{"settlement", ArgumentKind::kDateTime, "date on which the buyer pays"}.above(0);
inline constexpr Argument bill_maturity =
    Argument{"maturity", ArgumentKind::kDateTime, "date on which the bill is redeemed"}.above(0);

// Loans: money received is positive, money paid is negative, and the rate is one of a period.
inline constexpr Argument any_rate = number("rate", "interest rate per period, a fraction");
inline constexpr Argument rate = any_rate.above(0);
inline constexpr Argument any_nper = whole("nper", "number of periods");
inline constexpr Argument nper = any_nper.at_least(1);
inline constexpr Argument any_per = whole("per", "period asked for, the first is 1").at_least(1);
inline constexpr Argument per = any_per.not_beyond("nper");
inline constexpr Argument pmt = number("pmt", "payment of each period");
inline constexpr Argument pv = number("pv", "present value");
inline constexpr Argument fv = number("fv", "future value").optional("0, as for a missing one");
inline constexpr Argument any_type =
    whole("type", "1: payments at the start of periods, otherwise at their end")
        .optional("0, as for a missing one");
inline constexpr Argument type = any_type.at_most(1);

// Rates and prices.
inline constexpr Argument npery = whole("npery", "compounding periods a year").at_least(1);
inline constexpr Argument fraction =
    whole("fraction", "denominator of the fraction, such as 32").at_least(1);

// Cash flows: money received is positive, money paid is negative.
inline constexpr Argument amount =
    number("amount", "amount received, negative when paid").with(Presence::kRepeated);
inline constexpr Argument flow_date = date("date", "date of each amount").with(Presence::kRepeated);

// Depreciation.
inline constexpr Argument cost = number("cost", "purchase cost");
inline constexpr Argument salvage = number("salvage", "value at the end of the life");
inline constexpr Argument life = number("life", "number of periods of the life").above(0);
inline constexpr Argument whole_life = whole("life", "number of years of the life").at_least(1);
inline constexpr Argument period = whole("period", "period asked for, the first is 1").at_least(1);
inline constexpr Argument factor =
    number("factor", "multiple of the straight-line rate, 2 for double declining");

}  // namespace catalog::rows
