// Aggregates of SQL databases over cash flows, one flow per row.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "hosts/call/checked_call.h"
#include "hosts/sql/flow_group.h"
#include "hosts/sql/sql_text.h"

namespace host {

struct FlowParameter {
  enum class Role : std::uint8_t { kAmount, kDate, kPeriod, kRate };

  std::string_view name;
  Role role;
};

// An aggregate. The names of its rates are those of the keyword's arguments, in the same order.
struct FlowAggregate {
  std::string_view name;
  std::string_view keyword;
  std::array<FlowParameter, 4> parameter_list;
  std::size_t parameter_count;
  std::int32_t first_period =
      INT32_MIN;                 // INT32_MIN: the earliest period of the group is the first
  std::int32_t max_periods = 0;  // 0: the flows have dates

  [[nodiscard]] constexpr std::span<const FlowParameter> parameters() const noexcept {
    return std::span(parameter_list).first(parameter_count);
  }
  [[nodiscard]] constexpr bool is_dated() const noexcept { return max_periods == 0; }
};

namespace flow_parameters {
using enum FlowParameter::Role;
inline constexpr FlowParameter amount{"amount", kAmount};
inline constexpr FlowParameter date{"date", kDate};
inline constexpr FlowParameter period{"period", kPeriod};
inline constexpr FlowParameter rate{"rate", kRate};
}  // namespace flow_parameters

inline constexpr std::int32_t kMostPeriods = 1'000'000;  // of a keyword that has no limit

inline constexpr std::array<FlowAggregate, 5> kFlowAggregates = [] {
  using namespace flow_parameters;
  return std::array<FlowAggregate, 5>{{
      {"finance_irr", "IRR", {amount, period}, 2, INT32_MIN, 32767},
      {"finance_mirr",
       "MIRR",
       {amount, period, {"finance_rate", kRate}, {"reinvest_rate", kRate}},
       4,
       INT32_MIN,
       kMostPeriods},
      {"finance_npv", "NPV", {rate, amount, period}, 3, 1, kMostPeriods},
      {"finance_xirr", "XIRR", {amount, date}, 2},
      {"finance_xnpv", "XNPV", {rate, amount, date}, 3},
  }};
}();

// The error of a row or a group.
struct FlowError {
  Status status = Status::kOk;
  bool is_missing = false;  // an argument is NULL
  std::string message{};

  [[nodiscard]] bool ok() const noexcept { return status == Status::kOk; }
};

// Reads the flow of a row from its arguments, in order. Returns false without an error for a row
// that has no amount, whatever its other arguments are. In other rows, rates, dates and periods
// must not be missing.
bool read_flow(const FlowAggregate& aggregate, std::span<const Value> arguments, Flow& flow,
               FlowError& error);

// The value of a group. Dated flows are sorted, and those of one date are added up. Amounts of
// periods are placed on their periods, with 0 between them. A missing value means that the group
// has too few flows. When the flag is set during a search, the status is kCancelled. Throws
// std::bad_alloc.
Value value_of_flows(const FlowAggregate& aggregate, const vxkernel::Kernel& kernel,
                     const FlowGroup& group, const volatile std::int32_t* cancel, FlowError& error);

}  // namespace host
