// Depreciation of one accounting period, in which the charge of the first period is prorated: it is
// multiplied by the year fraction from the purchase to the end of the period. Amounts are in the
// currency of the cost. The rate is a fraction per year.
#pragma once

#include <cstdint>
#include <optional>

#include "calendar/day_count.h"

namespace vxfnc::depreciation {

// Both dates must have been filled by zgetMonthDayYear.
struct ProratedAsset {
  double cost;          // > 0
  double salvage;       // >= 0
  double rate;          // > 0
  std::int32_t period;  // >= 0; 0 is the first, prorated period
  CalendarDate purchased;
  CalendarDate first_period_end;
  DayCountTerms terms{};
};

// Declining balance: the rate is multiplied by a coefficient that depends on the life of the asset.
// Every charge is rounded to a whole number. Returns nothing if a charge does not fit into 32 bits,
// or if there are more than kLongestWalk periods.
std::optional<double> zComputeAMORDEGRC(ProratedAsset& asset) noexcept;

// Straight line. Charges are not rounded.
double zComputeAMORLINC(ProratedAsset& asset) noexcept;

}  // namespace vxfnc::depreciation
