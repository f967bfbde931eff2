#include "hosts/sql/flow_aggregates.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <vector>

#include "hosts/sql/sql_text.h"

namespace host {
namespace {

FlowError error_of(const FlowAggregate& aggregate, Status status, std::size_t position,
                   std::string_view reason) {
  if (aggregate.null_on_error) return {status};
  const std::array<std::string_view, 3> names = {"rate", "amount",
                                                 aggregate.is_dated ? "date" : "period"};
  return {status, fmt::format("{}: argument {} ({}) {}", aggregate.name, position + 1,
                              names[position + (aggregate.has_rate ? 0 : 1)], reason)};
}

}  // namespace

std::optional<Flow> flow_of(const FlowAggregate& aggregate, std::span<const Value> arguments,
                            FlowError& error) {
  using enum catalog::ArgumentKind;
  error = {};
  const std::size_t key = arguments.size() - 1;
  const std::size_t amount = key - 1;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const bool is_date = i == key && aggregate.is_dated;
    if (has_type(arguments[i], is_date ? kDate : kNumber)) continue;
    error = error_of(aggregate, Status::kWrongType, i,
                     fmt::format("is {}: must be a {}", format_for_message(arguments[i]),
                                 is_date ? "date (YYYY-MM-DD)" : "number"));
    return std::nullopt;
  }
  if (arguments[amount].is_missing()) return std::nullopt;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (!arguments[i].is_missing()) continue;
    error = error_of(aggregate, Status::kInvalidArgument, i, "is missing");
    return std::nullopt;
  }
  return Flow{arguments[key].number, arguments[amount].number,
              aggregate.has_rate ? arguments[0].number : 0.0};
}

Value value_of_flows(const FlowAggregate& aggregate, const vxkernel::Kernel& kernel,
                     std::span<const Flow> flows, FlowError& error) {
  error = {};
  if (flows.size() < aggregate.min_rows) return {};
  std::vector<Flow> sorted;
  if (!std::ranges::is_sorted(flows)) {
    sorted.assign(flows.begin(), flows.end());
    std::ranges::sort(sorted);
    flows = sorted;
  }
  const double rate = flows[0].rate;
  if (std::ranges::any_of(flows, [rate](const Flow& flow) { return flow.rate != rate; })) {
    error = error_of(aggregate, Status::kNoResult, 0, "must be the same in all rows of a group");
    return {};
  }
  std::vector<Value> values;
  values.reserve(2 * flows.size() + 1);
  if (aggregate.has_rate) values.push_back({.number = rate});
  for (const Flow& flow : flows) values.push_back({.number = flow.amount});
  if (aggregate.is_dated) {
    for (const Flow& flow : flows) values.push_back({.number = flow.order_key});
  }
  CheckedCall call(kernel, *catalog::find(aggregate.keyword), values.size());
  for (std::size_t i = 1; i <= values.size(); ++i) call.set(i, values[i - 1]);
  const CallResult result = call.run();
  if (result.ok()) return result.value;
  if (result.status == Status::kOutOfMemory) throw std::bad_alloc();
  error.status = result.status;
  if (!aggregate.null_on_error) {
    error.message = fmt::format("{}: {}", aggregate.name, call.error_message(result, values));
  }
  return {};
}

}  // namespace host
