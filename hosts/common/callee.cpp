#include "callee.h"

#include <fmt/format.h>

#include <cmath>

namespace host {
namespace {

using catalog::ArgumentKind;

constexpr int kNotTried = -4;  // status of a call that was refused before it was made

std::string expected(ArgumentKind kind) {
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

std::string counted(std::size_t least, std::size_t most) {
  if (most == catalog::kNoBound) return fmt::format("{} or more arguments", least);
  if (most == least) return fmt::format("{} arguments", least);
  return fmt::format("{} {} {} arguments", least, most == least + 1 ? "or" : "to", most);
}

// The keyword's lists are not of one length.
std::string unpaired(const catalog::Keyword& keyword) {
  std::string lists;
  for (const catalog::Argument& argument : keyword.arguments()) {
    if (argument.presence != catalog::Presence::kRepeated) continue;
    lists.insert(0, std::string(argument.name) + (lists.empty() ? "" : " for each "));
  }
  return fmt::format("takes one {}", lists);
}

}  // namespace

std::optional<std::string> Callee::complaint_of_count(const catalog::Keyword& keyword,
                                                      std::size_t count) {
  if (count < keyword.least() || count > keyword.most()) {
    return fmt::format("takes {}, not {}", counted(keyword.least(), keyword.most()), count);
  }
  if (!keyword.pairs_up(count)) return unpaired(keyword);
  return std::nullopt;
}

Callee::Callee(const catalog::Keyword& keyword, std::size_t count) : keyword_(&keyword) {
  described_.reserve(count);
  for (std::size_t i = 1; i <= count; ++i) described_.push_back(keyword.argument_at(i, count));
}

bool Callee::is_refused(std::size_t position, const vxkernel::Argument& argument) const noexcept {
  const ArgumentKind kind = described_[position - 1]->kind;
  if (argument.kind == vxkernel::Argument::Kind::kText) return kind != ArgumentKind::kBasis;
  return kind == ArgumentKind::kFrequency && !std::isnan(argument.number) &&
         !catalog::is_frequency(argument.number);
}

vxkernel::Evaluation Callee::evaluate(const vxkernel::Kernel& kernel,
                                      Arguments arguments) const noexcept {
  for (std::size_t i = 1; i <= arguments.size(); ++i) {
    if (is_refused(i, arguments[i - 1])) {
      return {kNotTried, vxkernel::Argument::missing().number, static_cast<int>(i)};
    }
  }
  return kernel.evaluate("FINANCE", keyword_->word, arguments);
}

Value Callee::result(const vxkernel::Evaluation& answer) const noexcept {
  const bool is_date = keyword_->result == catalog::ResultKind::kDate;
  return {.number = answer.value, .kind = is_date ? Value::Kind::kDate : Value::Kind::kNumber};
}

// Names an argument, its value and what is wrong with it.
std::string Callee::refused(std::size_t position, std::span<const Value> values,
                            std::string_view complaint) const {
  const Value& value = values[position - 1];
  const std::string what =
      value.is_missing() ? "missing" : fmt::format("{}: {}", shown(value), complaint);
  return fmt::format("argument {} ({}) is {}", position, described(position).name, what);
}

// The value of the argument of this name; NaN when the call has none.
double Callee::value_of(std::string_view name, std::span<const Value> values) const {
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (described_[i]->name == name) return values[i].number;
  }
  return vxkernel::Argument::missing().number;
}

// The bound that the argument at a position breaks; null when it breaks none.
const catalog::Bound* Callee::broken_bound(std::size_t position,
                                           std::span<const Value> values) const {
  for (const catalog::Bound& bound : described_[position - 1]->bounds()) {
    const double limit = bound.value + (bound.other.empty() ? 0.0 : value_of(bound.other, values));
    const double compared =
        bound.subject.empty() ? values[position - 1].number : value_of(bound.subject, values);
    if (!bound.holds(compared, limit)) return &bound;
  }
  return nullptr;
}

// Why an argument was refused, in the order in which the module looks at it.
std::string Callee::reason(std::size_t position, std::span<const Value> values) const {
  using enum ArgumentKind;
  const auto kind = described_[position - 1]->kind;
  const double value = values[position - 1].number;
  if (kind == kBasis) return expected(kind);
  const bool needs_whole = kind == kWhole || kind == kDate;
  if (needs_whole && value != std::trunc(value)) return expected(kind);
  const catalog::Bound* const bound = broken_bound(position, values);
  return bound == nullptr ? "outside the allowed range" : words_of(*bound, kind);
}

std::string Callee::complaint_of_kind(std::size_t position, std::span<const Value> values) const {
  return refused(position, values, expected(described(position).kind));
}

std::string Callee::complaint(const vxkernel::Evaluation& answer,
                              std::span<const Value> values) const {
  if (answer.marked >= 1) {
    const auto position = static_cast<std::size_t>(answer.marked);
    if (answer.status == kNotTried) return complaint_of_kind(position, values);
    if (answer.status == vxkernel::kTextTooLong) return refused(position, values, "too long");
    return refused(position, values, reason(position, values));
  }
  if (answer.status == vxkernel::kUnknownFunction) {
    return "the module has no function FINANCE";
  }
  if (answer.status == vxkernel::kOutOfStorage) {
    return "not enough storage for so many arguments";
  }
  for (std::size_t i = 1; i <= values.size(); ++i) {  // what is held without a mark
    const bool is_in_list = described_[i - 1]->presence == catalog::Presence::kRepeated;
    if (is_in_list && std::isnan(values[i - 1].number)) return refused(i, values, "");
    const catalog::Bound* const bound = broken_bound(i, values);
    if (bound != nullptr && !bound->marks) return refused(i, values, reason(i, values));
  }
  const std::string_view when = keyword_->description.fails;
  return fmt::format("the calculation cannot be carried out{}{}",
                     when.empty() ? "" : ", as happens when ", when);
}

std::string no_such_keyword(std::string_view word) {
  return shown({.word = word, .kind = Value::Kind::kText}) + ": no such keyword";
}

}  // namespace host
