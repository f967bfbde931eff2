// Aggregates of SQL databases over cash flows, one flow per row.
#pragma once

#include <array>
#include <compare>
#include <optional>
#include <span>
#include <string_view>

#include "hosts/call/checked_call.h"

namespace host {

// Plain data: a host may copy the bytes.
struct Flow {
  double order_key;  // date (days from 1 January 1960) or period; flows are sorted by it
  double amount;
  double rate;  // 0 if the aggregate has no rate
  friend auto operator<=>(const Flow&, const Flow&) = default;
};

// An aggregate. Its arguments are the rate, if it has one, the amount, and the date or period.
struct FlowAggregate {
  std::string_view name;
  std::string_view keyword;
  bool has_rate;
  bool is_dated;               // the keyword takes the dates; periods only sort the flows
  std::size_t min_rows;        // with fewer flows the result is NULL
  bool null_on_error = false;  // an error makes the result NULL
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

// The error of a row or a group.
struct FlowError {
  Status status = Status::kOk;
  std::string message{};

  [[nodiscard]] bool ok() const noexcept { return status == Status::kOk; }
};

// The flow of a row, from its arguments in order. A row without an amount has no flow. The error is
// kWrongType, or kInvalidArgument for an amount without its date, period or rate.
std::optional<Flow> flow_of(const FlowAggregate& aggregate, std::span<const Value> arguments,
                            FlowError& error);

// The value of a group. It does not depend on the order of the flows, to the last bit. Throws
// std::bad_alloc. The error has a message only if the aggregate reports errors.
Value value_of_flows(const FlowAggregate& aggregate, const vxkernel::Kernel& kernel,
                     std::span<const Flow> flows, FlowError& error);

}  // namespace host
