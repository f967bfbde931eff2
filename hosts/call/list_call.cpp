#include "hosts/call/list_call.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <numeric>

#include "hosts/call/columns.h"

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
    : kernel_(kernel),
      keyword_(keyword),
      arguments_(arguments.begin(), arguments.end()),
      amounts_(static_cast<std::size_t>(std::ranges::find_if(arguments, &ListArgument::is_list) -
                                        arguments.begin())) {
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    if (arguments_[i].is_list && parameter(i).is_date()) {
      date_list_ = static_cast<std::int32_t>(i + 1);
    }
  }
}

ListError ListCall::length_error(std::size_t argument, std::uint64_t length,
                                 std::uint64_t amounts) {
  return {.argument = argument,
          .reason = fmt::format("has the length {}: must have the length of the amounts, {}",
                                length, amounts)};
}

bool ListCall::is_missing(std::span<const std::int64_t> offsets, std::size_t group) const {
  for (const ListArgument& argument : arguments_) {
    if (argument.is_list) continue;
    if (std::isnan(argument.values[argument.is_constant ? 0 : group])) return true;
  }
  const std::span flows(arguments_[amounts_].values + offsets[group],
                        arguments_[amounts_].values + offsets[group + 1]);
  const auto present = static_cast<std::size_t>(
      std::ranges::count_if(flows, [](double amount) { return !std::isnan(amount); }));
  return present < min_flows(keyword_) || (date_list_ == 0 && present < flows.size());
}

// Whether the module may see the values of a group. It must not see values that a checked call
// rejects, because it can take long for some of them, nor amounts whose order has gaps. A flow
// without an amount is skipped, whatever its date is.
bool ListCall::is_evaluated(std::span<const std::int64_t> offsets, std::size_t group) const {
  const double* const amounts = arguments_[amounts_].values;
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
  return date_list_ != 0 || !is_missing(offsets, group);
}

// A copy of the amounts without those of groups that are not evaluated. Empty if there are none.
std::vector<double> ListCall::screened(std::span<const std::int64_t> offsets) const {
  std::vector<double> copy;
  for (std::size_t group = 0; group + 1 < offsets.size(); ++group) {
    if (is_evaluated(offsets, group)) continue;
    const double* const amounts = arguments_[amounts_].values;
    if (copy.empty()) copy.assign(amounts, amounts + offsets.back());
    std::fill(copy.begin() + offsets[group], copy.begin() + offsets[group + 1], std::nan(""));
  }
  return copy;
}

ListReport ListCall::run(std::span<const std::int64_t> offsets, std::span<double> results,
                         std::uint8_t* failures, const ListOptions& options) {
  std::vector<vxk_column> columns;
  for (const ListArgument& argument : arguments_) {
    columns.push_back(argument.is_constant ? vxkernel::constant(argument.values)
                                           : vxkernel::column(argument.values, argument.is_list));
  }
  const std::vector<double> copy = screened(offsets);
  if (!copy.empty()) columns[amounts_].values = copy.data();
  is_sorted_ = options.sort;
  vxk_results to{};
  to.size = sizeof to;
  to.values = results.data();
  vxk_options how{};
  how.size = sizeof how;
  how.threads = options.threads;
  how.date_list = is_sorted_ ? date_list_ : 0;
  how.min_flows = static_cast<std::int32_t>(min_flows(keyword_));
  how.cancel = options.cancel;
  vxk_report report{};
  report.size = sizeof report;
  const int status =
      kernel_.evaluate_lists(std::string(keyword_.word), columns, offsets, to, &how, &report);
  if (status == VXK_CANCELLED) return {.is_cancelled = true};
  if (status == VXK_OUT_OF_MEMORY) throw std::bad_alloc();
  if (status != VXK_OK) std::ranges::fill(results, std::nan(""));

  ListReport all;
  without_result_ = without_rate_ = {};
  if (failures != nullptr) std::fill_n(failures, (results.size() + 7) / 8, std::uint8_t{0});
  for (std::size_t group = 0; group < results.size(); ++group) {
    if (keyword_.is_lowest_rate(results[group])) {
      without_rate_ = {group, Status::kNoRate};
      results[group] = std::nan("");
    }
    if (!std::isnan(results[group])) continue;
    const bool is_failed = !is_missing(offsets, group);
    ++(is_failed ? all.failed : all.missing);
    if (is_failed && failures != nullptr) set_failed(failures, static_cast<std::int64_t>(group));
  }
  const vxk_error& first = report.first;
  if (status == VXK_OK && report.failed > 0 && first.argument == 0) {
    if (first.status == VXK_OUT_OF_MEMORY) throw std::bad_alloc();
    without_result_ = {static_cast<std::size_t>(first.row),
                       first.status == VXK_NOT_FINITE ? Status::kNotFinite : Status::kNoResult};
  }
  return all;
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
  if (date_list_ != 0 && is_sorted_) {
    const double* const dates = arguments_[static_cast<std::size_t>(date_list_) - 1].values;
    std::ranges::stable_sort(order, {}, [dates](std::int64_t i) { return dates[i]; });
  }
  const double* const amounts = arguments_[amounts_].values;
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

std::string ListError::message(const catalog::Keyword& keyword) const {
  if (argument == 0) return reason;
  const std::string where = element == 0 ? "" : fmt::format(", element {},", element);
  return fmt::format("argument {} ({}){} {}", argument, keyword.arguments()[argument - 1].name,
                     where, reason);
}

}  // namespace host
