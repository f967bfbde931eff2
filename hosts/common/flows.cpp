#include "flows.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <vector>

#include "callee.h"
#include "sql_values.h"

namespace host {
namespace {

template <typename Error>
[[noreturn]] void refuse(const FlowAggregate& aggregate, std::size_t position,
                         std::string_view complaint) {
  const std::array<std::string_view, 3> names = {"rate", "amount",
                                                 aggregate.is_dated ? "date" : "period"};
  throw Error(fmt::format("{}: argument {} ({}) {}", aggregate.name, position + 1,
                          names[position + (aggregate.has_rate ? 0 : 1)], complaint));
}

}  // namespace

std::optional<Flow> flow_of(const FlowAggregate& aggregate, std::span<const Value> arguments) {
  using enum catalog::ArgumentKind;
  const std::size_t place = arguments.size() - 1;
  const std::size_t amount = place - 1;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const bool is_date = i == place && aggregate.is_dated;
    if (fits(arguments[i], is_date ? kDate : kNumber)) continue;
    refuse<std::domain_error>(aggregate, i,
                              fmt::format("is {}: must be a {}", shown(arguments[i]),
                                          is_date ? "date (YYYY-MM-DD)" : "number"));
  }
  if (arguments[amount].is_missing() && arguments[place].is_missing()) return std::nullopt;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i].is_missing()) refuse<std::out_of_range>(aggregate, i, "is missing");
  }
  return Flow{arguments[place].number, arguments[amount].number,
              aggregate.has_rate ? arguments[0].number : 0.0};
}

Value value_of_flows(const FlowAggregate& aggregate, const vxkernel::Kernel& kernel,
                     std::span<const Flow> flows) {
  if (flows.size() < aggregate.fewest) return {};
  std::vector<Flow> sorted;
  if (!std::ranges::is_sorted(flows)) {
    sorted.assign(flows.begin(), flows.end());
    std::ranges::sort(sorted);
    flows = sorted;
  }
  const double rate = flows[0].rate;
  if (std::ranges::any_of(flows, [rate](const Flow& flow) { return flow.rate != rate; })) {
    refuse<std::invalid_argument>(aggregate, 0, "must be the same in all rows");
  }
  std::vector<vxkernel::Argument> arguments;
  arguments.reserve(2 * flows.size() + 1);
  if (aggregate.has_rate) arguments.emplace_back(rate);
  for (const Flow& flow : flows) arguments.emplace_back(flow.amount);
  if (aggregate.is_dated) {
    for (const Flow& flow : flows) arguments.emplace_back(flow.place);
  }
  const vxkernel::Evaluation answer = kernel.evaluate("FINANCE", aggregate.keyword, arguments);
  if (answer.ok()) return {.number = answer.value};
  if (answer.status == vxkernel::kOutOfStorage) throw std::bad_alloc();
  if (!aggregate.fails) return {};

  std::vector<Value> values;
  values.reserve(arguments.size());
  for (const vxkernel::Argument& argument : arguments)
    values.push_back({.number = argument.number});
  const Callee callee(*catalog::find(aggregate.keyword), values.size());
  const std::string complaint =
      fmt::format("{}: {}", aggregate.name, callee.complaint(answer, values));
  if (answer.marked >= 1) throw std::out_of_range(complaint);
  throw std::invalid_argument(complaint);
}

}  // namespace host
