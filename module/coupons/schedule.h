// The coupon schedule. Coupon dates are never listed: they are stepped from maturity in whole
// coupon periods, on maturity's day of the month, clamped to shorter months; a maturity on the last
// day of a month keeps the whole schedule on month ends.
//
// Dates must be filled by zgetMonthDayYear. Nothing here validates: a frequency other than 1, 2, 4,
// 6 and 12 makes a meaningless schedule, but a safe one. Where the answer is optional, nothing
// stands for a schedule too long to walk. Before year 1 a schedule may be off by a year.
#pragma once

#include <cstdint>
#include <optional>

#include "calendar/day_count.h"

namespace vxfnc {

// Periods that a schedule is walked for one answer. The frequencies that divide a year get there
// only over tens of thousands of years.
inline constexpr std::int64_t kLongestSchedule = 1 << 20;

// monthsPerPeriod of a frequency that divides no year.
inline constexpr std::int64_t kNoMonthsPerPeriod = -2147483647;

// Set monthsPerPeriod from the frequency, and periodDays from basis and frequency: the days of a
// coupon period, or the largest double for basis 1, whose periods differ.
void zComputePeriod(DayCountTerms& terms) noexcept;
void zComputeDaysInPeriod(DayCountTerms& terms) noexcept;

// Makes zero-filled terms those of a schedule of so many coupons a year.
void measure_in_coupons(DayCountTerms& terms, std::int32_t frequency, BasisCode basis) noexcept;

// The date `count` periods later, or earlier for a negative count.
CalendarDate zAdvanceDate(const CalendarDate& date, std::int64_t count,
                          const DayCountTerms& terms) noexcept;

enum CouponRequest : std::int32_t {
  kDaysFromPrevious = 1,  // previous coupon to settlement
  kDaysToNext = 2,        // settlement to next coupon
  kDaysInPeriod = 4,      // of the period that holds settlement
};

// Request and answer of FindCouponInfo. It points into itself: do not copy it once it is answered.
struct CouponSearch {
  // Leaves the answers unset, which is quicker than to fill them with zeros.
  CouponSearch(const CalendarDate& settlement_date, const CalendarDate& maturity_date,
               DayCountTerms& day_count_terms, std::int32_t requested) noexcept
      : settlement(&settlement_date),
        maturity(&maturity_date),
        couponOnSettlement(nullptr),
        terms(&day_count_terms),
        requests(requested) {}

  const CalendarDate* settlement;
  const CalendarDate* maturity;
  CalendarDate* previousCoupon;  // always previousStore
  CalendarDate*
      couponOnSettlement;    // onSettlementStore when settlement is a coupon date, else null
  CalendarDate* nextCoupon;  // always nextStore
  DayCountTerms* terms;
  double daysFromPrevious;
  double daysToNext;
  double daysInPeriod;
  std::int32_t requests;  // CouponRequests, added up
  CalendarDate previousStore;
  CalendarDate onSettlementStore;
  CalendarDate nextStore;
};

// The coupon dates around settlement and the requested day counts. False when a meaningless
// frequency makes the schedule too long to walk.
bool FindCouponInfo(CouponSearch& search) noexcept;

// Coupons payable after settlement up to and including maturity; nothing when a meaningless
// frequency makes the schedule too long to walk. Maturity's day is not clamped in settlement's
// year: a schedule on 29 February counts from 1 March in common years.
std::optional<double> CountTheCoupons(const CalendarDate& settlement, const CalendarDate& maturity,
                                      const DayCountTerms& terms) noexcept;

// The same on the schedule of end, a start that is a coupon date counted. No keyword asks for it.
std::optional<double> CountWholeCoupons(const CalendarDate& start, const CalendarDate& end,
                                        const DayCountTerms& terms) noexcept;

}  // namespace vxfnc
