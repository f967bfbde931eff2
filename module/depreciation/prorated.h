// Prorated depreciation of one accounting period: the first period counts only the year fraction
// from the purchase to its end. Amounts in the currency of the cost, rate as a fraction a year.
#pragma once

#include <cstdint>
#include <optional>

#include "calendar/day_count.h"

namespace vxfnc::depreciation {

// Both dates are filled by zgetMonthDayYear.
struct ProratedAsset {
  double cost;          // > 0
  double salvage;       // >= 0
  double rate;          // > 0
  std::int32_t period;  // >= 0; 0 is the first, prorated one
  CalendarDate purchased;
  CalendarDate first_period_end;
  DayCountTerms terms{};
};

// Declining balance: the rate is raised by a coefficient for the asset's life, and every charge is
// rounded to a whole number that fits 32 bits. Nothing when one does not, or when the periods are
// too many to walk.
std::optional<double> zComputeAMORDEGRC(ProratedAsset& asset) noexcept;

// Straight line, not rounded.
double zComputeAMORLINC(ProratedAsset& asset) noexcept;

}  // namespace vxfnc::depreciation
