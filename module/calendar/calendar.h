// Calendar dates and day numbers. The host passes dates as days since 1 January 1960. The engine
// uses Julian day numbers and the proleptic Gregorian calendar without a year 0: year -1 is
// followed by year 1.
//
// The functions do not validate their arguments. Conversions are exact for day numbers from 0 (24
// November of year -4714) up to the last year that fits into 32 bits. For other day numbers the
// results are defined, but they are not dates.
#pragma once

#include <algorithm>
#include <cstdint>

namespace vxfnc {

inline constexpr std::int64_t kDayNumberOfDateZero = 2436935;  // 1 January 1960

struct CalendarDate {
  std::int32_t day;         // [1, 31]
  std::int32_t month;       // [1, 12]
  std::int32_t year;        // never 0
  std::int64_t dayNumber;   // the Julian day number of the same day
  std::int32_t anchorDay;   // the preferred day of the month of stepped dates; 0 or less: `day`
  std::int32_t endOfMonth;  // 1 if `day` was the last day of the month when the record was filled
};

enum DateOrder : int { kEarlier = 1, kSameDay = 2, kLater = 3 };

// Compares the day numbers only.
constexpr DateOrder zCompareDates(const CalendarDate& a, const CalendarDate& b) noexcept {
  if (a.dayNumber == b.dayNumber) return kSameDay;
  return a.dayNumber < b.dayNumber ? kEarlier : kLater;
}

// The module has two leap-year rules. Month lengths, year lengths and schedules use this one, the
// Gregorian rule. The conversions of host formats (host_dates.h) use the kernel's rule, in which
// years divisible by 4000 are common years. The rules differ from 29 February 4000 on.
constexpr bool is_gregorian_leap_year(std::int32_t year) noexcept {
  // A year divisible by 4 is divisible by 100 if it is divisible by 25, and by 400 if it is
  // divisible by 25 and 16.
  return (year & 3) == 0 && (year % 25 != 0 || (year & 15) == 0);
}

// Returns the number of days of the month, and 31 for an invalid month.
constexpr std::int32_t zlastDay(std::int32_t year, std::int32_t month) noexcept {
  if (month == 2) return is_gregorian_leap_year(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

constexpr void ToTheFirstOfTheNextMonth(std::int32_t& day, std::int32_t& month,
                                        std::int64_t& year) noexcept {
  day = 1;
  if (month == 12) ++year;
  month = month == 12 ? 1 : month + 1;
}

namespace detail {

// Each conversion has a second form in unsigned 32-bit arithmetic for the years -4712 to 680000. It
// is several times faster and returns the same results.
template <class Integer>
constexpr Integer day_number_of(Integer years, Integer months, Integer day) noexcept {
  return 1461 * years / 4 + 367 * months / 12 - 3 * ((years + 100) / 100) / 4 + day - 32075;
}

constexpr void set_date(CalendarDate& date, std::int64_t day_number) noexcept {
  std::int64_t l = day_number + 68569;
  const std::int64_t n = 4 * l / 146097;
  l = l - (146097 * n + 3) / 4;
  const std::int64_t i = 4000 * (l + 1) / 1461001;
  l = l - 1461 * i / 4 + 31;
  const std::int64_t k = 80 * l / 2447;
  date.day = static_cast<std::int32_t>(l - 2447 * k / 80);
  l = k / 11;
  date.month = static_cast<std::int32_t>(k + 2 - 12 * l);
  const std::int64_t year = 100 * (n - 49) + i + l;
  date.year = static_cast<std::int32_t>(year < 1 ? year - 1 : year);
}

// In this function years begin in March, so that the leap day is the last day of a year. Each
// division with remainder is one multiplication by the reciprocal: the upper half of the product is
// the quotient, and the lower half determines the remainder. The constants are those of Neri and
// Schneider (Euclidean affine functions and their application to calendar algorithms, 2022).
// tools/check_constants.py checks them for every day of a century and of a year:
// - For day d of a century, 0 to 36524, the product of 2^32 / 1461, rounded up, and 4 d + 3: the
//   quotient is the year, and the remainder gives the day of the year.
// - For day d of a year, 0 to 365, the quotient (2141 d + 197913) / 2^16: it is the month, the same
//   as (5 d + 461) / 153. 2141 is near 2^16 * 5 / 153, so the remainder divided by 2141 is the day
//   of the month minus 1.
constexpr void set_short_date(CalendarDate& date, std::uint32_t day_number) noexcept {
  const std::uint32_t quarters = 4 * (day_number + 68569);
  const std::uint32_t century = quarters / 146097;
  const std::uint32_t day_of_century = (quarters - 146097 * century) / 4;
  constexpr std::uint64_t kPerFourYears = 2939745;  // 2^32 / 1461, rounded up
  const std::uint64_t years = kPerFourYears * (4 * day_of_century + 3);
  const auto day_of_year = static_cast<std::uint32_t>((years & 0xFFFFFFFF) * 1461 >> 34);
  // The month in units of 2^-16; March is month 3.
  const std::uint32_t months = 2141 * day_of_year + 197913;
  const auto month = static_cast<std::int32_t>(months >> 16);
  const bool is_after_december = month > 12;
  date.day = static_cast<std::int32_t>((months & 0xFFFF) / 2141 + 1);
  date.month = is_after_december ? month - 12 : month;
  const std::int32_t year = 100 * (static_cast<std::int32_t>(century) - 49) +
                            static_cast<std::int32_t>(years >> 32) + (is_after_december ? 1 : 0);
  date.year = year < 1 ? year - 1 : year;
}

// Day numbers from 0 up to this one use the 32-bit form.
constexpr std::int64_t kShortDays = 250000000;

}  // namespace detail

// Sets dayNumber from day, month and year. Divisions truncate toward zero.
constexpr void ConvertDateToJulian(CalendarDate& date) noexcept {
  const std::int64_t y = date.year < 0 ? std::int64_t{date.year} + 1 : date.year;
  const std::int32_t a = date.month <= 2 ? -1 : 0;
  const std::int64_t years = y + 4800 + a;  // years begin in March here
  const std::int32_t months = date.month - 2 - 12 * a;
  if (years >= 88 && years < 684800 && months >= 0 && date.day >= 0) {
    date.dayNumber =
        detail::day_number_of(static_cast<std::uint32_t>(years), static_cast<std::uint32_t>(months),
                              static_cast<std::uint32_t>(date.day));
  } else {
    date.dayNumber = detail::day_number_of<std::int64_t>(years, months, date.day);
  }
}

// Sets day, month and year from a day number. Only the low 32 bits of the year are kept.
constexpr void ConvertJulianToDate(CalendarDate& date, std::int64_t day_number) noexcept {
  if (day_number >= 0 && day_number < detail::kShortDays) {
    detail::set_short_date(date, static_cast<std::uint32_t>(day_number));
    return;
  }
  // Day numbers beyond this limit are not dates. Within the limit, the arithmetic does not
  // overflow.
  constexpr std::int64_t kFarthest = std::int64_t{1} << 60;
  detail::set_date(date, std::clamp(day_number, -kFarthest, kFarthest));
}

// Fills a record of which only dayNumber is set. Every calculation first calls this function for
// each of its dates.
constexpr void zgetMonthDayYear(CalendarDate& date) noexcept {
  ConvertJulianToDate(date, date.dayNumber);
  date.endOfMonth = date.day >= 28 && date.day == zlastDay(date.year, date.month) ? 1 : 0;
  date.anchorDay = date.day;
  // In this range the conversions are exact inverses, so dayNumber is already right.
  if (date.dayNumber < 0 || date.dayNumber >= detail::kShortDays) ConvertDateToJulian(date);
}

// Returns the filled record of a day number.
constexpr CalendarDate date_of_day(std::int64_t day_number) noexcept {
  CalendarDate date{};
  date.dayNumber = day_number;
  zgetMonthDayYear(date);
  return date;
}

static_assert(zlastDay(1900, 2) == 28 && zlastDay(2000, 2) == 29 && zlastDay(4000, 2) == 29);
static_assert(date_of_day(kDayNumberOfDateZero).year == 1960);
static_assert(date_of_day(kDayNumberOfDateZero - 1).day == 31);
static_assert(date_of_day(1721426).year == 1 && date_of_day(1721425).year == -1);
static_assert(date_of_day(0).year == -4714 && date_of_day(0).month == 11);
static_assert(date_of_day(0).dayNumber == 0 && date_of_day(3182029).dayNumber == 3182029);

}  // namespace vxfnc
