// The value of a word, a cell or an expression, and its text.
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
    kCount,   // the number counts things, and is written without decimals
    kDate,    // the number counts days from 1960-01-01
    kText,    // the word is the value
    kFailed,  // the computation of the value failed
  };

  double number = std::numeric_limits<double>::quiet_NaN();  // NaN is a missing value
  std::string_view word{};  // the source text; empty for a computed value
  Kind kind = Kind::kNumber;

  [[nodiscard]] bool is_date() const noexcept { return kind == Kind::kDate; }
  [[nodiscard]] bool is_text() const noexcept { return kind == Kind::kText; }
  [[nodiscard]] bool is_missing() const noexcept { return !is_text() && std::isnan(number); }
  [[nodiscard]] bool is_failed() const noexcept { return kind == Kind::kFailed; }
};

// The days of the calendar that hosts accept: 0000-01-01 to 9999-12-31, from 1960-01-01.
inline constexpr std::int32_t kUnixEpoch = 3653;  // 1 January 1970
inline constexpr double kFirstDay = -715875.0;
inline constexpr double kLastDay = 2936549.0;
constexpr bool is_beyond_calendar(double days) noexcept {
  return days < kFirstDay || days >= kLastDay + 1.0;
}

inline constexpr std::string_view kMissingWord = ".";
inline constexpr int kAllDigits = -1;

// Reads a decimal number, a date (YYYY-MM-DD) or a full stop, which is a missing value. Any other
// word is a text: infinities, hexadecimal digits, numbers too large for a double, invalid dates.
// The value refers to the word.
Value value_of(std::string_view word) noexcept;

// The cell without the blanks and tabs around it.
std::string_view trim(std::string_view cell) noexcept;

// The value of a cell of a table. Blanks around it do not count. An empty cell is a missing value.
Value value_of_cell(std::string_view cell) noexcept;

// Appends the shortest digits that read back to the same double, or digits rounded to a number of
// decimals, in which 0 has no sign. Appends nothing for NaN.
void append_digits(std::string& text, double value, int decimals = kAllDigits);

// Appends YYYY-MM-DD. Returns false, and appends nothing, when the year is not in 0 to 9999.
bool append_date(std::string& text, double value);

// Appends a number, a date or a text; nothing for a missing value.
void append_value(std::string& text, const Value& value, int decimals = kAllDigits);

// The value for an error message: its source text, or else its digits; a full stop for a missing
// value.
std::string format_for_message(const Value& value);

}  // namespace host
