#include "coupons/schedule.h"

#include <algorithm>
#include <limits>

#include "coupons/coupon_days.h"

namespace vxfnc {
namespace {

constexpr double kNoFixedPeriod = std::numeric_limits<double>::max();

// True if the coupons can be computed without stepping from date to date: the period must be a
// whole number of months, and the years must be far from the ends of their range.
bool is_monthly(const CalendarDate& settlement, const CalendarDate& maturity,
                const DayCountTerms& terms) noexcept {
  const auto is_plain = [](std::int32_t year) { return year > 1 && year < 1000000000; };
  return terms.stepUnit == kMonths && terms.monthsPerPeriod * terms.frequency == 12 &&
         is_plain(settlement.year) && is_plain(maturity.year);
}

// Returns the day of the coupon in a month: the day of maturity, or the last day of the month.
std::int32_t coupon_day(const CalendarDate& maturity, std::int32_t year,
                        std::int32_t month) noexcept {
  if (maturity.day <= 28 && maturity.endOfMonth == 0) return maturity.day;
  const std::int32_t last_day = zlastDay(year, month);
  return maturity.endOfMonth != 0 || maturity.day > last_day ? last_day : maturity.day;
}

// Sets `date` to the coupon date that is `months` months after the month of `from`. `months` is
// from -12 to 12.
void set_coupon(CalendarDate& date, const CalendarDate& maturity, const CalendarDate& from,
                std::int32_t months) noexcept {
  const std::int32_t month = from.month + months;
  const std::int32_t years = month < 1 ? -1 : month > 12 ? 1 : 0;
  date.year = from.year + years;
  date.month = month - 12 * years;
  date.day = coupon_day(maturity, date.year, date.month);
  date.anchorDay = maturity.day;
  date.endOfMonth = maturity.endOfMonth;
  ConvertDateToJulian(date);
}

// Finds the coupons around settlement on a monthly schedule. The result is the same as that of
// walk_to_coupons.
void find_coupons(CouponSearch& search) noexcept {
  const CalendarDate& settlement = *search.settlement;
  const CalendarDate& maturity = *search.maturity;
  const auto period = static_cast<std::int32_t>(search.terms->monthsPerPeriod);
  const std::int32_t ahead = maturity.month - settlement.month + 12;
  std::int32_t to_next = ahead - ahead * search.terms->frequency / 12 * period;  // the remainder
  if (to_next == 0) {
    const std::int32_t due = coupon_day(maturity, settlement.year, settlement.month);
    if (settlement.day >= due) to_next = period;
    if (settlement.day == due) {
      search.couponOnSettlement = &search.onSettlementStore;
      set_coupon(search.onSettlementStore, maturity, settlement, 0);
      // The previous coupon differs from settlement only if kDaysInPeriod is requested and
      // settlement is not an anniversary of maturity. In all other cases walk_to_coupons sets it to
      // settlement.
      const bool is_anniversary =
          maturity.month == settlement.month && maturity.day <= settlement.day;
      const bool steps_back = (search.requests & kDaysInPeriod) != 0 && !is_anniversary;
      set_coupon(search.previousStore, maturity, settlement, steps_back ? -period : 0);
      set_coupon(search.nextStore, maturity, settlement, period);
      return;
    }
  }
  set_coupon(search.previousStore, maturity, settlement, to_next - period);
  set_coupon(search.nextStore, maturity, settlement, to_next);
}

// Counts the coupons after settlement on a monthly schedule, as CountTheCoupons does. In the month
// of maturity, the day of maturity is not limited to the length of the month.
double coupons_after(const CalendarDate& settlement, const CalendarDate& maturity,
                     const DayCountTerms& terms) noexcept {
  const std::int64_t months =
      12 * (std::int64_t{maturity.year} - settlement.year) + maturity.month - settlement.month;
  const std::int32_t due = settlement.month == maturity.month
                               ? maturity.day
                               : coupon_day(maturity, settlement.year, settlement.month);
  const std::int64_t to_come = months - (settlement.day >= due ? 1 : 0);
  return static_cast<double>(to_come * terms.frequency / 12 + 1);
}

// Returns the date moved to another year. The day may be beyond the end of the month in that year.
CalendarDate in_year(CalendarDate date, std::int64_t year) noexcept {
  date.year = static_cast<std::int32_t>(year);
  ConvertDateToJulian(date);
  return date;
}

double coupons_between_years(const CalendarDate& from, const CalendarDate& to,
                             const DayCountTerms& terms) noexcept {
  const std::int64_t years = std::max<std::int64_t>(std::int64_t{to.year} - from.year, 0);
  return static_cast<double>(years) * terms.frequency;
}

// Returns the anniversary of maturity at or before settlement. The month-end rule may move it after
// settlement.
CalendarDate anniversary(const CalendarDate& settlement, const CalendarDate& maturity) noexcept {
  const bool is_later_in_year =
      maturity.month > settlement.month ||
      (maturity.month == settlement.month && maturity.day > settlement.day);
  CalendarDate anchor = maturity;
  anchor.year =
      static_cast<std::int32_t>(std::int64_t{settlement.year} - (is_later_in_year ? 1 : 0));
  anchor.anchorDay = maturity.day;
  const std::int32_t last_day = zlastDay(anchor.year, anchor.month);
  if (maturity.day > last_day || maturity.endOfMonth != 0) {
    anchor.day = last_day;
    anchor.endOfMonth = 1;
  }
  ConvertDateToJulian(anchor);
  return anchor;
}

// Fills the search if settlement is a coupon date, `count` periods after the anchor.
void settle_on_coupon(CouponSearch& search, const CalendarDate& anchor,
                      std::int64_t count) noexcept {
  search.couponOnSettlement = &search.onSettlementStore;
  search.onSettlementStore = *search.settlement;
  search.previousStore = (search.requests & kDaysInPeriod) != 0
                             ? zAdvanceDate(anchor, count - 1, *search.terms)
                             : *search.settlement;
  search.nextStore = zAdvanceDate(anchor, count + 1, *search.terms);
}

// Steps from the anchor, forward if sign is 1 or backward if it is -1, until a date reaches or
// passes settlement.
bool walk_to_settlement(CouponSearch& search, const CalendarDate& anchor, int sign) noexcept {
  const DayCountTerms& terms = *search.terms;
  const DateOrder passed = sign > 0 ? kLater : kEarlier;
  CalendarDate& front = sign > 0 ? search.nextStore : search.previousStore;
  CalendarDate& back = sign > 0 ? search.previousStore : search.nextStore;
  front = anchor;
  back = anchor;
  for (std::int64_t k = 1; k <= terms.frequency; ++k) {
    if (k > kLongestSchedule) return false;
    back = front;
    front = zAdvanceDate(anchor, sign * k, terms);
    const DateOrder order = zCompareDates(front, *search.settlement);
    if (order == passed) break;
    if (order == kSameDay) {
      settle_on_coupon(search, anchor, sign * k);
      break;
    }
  }
  return true;
}

// Steps from the anniversary of maturity to the coupons around settlement.
[[gnu::noinline]] bool walk_to_coupons(CouponSearch& search) noexcept {
  const CalendarDate anchor = anniversary(*search.settlement, *search.maturity);
  switch (zCompareDates(anchor, *search.settlement)) {
    case kSameDay:
      search.previousStore = anchor;
      search.onSettlementStore = anchor;
      search.couponOnSettlement = &search.onSettlementStore;
      search.nextStore = zAdvanceDate(anchor, 1, *search.terms);
      return true;
    case kEarlier:
      return walk_to_settlement(search, anchor, 1);
    default:
      return walk_to_settlement(search, anchor, -1);
  }
}

// Counts the days of a request. CountTheDays overwrites periodDays, so its value is restored.
double measured(const CalendarDate& start, const CalendarDate& end, DayCountTerms& terms) noexcept {
  const double period_days = terms.periodDays;
  CountTheDays(start, end, terms);
  terms.periodDays = period_days;
  return terms.dayCount;
}

// Counts the coupons after settlement one by one.
[[gnu::noinline]] std::optional<double> walk_coupons(const CalendarDate& settlement,
                                                     const CalendarDate& maturity,
                                                     const DayCountTerms& terms) noexcept {
  double coupons = coupons_between_years(settlement, maturity, terms);
  const CalendarDate in_settlement_year = in_year(maturity, settlement.year);
  const DateOrder order = zCompareDates(in_settlement_year, settlement);
  if (order == kSameDay) return coupons;
  const int sign = order == kEarlier ? 1 : -1;
  for (std::int64_t k = 1; k <= terms.frequency; ++k) {
    if (k > kLongestSchedule) return std::nullopt;
    const DateOrder stepped =
        zCompareDates(zAdvanceDate(in_settlement_year, sign * k, terms), settlement);
    if (order == kEarlier) {
      if (stepped == kLater) break;
      coupons -= 1.0;
      if (stepped == kSameDay) break;
    } else {
      coupons += 1.0;
      if (stepped != kLater) break;
    }
  }
  return coupons;
}

}  // namespace

void zComputePeriod(DayCountTerms& terms) noexcept {
  switch (terms.frequency) {
    case 1:
    case 2:
    case 4:
    case 6:
    case 12:
      terms.monthsPerPeriod = 12 / terms.frequency;
      break;
    default:
      terms.monthsPerPeriod = kNoMonthsPerPeriod;
  }
}

void zComputeDaysInPeriod(DayCountTerms& terms) noexcept {
  switch (terms.basis) {
    case kBasisUs30360:
    case kBasisActual360:
    case kBasisEuropean30360:
      terms.periodDays = 360.0 / terms.frequency;
      break;
    case kBasisActual365:
      terms.periodDays = 365.0 / terms.frequency;
      break;
    default:
      terms.periodDays = kNoFixedPeriod;
  }
}

void measure_in_coupons(DayCountTerms& terms, std::int32_t frequency, BasisCode basis) noexcept {
  terms.frequency = frequency;
  terms.stepUnit = kMonths;
  terms.basis = basis;
  zComputePeriod(terms);
  zComputeDaysInPeriod(terms);
}

CalendarDate zAdvanceDate(const CalendarDate& date, std::int64_t count,
                          const DayCountTerms& terms) noexcept {
  const auto step = static_cast<std::int32_t>(count * terms.monthsPerPeriod);  // its low 32 bits
  const std::int32_t target = date.anchorDay > 0 ? date.anchorDay : date.day;
  CalendarDate stepped = date;
  if (terms.stepUnit == kMonths) {
    const std::int64_t months = std::int64_t{date.month} + step;
    std::int64_t years = months / 12;
    std::int64_t month = months - 12 * years;
    if (month <= 0) {
      years -= 1;
      month += 12;
    }
    stepped.month = static_cast<std::int32_t>(month);
    stepped.year = static_cast<std::int32_t>(date.year + years);
  } else {
    stepped.year = static_cast<std::int32_t>(std::int64_t{date.year} + step);
  }
  const std::int32_t last_day = zlastDay(stepped.year, stepped.month);
  stepped.day = date.endOfMonth != 0 || target > last_day ? last_day : target;
  ConvertDateToJulian(stepped);
  return stepped;
}

bool FindCouponInfo(CouponSearch& search) noexcept {
  search.previousCoupon = &search.previousStore;
  search.nextCoupon = &search.nextStore;
  search.couponOnSettlement = nullptr;
  DayCountTerms& terms = *search.terms;
  if (is_monthly(*search.settlement, *search.maturity, terms)) {
    find_coupons(search);
  } else if (!walk_to_coupons(search)) {
    return false;
  }

  if ((search.requests & kDaysFromPrevious) != 0) {
    search.daysFromPrevious = measured(search.previousStore, *search.settlement, terms);
  }
  if ((search.requests & kDaysToNext) != 0) {
    search.daysToNext = measured(*search.settlement, search.nextStore, terms);
  }
  if ((search.requests & kDaysInPeriod) != 0) {
    const CalendarDate& start =
        search.couponOnSettlement != nullptr ? search.onSettlementStore : search.previousStore;
    search.daysInPeriod = period_length(start, search.nextStore, terms);
  }
  return true;
}

std::optional<double> CountTheCoupons(const CalendarDate& settlement, const CalendarDate& maturity,
                                      const DayCountTerms& terms) noexcept {
  if (settlement.dayNumber < maturity.dayNumber && is_monthly(settlement, maturity, terms)) {
    return coupons_after(settlement, maturity, terms);
  }
  return walk_coupons(settlement, maturity, terms);
}

std::optional<double> CountWholeCoupons(const CalendarDate& start, const CalendarDate& end,
                                        const DayCountTerms& terms) noexcept {
  double coupons = coupons_between_years(start, end, terms);
  CalendarDate date = in_year(end, start.year);
  const DateOrder order = zCompareDates(date, start);
  if (order == kSameDay) return coupons;
  if (order == kEarlier) {
    date = in_year(end, std::int64_t{start.year} + 1);
    coupons -= terms.frequency;
  }
  for (std::int64_t k = 1; k <= terms.frequency; ++k) {
    if (k > kLongestSchedule) return std::nullopt;
    const DateOrder stepped = zCompareDates(zAdvanceDate(date, -k, terms), start);
    if (stepped == kEarlier) break;
    coupons += 1.0;
    if (stepped == kSameDay) break;
  }
  return coupons;
}

}  // namespace vxfnc
