// What people are told of the keywords: one row each, with the names and kinds of its arguments
// and the kind of its result. The module does not depend on it; hosts read everything from here.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
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
  kFrequency,  // coupons per year: 1, 2, 4, 6 or 12. Hosts refuse others; the module does not
};

enum class ResultKind : std::uint8_t {
  kAmount,  // money, in the currency of the arguments or per 100 of face value
  kRate,    // a fraction: 0.05 is five percent
  kDays,    // may have a fraction
  kCount,   // of coupons or periods, may have a fraction
  kYears,
  kDate,
};

enum class Presence : std::uint8_t {
  kRequired,
  kOptional,
  kRepeated,   // a list of one value or more
  kAnyNumber,  // a list that may be empty
};

// A condition that the module holds an argument to. Hosts say it in words; see words_of.
enum class Comparison : std::uint8_t { kAbove, kAtLeast, kBelow, kAtMost };

struct Bound {
  Comparison comparison;
  double value = 0.0;             // what the argument is compared with,
  std::string_view other = {};    // plus the argument of this name
  std::string_view subject = {};  // the date compared in its place, where the module marks another
  bool marks = true;              // false: the call fails with no argument marked

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

// One argument, as a phrase of the fluent words below: date("maturity", "...").after("settlement").
struct Argument {
  std::string_view name;  // the market's standard term
  ArgumentKind kind;
  std::string_view meaning;  // a phrase, with the unit: "yearly coupon rate, a fraction of par"
  Presence presence = Presence::kRequired;
  std::string_view fallback = {};  // of an optional one: what holds when it is left out
  std::array<Bound, 3> bound_list{};
  std::size_t bound_count = 0;

  // In the order in which the module looks at them.
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
  [[nodiscard]] constexpr Argument not_beyond(std::string_view other, double plus = 0.0) const {
    return bound({Comparison::kAtMost, plus, other});
  }
  [[nodiscard]] constexpr Argument optional(std::string_view otherwise) const {
    Argument argument = *this;
    argument.presence = Presence::kOptional;
    argument.fallback = otherwise;
    return argument;
  }
  [[nodiscard]] constexpr Argument with(Presence how_often) const {
    Argument argument = *this;
    argument.presence = how_often;
    return argument;
  }
  [[nodiscard]] constexpr Argument named(std::string_view other, std::string_view phrase) const {
    Argument argument = *this;
    argument.name = other;
    argument.meaning = phrase;
    return argument;
  }
};

// What people set out to do; see task_titles. The order is that of lists.
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

// What people read of a keyword.
struct Description {
  std::string_view title;    // one line, no full stop: "price of a bond with coupons"
  std::string_view summary;  // a paragraph: what it computes, and what may surprise
  std::string_view result;   // a phrase, with the unit: "price per 100 of face value"
  std::string_view formula;  // plain text, lines ended by \n
  std::string_view example;  // the arguments of a call as the command takes them
  std::string_view value;    // the example's result, to ten digits or all it has, or a date
  std::string_view fails;    // when the calculation cannot be carried out, a phrase; may be empty
  std::string_view related;  // keywords to see also, with blanks between
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

  // The values of a list stand side by side; lists are of one length; optional arguments come last.
  [[nodiscard]] constexpr std::span<const Argument> arguments() const noexcept {
    return {arguments_.data(), size_};
  }
  // What engines that have no keywords call it: "finance_price".
  [[nodiscard]] std::string function_name() const;
  // How many arguments a call may have, the keyword not counted.
  [[nodiscard]] std::size_t min_args() const noexcept;
  [[nodiscard]] std::size_t max_args() const noexcept;  // kNoBound: any number
  // False when so many arguments cannot make lists of one length.
  [[nodiscard]] bool pairs_up(std::size_t count) const noexcept;
  // What stands at a position, counted from 1, of a call with `count` arguments; null beyond the
  // last.
  [[nodiscard]] const Argument* argument_at(std::size_t position, std::size_t count) const noexcept;

 private:
  [[nodiscard]] std::size_t number_of(Presence presence) const noexcept;
  [[nodiscard]] std::size_t number_of_lists() const noexcept;

  std::array<Argument, 9> arguments_{};
  std::size_t size_;
};

inline constexpr std::size_t kNoBound = SIZE_MAX;

// The frequencies that make a schedule.
constexpr bool is_frequency(double value) noexcept {
  return value == 1 || value == 2 || value == 4 || value == 6 || value == 12;
}

// The names of the day-count bases, each in the place of its code.
inline constexpr std::array<std::string_view, 5> kBasisNames = {"30/360", "ACTUAL", "ACT/360",
                                                                "ACT/365", "EU30/360"};

// The code of a basis by its text, as the module reads it: in any case, blanks anywhere.
std::optional<int> basis_of(std::string_view text) noexcept;

// What a day-count basis may be, in words.
inline constexpr std::string_view kBasisRange =
    "0 or 30/360, 1 or ACTUAL, 2 or ACT/360, 3 or ACT/365, 4 or EU30/360";

// All keywords, sorted.
std::span<const Keyword> keywords() noexcept;

// The titles of the tasks, each in the place of its number.
std::span<const std::string_view> task_titles() noexcept;

// The keywords of a task, in the order of their rows.
std::vector<const Keyword*> keywords_of(Task task);

// The keyword of this name, whatever its case and its trailing blanks; null when there is none.
const Keyword* find(std::string_view word) noexcept;

// A bound as an error says it after the argument's name and value: "must be at least 1", "must not
// be before settlement"; "settlement must be before maturity" where another is compared in its
// place. The kind is that of the argument with the bound.
std::string words_of(const Bound& bound, ArgumentKind kind);

// All that an argument may be: "greater than 0", "whole number, at least 1, not beyond nper".
std::string range_of(const Argument& argument);

}  // namespace catalog
