// Calendar dates and day numbers. The host passes dates as whole days from 1 January 1960; the
// engine counts days on the astronomical scale, as Julian day numbers, and knows the proleptic
// Gregorian calendar without a year 0: year -1 is followed by year 1.
//
// Nothing here validates. Day numbers are exact from 0 (24 November of year -4714) to the years
// that 32 bits hold; beyond, the answers are defined but no dates.
#pragma once

#include <algorithm>
#include <cstdint>

namespace vxfnc {

inline constexpr std::int64_t kDayNumberOfDateZero = 2436935;  // 1 January 1960

struct CalendarDate {
  std::int32_t day;         // [1, 31]
  std::int32_t month;       // [1, 12]
  std::int32_t year;        // never 0
  std::int64_t dayNumber;   // describes the same day
  std::int32_t anchorDay;   // the day that stepped dates aim at; 0 or less: `day`
  std::int32_t endOfMonth;  // 1 when `day` was the month's last when the record was filled
};

enum DateOrder : int { kEarlier = 1, kSameDay = 2, kLater = 3 };

// Compares day numbers only.
constexpr DateOrder zCompareDates(const CalendarDate& a, const CalendarDate& b) noexcept {
  if (a.dayNumber == b.dayNumber) return kSameDay;
  return a.dayNumber < b.dayNumber ? kEarlier : kLater;
}

// Two leap-year rules are in force. This one, the Gregorian, is the engine's: month lengths, year
// lengths, schedules. The host-format conversions (host_dates.h) follow the kernel, for which years
// divisible by 4000 are common years too; the two agree until 29 February 4000.
constexpr bool is_gregorian_leap_year(std::int32_t year) noexcept {
  // Of the years divisible by 4, those divisible by 25 are divisible by 100, and then by 400 when
  // by 16.
  return (year & 3) == 0 && (year % 25 != 0 || (year & 15) == 0);
}

// Days in the month; 31 for a month number that is none.
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

// Each conversion has a second form for the years that matter, from -4712 to 680000, in 32 bits
// without a sign: several times faster, and the same.
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

// Years begin in March here, so that leap days come last. A division that leaves a remainder is one
// multiplication by the reciprocal, whose lower half holds the remainder. The constants are those
// of Neri and Schneider (Euclidean affine functions and their application to calendar algorithms,
// 2022). tools/check_constants.py checks them for every day of a century and of a year:
// - 2^32 / 1461, rounded up, times 4 d + 3 for the days d of a century, 0 to 36524: the year, and
// what
//   remains of the product is the day of the year.
// - (2141 d + 197913) / 2^16 for the days d of a year, 0 to 365: the month, as (5 d + 461) / 153.
//   2141 is next to 2^16 * 5 / 153, so that what remains, divided by 2141, is the day less 1.
constexpr void set_short_date(CalendarDate& date, std::uint32_t day_number) noexcept {
  const std::uint32_t quarters = 4 * (day_number + 68569);
  const std::uint32_t century = quarters / 146097;
  const std::uint32_t day_of_century = (quarters - 146097 * century) / 4;
  constexpr std::uint64_t kPerFourYears = 2939745;  // 2^32 / 1461, rounded up
  const std::uint64_t years = kPerFourYears * (4 * day_of_century + 3);
  const auto day_of_year = static_cast<std::uint32_t>((years & 0xFFFFFFFF) * 1461 >> 34);
  const std::uint32_t months = 2141 * day_of_year + 197913;  // 2^16 parts, from March as the third
  const auto month = static_cast<std::int32_t>(months >> 16);
  const bool is_after_december = month > 12;
  date.day = static_cast<std::int32_t>((months & 0xFFFF) / 2141 + 1);
  date.month = is_after_december ? month - 12 : month;
  const std::int32_t year = 100 * (static_cast<std::int32_t>(century) - 49) +
                            static_cast<std::int32_t>(years >> 32) + (is_after_december ? 1 : 0);
  date.year = year < 1 ? year - 1 : year;
}

constexpr std::int64_t kShortDays = 250000000;  // day numbers from 0 up to here take 32 bits

}  // namespace detail

// Fills dayNumber from day, month and year. Divisions truncate toward zero.
constexpr void ConvertDateToJulian(CalendarDate& date) noexcept {
  const std::int64_t y = date.year < 0 ? std::int64_t{date.year} + 1 : date.year;
  const std::int32_t a = date.month <= 2 ? -1 : 0;
  const std::int64_t years = y + 4800 + a;  // March is the first month of a year here
  const std::int32_t months = date.month - 2 - 12 * a;
  if (years >= 88 && years < 684800 && months >= 0 && date.day >= 0) {
    date.dayNumber =
        detail::day_number_of(static_cast<std::uint32_t>(years), static_cast<std::uint32_t>(months),
                              static_cast<std::uint32_t>(date.day));
  } else {
    date.dayNumber = detail::day_number_of<std::int64_t>(years, months, date.day);
  }
}

// Fills day, month and year of a day number; the year keeps its low 32 bits.
constexpr void ConvertJulianToDate(CalendarDate& date, std::int64_t day_number) noexcept {
  if (day_number >= 0 && day_number < detail::kShortDays) {
    detail::set_short_date(date, static_cast<std::uint32_t>(day_number));
    return;
  }
  // No day number that is further out is a date, and none closer leaves 64 bits.
  constexpr std::int64_t kFarthest = std::int64_t{1} << 60;
  detail::set_date(date, std::clamp(day_number, -kFarthest, kFarthest));
}

// Fills a record of which only dayNumber is set. Every calculation calls it on its dates first.
constexpr void zgetMonthDayYear(CalendarDate& date) noexcept {
  ConvertJulianToDate(date, date.dayNumber);
  date.endOfMonth = date.day >= 28 && date.day == zlastDay(date.year, date.month) ? 1 : 0;
  date.anchorDay = date.day;
  // Where the conversions are exact inverses, the number is already the date's.
  if (date.dayNumber < 0 || date.dayNumber >= detail::kShortDays) ConvertDateToJulian(date);
}

// The record of a day number.
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
