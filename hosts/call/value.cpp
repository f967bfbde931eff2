#include "hosts/call/value.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>

namespace host {
namespace {

constexpr std::chrono::sys_days kDateZero{std::chrono::year{1960} / 1 / 1};

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();  // the word is not a number

// Reads a number of few digits, as most numbers are. Its digits and its power of ten are exact
// doubles, so that their quotient is the double nearest to the number.
double short_number_of(std::string_view word) noexcept {
  constexpr std::array kPowers = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  if (word.empty() || word.size() >= kPowers.size() || !is_digit(word[0])) return kNone;
  std::int64_t digits = 0;
  std::size_t decimals = 0;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] == '.' && decimals == 0 && i + 1 < word.size()) {
      decimals = word.size() - 1 - i;
    } else if (is_digit(word[i])) {
      digits = 10 * digits + (word[i] - '0');
    } else {
      return kNone;
    }
  }
  return static_cast<double>(digits) / kPowers[decimals];
}

// Whether a number that no double can hold is too small, not too large: its first digit other than
// 0 is after the decimal point.
bool is_too_small(std::string_view digits) noexcept {
  const std::size_t end = std::min(digits.find_first_of("eE"), digits.size());
  const std::string_view mantissa = digits.substr(0, end);
  constexpr std::int64_t kFar = std::int64_t{1} << 60;  // more than the length of any text
  std::int64_t place = 0;
  if (end < digits.size()) {
    std::string_view exponent = digits.substr(end + 1);
    if (exponent.starts_with('+')) exponent.remove_prefix(1);
    const auto result = std::from_chars(exponent.data(), exponent.data() + exponent.size(), place);
    if (result.ec == std::errc::result_out_of_range) return exponent.starts_with('-');
  }
  const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
  const auto first = static_cast<std::int64_t>(mantissa.find_first_not_of("0."));
  place = std::clamp(place, -kFar, kFar) + (first < point ? point - first - 1 : point - first);
  return place < 0;
}

double number_of(std::string_view word) noexcept {
  if (const double number = short_number_of(word); !std::isnan(number)) return number;
  const bool had_plus = word.starts_with('+');
  if (had_plus) word.remove_prefix(1);
  const std::string_view digits = word.starts_with('-') && !had_plus ? word.substr(1) : word;
  if (digits.empty() || (digits[0] != '.' && !is_digit(digits[0]))) return kNone;
  double value = 0.0;
  const char* const last = word.data() + word.size();
  const auto [end, error] = std::from_chars(word.data(), last, value);
  if (end != last || error == std::errc::invalid_argument) return kNone;
  if (error == std::errc::result_out_of_range) return is_too_small(digits) ? 0.0 : kNone;
  return std::isfinite(value) ? value : kNone;
}

bool looks_like_date(std::string_view word) noexcept {
  return word.size() == 10 && word[4] == '-' && word[7] == '-';
}

double date_of(std::string_view word) noexcept {
  using namespace std::chrono;
  bool all_digits = true;
  const auto digits = [&](std::size_t first, std::size_t last) {
    unsigned value = 0;
    for (std::size_t i = first; i < last; ++i) {
      all_digits &= is_digit(word[i]);
      value = 10 * value + static_cast<unsigned>(word[i] - '0');
    }
    return value;
  };
  const year_month_day date{year{static_cast<int>(digits(0, 4))}, month{digits(5, 7)},
                            day{digits(8, 10)}};
  if (!all_digits || !date.ok()) return kNone;
  return static_cast<double>((sys_days{date} - kDateZero).count());
}

// Appends the two digits of a number below 100.
void append_two_digits(std::string& text, unsigned number) {
  text += static_cast<char>('0' + number / 10);
  text += static_cast<char>('0' + number % 10);
}

}  // namespace

Value value_of(std::string_view word) noexcept {
  using enum Value::Kind;
  if (word == kMissingWord) return {.word = word};
  const double date = looks_like_date(word) ? date_of(word) : kNone;
  if (!std::isnan(date)) return {date, word, kDate};
  const double number = number_of(word);
  return {number, word, std::isnan(number) ? kText : kNumber};
}

std::string_view trim(std::string_view cell) noexcept {
  const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!cell.empty() && is_blank(cell.front())) cell.remove_prefix(1);
  while (!cell.empty() && is_blank(cell.back())) cell.remove_suffix(1);
  return cell;
}

Value value_of_cell(std::string_view cell) noexcept {
  cell = trim(cell);
  return cell.empty() ? Value{} : value_of(cell);
}

void append_digits(std::string& text, double value, int decimals) {
  if (std::isnan(value)) return;
  char digits[400];  // the largest double has 309 digits before the point
  const auto append = [&](std::to_chars_result result) { text.append(digits, result.ptr); };
  if (decimals != kAllDigits && std::isfinite(value)) {
    const std::size_t start = text.size();
    append(std::to_chars(std::begin(digits), std::end(digits), value, std::chars_format::fixed,
                         decimals));
    // A number that is rounded to 0 has no sign.
    if (text.find_first_not_of("-0.", start) == text.npos && text[start] == '-')
      text.erase(start, 1);
    return;
  }
  // Amounts, days and rates are written without an exponent.
  constexpr double kPlainFrom = 1e-6;
  constexpr double kPlainBelow = 1e17;
  const double magnitude = std::fabs(value);
  const bool plain = magnitude == 0.0 || (magnitude >= kPlainFrom && magnitude < kPlainBelow);
  append(std::to_chars(std::begin(digits), std::end(digits), value,
                       plain ? std::chars_format::fixed : std::chars_format::scientific));
}

bool append_date(std::string& text, double value) {
  using namespace std::chrono;
  constexpr double kFarthest = 4e6;  // days; more than the years of four digits need
  if (!(std::fabs(value) < kFarthest) || value != std::trunc(value)) return false;
  const year_month_day date{kDateZero + days{static_cast<int>(value)}};
  const int year = static_cast<int>(date.year());
  if (year < 0 || year > 9999) return false;
  append_two_digits(text, static_cast<unsigned>(year) / 100);
  append_two_digits(text, static_cast<unsigned>(year) % 100);
  text += '-';
  append_two_digits(text, static_cast<unsigned>(date.month()));
  text += '-';
  append_two_digits(text, static_cast<unsigned>(date.day()));
  return true;
}

// Appends YYYY-MM-DD HH:MM:SS. Returns false, and appends nothing, as append_date does.
bool append_date_time(std::string& text, double value) {
  constexpr double kSecondsPerDay = 86400.0;
  const double seconds = std::round((value - std::floor(value)) * kSecondsPerDay);
  if (!append_date(text, std::floor(value))) return false;
  const auto second = static_cast<unsigned>(std::min(seconds, kSecondsPerDay - 1.0));
  text += ' ';
  append_two_digits(text, second / 3600);
  text += ':';
  append_two_digits(text, second / 60 % 60);
  text += ':';
  append_two_digits(text, second % 60);
  return true;
}

void append_value(std::string& text, const Value& value, int decimals) {
  if (value.is_text()) {
    text += value.word;
  } else if (!value.is_date() || !append_date(text, value.number)) {
    const bool is_whole_count =
        value.kind == Value::Kind::kCount && value.number == std::trunc(value.number);
    append_digits(text, value.number, is_whole_count ? kAllDigits : decimals);
  }
}

std::string format_for_message(const Value& value) {
  std::string text(value.word);
  if (text.empty() && value.is_date() && value.number != std::trunc(value.number)) {
    append_date_time(text, value.number);
  }
  if (text.empty()) append_value(text, value);
  if (text.empty()) text = value.is_text() ? "''" : kMissingWord;
  // Control characters are masked, and long texts are cut.
  constexpr std::size_t kMostShown = 60;
  std::size_t end = std::min(text.size(), kMostShown);
  const auto splits_character = [&text](std::size_t i) {
    return i < text.size() && (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
  };
  const std::size_t least =
      end -
      std::min<std::size_t>(end, 3);  // a text that is not UTF-8 may have no start of a character
  while (end > least && splits_character(end)) --end;
  const bool is_cut = end < text.size();
  text.resize(end);
  std::ranges::replace_if(
      text, [](unsigned char c) { return c < ' ' || c == 127; }, '?');
  return is_cut ? text + "..." : text;
}

}  // namespace host
