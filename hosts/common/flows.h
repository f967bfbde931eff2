// Cash flows in rows, as aggregates of SQL databases collect and evaluate them.
#pragma once

#include <array>
#include <compare>
#include <optional>
#include <span>
#include <string_view>

#include "value.h"
#include "vxkernel.h"

namespace host {

// Plain data, whose bytes a host may copy.
struct Flow {
  double place;  // date (days from 1 January 1960) or period, by which flows are sorted
  double amount;
  double rate;  // of the group, 0 where it has none
  friend auto operator<=>(const Flow&, const Flow&) = default;
};

// What an aggregate evaluates. Its arguments are the rate if it has one, amount, and date or
// period.
struct FlowAggregate {
  std::string_view name;
  std::string_view keyword;
  bool has_rate;
  bool is_dated;       // dates are passed behind the amounts; periods only sort
  std::size_t fewest;  // flows; with fewer the result is missing
  bool fails = true;   // false: where others fail, the group's result is missing
};

inline constexpr std::array<FlowAggregate, 8> kFlowAggregates = {{
    {"finance_irr", "IRR", false, false, 2},
    {"finance_npv", "NPV", true, false, 1},
    {"finance_xirr", "XIRR", false, true, 2},
    {"finance_xnpv", "XNPV", true, true, 1},
    {"finance_try_irr", "IRR", false, false, 2, false},
    {"finance_try_npv", "NPV", true, false, 1, false},
    {"finance_try_xirr", "XIRR", false, true, 2, false},
    {"finance_try_xnpv", "XNPV", true, true, 1, false},
}};

// The arguments of a row, in their order; none when amount and place are missing, as an outer join
// makes them. Throws with the aggregate's name: std::domain_error for a value of the wrong kind,
// std::out_of_range for a missing one.
std::optional<Flow> flow_of(const FlowAggregate& aggregate, std::span<const Value> arguments);

// Whatever the order of the flows, the same to the last bit. Throws std::out_of_range where an
// argument is to blame, else std::invalid_argument.
Value value_of_flows(const FlowAggregate& aggregate, const vxkernel::Kernel& kernel,
                     std::span<const Flow> flows);

}  // namespace host
