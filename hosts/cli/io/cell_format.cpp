#include "hosts/cli/io/cell_format.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <optional>
#include <stdexcept>

namespace cli {
namespace {

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

// The date of a text, with no time of day.
std::optional<double> date_of(const std::string& text, const std::string& pattern) {
  using namespace std::chrono;
  constexpr int kUnset = -100000;
  std::tm time{};
  time.tm_year = time.tm_mon = time.tm_mday = kUnset;
  const char* const end = ::strptime(text.c_str(), pattern.c_str(), &time);
  if (end == nullptr || *end != '\0' || time.tm_year == kUnset || time.tm_mon == kUnset ||
      time.tm_mday == kUnset) {
    return std::nullopt;
  }
  const year_month_day date{year{time.tm_year + 1900},
                            month(static_cast<unsigned>(time.tm_mon + 1)),
                            day(static_cast<unsigned>(time.tm_mday))};
  // %Y reads 26 as the year 26, which nobody means.
  constexpr int kFirstYear = 1000;
  if (time.tm_year + 1900 < kFirstYear) return std::nullopt;
  const bool has_time = time.tm_hour != 0 || time.tm_min != 0 || time.tm_sec != 0;
  if (!date.ok() || has_time) return std::nullopt;
  return (sys_days{date} - sys_days{year{1960} / 1 / 1}).count();
}

// Day 1 of a spreadsheet is 1900-01-01, and day 60 is 1900-02-29, which did not exist.
std::optional<double> date_of_excel(double serial) {
  constexpr double kFalseDay = 60.0;
  constexpr double kSerialOf1960 = 21916.0;
  if (serial < 1.0 || serial != std::trunc(serial) || serial == kFalseDay) return std::nullopt;
  const double days = serial - kSerialOf1960 + (serial < kFalseDay ? 1.0 : 0.0);
  return is_beyond_calendar(days) ? std::nullopt : std::optional(days);
}

// Takes a currency sign, at either end.
void skip_currency(std::string_view& text) {
  constexpr std::array<std::string_view, 4> kSigns = {"$", "\u20AC", "\u00A3", "\u00A5"};
  for (const std::string_view sign : kSigns) {
    if (text.starts_with(sign)) text.remove_prefix(sign.size());
    if (text.ends_with(sign)) text.remove_suffix(sign.size());
  }
  text = trim(text);
}

// The digits of a number with a decimal point and without separators; empty for any other text.
// Groups must have three digits: 1,23 is not a number with the separators of 1,234.56.
std::string plain_digits(std::string_view text, const NumberFormat& format) {
  std::string digits;
  std::size_t in_group = 0;
  bool has_groups = false;
  std::size_t at = 0;
  for (; at < text.size() && text[at] != format.decimal; ++at) {
    if (format.group != '\0' && text[at] == format.group) {
      if (has_groups ? in_group != 3 : in_group < 1 || in_group > 3) return {};
      has_groups = true;
      in_group = 0;
    } else if (is_digit(text[at])) {
      digits += text[at];
      ++in_group;
    } else {
      return {};
    }
  }
  if (has_groups && in_group != 3) return {};
  if (at < text.size()) digits += '.';
  for (++at; at < text.size(); ++at) {
    if (!is_digit(text[at])) return {};
    digits += text[at];
  }
  return digits;
}

std::optional<double> number_of(std::string_view text, const NumberFormat& format) {
  bool is_negative = text.size() > 1 && text.front() == '(' && text.back() == ')';
  if (is_negative) text = trim(text.substr(1, text.size() - 2));
  skip_currency(text);
  const bool is_percent = text.ends_with('%');
  if (is_percent) text = trim(text.substr(0, text.size() - 1));
  if (text.starts_with('-') && !is_negative) {
    is_negative = true;
    text.remove_prefix(1);
    skip_currency(text);
  }
  std::string digits = plain_digits(text, format);
  if (digits.empty()) return std::nullopt;
  if (is_percent) digits += "e-2";  // the nearest double, which a division may miss
  const Value value = value_of(digits);
  if (value.is_text() || value.is_missing()) return std::nullopt;
  return is_negative ? -value.number : value.number;
}

}  // namespace

bool writes_dates_as_numbers(const std::string& pattern) {
  if (pattern == kExcelDates) return true;
  std::tm time{};
  time.tm_year = 104;
  time.tm_mon = 10;
  time.tm_mday = 23;
  std::array<char, 200> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), pattern.c_str(), &time);
  constexpr double kDay = 16398.0;  // 2004-11-23
  if (length == 0 || date_of(std::string(text.data(), length), pattern) != kDay) {
    throw std::invalid_argument(fmt::format(
        "{} is not a date pattern: write the year, month and day, such as %d/%m/%Y, or excel",
        pattern));
  }
  return !value_of(std::string_view(text.data(), length)).is_text();
}

NumberFormat number_format_of(std::string_view example) {
  const auto is_separator = [](char c) { return c == ',' || c == '.' || c == '\'' || c == ' '; };
  const bool has_group = example.size() == 8;
  const std::string_view digits = has_group ? "1?234?56" : "1234?56";
  bool fits = example.size() == digits.size();
  for (std::size_t i = 0; fits && i < digits.size(); ++i) {
    fits = digits[i] == '?' ? is_separator(example[i]) : example[i] == digits[i];
  }
  const char decimal = fits ? example[example.size() - 3] : '\0';
  if (!fits || (decimal != ',' && decimal != '.') || (has_group && example[1] == decimal)) {
    throw std::invalid_argument(
        fmt::format("{} is not a number format: write 1,234.56 or 1.234,56 or the like", example));
  }
  return {has_group ? example[1] : '\0', decimal};
}

Value formatted_value(std::string_view cell, const CellFormat& format) {
  cell = trim(cell);
  if (cell.empty() || cell == kMissingWord) return {};
  const Value text{.word = cell, .kind = Value::Kind::kText};
  if (!format.dates.empty() && format.dates != kExcelDates) {
    if (const auto date = date_of(std::string(cell), format.dates)) {
      return {*date, cell, Value::Kind::kDate};
    }
  }
  Value value = host::value_of_cell(cell);
  if (value.is_date()) return format.accepts_iso ? value : text;
  if (format.has_numbers) {
    const auto number = number_of(cell, format.numbers);
    value = number ? Value{*number, cell, Value::Kind::kNumber} : text;
  }
  if (format.dates != kExcelDates || value.is_text()) return value;
  const auto date = date_of_excel(value.number);
  return date ? Value{*date, cell, Value::Kind::kDate} : text;
}

}  // namespace cli
