#include "hosts/call/list_call.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <numeric>

namespace host {

bool ListCall::fits(const catalog::Keyword& keyword, std::span<const ListArgument> arguments) {
  const auto parameters = keyword.arguments();
  if (arguments.size() > parameters.size()) return false;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    if (i >= arguments.size()) {
      if (parameters[i].presence != catalog::Presence::kOptional) return false;
    } else if (arguments[i].is_list != parameters[i].is_list()) {
      return false;
    }
  }
  return true;
}

ListCall::ListCall(const vxkernel::Kernel& kernel, const catalog::Keyword& keyword,
                   std::span<const ListArgument> arguments)
    : kernel_(kernel), keyword_(keyword), arguments_(arguments.begin(), arguments.end()) {
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    if (arguments_[i].is_list && parameter(i).is_date()) {
      date_list_ = static_cast<std::int32_t>(i + 1);
    }
  }
}

// Whether the group has only values that a checked call accepts before it calls the module. A flow
// without an amount is skipped, whatever its date is.
bool ListCall::is_valid(std::span<const std::int64_t> offsets, std::size_t group) const {
  const double* const amounts = std::ranges::find_if(arguments_, &ListArgument::is_list)->values;
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    const ListArgument& argument = arguments_[i];
    if (!parameter(i).is_date()) {
      if (argument.is_date) return false;
      continue;
    }
    if (!argument.is_list) {
      if (is_beyond_calendar(argument.values[argument.is_constant ? 0 : group])) return false;
      continue;
    }
    for (std::int64_t flow = offsets[group]; flow < offsets[group + 1]; ++flow) {
      if (is_beyond_calendar(argument.values[flow]) && !std::isnan(amounts[flow])) return false;
    }
  }
  return true;
}

bool ListCall::run(std::span<const std::int64_t> offsets, std::span<double> results,
                   const volatile std::int32_t* cancel) {
  std::vector<vxk_column> columns;
  for (const ListArgument& argument : arguments_) {
    columns.push_back(argument.is_constant ? vxkernel::constant(argument.values)
                                           : vxkernel::column(argument.values, argument.is_list));
  }
  vxk_results to{};
  to.size = sizeof to;
  to.values = results.data();
  vxk_options options{};
  options.size = sizeof options;
  options.date_list = date_list_;
  options.cancel = cancel;
  vxk_report report{};
  report.size = sizeof report;
  const int status =
      kernel_.evaluate_lists(std::string(keyword_.word), columns, offsets, to, &options, &report);
  if (status == VXK_CANCELLED) return false;
  if (status == VXK_OUT_OF_MEMORY) throw std::bad_alloc();
  without_result_ = without_rate_ = {};
  for (std::size_t group = 0; group < results.size(); ++group) {
    const bool is_lowest = keyword_.is_lowest_rate(results[group]);
    if (is_lowest) without_rate_ = {group, Status::kNoRate};
    if (status != VXK_OK || is_lowest || !is_valid(offsets, group)) results[group] = std::nan("");
  }
  const vxk_error& first = report.first;
  const auto group = static_cast<std::size_t>(first.row);
  if (status == VXK_OK && report.failed > 0 && first.argument == 0 && is_valid(offsets, group)) {
    if (first.status == VXK_OUT_OF_MEMORY) throw std::bad_alloc();
    without_result_ = {group,
                       first.status == VXK_NOT_FINITE ? Status::kNotFinite : Status::kNoResult};
  }
  return true;
}

// The result of a group's values in a call. A search that is known to fail is not repeated: it can
// take seconds.
CallResult ListCall::result_of(CheckedCall& call, std::size_t group,
                               std::span<const Value> values) const {
  for (const Failed& known : {without_result_, without_rate_}) {
    if (known.group == group) return {known.status};
  }
  const CallResult result = call.run(values);
  // Flows of one date, added up, may have no rate where the single flows have one.
  return result.ok() ? CallResult{Status::kNoResult} : result;
}

ListError ListCall::error(std::span<const std::int64_t> offsets, std::size_t group) const {
  const std::int64_t first = offsets[group];
  std::vector<std::int64_t> order(static_cast<std::size_t>(offsets[group + 1] - first));
  std::iota(order.begin(), order.end(), first);
  if (date_list_ != 0) {
    const double* const dates = arguments_[static_cast<std::size_t>(date_list_) - 1].values;
    std::ranges::stable_sort(order, {}, [dates](std::int64_t i) { return dates[i]; });
  }
  const double* const amounts = std::ranges::find_if(arguments_, &ListArgument::is_list)->values;
  std::erase_if(order, [amounts](std::int64_t i) { return std::isnan(amounts[i]); });

  std::vector<Value> values;
  std::vector<std::size_t> starts;  // of the arguments in values
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    starts.push_back(values.size());
    const ListArgument& argument = arguments_[i];
    const bool is_date = argument.is_date || parameter(i).is_date();
    const auto add = [&](double number) {
      values.push_back(
          {.number = number, .kind = is_date ? Value::Kind::kDate : Value::Kind::kNumber});
    };
    if (argument.is_list) {
      for (const std::int64_t at : order) add(argument.values[at]);
    } else {
      add(argument.values[argument.is_constant ? 0 : group]);
    }
  }
  if (const auto error = CheckedCall::arity_error(keyword_, values.size())) {
    return {.reason = *error};
  }
  CheckedCall call(kernel_, keyword_, values.size());
  const CallResult result = result_of(call, group, values);
  CheckedCall::Reason why = call.reason(result, values);
  ListError error{.status = result.status, .reason = std::move(why.text)};
  if (why.position == 0) return error;
  const std::size_t at = why.position - 1;
  error.argument = static_cast<std::size_t>(std::ranges::upper_bound(starts, at) - starts.begin());
  error.is_missing = values[at].is_missing();
  if (arguments_[error.argument - 1].is_list) {
    const std::int64_t flow = order[at - starts[error.argument - 1]];
    error.element = static_cast<std::size_t>(flow - first) + 1;
  }
  return error;
}

std::string ListCall::error_message(std::span<const std::int64_t> offsets,
                                    std::size_t group) const {
  const ListError why = error(offsets, group);
  if (why.argument == 0) return why.reason;
  const std::string element = why.element == 0 ? "" : fmt::format(", element {},", why.element);
  return fmt::format("argument {} ({}){} {}", why.argument, parameter(why.argument - 1).name,
                     element, why.reason);
}

}  // namespace host
