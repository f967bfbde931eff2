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

// The rows of all families, sorted by word.
constexpr std::array<Keyword, kCount> kKeywords = []<std::size_t... I>(std::index_sequence<I...>) {
  std::array<Keyword, kCount> joined{row(I)...};
  std::ranges::sort(joined, {}, &Keyword::word);
  return joined;
}
(std::make_index_sequence<kCount>{});
static_assert(std::ranges::adjacent_find(kKeywords, {}, &Keyword::word) == kKeywords.end());

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
    const bool is_list =
        argument.presence == Presence::kRepeated || argument.presence == Presence::kAnyNumber;
    passed += is_list ? list_length : 1;
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

// "greater than 0", "not before settlement": what follows "must be" or "must".
std::string phrase(const Bound& bound, ArgumentKind kind) {
  const bool is_date =
      kind == ArgumentKind::kDate || kind == ArgumentKind::kDateTime || !bound.subject.empty();
  std::string limit(bound.other);
  if (limit.empty()) {
    limit = is_date ? "1960-01-01" : digits(bound.value);  // no date is compared with another day
  } else if (bound.value != 0.0) {
    limit += " + " + digits(bound.value);
  }
  switch (bound.comparison) {
    case Comparison::kAbove:
      return (is_date ? "after " : "greater than ") + limit;
    case Comparison::kAtLeast:
      return (is_date ? "not before " : "at least ") + limit;
    case Comparison::kBelow:
      return (is_date ? "before " : "less than ") + limit;
    case Comparison::kAtMost:
      break;
  }
  if (is_date) return "not after " + limit;
  if (bound.other.empty()) return "at most " + limit;
  return (kind == ArgumentKind::kWhole ? "not beyond " : "not above ") + limit;
}

bool is_yes_or_no(const Argument& argument) {
  const auto bounds = argument.bounds();
  return argument.kind == ArgumentKind::kWhole && bounds.size() == 2 &&
         phrase(bounds[0], argument.kind) == "at least 0" &&
         phrase(bounds[1], argument.kind) == "at most 1";
}

}  // namespace

std::string words_of(const Bound& bound, ArgumentKind kind) {
  const std::string condition = phrase(bound, kind);
  const bool denies = condition.starts_with("not ");
  const std::string must = denies ? "must not be " + condition.substr(4) : "must be " + condition;
  return bound.subject.empty() ? must : std::string(bound.subject) + ' ' + must;
}

std::string range_of(const Argument& argument) {
  using enum ArgumentKind;
  if (argument.kind == kBasis) return std::string(kBasisRange);
  if (is_yes_or_no(argument)) return "0 or 1";
  std::string range;
  const auto add = [&range](std::string_view text) {
    if (!range.empty()) range += ", ";
    range += text;
  };
  if (argument.kind == kFrequency) add("1, 2, 4, 6 or 12");
  if (argument.kind == kWhole) add("whole number");
  if (argument.kind == kDate) add("date");
  if (argument.kind == kDateTime) add("date, or days from 1960-01-01, which may have a fraction");
  for (const Bound& bound : argument.bounds()) {
    if (!bound.subject.empty()) {
      range += "; " + words_of(bound, argument.kind);
    } else if (argument.kind != kFrequency) {  // its list says more
      add(phrase(bound, argument.kind));
    }
  }
  return range.empty() ? "any" : range;
}

}  // namespace catalog
