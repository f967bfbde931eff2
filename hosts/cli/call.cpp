#include "call.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "catalog.h"

namespace cli {
namespace {

constexpr std::string_view kMissingWord = ".";
constexpr std::chrono::sys_days kDateZero{std::chrono::year{1960} / 1 / 1};

// A decimal number. What else the C++ library reads (inf, nan, hexadecimal digits) is text, as is
// a number too large for a double; one too small is the nearest there is.
std::optional<double> number_of(std::string_view word) {
  if (word.starts_with('+')) word.remove_prefix(1);
  const std::string_view digits = word.starts_with('-') ? word.substr(1) : word;
  if (digits.empty() || (digits[0] != '.' && (digits[0] < '0' || digits[0] > '9'))) return {};
  double value = 0.0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (end != word.data() + word.size() || error == std::errc::invalid_argument) return {};
  if (error == std::errc::result_out_of_range)
    value = std::strtod(std::string(word).c_str(), nullptr);
  if (!std::isfinite(value)) return {};
  return value;
}

std::optional<unsigned> digits_value(std::string_view word) noexcept {
  unsigned value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc{} || end != word.data() + word.size()) return {};
  return value;
}

// Days from 1 January 1960 of a date YYYY-MM-DD that exists.
std::optional<double> date_of(std::string_view word) noexcept {
  using namespace std::chrono;
  if (word.size() != 10 || word[4] != '-' || word[7] != '-') return std::nullopt;
  const auto y = digits_value(word.substr(0, 4));
  const auto m = digits_value(word.substr(5, 2));
  const auto d = digits_value(word.substr(8, 2));
  if (!y || !m || !d) return std::nullopt;
  const year_month_day date{year{static_cast<int>(*y)}, month{*m}, day{*d}};
  if (!date.ok()) return std::nullopt;
  return static_cast<double>((sys_days{date} - kDateZero).count());
}

std::string_view expected(catalog::ArgumentKind kind) noexcept {
  switch (kind) {
    case catalog::ArgumentKind::kNumber:
      return "must be a number";
    case catalog::ArgumentKind::kWhole:
      return "must be a whole number";
    case catalog::ArgumentKind::kDate:
    case catalog::ArgumentKind::kDateTime:
      return "must be a date (YYYY-MM-DD)";
    case catalog::ArgumentKind::kFrequency:
      return "must be 1, 2, 4, 6 or 12";
    case catalog::ArgumentKind::kBasis:
      break;
  }
  return "must be 0 to 4, 30/360, ACTUAL, ACT/360, ACT/365 or EU30/360";
}

// A word as errors show it: without control characters, and no longer than it helps.
std::string shown(std::string_view word) {
  constexpr std::size_t kMostShown = 60;
  std::size_t end = std::min(word.size(), kMostShown);
  const auto splits_character = [word](std::size_t i) {
    return i < word.size() && (static_cast<unsigned char>(word[i]) & 0xC0) == 0x80;
  };
  while (end > 0 && splits_character(end)) --end;
  std::string text(word.substr(0, end));
  std::ranges::replace_if(
      text, [](unsigned char c) { return c < ' ' || c == 127; }, '?');
  return end < word.size() ? text + "..." : text;
}

std::string counted(std::size_t least, std::size_t most) {
  const std::string at_least = std::to_string(least);
  if (most == catalog::kNoBound) return at_least + " or more arguments";
  if (most == least) return at_least + " arguments";
  return at_least + (most == least + 1 ? " or " : " to ") + std::to_string(most) + " arguments";
}

using Arguments = std::span<const vxkernel::Argument>;

// Names an argument, its value and what is wrong with it.
std::string refused(const catalog::Keyword& keyword, std::size_t position,
                    std::span<const std::string> words, std::string_view complaint) {
  const catalog::Argument* const argument = keyword.argument_at(position, words.size() - 1);
  const std::string title = argument == nullptr ? "" : " (" + std::string(argument->name) + ')';
  return std::string(keyword.word) + ": argument " + std::to_string(position) + title + " is " +
         shown(words[position]) + ": " + std::string(complaint);
}

catalog::ArgumentKind kind_at(const catalog::Keyword& keyword, std::size_t position,
                              Arguments arguments) noexcept {
  const catalog::Argument* const argument = keyword.argument_at(position, arguments.size());
  return argument == nullptr ? catalog::ArgumentKind::kNumber : argument->kind;
}

// The keyword's lists are not of one length.
std::string unpaired(const catalog::Keyword& keyword) {
  std::string lists;
  for (const catalog::Argument& argument : keyword.arguments()) {
    if (argument.presence != catalog::Presence::kRepeated) continue;
    lists.insert(0, std::string(argument.name) + (lists.empty() ? "" : " for each "));
  }
  return std::string(keyword.word) + ": takes one " + lists;
}

// What is wrong before the call is even tried: the keyword, the number of arguments, lists of
// different lengths, a text that stands where only numbers and dates are read, or a frequency that
// makes no schedule.
std::optional<std::string> complaint_before(const catalog::Keyword* keyword,
                                            std::span<const std::string> words,
                                            Arguments arguments) {
  if (keyword == nullptr) return shown(words[0]) + ": no such keyword";
  if (arguments.size() < keyword->least() || arguments.size() > keyword->most()) {
    return std::string(keyword->word) + ": takes " + counted(keyword->least(), keyword->most()) +
           ", not " + std::to_string(arguments.size());
  }
  if (!keyword->pairs_up(arguments.size())) return unpaired(*keyword);
  for (std::size_t i = 1; i <= arguments.size(); ++i) {
    const auto kind = kind_at(*keyword, i, arguments);
    const vxkernel::Argument& argument = arguments[i - 1];
    const bool is_text = argument.kind == vxkernel::Argument::Kind::kText;
    const bool makes_no_schedule = kind == catalog::ArgumentKind::kFrequency &&
                                   !std::isnan(argument.number) &&
                                   !catalog::is_frequency(argument.number);
    if ((is_text && kind != catalog::ArgumentKind::kBasis) || makes_no_schedule) {
      return refused(*keyword, i, words, expected(kind));
    }
  }
  return std::nullopt;
}

// The value of the argument of this name; NaN when the call has none.
double value_of(const catalog::Keyword& keyword, std::string_view name, Arguments arguments) {
  for (std::size_t i = 1; i <= arguments.size(); ++i) {
    const catalog::Argument* const argument = keyword.argument_at(i, arguments.size());
    if (argument != nullptr && argument->name == name) return arguments[i - 1].number;
  }
  return vxkernel::Argument::missing().number;
}

// The bound that the argument at a position breaks; null when it breaks none.
const catalog::Bound* broken_bound(const catalog::Keyword& keyword, std::size_t position,
                                   Arguments arguments) {
  const catalog::Argument* const argument = keyword.argument_at(position, arguments.size());
  if (argument == nullptr) return nullptr;
  for (const catalog::Bound& bound : argument->bounds()) {
    const double limit =
        bound.value + (bound.other.empty() ? 0.0 : value_of(keyword, bound.other, arguments));
    const double compared = bound.subject.empty() ? arguments[position - 1].number
                                                  : value_of(keyword, bound.subject, arguments);
    if (!bound.holds(compared, limit)) return &bound;
  }
  return nullptr;
}

// Why an argument was refused, in the order in which the module looks at it.
std::string reason(const catalog::Keyword& keyword, std::size_t position, Arguments arguments) {
  using enum catalog::ArgumentKind;
  const auto kind = kind_at(keyword, position, arguments);
  const double value = arguments[position - 1].number;
  if (kind == kBasis) return std::string(expected(kind));
  if (std::isnan(value)) return "must not be missing";
  const bool needs_whole = kind == kWhole || kind == kDate;
  if (needs_whole && value != std::trunc(value)) return std::string(expected(kind));
  const catalog::Bound* const bound = broken_bound(keyword, position, arguments);
  return bound == nullptr ? "outside the allowed range" : words_of(*bound, kind);
}

// What went wrong with an evaluation that failed.
std::string complaint_after(const vxkernel::Evaluation& answer, const catalog::Keyword& keyword,
                            std::span<const std::string> words, Arguments arguments) {
  if (answer.marked >= 1) {
    const auto position = static_cast<std::size_t>(answer.marked);
    return refused(keyword, position, words,
                   answer.status == vxkernel::kTextTooLong ? "too long"
                                                           : reason(keyword, position, arguments));
  }
  const std::string name = std::string(keyword.word) + ": ";
  if (answer.status == vxkernel::kUnknownFunction) {
    return name + "the module has no function FINANCE";
  }
  if (answer.status == vxkernel::kOutOfStorage) {
    return name + "not enough storage for so many arguments";
  }
  for (std::size_t i = 1; i <= arguments.size(); ++i) {  // some bounds are held without a mark
    const catalog::Bound* const bound = broken_bound(keyword, i, arguments);
    if (bound != nullptr && !bound->marks) {
      return refused(keyword, i, words, reason(keyword, i, arguments));
    }
  }
  const std::string_view when = keyword.description.fails;
  return name + "the calculation cannot be carried out" +
         (when.empty() ? "" : ", as happens when " + std::string(when));
}

// A date as YYYY-MM-DD; nothing for one that this form cannot write.
std::optional<std::string> iso_date(double value) {
  using namespace std::chrono;
  constexpr double kFarthest = 4e6;  // days; beyond the years of four digits on either side
  if (!(std::fabs(value) < kFarthest)) return std::nullopt;
  const year_month_day date{kDateZero + days{static_cast<int>(value)}};
  const int year = static_cast<int>(date.year());
  if (year < 0 || year > 9999 || value != std::trunc(value)) return std::nullopt;
  char text[16];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", year, static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()));
  return text;
}

}  // namespace

vxkernel::Argument argument_of(std::string_view word) {
  if (word == kMissingWord) return vxkernel::Argument::missing();
  if (const auto number = number_of(word)) return *number;
  if (const auto date = date_of(word)) return *date;
  return word;
}

std::string digits_of(double value, int decimals) {
  if (std::isnan(value)) return std::string(kMissingWord);
  if (decimals != kAllDigits && std::isfinite(value)) {
    char text[400];  // the largest double has 309 digits before the point
    return {text, std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed,
                                decimals)
                      .ptr};
  }
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
  constexpr std::string_view kBlanks = " \t\r\f\v";
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

Outcome evaluate(const vxkernel::Kernel& kernel, std::span<const std::string> words, int decimals) {
  std::vector<vxkernel::Argument> arguments;
  arguments.reserve(words.size());
  for (const std::string& word : words.subspan(1)) arguments.push_back(argument_of(word));
  const catalog::Keyword* const keyword = catalog::find(words[0]);
  if (const auto complaint = complaint_before(keyword, words, arguments))
    return {false, *complaint, false};
  const vxkernel::Evaluation answer = kernel.evaluate("FINANCE", keyword->word, arguments);
  if (answer.ok()) {
    const auto date =
        keyword->result == catalog::ResultKind::kDate ? iso_date(answer.value) : std::nullopt;
    return {true, date ? *date : digits_of(answer.value, decimals),
            !date && std::isfinite(answer.value)};
  }
  return {false, complaint_after(answer, *keyword, words, arguments), false};
}

std::string json_of(const Outcome& outcome, std::span<const std::string> words) {
  using Json = nlohmann::ordered_json;
  Json line;
  if (!words.empty()) line["keyword"] = words[0];
  const char* const member = outcome.ok ? "value" : "error";
  if (outcome.is_number) {
    line[member] = Json::parse(outcome.text);
  } else if (outcome.ok && outcome.text == kMissingWord) {
    line[member] = nullptr;
  } else {
    line[member] = outcome.text;
  }
  return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace cli
