// The calls that the benchmarks evaluate.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "bench/minimal.h"

struct Row {
  std::string keyword;
  std::string what;
  std::vector<double> arguments;
  double limit = 0.0;                     // our limit, in multiples of pow; 0: none yet
  minimal::Calculation* least = nullptr;  // the minimal computation

  std::string name() const { return keyword + ' ' + what; }
};

// The dates 2008-08-19 and 2008-12-31; 2024-03-11 and 2035-11-15.
inline constexpr double kBought = 17763, kYearEnd = 17897, kSettlement = 23446, kMaturity = 27712;
// The dates 2033-11-15 and 2053-11-15; 2024-01-15 and 2024-08-15; 2023-10-15 and 2024-06-15.
inline constexpr double kTenYears = 26982, kThirtyYears = 34287, kIssued = 23390,
                        kFirstInterest = 23603, kLastInterest = 23298, kSummer = 23542;

// An investment and its returns, and one date per flow, three months apart.
inline std::vector<double> flows(int n) {
  std::vector<double> amounts(static_cast<std::size_t>(n), 1000.0);
  amounts[0] = -900.0 * (n - 1);
  return amounts;
}

inline std::vector<double> days(int n) {
  std::vector<double> dates;
  for (int i = 0; i < n; ++i) dates.push_back(kSettlement + 91 * i);
  return dates;
}

inline std::vector<double> with(std::vector<double> head, const std::vector<double>& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

inline const Row kRows[] = {
    {"SLN", "", {10000, 1000, 5}, 2.5},
    {"SYD", "", {10000, 1000, 10, 5}, 2.5},
    {"DDB", "period 5 of 10", {10000, 1000, 10, 5}, 4},
    {"DB", "period 5 of 10", {10000, 1000, 10, 5}, 6},
    {"VDB", "periods 0 to 5 of 10", {10000, 1000, 10, 0, 5}, 8},
    {"AMORLINC", "period 5", {2400, kBought, kYearEnd, 300, 5, 0.15, 1}, 5},
    {"AMORDEGRC", "period 3", {2400, kBought, kYearEnd, 300, 3, 0.15, 1}, 6},
    {"YEARFRAC", "30/360", {kSettlement, kMaturity, 0}, 4, minimal::yearfrac},
    {"YEARFRAC", "ACTUAL", {kSettlement, kMaturity, 1}, 4, minimal::yearfrac},
    {"YEARFRAC", "ACT/360", {kSettlement, kMaturity, 2}, 4, minimal::yearfrac},
    {"YEARFRAC", "ACT/365", {kSettlement, kMaturity, 3}, 4, minimal::yearfrac},
    {"YEARFRAC", "EU30/360", {kSettlement, kMaturity, 4}, 4, minimal::yearfrac},
    {"COUPNUM", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 5, minimal::coupnum},
    {"COUPNCD", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 7},
    {"COUPPCD", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 7},
    {"COUPDAYBS", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 7},
    {"COUPDAYSNC", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 7},
    {"COUPDAYS", "semiannual, 30/360", {kSettlement, kMaturity, 2, 0}, 4},
    {"COUPDAYS", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 4},
    {"PRICE",
     "10 years, semiannual",
     {kSettlement, kTenYears, 0.0575, 0.065, 100, 2, 0},
     9,
     minimal::price},
    {"PRICE",
     "30 years, semiannual",
     {kSettlement, kThirtyYears, 0.0575, 0.065, 100, 2, 0},
     16,
     minimal::price},
    {"YIELD",
     "10 years, semiannual",
     {kSettlement, kTenYears, 0.0575, 94.6, 100, 2, 0},
     30,
     minimal::yield},
    {"YIELD",
     "30 years, semiannual",
     {kSettlement, kThirtyYears, 0.0575, 90.2, 100, 2, 0},
     65,
     minimal::yield},
    {"DURATION", "10 years, semiannual", {kSettlement, kTenYears, 0.0575, 0.065, 2, 0}, 8},
    {"MDURATION", "10 years, semiannual", {kSettlement, kTenYears, 0.0575, 0.065, 2, 0}, 8},
    {"ODDLPRICE", "", {kSettlement, kSummer, kLastInterest, 0.0375, 0.0405, 100, 2, 0}, 12},
    {"ODDLYIELD", "", {kSettlement, kSummer, kLastInterest, 0.0375, 99.9, 100, 2, 0}, 12},
    {"ODDFPRICE",
     "10 years, semiannual",
     {kSettlement, kTenYears + 92, kIssued, kFirstInterest, 0.0575, 0.065, 100, 2, 0},
     16},
    {"ODDFYIELD",
     "10 years, semiannual",
     {kSettlement, kTenYears + 92, kIssued, kFirstInterest, 0.0575, 94.6, 100, 2, 0},
     36},
    {"ACCRINT", "", {kIssued, kFirstInterest, kSettlement, 0.0575, 1000, 2, 0}, 12},
    {"ACCRINTM", "", {kIssued, kSettlement, 0.0575, 1000, 0}, 5},
    {"DISC", "", {kSettlement, kSummer, 97.9, 100, 0}, 5},
    {"INTRATE", "", {kSettlement, kSummer, 1000000, 1014420, 0}, 5},
    {"RECEIVED", "", {kSettlement, kSummer, 1000000, 0.0575, 0}, 5},
    {"PRICEDISC", "", {kSettlement, kSummer, 0.0525, 100, 0}, 5},
    {"YIELDDISC", "", {kSettlement, kSummer, 99.8, 100, 0}, 5},
    {"PRICEMAT", "", {kSettlement, kSummer, kIssued, 0.061, 0.061, 0}, 5},
    {"YIELDMAT", "", {kSettlement, kSummer, kIssued, 0.0625, 100.0123, 0}, 5},
    {"TBILLEQ", "half a year and more", {kSettlement, kSettlement + 190, 0.0914}, 3},
    {"TBILLPRICE", "", {kSettlement, kSummer, 0.09}, 3},
    {"TBILLYIELD", "", {kSettlement, kSummer, 98.45}, 3},
    {"PMT", "", {0.005, 360, 200000}, 4, minimal::pmt},
    {"FV", "", {0.005, 120, -200, -500}, 4},
    {"PV", "", {0.005, 240, 500}, 4},
    {"NPER", "", {0.01, -100, -1000, 10000, 1}, 3.5},
    {"RATE", "", {48, -200, 8000}, 32, minimal::rate},
    {"IPMT", "period 13 of 360", {0.005, 13, 360, 200000}, 6},
    {"PPMT", "period 13 of 360", {0.005, 13, 360, 200000}, 6},
    {"ISPMT", "", {0.005, 13, 360, 200000}, 4},
    {"CUMIPMT", "12 of 360", {0.0075, 360, 125000, 1, 12}, 8},
    {"CUMPRINC", "12 of 360", {0.0075, 360, 125000, 1, 12}, 8},
    {"EFFECT", "", {0.0525, 4}, 4},
    {"NOMINAL", "", {0.053543, 4}, 4},
    {"FVSCHEDULE", "3 rates", {1, 0.09, 0.11, 0.1}, 4},
    {"DOLLARDE", "", {1.02, 16}, 4},
    {"DOLLARFR", "", {1.125, 16}, 4},
    {"NPV", "12 flows", with({0.08}, flows(12)), 4},
    {"MIRR", "12 flows", with(flows(12), {0.1, 0.12}), 8},
    {"IRR", "12 flows", flows(12), 20, minimal::irr},
    {"IRR", "1000 flows", flows(1000), 2000, minimal::irr},
    {"XNPV", "12 flows", with(with({0.08}, flows(12)), days(12)), 16},
    {"XIRR", "12 flows", with(flows(12), days(12)), 90, minimal::xirr},
};
// The same call with an increasing number of periods or flows.
struct ScalingRow {
  Row row;
  int length;
};

inline std::vector<ScalingRow> scaling_rows() {
  std::vector<ScalingRow> rows;
  // 15 November of 2028, 2033, 2043, 2063 and 2103.
  for (const auto& [coupons, maturity] :
       {std::pair(10, 25156.0), {20, kTenYears}, {40, 30634.0}, {80, 37939.0}, {160, 52548.0}}) {
    rows.push_back({{"PRICE",
                     std::to_string(coupons) + " coupons",
                     {kSettlement, maturity, 0.0575, 0.065, 100, 2, 0}},
                    coupons});
  }
  for (const char* const keyword : {"IRR", "XIRR"}) {
    for (const int n : {25, 50, 100, 200, 400}) {
      const bool has_dates = keyword[0] == 'X';
      rows.push_back(
          {{keyword, std::to_string(n) + " flows", has_dates ? with(flows(n), days(n)) : flows(n)},
           n});
    }
  }
  return rows;
}

// The slowest calls that a search over all keywords found. Each steps through the maximum number of
// periods of its keyword, and most of them then fail. Calls of other keywords are much faster,
// except for long lists.
inline std::vector<Row> longest_rows() {
  std::vector<double> swings;
  for (int i = 0; i < 8191; ++i) swings = with(swings, {-1, 1.5, 2, -3});
  const double least = 1e-300, most = 1e300, unused = 2e9;
  return {
      {"DDB", "", {1e7, -1, 4.6e15, 2e7, least}},
      {"VDB", "", {most, -1, most, 8, 1e8, 2, 0}},
      {"CUMPRINC", "", {1e-12, unused, 1, 0x1p24, 0x1p25 - 2}},
      {"ODDFPRICE", "", {212821, 29874140258, 0, 23424410, 178, 4.5e-10, 800, 12}},
      {"AMORDEGRC", "", {2e8, -640212526, 12818263, 0.5, 13033033, 4.0808590269715391e-09}},
      {"ODDLYIELD", "", {21820045, 78610790626, 16, 1e-9, 1, 100, 3}},
      {"DURATION", "", {929425, 82010165600, least, 0.002, 328}},
      {"MDURATION", "", {929425, 82010165600, least, 0.002, 328}},
      {"CUMIPMT", "", {1e-12, unused, 1, 0x1p24, 0x1p25 - 2}},
      {"ODDLPRICE", "", {22438609, 86906022, 0, 1, 3.7e7, 1.6e7, 3}},
      {"YIELD", "", {-399154, 1262058, 110, 170, 9.9e299, 52, 3}},
      {"PRICE", "", {-14418720, 16966001998, 1, 9e-13, 6.7e7, 13}},
      {"ACCRINT", "", {5118, 13806, 1792030398, 9.2e-08, 0.9, 1, 3}},
      {"ODDFYIELD", "", {1685, 88346939, 0, 88127050, 0.09, 1e-9, 100, 12}},
      {"IRR", "32764 flows", swings},
      {"DB", "", {0.03, 1.8e300, 784208, 671187}},
  };
}
