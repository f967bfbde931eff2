#include "calendar/day_count.h"

#include <algorithm>
#include <limits>

namespace vxfnc {
namespace {

constexpr double kAbsurdRatio = std::numeric_limits<double>::max();
constexpr std::int64_t kAbsurdCount = std::int64_t{1} << 53;

// Counts the leap years from year 1 up to and including `year`; negative for earlier years. Shifts
// round down, also below 0.
constexpr std::int64_t leap_years_through(std::int64_t year) noexcept {
  const std::int64_t centuries = year / 100 - (year % 100 < 0 ? 1 : 0);
  return (year >> 2) - centuries + (centuries >> 2);
}
static_assert(leap_years_through(2000) - leap_years_through(1899) == 25);
static_assert(leap_years_through(0) - leap_years_through(-4) == 1);

// Returns the mean length of the years from first to last, of which `leap` have 366 days. Returns
// NaN if there are no years.
double mean_year(std::int64_t first, std::int64_t last, std::int64_t leap) noexcept {
  const std::int64_t years = std::max<std::int64_t>(last - first + 1, 0);
  return static_cast<double>(365 * (years - leap) + 366 * leap) / static_cast<double>(years);
}

double mean_gregorian_year(const CalendarDate& start, const CalendarDate& end) noexcept {
  const std::int64_t first = start.year;
  const std::int64_t last = end.year;
  if (last < first) return mean_year(first, last, 0);
  return mean_year(first, last, leap_years_through(last) - leap_years_through(first - 1));
}

// The first or last year of the span counts 366 days only if its 29 February can be inside the
// span.
double mean_spanned_year(const CalendarDate& start, const CalendarDate& end) noexcept {
  const std::int64_t first = start.year;
  const std::int64_t last = end.year;
  const auto counts_366 = [&](std::int32_t year) {
    return is_gregorian_leap_year(year) &&
           ((year == start.year && (start.month == 1 || start.month == 2)) ||
            (year == end.year && end.month >= 3));
  };
  std::int64_t leap = counts_366(start.year) ? 1 : 0;
  if (last > first) {
    leap += counts_366(end.year) ? 1 : 0;
    leap += leap_years_through(last - 1) - leap_years_through(first);
  }
  return mean_year(first, last, last < first ? 0 : leap);
}

double actual_days(const CalendarDate& start, const CalendarDate& end) noexcept {
  return static_cast<double>(end.dayNumber - start.dayNumber);
}

}  // namespace

std::int64_t zdays360(const CalendarDate& start, const CalendarDate& end, int method) noexcept {
  std::int32_t day = start.day;
  std::int32_t month = start.month;
  std::int64_t year = start.year;
  const auto days_to = [&](std::int32_t end_day) {
    return 360 * (end.year - year) + 30 * (std::int64_t{end.month} - month) + end_day -
           std::min(day, 30);
  };
  if (method == kEuropeanMethod) return days_to(std::min(end.day, 30));
  if (method != kUsMethod) return kAbsurdCount;

  if (start.dayNumber == end.dayNumber) return 0;
  if (day == 31 && end.day < 30) ToTheFirstOfTheNextMonth(day, month, year);
  const bool ends_february = end.month == 2 && end.day == zlastDay(end.year, 2);
  // The result keeps its low 32 bits.
  return static_cast<std::int32_t>(days_to(ends_february ? 30 : std::min(end.day, 30)));
}

namespace {

// Both public functions use this one. They differ only in their flags and in the year length of
// basis 1.
void measure(const CalendarDate& start, const CalendarDate& end, DayCountTerms& terms,
             bool count_end_31, double (*actual_year)(const CalendarDate&, const CalendarDate&)) {
  switch (terms.basis) {
    case kBasisUs30360:
      terms.dayCount = static_cast<double>(zdays360(start, end, kUsMethod));
      if (count_end_31 && end.day == 31) terms.dayCount += 1.0;
      terms.periodDays = 360.0;
      break;
    case kBasisActual:
      terms.dayCount = actual_days(start, end);
      terms.periodDays = actual_year(start, end);
      break;
    case kBasisActual360:
      terms.dayCount = actual_days(start, end);
      terms.periodDays = 360.0;
      break;
    case kBasisActual365:
      terms.dayCount = actual_days(start, end);
      terms.periodDays = 365.0;
      break;
    case kBasisEuropean30360:
      terms.dayCount = static_cast<double>(zdays360(start, end, kEuropeanMethod));
      terms.periodDays = 360.0;
      break;
    default:
      break;
  }
}

}  // namespace

void CountTheDays(const CalendarDate& start, const CalendarDate& end,
                  DayCountTerms& terms) noexcept {
  measure(start, end, terms, terms.countEnd31 != 0, mean_gregorian_year);
}

double ComputeTheAnnualRatio(const CalendarDate& start, const CalendarDate& end,
                             DayCountTerms& terms) noexcept {
  if (terms.basis < kBasisUs30360 || terms.basis > kBasisEuropean30360) return kAbsurdRatio;
  const auto start_year = [](const CalendarDate& from, const CalendarDate&) {
    return is_gregorian_leap_year(from.year) ? 366.0 : 365.0;
  };
  measure(start, end, terms, terms.countEnd31 != 0 && terms.keepEnd31 == 0,
          terms.useStartYearLength != 0 ? +start_year
          : terms.leapYearsWhole != 0   ? mean_gregorian_year
                                        : mean_spanned_year);
  return terms.dayCount / terms.periodDays;
}

}  // namespace vxfnc
