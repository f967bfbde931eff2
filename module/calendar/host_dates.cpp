#include "calendar/host_dates.h"

#include <cmath>
#include <optional>

#include "abi/kernel_handle.h"
#include "calendar/calendar.h"

namespace vxfnc {
namespace {

constexpr double kFirstYear = 1582.0;
constexpr double kLastYear = 20000.0;

// The lengths of the months from January on. February has 0 here, because callers add 28 and the
// leap-year bit.
constexpr std::int32_t dpm[12] = {31, 0, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

constexpr int leap_bit(std::int64_t year) noexcept {
  return is_gregorian_leap_year(static_cast<std::int32_t>(year)) && year % 4000 != 0 ? 1 : 0;
}

constexpr int length_of(int month, std::int64_t year) noexcept {
  return month == 2 ? 28 + leap_bit(year) : dpm[month - 1];
}

// Returns the date value of the day before 1 January of a year.
constexpr std::int64_t before(std::int64_t year) noexcept {
  const std::int64_t y = year - 1;
  return 365 * year + y / 4 - y / 100 + y / 400 - y / 4000 - 715875;
}
static_assert(before(1960) == -1 && before(1582) == -138062 && before(20001) == 6589335);

// Returns the kernel option VX_NAME_YEARCUTOFF: the first of the hundred years to which two-digit
// years belong.
std::int64_t year_cutoff() noexcept {
  constexpr std::int64_t kDefault = 1950;
  constexpr std::uint64_t kInteger = 3;
  std::int64_t cutoff = kDefault;
  std::uint64_t size = sizeof cutoff;
  if (Exported_VXHandle != nullptr && Exported_VXHandle->get_option != nullptr) {
    Exported_VXHandle->get_option(Exported_VXHandle, U"VX_NAME_YEARCUTOFF", 18, kInteger, &cutoff,
                                  &size);
  }
  constexpr std::int64_t kNoYear = 1000000;  // larger option values are invalid
  return cutoff > -kNoYear && cutoff < kNoYear ? cutoff : kDefault;
}

std::int64_t widened(std::int64_t year) noexcept {
  if (year > 99) return year;
  const std::int64_t cutoff = year_cutoff();
  const std::int64_t r = cutoff % 100;
  return cutoff - r + year + (year < r ? 100 : 0);
}

struct YearAndDay {
  std::int64_t year;
  double day;  // day of the year
};

// Splits a Julian number; returns nothing if it is invalid.
std::optional<YearAndDay> parted(double julian) noexcept {
  if (!(julian > 0.0 && julian <= kLastYear * 1000.0 + 365.0)) return std::nullopt;
  std::int64_t year = static_cast<std::int64_t>(julian) / 1000;
  const double day = julian - 1000.0 * static_cast<double>(year);
  if ((year > 99 && static_cast<double>(year) < kFirstYear) || day > 366.0) return std::nullopt;
  year = widened(year);
  if (day > 365.0 + leap_bit(year)) return std::nullopt;
  return YearAndDay{year, day};
}

}  // namespace
}  // namespace vxfnc

using vxfnc::MISSING;

double vxfmtzjulymd(double year, double month, double day) {
  const bool is_month_and_day = month >= 1.0 && month <= 12.0 && day >= 1.0 && day <= 31.0;
  const bool is_year =
      year >= 0.0 && year <= vxfnc::kLastYear && (year <= 99.0 || year >= vxfnc::kFirstYear);
  if (!is_month_and_day || !is_year) return MISSING;
  const std::int64_t y = vxfnc::widened(static_cast<std::int64_t>(year));
  const int m = static_cast<int>(month);
  if (day > vxfnc::length_of(m, y)) return MISSING;
  std::int64_t day_of_year = static_cast<std::int64_t>(day);
  for (int earlier = 1; earlier < m; ++earlier) day_of_year += vxfnc::length_of(earlier, y);
  return static_cast<double>(y * 1000 + day_of_year);
}

double vxfmtzdatjul(double julian) {
  const auto date = vxfnc::parted(julian);
  return date ? date->day + static_cast<double>(vxfnc::before(date->year)) : MISSING;
}

void vxfmtzymdjul(double* year, double* month, double* day, double julian) {
  const auto date = vxfnc::parted(std::trunc(julian));
  *year = *month = *day = MISSING;
  if (!date) return;
  int m = 1;
  double left = date->day;
  for (; m < 12 && left > vxfnc::length_of(m, date->year); ++m) {
    left -= vxfnc::length_of(m, date->year);
  }
  *year = static_cast<double>(date->year);
  *month = m;
  *day = left;
}

double vxfmtzjuldat(double date) {
  if (std::isnan(date)) return date;
  const auto first = static_cast<double>(vxfnc::before(1582) + 1);
  const auto beyond = static_cast<double>(vxfnc::before(20001) + 1);
  if (!(date >= first && date < beyond)) return MISSING;
  const auto day = static_cast<std::int64_t>(std::floor(date));
  constexpr double kMeanYear = 365.2425;
  // This estimate is never later than the right year, and at most two years earlier.
  std::int64_t year =
      1958 + static_cast<std::int64_t>(std::floor(static_cast<double>(day) / kMeanYear));
  while (vxfnc::before(year + 1) < day) ++year;
  return static_cast<double>(year * 1000 + day - vxfnc::before(year));
}
