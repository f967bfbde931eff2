#include "flows.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "callee.h"
#include "sql_values.h"

namespace host {
namespace {

[[noreturn]] void refuse(const FlowAggregate& aggregate, std::size_t position,
                         std::string_view complaint) {
  const std::array<std::string_view, 3> names = {"rate", "amount",
                                                 aggregate.is_dated ? "date" : "period"};
  throw std::invalid_argument(fmt::format("{}: argument {} ({}) {}", aggregate.name, position + 1,
                                          names[position + (aggregate.has_rate ? 0 : 1)],
                                          complaint));
}

bool is_missing(const Value& value) { return !value.is_text() && std::isnan(value.number); }

}  // namespace

FlowRow flow_row_of(const FlowAggregate& aggregate, std::span<const Value> arguments) {
  using enum catalog::ArgumentKind;
  const std::size_t place = arguments.size() - 1;
  const std::size_t amount = place - 1;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const bool is_date = i == place && aggregate.is_dated;
    if (fits(arguments[i], is_date ? kDate : kNumber)) continue;
    refuse(aggregate, i,
           fmt::format("is {}: must be a {}", shown(arguments[i]),
                       is_date ? "date (YYYY-MM-DD)" : "number"));
  }
  if (is_missing(arguments[amount]) && is_missing(arguments[place])) return {};
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (is_missing(arguments[i])) refuse(aggregate, i, "is missing");
  }
  return {false,
          aggregate.has_rate ? arguments[0].number : 0.0,
          {arguments[place].number, arguments[amount].number}};
}

void demand_same_rate(const FlowAggregate& aggregate, double rate, double other) {
  if (rate != other) refuse(aggregate, 0, "must be the same in all rows");
}

Value value_of_flows(const FlowAggregate& aggregate, const vxkernel::Kernel& kernel, double rate,
                     std::span<const Flow> flows) {
  if (flows.size() < aggregate.fewest) return {};
  std::vector<Flow> sorted(flows.begin(), flows.end());
  std::ranges::sort(sorted);
  std::vector<Value> values;
  values.reserve(2 * sorted.size() + 1);
  if (aggregate.has_rate) values.push_back({.number = rate});
  for (const Flow& flow : sorted) values.push_back({.number = flow.amount});
  if (aggregate.is_dated) {
    for (const Flow& flow : sorted) values.push_back({flow.place, {}, Value::Kind::kDate});
  }
  std::vector<vxkernel::Argument> arguments;
  arguments.reserve(values.size());
  for (const Value& value : values) arguments.push_back(value.argument());
  const Callee callee(*catalog::find(aggregate.keyword), values.size());
  const vxkernel::Evaluation answer = callee.evaluate(kernel, arguments);
  if (answer.ok()) return callee.result(answer);
  throw std::invalid_argument(
      fmt::format("{}: {}", aggregate.name, callee.complaint(answer, values)));
}

}  // namespace host
