#include "catalog/catalog.h"

#include <charconv>
#include <utility>

#include "catalog/depreciation_rows.h"
#include "catalog/flows_rows.h"
#include "catalog/loans_rows.h"
#include "catalog/securities_rows.h"

namespace catalog {
namespace {

constexpr std::span<const Keyword> kFamilies[] = {rows::kSecurities, rows::kLoans, rows::kFlows,
                                                  rows::kDepreciation};
constexpr std::size_t kCount = std::size(rows::kSecurities) + std::size(rows::kLoans) +
                               std::size(rows::kFlows) + std::size(rows::kDepreciation);

constexpr const Keyword& row(std::size_t i) {
  const auto* family = std::begin(kFamilies);
  for (; i >= family->size(); ++family) i -= family->size();
  return (*family)[i];
}

// The rows of all families, sorted by keyword.
constexpr std::array<Keyword, kCount> kKeywords = []<std::size_t... I>(std::index_sequence<I...>) {
  std::array<Keyword, kCount> joined{row(I)...};
  std::ranges::sort(joined, {}, &Keyword::word);
  return joined;
}
(std::make_index_sequence<kCount>{});
static_assert(std::ranges::adjacent_find(kKeywords, {}, &Keyword::word) == kKeywords.end());
static_assert(std::ranges::all_of(kKeywords, [](const Keyword& keyword) {
  const auto causes = keyword.description.causes;
  return causes.empty() || causes.back().holds == nullptr;
}));

constexpr std::string_view kTaskTitles[] = {
    "Bonds",
    "Bonds with an odd first or last period",
    "Coupon schedules and day counts",
    "Accrued interest",
    "Discount securities, interest at maturity",
    "Treasury bills",
    "Loans and annuities",
    "Cash flows",
    "Rates, prices in fractions",
    "Depreciation",
};
static_assert(std::ranges::all_of(kKeywords, [](const Keyword& keyword) {
  return static_cast<std::size_t>(keyword.task) < std::size(kTaskTitles);
}));

constexpr char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

}  // namespace

std::size_t Keyword::number_of(Presence presence) const noexcept {
  return static_cast<std::size_t>(std::ranges::count(arguments(), presence, &Argument::presence));
}

std::size_t Keyword::number_of_lists() const noexcept {
  return number_of(Presence::kRepeated) + number_of(Presence::kAnyNumber);
}

std::string Keyword::function_name() const {
  std::string name = "finance_";
  for (const char c : word) name += static_cast<char>(c - 'A' + 'a');  // words are capitals
  return name;
}

std::size_t Keyword::min_args() const noexcept {
  return number_of(Presence::kRequired) + number_of(Presence::kRepeated);
}

std::size_t Keyword::max_args() const noexcept { return number_of_lists() > 0 ? kNoBound : size_; }

bool Keyword::pairs_up(std::size_t count) const noexcept {
  const std::size_t lists = number_of_lists();
  return lists == 0 || count < number_of(Presence::kRequired) ||
         (count - number_of(Presence::kRequired)) % lists <= number_of(Presence::kOptional);
}

const Argument* Keyword::argument_at(std::size_t position, std::size_t count) const noexcept {
  const std::size_t required = number_of(Presence::kRequired);
  const std::size_t lists = number_of_lists();
  const std::size_t list_length = lists == 0 || count < required ? 0 : (count - required) / lists;
  std::size_t passed = 0;
  for (const Argument& argument : arguments()) {
    passed += argument.is_list() ? list_length : 1;
    if (position <= passed && position <= count) return &argument;
  }
  return nullptr;
}

std::span<const Keyword> keywords() noexcept { return kKeywords; }

std::span<const std::string_view> task_titles() noexcept { return kTaskTitles; }

std::vector<const Keyword*> keywords_of(Task task) {
  std::vector<const Keyword*> found;
  for (const auto& family : kFamilies) {
    for (const Keyword& keyword : family) {
      if (keyword.task == task) found.push_back(&keyword);
    }
  }
  return found;
}

const Keyword* find(std::string_view word) noexcept {
  word = word.substr(0, word.find_last_not_of(' ') + 1);
  const auto same = [word](const Keyword& keyword) {
    return std::ranges::equal(word, keyword.word, {}, upper);
  };
  const auto* const keyword = std::ranges::find_if(kKeywords, same);
  return keyword == std::end(kKeywords) ? nullptr : keyword;
}

std::optional<int> basis_of(std::string_view text) noexcept {
  constexpr std::size_t kLongestText = 255;
  if (text.size() > kLongestText) return std::nullopt;
  std::array<char, kLongestText> letters{};
  std::size_t count = 0;
  for (const char c : text) {
    if (c != ' ') letters[count++] = upper(c);
  }
  const auto* const found = std::ranges::find(kBasisNames, std::string_view(letters.data(), count));
  if (found == kBasisNames.end()) return std::nullopt;
  return static_cast<int>(found - kBasisNames.begin());
}

namespace {

std::string digits(double value) {
  char text[32];
  return {text, std::to_chars(std::begin(text), std::end(text), value).ptr};
}

// "greater than 0", "on or after settlement": follows "must be" in a message.
std::string phrase(const Bound& bound, ArgumentKind kind) {
  const bool is_date = kind == ArgumentKind::kDate || kind == ArgumentKind::kDateTime;
  std::string limit(bound.other);
  if (limit.empty()) {
    limit = is_date ? "1960-01-01" : digits(bound.value);  // the only fixed limit of dates is day 0
  } else if (bound.value != 0.0) {
    limit += " + " + digits(bound.value);
  }
  switch (bound.comparison) {
    case Comparison::kAbove:
      return (is_date ? "after " : "greater than ") + limit;
    case Comparison::kAtLeast:
      return (is_date ? "on or after " : "at least ") + limit;
    case Comparison::kBelow:
      return (is_date ? "before " : "less than ") + limit;
    case Comparison::kAtMost:
      break;
  }
  return (is_date ? "on or before " : "at most ") + limit;
}

bool is_yes_or_no(const Argument& argument) {
  const auto bounds = argument.bounds();
  return argument.kind == ArgumentKind::kWhole && bounds.size() == 2 &&
         phrase(bounds[0], argument.kind) == "at least 0" &&
         phrase(bounds[1], argument.kind) == "at most 1";
}

}  // namespace

std::string words_of(const Bound& bound, ArgumentKind kind) {
  return "must be " + phrase(bound, kind);
}

std::string range_of(const Argument& argument) {
  using enum ArgumentKind;
  if (argument.kind == kBasis) return std::string(kBasisRange);
  if (argument.kind == kFrequency) return "1, 2, 4, 6 or 12";
  if (is_yes_or_no(argument)) return "0 or 1";
  std::string range;
  const auto add = [&range](std::string_view text) {
    if (!range.empty()) range += ", ";
    range += text;
  };
  if (argument.kind == kWhole) add("whole number");
  if (argument.kind == kDate) add("date");
  if (argument.kind == kDateTime)
    add("date, or number of days since 1960-01-01 (fractions are allowed)");
  for (const Bound& bound : argument.bounds()) add(phrase(bound, argument.kind));
  return range.empty() ? "any number" : range;
}

std::span<const double> CallValues::all(std::string_view name) const noexcept {
  std::size_t first = 0;
  std::size_t count = 0;
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const Argument* const argument = keyword_.argument_at(i + 1, values_.size());
    if (argument == nullptr || argument->name != name) continue;
    if (count++ == 0) first = i;
  }
  return values_.subspan(first, count);
}

std::string_view cause_of(const Keyword& keyword, std::span<const double> values) noexcept {
  const CallValues call(keyword, values);
  for (const Cause& cause : keyword.description.causes) {
    if (cause.holds == nullptr || cause.holds(call)) return cause.text;
  }
  return {};
}

}  // namespace catalog
