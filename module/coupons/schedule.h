// The coupon schedule. Coupon dates are not stored in a list. They are computed in whole coupon
// periods from maturity. Each has the same day of the month as maturity, or the last day of a
// shorter month. If maturity is the last day of a month, all coupon dates are month ends.
//
// Dates must have been filled by zgetMonthDayYear. The functions do not validate. If the frequency
// is not 1, 2, 4, 6 or 12, the schedule has no meaning, but the functions are safe. Functions with
// an optional result return nothing if the schedule has more than kLongestSchedule periods. Before
// year 1 a schedule may be wrong by a year.
#pragma once

#include <cstdint>
#include <optional>

#include "calendar/day_count.h"

namespace vxfnc {

// The maximum number of periods that a function steps through. With a valid frequency, only
// schedules of tens of thousands of years are longer.
inline constexpr std::int64_t kLongestSchedule = 1 << 20;

// The value of monthsPerPeriod for a frequency that does not divide a year into whole months.
inline constexpr std::int64_t kNoMonthsPerPeriod = -2147483647;

// zComputePeriod sets monthsPerPeriod from the frequency. zComputeDaysInPeriod sets periodDays from
// the basis and the frequency. For basis 1, whose periods differ in length, periodDays becomes the
// largest double.
void zComputePeriod(DayCountTerms& terms) noexcept;
void zComputeDaysInPeriod(DayCountTerms& terms) noexcept;

// Sets up zero-filled terms for a schedule with `frequency` coupons per year.
void measure_in_coupons(DayCountTerms& terms, std::int32_t frequency, BasisCode basis) noexcept;

// Returns the date `count` periods later, or earlier if count is negative.
CalendarDate zAdvanceDate(const CalendarDate& date, std::int64_t count,
                          const DayCountTerms& terms) noexcept;

enum CouponRequest : std::int32_t {
  kDaysFromPrevious = 1,  // from the previous coupon to settlement
  kDaysToNext = 2,        // from settlement to the next coupon
  kDaysInPeriod = 4,      // of the period that contains settlement
};

// The input and output of FindCouponInfo. After FindCouponInfo the record contains pointers to its
// own members, so it must not be copied.
struct CouponSearch {
  // Does not initialise the output, because that would take noticeable time.
  CouponSearch(const CalendarDate& settlement_date, const CalendarDate& maturity_date,
               DayCountTerms& day_count_terms, std::int32_t requested) noexcept
      : settlement(&settlement_date),
        maturity(&maturity_date),
        couponOnSettlement(nullptr),
        terms(&day_count_terms),
        requests(requested) {}

  const CalendarDate* settlement;
  const CalendarDate* maturity;
  CalendarDate* previousCoupon;      // always previousStore
  CalendarDate* couponOnSettlement;  // onSettlementStore if settlement is a coupon date, else null
  CalendarDate* nextCoupon;          // always nextStore
  DayCountTerms* terms;
  double daysFromPrevious;
  double daysToNext;
  double daysInPeriod;
  std::int32_t requests;  // the sum of CouponRequest values
  CalendarDate previousStore;
  CalendarDate onSettlementStore;
  CalendarDate nextStore;
};

// Finds the coupon dates around settlement and counts the requested days. Returns false if the
// schedule is too long, which happens only with an invalid frequency.
bool FindCouponInfo(CouponSearch& search) noexcept;

// Counts the coupons after settlement up to and including maturity. Returns nothing if the schedule
// is too long, which happens only with an invalid frequency. In the year of settlement, the day of
// maturity is not limited to the length of the month: if maturity is 29 February, the coupon of a
// common year counts as due on 1 March.
std::optional<double> CountTheCoupons(const CalendarDate& settlement, const CalendarDate& maturity,
                                      const DayCountTerms& terms) noexcept;

// Counts the coupons from start to end on the schedule of end. If start is a coupon date, it is
// counted. No keyword uses this function.
std::optional<double> CountWholeCoupons(const CalendarDate& start, const CalendarDate& end,
                                        const DayCountTerms& terms) noexcept;

}  // namespace vxfnc
