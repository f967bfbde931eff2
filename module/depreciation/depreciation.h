// Depreciation of an asset over its life: straight line, sum of years' digits, fixed, double and
// variable declining balance. Pure functions; the handlers check the arguments.
//
// cost: price paid for the asset. salvage: its worth at the end. life: its life in periods.
// Periods are numbered from 1. Amounts are in the currency of the cost. Charges that are not
// finite, as of an asset without cost, are answered as they come out. Where a result is optional,
// nothing stands for a walk over more periods than are carried out.
#pragma once

#include <cstdint>
#include <optional>

namespace vxfnc::depreciation {

// The charge of every period.
double straight_line(double cost, double salvage, double life) noexcept;

// The charge of a period; one beyond the life gives zero or a negative amount.
double sum_of_years_digits(double cost, double salvage, std::int32_t life,
                           std::int32_t period) noexcept;

// The charge of a period at a fixed rate of the book value, rounded to three decimals. The asset
// is in use for `months` of the first year; the rest of that year is charged in period life + 1.
double fixed_declining_balance(double cost, double salvage, std::int32_t life, std::int32_t period,
                               std::int32_t months) noexcept;

// The charge of a period at factor / life of the book value, which never falls below salvage.
std::optional<double> declining_balance(double cost, double salvage, double life,
                                        std::int32_t period, double factor) noexcept;

// A span of periods: from the end of period `start` to the end of period `end`.
struct Span {
  std::int32_t start;
  std::int32_t end;
};

// The charges of a span at factor / life of the book value; the period that would pass the salvage
// value takes exactly the rest.
std::optional<double> variable_balance(double cost, double salvage, double life, Span span,
                                       double factor) noexcept;

// The same, going over to straight line for good in the first period where that charges more.
std::optional<double> variable_balance_with_switch(double cost, double salvage, double life,
                                                   Span span, double factor) noexcept;

}  // namespace vxfnc::depreciation
