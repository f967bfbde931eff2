// What a word, a cell or an expression stands for, and how it is written.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace host {

struct Value {
  enum class Kind : std::uint8_t {
    kNumber,
    kDate,    // a number, its days from 1 January 1960, that is written as a date
    kText,    // the word; no number
    kFailed,  // no number, because its computation failed
  };

  double number = std::numeric_limits<double>::quiet_NaN();  // NaN: the missing value
  std::string_view word{};  // as it was written; empty for a number that was computed
  Kind kind = Kind::kNumber;

  [[nodiscard]] bool is_date() const noexcept { return kind == Kind::kDate; }
  [[nodiscard]] bool is_text() const noexcept { return kind == Kind::kText; }
  [[nodiscard]] bool is_missing() const noexcept { return !is_text() && std::isnan(number); }
  [[nodiscard]] bool is_failed() const noexcept { return kind == Kind::kFailed; }
};

inline constexpr std::string_view kMissingWord = ".";
inline constexpr int kAllDigits = -1;

// A decimal number, an ISO date (YYYY-MM-DD) or a full stop; anything else is text: infinities,
// hexadecimal digits, numbers too large for a double, dates that do not exist. Refers to the word.
Value value_of(std::string_view word) noexcept;

// Without blanks and tabs around it.
std::string_view trim(std::string_view cell) noexcept;

// The value of a table's cell: blanks around it do not count, and an empty cell is the missing
// value.
Value value_of_cell(std::string_view cell) noexcept;

// The shortest digits that read back to the same double, or so many decimals. NaN has none: nothing
// is appended.
void append_digits(std::string& text, double value, int decimals = kAllDigits);

// A date that YYYY-MM-DD can write; false, and nothing appended, for any other.
bool append_date(std::string& text, double value);

// A number or date in the way of its kind, text as it stands, nothing for the missing value.
void append_value(std::string& text, const Value& value, int decimals = kAllDigits);

// The value as error messages show it: the word it was read from; a full stop for the missing
// value.
std::string format_for_message(const Value& value);

}  // namespace host
