#include "coupons/coupon_days.h"

#include <algorithm>

namespace vxfnc {
namespace {

// If the start is the last day of a month other than February, it is replaced by the first of the
// next month. The end is then also replaced if it is the 30th or the last day of a month. The
// exception for February is intended.
double coupon_days_30_360(const CalendarDate& start, const CalendarDate& end) noexcept {
  std::int32_t day = start.day;
  std::int32_t month = start.month;
  std::int64_t year = start.year;
  std::int32_t end_day = end.day;
  std::int32_t end_month = end.month;
  std::int64_t end_year = end.year;
  const bool ends_month = end_day == zlastDay(end.year, end_month);
  if (ends_month && end_month == 2) end_day = 30;
  if (month != 2 && day == zlastDay(start.year, month)) {
    ToTheFirstOfTheNextMonth(day, month, year);
    if (ends_month || end_day == 30) ToTheFirstOfTheNextMonth(end_day, end_month, end_year);
  }
  return static_cast<double>(360 * (end_year - year) + 30 * (std::int64_t{end_month} - month - 1) +
                             std::min(end_day, 30) + std::max(30 - day, 0));
}

}  // namespace

double CountTheCouponDays(const CalendarDate& start, const CalendarDate& end,
                          DayCountTerms& terms) noexcept {
  const double actual = static_cast<double>(end.dayNumber - start.dayNumber);
  const auto store = [&terms](double count, double capped, double year_days) {
    terms.dayCount = count;
    terms.cappedDayCount = capped;
    terms.basisYearDays = year_days;
  };
  switch (terms.basis) {
    case kBasisUs30360: {
      if (terms.plainUs30360 != 0) {
        terms.dayCount = static_cast<double>(zdays360(start, end, kUsMethod));
        break;
      }
      const double capped = std::min(coupon_days_30_360(start, end), terms.periodDays);
      store(capped, capped, 360.0);
      break;
    }
    case kBasisActual:
      store(actual, actual, 1.0);
      break;
    case kBasisActual360:
      store(actual, std::min(actual, terms.periodDays), 360.0);
      break;
    case kBasisActual365:
      store(actual, std::min(actual, terms.periodDays), 365.0);
      break;
    case kBasisEuropean30360: {
      const auto days = static_cast<double>(zdays360(start, end, kEuropeanMethod));
      store(days, std::min(days, terms.periodDays), 360.0);
      break;
    }
    default:
      break;
  }
  return terms.dayCount;
}

}  // namespace vxfnc
