#include "call.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <optional>
#include <stdexcept>

#include "catalog.h"

namespace cli {
namespace {

constexpr std::string_view kMissingWord = ".";

template <class Number>
std::optional<Number> parsed(std::string_view word) noexcept {
  Number value{};
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc{} || end != word.data() + word.size()) return std::nullopt;
  return value;
}

// A decimal number. What from_chars reads beyond that (inf, nan) is text.
std::optional<double> number_of(std::string_view word) noexcept {
  if (word.starts_with('+')) word.remove_prefix(1);
  const std::string_view digits = word.starts_with('-') ? word.substr(1) : word;
  const bool is_decimal =
      !digits.empty() && (digits[0] == '.' || (digits[0] >= '0' && digits[0] <= '9'));
  return is_decimal ? parsed<double>(word) : std::nullopt;
}

// Days from 1 January 1960 of a date YYYY-MM-DD that exists.
std::optional<double> date_of(std::string_view word) noexcept {
  using namespace std::chrono;
  if (word.size() != 10 || word[4] != '-' || word[7] != '-') return std::nullopt;
  const auto y = parsed<unsigned>(word.substr(0, 4));
  const auto m = parsed<unsigned>(word.substr(5, 2));
  const auto d = parsed<unsigned>(word.substr(8, 2));
  if (!y || !m || !d) return std::nullopt;
  const year_month_day date{year{static_cast<int>(*y)}, month{*m}, day{*d}};
  if (!date.ok()) return std::nullopt;
  constexpr sys_days kDateZero = 1960y / January / 1d;
  return static_cast<double>((sys_days{date} - kDateZero).count());
}

std::string_view expected(catalog::ArgumentKind kind) noexcept {
  switch (kind) {
    case catalog::ArgumentKind::kNumber:
      return "must be a number";
    case catalog::ArgumentKind::kWhole:
      return "must be a whole number";
    case catalog::ArgumentKind::kDate:
      return "must be a date (YYYY-MM-DD)";
    case catalog::ArgumentKind::kBasis:
      break;
  }
  return "must be 0 to 4, 30/360, ACTUAL, ACT/360, ACT/365 or EU30/360";
}

// Why an argument was refused, in the order in which the module looks at it.
std::string_view reason(catalog::ArgumentKind kind, const vxkernel::Argument& argument) noexcept {
  using enum catalog::ArgumentKind;
  if (kind == kBasis || argument.kind == vxkernel::Argument::Kind::kText) return expected(kind);
  if (std::isnan(argument.number)) return "must not be missing";
  const bool needs_whole = kind == kWhole || kind == kDate;
  if (needs_whole && argument.number != std::trunc(argument.number)) return expected(kind);
  return "outside the allowed range";
}

std::string counted(std::size_t least, std::size_t most) {
  const std::string at_least = std::to_string(least);
  if (most == catalog::kAnyNumber) return at_least + " or more arguments";
  if (least == most) return at_least + " arguments";
  return at_least + " to " + std::to_string(most) + " arguments";
}

// What went wrong with an evaluation that failed.
std::string failure(const vxkernel::Evaluation& answer, std::span<const std::string> words,
                    std::span<const vxkernel::Argument> arguments) {
  const catalog::Keyword* const keyword = catalog::find(words[0]);
  if (keyword == nullptr) return words[0] + ": no such keyword";
  const std::string name(keyword->word);
  const std::size_t count = arguments.size();
  if (answer.marked < 1) {
    if (count < keyword->least() || count > keyword->most()) {
      return name + ": takes " + counted(keyword->least(), keyword->most()) + ", not " +
             std::to_string(count);
    }
    return name + ": the calculation cannot be carried out";
  }
  const auto position = static_cast<std::size_t>(answer.marked);
  const catalog::Argument* const argument = keyword->argument_at(position, count);
  const std::string title = argument == nullptr ? "" : " (" + std::string(argument->name) + ')';
  const auto kind = argument == nullptr ? catalog::ArgumentKind::kNumber : argument->kind;
  return name + ": argument " + std::to_string(position) + title + " is " + words[position] + ": " +
         std::string(reason(kind, arguments[position - 1]));
}

}  // namespace

vxkernel::Argument argument_of(std::string_view word) noexcept {
  if (word == kMissingWord) return vxkernel::Argument::missing();
  if (const auto number = number_of(word)) return *number;
  if (const auto date = date_of(word)) return *date;
  return word;
}

std::string digits_of(double value) {
  if (std::isnan(value)) return std::string(kMissingWord);
  // Plain digits in the range of amounts, days and rates; powers of ten beyond.
  constexpr double kPlainFrom = 1e-6;
  constexpr double kPlainBelow = 1e17;
  const double magnitude = std::fabs(value);
  const bool plain = magnitude == 0.0 || (magnitude >= kPlainFrom && magnitude < kPlainBelow);
  char text[64];
  const auto end = std::to_chars(std::begin(text), std::end(text), value,
                                 plain ? std::chars_format::fixed : std::chars_format::scientific);
  return {text, end.ptr};
}

std::vector<std::string> words_of(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r";
  std::vector<std::string> words;
  for (std::size_t at = line.find_first_not_of(kBlanks); at < line.size();
       at = line.find_first_not_of(kBlanks, at)) {
    if (line[at] == '#') break;
    const bool quoted = line[at] == '\'' || line[at] == '"';
    const std::size_t first = quoted ? at + 1 : at;
    std::size_t end = quoted ? line.find(line[at], first) : line.find_first_of(kBlanks, first);
    if (quoted && end == line.npos) throw std::invalid_argument("a quotation is not closed");
    end = std::min(end, line.size());
    words.emplace_back(line.substr(first, end - first));
    at = quoted ? end + 1 : end;
  }
  return words;
}

Outcome evaluate(const vxkernel::Kernel& kernel, std::span<const std::string> words) {
  std::vector<vxkernel::Argument> arguments;
  arguments.reserve(words.size());
  for (const std::string& word : words.subspan(1)) arguments.push_back(argument_of(word));
  const vxkernel::Evaluation answer = kernel.evaluate("FINANCE", words[0], arguments);
  if (answer.ok()) return {true, digits_of(answer.value)};
  return {false, failure(answer, words, arguments)};
}

}  // namespace cli
