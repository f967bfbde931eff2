// Cash flows in rows, as aggregates of SQL databases collect and evaluate them.
#pragma once

#include <array>
#include <compare>
#include <optional>
#include <span>
#include <string_view>

#include "hosts/call/checked_call.h"

namespace host {

// Plain data, whose bytes a host may copy.
struct Flow {
  double order_key;  // date (days from 1 January 1960) or period, by which flows are sorted
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
  bool is_dated;               // dates are passed after the amounts; periods only sort
  std::size_t min_rows;        // with fewer flows the result is missing
  bool null_on_error = false;  // where others fail, the group's result is missing
};

inline constexpr std::array<FlowAggregate, 8> kFlowAggregates = {{
    {"finance_irr", "IRR", false, false, 2},
    {"finance_npv", "NPV", true, false, 1},
    {"finance_xirr", "XIRR", false, true, 2},
    {"finance_xnpv", "XNPV", true, true, 1},
    {"finance_try_irr", "IRR", false, false, 2, true},
    {"finance_try_npv", "NPV", true, false, 1, true},
    {"finance_try_xirr", "XIRR", false, true, 2, true},
    {"finance_try_xnpv", "XNPV", true, true, 1, true},
}};

// What is wrong with a row or a group.
struct FlowError {
  Status status = Status::kOk;
  std::string message{};

  [[nodiscard]] bool ok() const noexcept { return status == Status::kOk; }
};

// The flow of a row's arguments, in their order; none when amount and date or period are missing,
// as an outer join makes them. The error is kWrongType, or kInvalidArgument for a missing value.
std::optional<Flow> flow_of(const FlowAggregate& aggregate, std::span<const Value> arguments,
                            FlowError& error);

// The value of a group, whatever the order of its flows: the same to the last bit. Throws
// std::bad_alloc. A message is made only for an aggregate that reports errors.
Value value_of_flows(const FlowAggregate& aggregate, const vxkernel::Kernel& kernel,
                     std::span<const Flow> flows, FlowError& error);

}  // namespace host
