// Depreciation of an asset over its life: straight line, sum of years' digits, fixed, double and
// variable declining balance. Pure functions; the handlers check the arguments.
//
// cost: price paid for the asset. salvage: its value at the end. life: its life in periods. Periods
// are numbered from 1. Amounts are in the currency of the cost. Charges that are infinite or NaN,
// for example for a cost of 0, are returned unchanged. Functions with an optional result return
// nothing if they would have to step through more than kLongestWalk periods.
#pragma once

#include <cstdint>
#include <optional>

namespace vxfnc::depreciation {

// Returns the charge of each period.
double straight_line(double cost, double salvage, double life) noexcept;

// Returns the charge of a period. For a period beyond the life it is 0 or negative.
double sum_of_years_digits(double cost, double salvage, std::int32_t life,
                           std::int32_t period) noexcept;

// Returns the charge of a period at a fixed rate of the book value; the rate is rounded to three
// decimals. The asset is in use for `months` months of the first year. The rest of that year is
// charged in period life + 1.
double fixed_declining_balance(double cost, double salvage, std::int32_t life, std::int32_t period,
                               std::int32_t months) noexcept;

// Returns the charge of a period at the rate factor / life of the book value. The book value never
// falls below salvage.
std::optional<double> declining_balance(double cost, double salvage, double life,
                                        std::int32_t period, double factor) noexcept;

// A span of time from the end of period `start` to the end of period `end`.
struct Span {
  std::int32_t start;
  std::int32_t end;
};

// Returns the sum of the charges of a span at the rate factor / life of the book value. The charge
// that would bring the book value below salvage is reduced so that it becomes salvage.
std::optional<double> variable_balance(double cost, double salvage, double life, Span span,
                                       double factor) noexcept;

// Does the same, but switches to straight-line depreciation in the first period in which that
// charges more, and keeps it for all later periods.
std::optional<double> variable_balance_with_switch(double cost, double salvage, double life,
                                                   Span span, double factor) noexcept;

}  // namespace vxfnc::depreciation
