// The catalogue of keywords: one row per keyword, with the names, kinds and bounds of its
// arguments, the kind of its result and its reference page. Hosts read everything from here; the
// module does not depend on it.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace catalog {

enum class ArgumentKind : std::uint8_t {
  kNumber,
  kWhole,      // a whole number
  kDate,       // days from 1 January 1960, a whole number
  kDateTime,   // the same, with fractions of a day
  kBasis,      // a day-count basis: a number from 0 to 4 or a keyword such as ACT/360
  kFrequency,  // coupons per year: 1, 2, 4, 6 or 12. Hosts reject other values; the module does not
};

constexpr bool is_date(ArgumentKind kind) noexcept {
  return kind == ArgumentKind::kDate || kind == ArgumentKind::kDateTime;
}

enum class ResultKind : std::uint8_t {
  kAmount,  // money, in the currency of the arguments or per 100 of face value
  kRate,    // a fraction: 0.05 is 5 %
  kDays,    // a number of days, which may have a fraction
  kCount,   // a number of coupons or periods, which may have a fraction
  kYears,
  kDate,
};

enum class Presence : std::uint8_t {
  kRequired,
  kOptional,
  kRepeated,   // a list of one or more values
  kAnyNumber,  // a list of any length, which may be empty
};

// A condition on an argument, which the module checks. See words_of for its text.
enum class Comparison : std::uint8_t { kAbove, kAtLeast, kBelow, kAtMost };

struct Bound {
  Comparison comparison;
  double value = 0.0;            // the limit,
  std::string_view other = {};   // plus the value of the argument with this name
  bool marks = true;             // false: the call fails and the module marks no argument
  std::string_view marked = {};  // the argument that the module marks instead of this one

  [[nodiscard]] constexpr bool holds(double compared, double limit) const noexcept {
    switch (comparison) {
      case Comparison::kAbove:
        return compared > limit;
      case Comparison::kAtLeast:
        return compared >= limit;
      case Comparison::kBelow:
        return compared < limit;
      case Comparison::kAtMost:
        break;
    }
    return compared <= limit;
  }
};

// One argument. Its bounds are added by the functions below: date("maturity",
// "...").after("issue").
struct Argument {
  std::string_view name;  // the market's standard term
  ArgumentKind kind;
  std::string_view meaning;  // a phrase with the unit: "yearly yield as a fraction (0.05 is 5 %)"
  Presence presence = Presence::kRequired;
  // The default of an optional argument. It begins with the number or the name of the basis, and
  // contains the word "missing" if the argument may be the missing value.
  std::string_view fallback = {};
  std::array<Bound, 3> bound_list{};
  std::size_t bound_count = 0;

  [[nodiscard]] constexpr bool is_date() const noexcept { return catalog::is_date(kind); }
  [[nodiscard]] constexpr bool is_list() const noexcept {
    return presence == Presence::kRepeated || presence == Presence::kAnyNumber;
  }
  // In the order in which the module checks them.
  [[nodiscard]] constexpr std::span<const Bound> bounds() const noexcept {
    return {bound_list.data(), bound_count};
  }

  [[nodiscard]] constexpr Argument bound(const Bound& condition) const {
    Argument argument = *this;
    argument.bound_list[argument.bound_count++] = condition;
    return argument;
  }
  [[nodiscard]] constexpr Argument above(double value) const {
    return bound({Comparison::kAbove, value});
  }
  [[nodiscard]] constexpr Argument at_least(double value) const {
    return bound({Comparison::kAtLeast, value});
  }
  [[nodiscard]] constexpr Argument below(double value) const {
    return bound({Comparison::kBelow, value});
  }
  [[nodiscard]] constexpr Argument at_most(double value) const {
    return bound({Comparison::kAtMost, value});
  }
  [[nodiscard]] constexpr Argument after(std::string_view other) const {
    return bound({Comparison::kAbove, 0.0, other});
  }
  [[nodiscard]] constexpr Argument not_before(std::string_view other) const {
    return bound({Comparison::kAtLeast, 0.0, other});
  }
  [[nodiscard]] constexpr Argument not_after(std::string_view other) const {
    return bound({Comparison::kAtMost, 0.0, other});
  }
  [[nodiscard]] constexpr Argument at_most_the(std::string_view other, double plus = 0.0) const {
    return bound({Comparison::kAtMost, plus, other});
  }
  [[nodiscard]] constexpr Argument optional(std::string_view default_text) const {
    Argument argument = *this;
    argument.presence = Presence::kOptional;
    argument.fallback = default_text;
    return argument;
  }
  [[nodiscard]] constexpr Argument with(Presence other) const {
    Argument argument = *this;
    argument.presence = other;
    return argument;
  }
  [[nodiscard]] constexpr Argument named(std::string_view other, std::string_view phrase) const {
    Argument argument = *this;
    argument.name = other;
    argument.meaning = phrase;
    return argument;
  }
};

// The tasks by which lists group the keywords, in the order of the lists. See task_titles.
enum class Task : std::uint8_t {
  kBonds,
  kOddPeriods,
  kSchedules,
  kAccruedInterest,
  kDiscounts,
  kTreasuryBills,
  kLoans,
  kCashFlows,
  kRates,
  kDepreciation,
};

// The values of a call, by the names of the arguments.
class CallValues;

// Why a calculation fails although every argument is valid.
struct Cause {
  std::string_view text;  // a clause: "no amount is negative; at least one must be"
  bool (*holds)(const CallValues& call) = nullptr;  // null: it holds if no earlier cause does
};

// The texts of a keyword's reference page.
struct Description {
  std::string_view title;    // one line, no full stop: "price of a bond with coupons"
  std::string_view summary;  // a paragraph: what the keyword returns, and what may surprise
  std::string_view result;   // a phrase, with the unit: "price per 100 of face value"
  std::string_view formula;  // plain text, lines separated by \n
  std::string_view example;  // the arguments of a call as the command takes them
  std::string_view value;    // the example's result, rounded to ten digits or exact, or a date
  std::string_view related;  // the keywords of "See also", separated by blanks
  std::span<const Cause> causes = {};  // of a failed calculation; the test of the last one is null
  bool searches = false;               // for a rate: the search does not go below -0.9999999
};

class Keyword {
 public:
  constexpr Keyword(std::string_view name, Task purpose, ResultKind result_kind,
                    std::initializer_list<Argument> list, const Description& text)
      : word(name), task(purpose), result(result_kind), description(text), size_(list.size()) {
    std::ranges::copy(list, arguments_.begin());
  }

  std::string_view word;
  Task task;
  ResultKind result;
  Description description;

  // Whether a result is the lowest point of a search, which found no rate.
  [[nodiscard]] constexpr bool is_lowest_rate(double value) const noexcept {
    constexpr double kLowestRate = -0.9999999;
    return description.searches && value == kLowestRate;
  }

  // The values of a list are adjacent; all lists have the same length; optional arguments are last.
  [[nodiscard]] constexpr std::span<const Argument> arguments() const noexcept {
    return {arguments_.data(), size_};
  }
  // The name of the function for this keyword alone: "finance_price".
  [[nodiscard]] std::string function_name() const;
  // The number of arguments of a call, without the keyword.
  [[nodiscard]] std::size_t min_args() const noexcept;
  [[nodiscard]] std::size_t max_args() const noexcept;  // kNoBound: no upper limit
  // False if this number of arguments gives lists of different lengths.
  [[nodiscard]] bool pairs_up(std::size_t count) const noexcept;
  [[nodiscard]] bool accepts(std::size_t count) const noexcept {
    return count >= min_args() && count <= max_args() && pairs_up(count);
  }
  // How many arguments come before the optional ones. A list counts as one argument.
  [[nodiscard]] constexpr std::size_t required() const noexcept {
    std::size_t count = size_;
    while (count > 0 && arguments_[count - 1].presence == Presence::kOptional) --count;
    return count;
  }
  [[nodiscard]] constexpr bool has_lists() const noexcept {
    return std::ranges::any_of(arguments(), &Argument::is_list);
  }
  [[nodiscard]] constexpr bool has_dated_lists() const noexcept {
    return std::ranges::any_of(
        arguments(), [](const Argument& each) { return each.is_list() && each.is_date(); });
  }
  // The argument at a position, counted from 1, of a call with `count` arguments; null after the
  // last position.
  [[nodiscard]] const Argument* argument_at(std::size_t position, std::size_t count) const noexcept;

 private:
  [[nodiscard]] std::size_t number_of(Presence presence) const noexcept;
  [[nodiscard]] std::size_t number_of_lists() const noexcept;

  std::array<Argument, 9> arguments_{};
  std::size_t size_;
};

inline constexpr std::size_t kNoBound = SIZE_MAX;

class CallValues {
 public:
  CallValues(const Keyword& keyword, std::span<const double> values) noexcept
      : keyword_(keyword), values_(values) {}

  // NaN if the call does not have the argument, or if it is missing.
  [[nodiscard]] double operator[](std::string_view name) const noexcept {
    const auto list = all(name);
    return list.empty() ? std::numeric_limits<double>::quiet_NaN() : list.front();
  }
  // 0 in these two cases.
  [[nodiscard]] double or_zero(std::string_view name) const noexcept {
    const double value = (*this)[name];
    return std::isnan(value) ? 0.0 : value;
  }
  // The values of a list.
  [[nodiscard]] std::span<const double> all(std::string_view name) const noexcept;

 private:
  const Keyword& keyword_;
  std::span<const double> values_;
};

// The text of the first cause that holds for a call whose calculation failed; empty if the keyword
// has no causes.
std::string_view cause_of(const Keyword& keyword, std::span<const double> values) noexcept;

// The valid frequencies.
constexpr bool is_frequency(double value) noexcept {
  return value == 1 || value == 2 || value == 4 || value == 6 || value == 12;
}

// The names of the day-count bases; the index is the code.
inline constexpr std::array<std::string_view, 5> kBasisNames = {"30/360", "ACTUAL", "ACT/360",
                                                                "ACT/365", "EU30/360"};

// The code of a basis name, read as the module reads it: case and blanks do not matter.
std::optional<int> basis_of(std::string_view text) noexcept;

// The allowed values of a day-count basis.
inline constexpr std::string_view kBasisRange =
    "0 or 30/360, 1 or ACTUAL, 2 or ACT/360, 3 or ACT/365, 4 or EU30/360";

// All keywords, sorted.
std::span<const Keyword> keywords() noexcept;

// The titles of the tasks; the index is the number of the task.
std::span<const std::string_view> task_titles() noexcept;

// The keywords of a task, in the order of their rows.
std::vector<const Keyword*> keywords_of(Task task);

// The keyword of this name; case and trailing blanks do not matter. Null if there is none.
const Keyword* find(std::string_view word) noexcept;

// The condition in an error message, after the argument's name and value: "must be at least 1",
// "must be on or after settlement". The kind is that of the argument with the bound.
std::string words_of(const Bound& bound, ArgumentKind kind);

// The allowed values: "greater than 0", "whole number, at least 1, at most nper".
std::string range_of(const Argument& argument);

}  // namespace catalog
