// Why calculations fail although every argument is valid. The causes of a keyword are tested in
// order; the last one has no test, because it is the only one left if no earlier one holds. The
// error message of a failed call names one cause.
#pragma once

#include <cmath>

#include "catalog/catalog.h"

namespace catalog::rows {

// Days between two dates in coupon periods, to within a period or two.
inline double coupon_periods(const CallValues& call, std::string_view from, std::string_view to) {
  constexpr double kDaysPerYear = 365.2425;
  return (call[to] - call[from]) / kDaysPerYear * call["frequency"];
}

// ---- Securities

inline constexpr double kLongestSchedule = 1 << 20;  // limits of the module, in coupon periods
inline constexpr double kLongestSearch = 1 << 18;

inline constexpr Cause kYieldTooLow = {
    "yld is not greater than -frequency, so the yield per coupon period is -100 % or lower",
    [](const CallValues& call) {
      return 1.0 + call["yld"] / call["frequency"] < 1.0536712127723509e-08;
    }};
inline constexpr Cause kYieldTooHigh = {"yld is too large: yld / frequency is above about 5e15",
                                        [](const CallValues& call) {
                                          const double y = call["yld"] / call["frequency"];
                                          return y * (1.0 / (1.0 + y)) >= 1.0;
                                        }};
inline constexpr Cause kBondTooLong = {
    "settlement and maturity are more than 16,777,216 coupon periods apart"};
inline constexpr Cause kOddFirstTooLong = {
    "issue and first_coupon are more than 1,048,576 coupon periods apart",
    [](const CallValues& call) {
      return coupon_periods(call, "issue", "first_coupon") > kLongestSchedule;
    }};
inline constexpr Cause kSearchTooLong = {
    "settlement and maturity are more than 262,144 coupon periods apart, too many for the search",
    [](const CallValues& call) {
      return coupon_periods(call, "settlement", "maturity") > kLongestSearch;
    }};
inline constexpr Cause kNoYield = {
    "the search, which starts at 0.1, found no yield above -0.9999999"};
inline constexpr Cause kOddLastTooLong = {
    "last_interest and maturity are more than 1,048,576 coupon periods apart",
    [](const CallValues& call) {
      return coupon_periods(call, "last_interest", "maturity") > kLongestSchedule;
    }};

inline constexpr Cause kPriceCauses[] = {kYieldTooLow, kYieldTooHigh, kBondTooLong};
inline constexpr Cause kYieldCauses[] = {kSearchTooLong, kNoYield};
inline constexpr Cause kOddFirstPriceCauses[] = {kOddFirstTooLong, kYieldTooLow, kYieldTooHigh,
                                                 kBondTooLong};
inline constexpr Cause kOddFirstYieldCauses[] = {kOddFirstTooLong, kSearchTooLong, kNoYield};
inline constexpr Cause kOddLastPriceCauses[] = {
    kOddLastTooLong, {"the yield from settlement to maturity is -100 % or lower"}};
inline constexpr Cause kOddLastYieldCauses[] = {
    kOddLastTooLong,
    {"the day-count basis counts no days from settlement to maturity",
     [](const CallValues& call) { return call["pr"] > 0.0; }},
    {"pr and the accrued interest add up to 0"}};
inline constexpr Cause kAccrualCauses[] = {
    {"issue and settlement are more than 1,048,576 coupon periods apart"}};

// The count of days under 30/360 has 32 bits.
inline constexpr Cause kTooLongFor30360 = {
    "the dates are more than 5,965,000 years apart, too many for the day count of 30/360",
    [](const CallValues& call) { return call["maturity"] - call["settlement"] > 2.17e9; }};
inline constexpr Cause kTooManyYears[] = {{kTooLongFor30360.text}};
inline constexpr Cause kDiscountCauses[] = {
    kTooLongFor30360, {"the day-count basis counts no days from settlement to maturity"}};
inline constexpr Cause kReceivedCauses[] = {
    {"the discount takes all of the amount, or so much of it that the result is above 1.8e308"}};
inline constexpr Cause kPriceAtMaturityCauses[] = {
    {"the yield from settlement to maturity is exactly -100 %"}};
inline constexpr Cause kYieldAtMaturityCauses[] = {{"pr and the accrued interest add up to 0"}};
inline constexpr Cause kBillCauses[] = {
    {"the discount is more than the face value, and the bill has more than 182 days to maturity"}};

// ---- Loans

inline constexpr Cause kGrowthTooLarge = {
    "(1 + rate)^nper is above 1.8e308, the largest possible number",
    [](const CallValues& call) { return call["nper"] * std::log1p(call["rate"]) > 709.7827; }};
inline constexpr Cause kAnnuityCauses[] = {{kGrowthTooLarge.text}};
inline constexpr Cause kSumCauses[] = {
    kGrowthTooLarge,
    {"the balance or the sum still changes after 16,777,216 periods, which is the limit"}};
inline constexpr Cause kPresentValueCauses[] = {
    {"(1 + rate)^-nper is above 1.8e308, the largest possible number"}};
inline constexpr Cause kPeriodsCauses[] = {
    {"each payment is exactly the interest, so every number of periods leads from pv to fv",
     [](const CallValues& call) {
       const double rate = call["rate"];
       const double payment = call["pmt"] * (call["type"] == 1.0 ? 1.0 + rate : 1.0);
       return payment - call.or_zero("fv") * rate == 0.0 && call["pv"] * rate + payment == 0.0;
     }},
    {"no number of periods leads from pv to fv with these payments and signs"}};
inline constexpr Cause kRateCauses[] = {
    {"pmt is 0, and pv and fv do not have the same sign or one of them is 0",
     [](const CallValues& call) { return call["pmt"] == 0.0; }},
    {"pv is 0, so the search cannot start at -pmt / pv",
     [](const CallValues& call) { return call["pv"] == 0.0; }},
    {"the search starts at -pmt / pv, which must be greater than -1",
     [](const CallValues& call) { return -call["pmt"] / call["pv"] <= -1.0; }},
    {"the search, which starts at -pmt / pv, found no rate above -0.9999999"}};

// ---- Cash flows

template <class Test>
constexpr bool no_amount(const CallValues& call, Test test) {
  return std::ranges::none_of(call.all("amount"), test);
}

inline constexpr Cause kNothingPaid = {
    "no amount is negative, but at least one must be", [](const CallValues& call) {
      return no_amount(call, [](double amount) { return amount < 0.0; });
    }};
inline constexpr Cause kNothingReceived = {
    "no amount is positive, but at least one must be", [](const CallValues& call) {
      return no_amount(call, [](double amount) { return amount > 0.0; });
    }};
inline constexpr Cause kPeriodicRateCauses[] = {
    {"there is only one amount, but at least two are needed",
     [](const CallValues& call) { return call.all("amount").size() < 2; }},
    {"there are more than 32,767 amounts",
     [](const CallValues& call) { return call.all("amount").size() > 32767; }},
    kNothingPaid,
    kNothingReceived,
    {"the sum of the amounts, without their signs, is above 1.8e308",
     [](const CallValues& call) {
       double sum = 0.0;
       for (const double amount : call.all("amount")) sum += std::fabs(amount);
       return std::isinf(sum);
     }},
    {"the search found no rate"}};
inline constexpr Cause kModifiedRateCauses[] = {
    kNothingPaid, kNothingReceived, {"the amounts are too small or too large to compute with"}};
inline constexpr Cause kDatedRateCauses[] = {
    kNothingPaid,
    kNothingReceived,
    {"all amounts have the same date",
     [](const CallValues& call) {
       const auto dates = call.all("date");
       return std::ranges::all_of(dates, [&](double date) { return date == dates.front(); });
     }},
    {"the search found no rate from any of its three starts (try another guess)"}};

// ---- Depreciation

inline constexpr Cause kDecliningCauses[] = {
    {"the depreciation still changes after 16,777,216 periods, which is the limit"}};
inline constexpr Cause kWholeAmountCauses[] = {
    {"the depreciation of a period is more than 2,147,483,647, the largest whole amount",
     [](const CallValues& call) { return call["period"] <= 0x1p24; }},
    {"the depreciation still changes after 16,777,216 periods, which is the limit"}};

}  // namespace catalog::rows
