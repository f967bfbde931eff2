#include "hosts/sql/flow_aggregates.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "hosts/call/list_call.h"
#include "hosts/sql/sql_text.h"

namespace host {
namespace {

using Role = FlowParameter::Role;

// The error of the parameter at an index, with a reason such as "is missing".
FlowError error_of(const FlowAggregate& aggregate, Status status, std::size_t index,
                   std::string_view reason) {
  return {
      status, false,
      fmt::format("argument {} ({}) {}", index + 1, aggregate.parameters()[index].name, reason)};
}

bool is_valid(Role role, const Value& value) noexcept {
  if (!has_type(value, role == Role::kDate ? catalog::ArgumentKind::kDate
                                           : catalog::ArgumentKind::kNumber)) {
    return false;
  }
  const double number = value.number;
  if (role == Role::kDate) return number == std::trunc(number) && !is_beyond_calendar(number);
  if (role == Role::kPeriod) return number == std::trunc(number) && std::fabs(number) <= INT32_MAX;
  return std::isfinite(number);
}

FlowError error_of_value(const FlowAggregate& aggregate, std::size_t index, const Value& value) {
  const Role role = aggregate.parameters()[index].role;
  const auto kind =
      role == Role::kDate ? catalog::ArgumentKind::kDate : catalog::ArgumentKind::kNumber;
  std::string_view allowed = "must be a finite number";
  if (!has_type(value, kind)) {
    allowed = role == Role::kDate ? "must be a date (YYYY-MM-DD)" : "must be a number";
  } else if (role == Role::kDate) {
    allowed = value.number == std::trunc(value.number) ? "must be a date (YYYY-MM-DD)"
                                                       : "must be a date without a time of day";
  } else if (role == Role::kPeriod) {
    allowed = value.number == std::trunc(value.number)
                  ? "must be between -2147483647 and 2147483647"
                  : "must be a whole number";
  }
  return error_of(aggregate, has_type(value, kind) ? Status::kInvalidArgument : Status::kWrongType,
                  index, fmt::format("is {}: {}", format_for_message(value), allowed));
}

std::size_t index_of(const FlowAggregate& aggregate, Role role) noexcept {
  const auto found = std::ranges::find(aggregate.parameters(), role, &FlowParameter::role);
  return static_cast<std::size_t>(found - aggregate.parameters().begin());
}

// The sums of a group, sorted by date or period.
std::vector<FlowSum> sorted_sums(const FlowGroup& group) {
  std::vector<FlowSum> sums;
  sums.reserve(group.live);
  for_each_sum(group, [&sums](const FlowSum& sum) { sums.push_back(sum); });
  std::ranges::sort(sums, {}, &FlowSum::key);
  return sums;
}

// The lists of a call.
struct Lists {
  std::vector<double> amounts;
  std::vector<double> dates;
};

// Whether all rates are those of the first sum; if not, fills the error.
bool has_same_rates(const FlowAggregate& aggregate, std::span<const FlowSum> sums,
                    FlowError& error) {
  for (const FlowSum& sum : sums) {
    std::size_t rate = 0;
    for (std::size_t i = 0; i < aggregate.parameter_count; ++i) {
      if (aggregate.parameters()[i].role != Role::kRate) continue;
      if (sum.rates[rate] != sums[0].rates[rate]) {
        error =
            error_of(aggregate, Status::kNoResult, i, "must be the same in all rows of a group");
        return false;
      }
      ++rate;
    }
  }
  return true;
}

// Fills the lists; returns false and an error if the periods are too many.
bool fill(Lists& lists, const FlowAggregate& aggregate, std::span<const FlowSum> sums,
          FlowError& error) {
  if (aggregate.is_dated()) {
    for (const FlowSum& sum : sums) {
      lists.amounts.push_back(sum.amount.value());
      lists.dates.push_back(sum.key);
    }
    return true;
  }
  const std::int64_t first =
      aggregate.first_period == INT32_MIN ? sums.front().key : aggregate.first_period;
  const std::int64_t periods = sums.back().key - first + 1;
  if (periods > aggregate.max_periods) {
    error = error_of(aggregate, Status::kInvalidArgument, index_of(aggregate, Role::kPeriod),
                     fmt::format("is from {} to {}: must span at most {} periods", first,
                                 sums.back().key, aggregate.max_periods));
    return false;
  }
  lists.amounts.assign(static_cast<std::size_t>(periods), 0.0);
  for (const FlowSum& sum : sums) {
    lists.amounts[static_cast<std::size_t>(sum.key - first)] = sum.amount.value();
  }
  return true;
}

FlowError error_of_call(const FlowAggregate& aggregate, const catalog::Keyword& keyword,
                        const ListError& why) {
  if (why.argument == 0) return {why.status, false, why.reason};
  const std::string_view name = keyword.arguments()[why.argument - 1].name;
  const auto found = std::ranges::find(aggregate.parameters(), name, &FlowParameter::name);
  if (found == aggregate.parameters().end()) return {why.status, false, why.reason};
  return error_of(aggregate, why.status,
                  static_cast<std::size_t>(found - aggregate.parameters().begin()), why.reason);
}

}  // namespace

bool read_flow(const FlowAggregate& aggregate, std::span<const Value> arguments, Flow& flow,
               FlowError& error) {
  error = {};
  flow = {};
  const auto parameters = aggregate.parameters();
  if (arguments[index_of(aggregate, Role::kAmount)].is_missing()) return false;
  std::size_t rate = 0;
  std::size_t missing = parameters.size();
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const Value& value = arguments[i];
    const Role role = parameters[i].role;
    if (value.is_missing()) {
      missing = std::min(missing, i);
      continue;
    }
    if (!is_valid(role, value)) {
      error = error_of_value(aggregate, i, value);
      return false;
    }
    if (role == Role::kAmount) {
      flow.amount = value.number;
    } else if (role == Role::kRate) {
      flow.rates[rate++] = value.number + 0.0;  // rates are compared by their bits: no -0
    } else {
      flow.key = static_cast<std::int32_t>(value.number);
    }
  }
  if (missing < parameters.size()) {
    error = error_of(aggregate, Status::kInvalidArgument, missing, "is missing");
    error.is_missing = true;
    return false;
  }
  if (!aggregate.is_dated() && flow.key < aggregate.first_period) {
    const std::size_t index = index_of(aggregate, Role::kPeriod);
    error = error_of(aggregate, Status::kInvalidArgument, index,
                     fmt::format("is {}: must be {} or greater", flow.key, aggregate.first_period));
    return false;
  }
  return true;
}

Value value_of_flows(const FlowAggregate& aggregate, const vxkernel::Kernel& kernel,
                     const FlowGroup& group, const volatile std::int32_t* cancel,
                     FlowError& error) {
  error = {};
  const catalog::Keyword& keyword = *catalog::find(aggregate.keyword);
  if (group.flows < min_flows(keyword)) return {};
  const std::vector<FlowSum> sums = sorted_sums(group);
  Lists lists;
  if (!has_same_rates(aggregate, sums, error) || !fill(lists, aggregate, sums, error)) return {};

  std::vector<ListArgument> arguments;
  std::size_t rate = 0;
  for (const catalog::Argument& argument : keyword.arguments()) {
    if (argument.presence == catalog::Presence::kOptional) break;
    if (argument.is_list()) {
      const std::vector<double>& list = argument.is_date() ? lists.dates : lists.amounts;
      arguments.push_back({.values = list.data(), .is_list = true, .is_date = argument.is_date()});
    } else {
      arguments.push_back({.values = &sums[0].rates[rate++], .is_constant = true});
    }
  }
  ListCall call(kernel, keyword, arguments);
  const std::int64_t offsets[] = {0, static_cast<std::int64_t>(lists.amounts.size())};
  double result = 0.0;
  if (call.run(offsets, std::span(&result, 1), nullptr, {.cancel = cancel}).is_cancelled) {
    error.status = Status::kCancelled;
  } else if (std::isnan(result)) {
    error = error_of_call(aggregate, keyword, call.error(offsets, 0));
  }
  return {.number = result};
}

}  // namespace host
