#include "hosts/call/checked_call.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "catalog/page.h"
#include "hosts/call/nearest.h"

namespace host {
namespace {

using catalog::ArgumentKind;

constexpr double kNoBasis = 6.0;  // a number that the module rejects as a basis

std::string argument_counts(std::size_t min, std::size_t max) {
  if (max == catalog::kNoBound) return fmt::format("{} or more arguments", min);
  if (max == min) return fmt::format("{} arguments", min);
  return fmt::format("{} {} {} arguments", min, max == min + 1 ? "or" : "to", max);
}

// The error message of lists with different lengths.
std::string unpaired(const catalog::Keyword& keyword) {
  std::string lists;
  for (const catalog::Argument& argument : keyword.arguments()) {
    if (argument.presence != catalog::Presence::kRepeated) continue;
    lists.insert(0, std::string(argument.name) + (lists.empty() ? "" : " for each "));
  }
  return fmt::format("takes one {}: {}", lists, signature_of(keyword));
}

}  // namespace

std::string type_error(ArgumentKind kind) {
  switch (kind) {
    case ArgumentKind::kNumber:
      return "must be a number";
    case ArgumentKind::kWhole:
      return "must be a whole number";
    case ArgumentKind::kDate:
    case ArgumentKind::kDateTime:
      return "must be a date (YYYY-MM-DD)";
    case ArgumentKind::kFrequency:
      return "must be 1, 2, 4, 6 or 12";
    case ArgumentKind::kBasis:
      break;
  }
  return fmt::format("must be {}", catalog::kBasisRange);
}

std::optional<std::string> CheckedCall::arity_error(const catalog::Keyword& keyword,
                                                    std::size_t count) {
  if (count < keyword.min_args() || count > keyword.max_args()) {
    return fmt::format("takes {}, not {}: {}",
                       argument_counts(keyword.min_args(), keyword.max_args()), count,
                       signature_of(keyword));
  }
  if (!keyword.pairs_up(count)) return unpaired(keyword);
  return std::nullopt;
}

CheckedCall::CheckedCall(const vxkernel::Kernel& kernel, const catalog::Keyword& keyword,
                         std::size_t count)
    : keyword_(&keyword), call_(kernel.prepare(std::string(keyword.word), count, "FINANCE")) {
  if (keyword.result == catalog::ResultKind::kDate) result_kind_ = Value::Kind::kDate;
  if (keyword.result == catalog::ResultKind::kCount) result_kind_ = Value::Kind::kCount;
  parameters_.reserve(count);
  for (std::size_t i = 1; i <= count; ++i) {
    parameters_.push_back(keyword.argument_at(i, count));
    if (parameter(i).kind == ArgumentKind::kFrequency) frequency_ = i;
    if (parameter(i).is_date()) dates_.push_back(i);
  }
}

void CheckedCall::set_text(std::size_t position, std::string_view text) noexcept {
  if (parameter(position).kind != ArgumentKind::kBasis) {
    set_wrong_type(position);
    text = {};
  }
  set_number(position, catalog::basis_of(text).value_or(kNoBasis));
}

void CheckedCall::set(std::size_t position, const Value& value) noexcept {
  if (value.is_text()) return set_text(position, value.word);
  set_number(position, value.number);
  const catalog::Argument& to = parameter(position);
  if (value.is_missing()) {
    // A full stop in a call is written on purpose. An empty cell is not.
    if (to.kind == ArgumentKind::kBasis && value.word != kMissingWord) set_wrong_type(position);
  } else if (!to.is_date()) {
    if (value.is_date()) set_wrong_type(position);
  } else if (to.presence == catalog::Presence::kRepeated) {
    std::size_t& first = value.is_date() ? date_in_list_ : number_in_dates_;
    if (first == 0) first = position;
  }
}

CallResult CheckedCall::run() noexcept {
  if (frequency_ != 0) {
    const double frequency = call_[frequency_];
    if (!std::isnan(frequency) && !catalog::is_frequency(frequency)) set_wrong_type(frequency_);
  }
  for (const std::size_t position : dates_) {
    if (is_beyond_calendar(call_[position])) set_wrong_type(position);
  }
  // A number among dates is an amount that has no date.
  if (date_in_list_ != 0 && number_in_dates_ != 0) set_wrong_type(number_in_dates_);
  if (wrong_type_ != 0) {
    const std::size_t earlier = wrong_type_ == frequency_ ? invalid_before(frequency_) : 0;
    if (earlier != 0) return {Status::kInvalidArgument, earlier};
    return {Status::kWrongType, wrong_type_};
  }
  const vxkernel::Result result = call_.run();
  if (result.ok()) {
    if (std::isfinite(result.value)) {
      if (keyword_->is_lowest_rate(result.value)) return {Status::kNoRate};
      return {Status::kOk, 0, value_of(result.value)};
    }
    const std::span<const double> numbers(&call_[1], size());
    const bool is_missing = std::isnan(result.value) &&
                            std::ranges::any_of(numbers, [](double x) { return std::isnan(x); });
    if (is_missing) return {Status::kOk, 0, value_of(result.value)};
    return {Status::kNotFinite};
  }
  if (result.status == VXK_OUT_OF_MEMORY) return {Status::kOutOfMemory};
  const auto position = static_cast<std::size_t>(result.argument);
  if (position == 0) return {Status::kNoResult};
  return {Status::kInvalidArgument, invalid_instead_of(position)};
}

// The error message of amounts and dates that do not pair up, when a list holds dates; otherwise
// empty.
std::string CheckedCall::unpaired_error(std::span<const Value> values) const {
  std::size_t leading = 0;  // arguments before the lists
  while (leading < values.size() && parameter(leading + 1).presence == catalog::Presence::kRequired)
    ++leading;
  const auto lists = values.subspan(leading);
  const auto dates = static_cast<std::size_t>(std::ranges::count_if(lists, &Value::is_date));
  const auto amounts =
      static_cast<std::size_t>(std::ranges::find_if(lists, &Value::is_date) - lists.begin());
  const bool has_date_list =
      std::ranges::any_of(keyword_->arguments(), [](const catalog::Argument& each) {
        return each.presence == catalog::Presence::kRepeated && each.is_date();
      });
  if (!has_date_list || dates == 0 || amounts == 0 || amounts == dates) return {};
  return fmt::format("takes one date for each amount: there are {} amount{} and {} date{}", amounts,
                     amounts == 1 ? "" : "s", dates, dates == 1 ? "" : "s");
}

// Why an argument is invalid: its value and what is allowed.
CheckedCall::Reason CheckedCall::argument_error(std::size_t position, std::span<const Value> values,
                                                std::string_view allowed) const {
  const Value& value = values[position - 1];
  const bool is_basis = parameter(position).kind == ArgumentKind::kBasis;
  const std::string what =
      value.is_missing() && !is_basis
          ? "missing"
          : fmt::format("{}: {}", value.is_missing() ? "missing" : format_for_message(value),
                        allowed);
  return {position, "is " + what};
}

// The bound that the argument at a position breaks; null when it breaks none. value_at returns the
// number at a position.
const catalog::Bound* CheckedCall::broken_bound(std::size_t position, auto&& value_at) const {
  const auto value_of = [&](std::string_view name) -> double {
    for (std::size_t i = 1; i <= size(); ++i) {
      if (parameter(i).name == name) return value_at(i);
    }
    return std::numeric_limits<double>::quiet_NaN();
  };
  for (const catalog::Bound& bound : parameter(position).bounds()) {
    const double limit = bound.value + (bound.other.empty() ? 0.0 : value_of(bound.other));
    if (!bound.holds(value_at(position), limit)) return &bound;
  }
  return nullptr;
}

// The first argument before a position that is missing or out of its range; 0: none.
std::size_t CheckedCall::invalid_before(std::size_t position) noexcept {
  const auto value_at = [this](std::size_t i) { return call_[i]; };
  for (std::size_t i = 1; i < position; ++i) {
    if (std::isnan(call_[i]) || broken_bound(i, value_at) != nullptr) return i;
  }
  return 0;
}

// The argument that is out of its range where the module marks the one at a position.
std::size_t CheckedCall::invalid_instead_of(std::size_t position) noexcept {
  const auto value_at = [this](std::size_t i) { return call_[i]; };
  for (std::size_t i = 1; i <= size(); ++i) {
    const catalog::Bound* const bound = broken_bound(i, value_at);
    if (bound != nullptr && bound->marked == parameter(position).name) return i;
  }
  return position;
}

// Why an argument is invalid, in the order in which the module checks it.
std::string CheckedCall::range_error(std::size_t position, std::span<const Value> values) const {
  using enum ArgumentKind;
  const auto kind = parameters_[position - 1]->kind;
  const double value = values[position - 1].number;
  if (kind == kBasis) return type_error(kind);
  const bool needs_whole = kind == kWhole || kind == kDate;
  if (needs_whole && value != std::trunc(value)) {
    const bool has_time = values[position - 1].is_date() && kind == kDate;
    return has_time ? "must be a date without a time of day" : type_error(kind);
  }
  const auto value_at = [&values](std::size_t i) { return values[i - 1].number; };
  const catalog::Bound* const bound = broken_bound(position, value_at);
  if (bound != nullptr) return words_of(*bound, kind);
  if (kind != kWhole) return type_error(kind);
  return value > 0.0 ? "must be at most 2147483647" : "must be at least -2147483648";
}

std::string CheckedCall::error_message(const CallResult& result,
                                       std::span<const Value> values) const {
  const Reason why = reason(result, values);
  if (why.position == 0) return why.text;
  return fmt::format("argument {} ({}) {}", why.position, parameter(why.position).name, why.text);
}

CheckedCall::Reason CheckedCall::reason(const CallResult& result,
                                        std::span<const Value> values) const {
  switch (result.status) {
    case Status::kWrongType:
      if (!values[result.position - 1].is_text()) {
        if (auto error = unpaired_error(values); !error.empty()) return {0, error};
      }
      return argument_error(result.position, values, type_error(parameter(result.position).kind));
    case Status::kInvalidArgument:
      return argument_error(result.position, values, range_error(result.position, values));
    case Status::kOutOfMemory:
      return {0, "out of memory"};
    case Status::kNotFinite:
      return {0, "the result is infinite or not a number"};
    case Status::kNoRate:
      return {0, "no rate found: the search ended at -0.9999999, its lowest rate"};
    default:
      break;
  }
  const auto value_at = [&values](std::size_t i) { return values[i - 1].number; };
  for (std::size_t i = 1; i <= values.size(); ++i) {  // errors for which the module marks none
    const bool is_in_list = parameter(i).presence == catalog::Presence::kRepeated;
    if (is_in_list && std::isnan(values[i - 1].number)) return argument_error(i, values, "");
    const catalog::Bound* const bound = broken_bound(i, value_at);
    if (bound != nullptr && !bound->marks) {
      return argument_error(i, values, range_error(i, values));
    }
  }
  std::vector<double> numbers;
  for (const Value& value : values) numbers.push_back(value.number);
  const std::string_view cause = cause_of(*keyword_, numbers);
  return {0, fmt::format("the calculation failed{}{}", cause.empty() ? "" : ": ", cause)};
}

std::string unknown_keyword(std::string_view word) {
  std::vector<std::string> keywords;
  for (const catalog::Keyword& each : catalog::keywords()) keywords.emplace_back(each.word);
  return fmt::format("unknown keyword {}{}",
                     format_for_message({.word = word, .kind = Value::Kind::kText}),
                     did_you_mean(word, keywords));
}

}  // namespace host
