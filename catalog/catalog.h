// What people are told of the keywords: one row each, with the names and kinds of its arguments
// and the kind of its result. The module does not depend on it; hosts read everything from here.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

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

struct Argument {
  std::string_view name;
  ArgumentKind kind;
  Presence presence = Presence::kRequired;
};

class Keyword {
 public:
  constexpr Keyword(std::string_view name, ResultKind result_kind,
                    std::initializer_list<Argument> list)
      : word(name), result(result_kind), size_(list.size()) {
    std::ranges::copy(list, arguments_.begin());
  }

  std::string_view word;
  ResultKind result;

  // The values of a list stand side by side; lists are of one length; optional arguments come last.
  [[nodiscard]] constexpr std::span<const Argument> arguments() const noexcept {
    return {arguments_.data(), size_};
  }
  // How many arguments a call may have, the keyword not counted.
  [[nodiscard]] std::size_t least() const noexcept;
  [[nodiscard]] std::size_t most() const noexcept;  // kNoBound: any number
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

// All keywords, sorted.
std::span<const Keyword> keywords() noexcept;

// The keyword of this name, whatever its case and its trailing blanks; null when there is none.
const Keyword* find(std::string_view word) noexcept;

}  // namespace catalog
