#include "coupons/proportions.h"

#include <algorithm>

#include "coupons/coupon_days.h"
#include "coupons/schedule.h"

namespace vxfnc {

double Compute1CouponProportion(const CalendarDate& a, const CalendarDate& b, const CalendarDate& c,
                                const CalendarDate& d, DayCountTerms& terms) noexcept {
  const double days = CountTheCouponDays(a, b, terms);
  const double fraction = terms.basis == kBasisActual ? days / CountTheCouponDays(c, d, terms)
                                                      : terms.dayCount / terms.periodDays;
  return terms.atLeastOnePeriod != 0 ? std::max(fraction, 1.0) : fraction;
}

std::optional<double> ComputeFromSettlementToNextCoupon(const CalendarDate& settlement,
                                                        const CalendarDate& maturity,
                                                        DayCountTerms& terms) noexcept {
  CouponSearch search(settlement, maturity, terms, 0);
  if (!FindCouponInfo(search)) return std::nullopt;
  if (search.couponOnSettlement != nullptr) return 0.0;
  const double days = CountTheCouponDays(settlement, search.nextStore, terms);
  return days / period_length(search.previousStore, search.nextStore, terms);
}

std::optional<double> ComputeCouponProportions(const CalendarDate& start, const CalendarDate& end,
                                               const CalendarDate& maturity,
                                               DayCountTerms& terms) noexcept {
  CouponSearch search(start, maturity, terms, 0);
  if (!FindCouponInfo(search)) return std::nullopt;
  const CalendarDate& next = search.nextStore;
  if (zCompareDates(next, end) != kEarlier) {
    // If start is a coupon date, the period by which this fraction is measured begins and ends at
    // start. Under basis 1 the fraction is thus divided by 0 days. This is intended.
    const CalendarDate& measure_end =
        search.couponOnSettlement != nullptr ? search.onSettlementStore : next;
    return Compute1CouponProportion(start, end, search.previousStore, measure_end, terms);
  }
  double sum = Compute1CouponProportion(start, next, search.previousStore, next, terms);
  CalendarDate from = next;
  for (std::int64_t k = 1; k <= kLongestSchedule; ++k) {
    const CalendarDate to = zAdvanceDate(next, k, terms);
    if (zCompareDates(to, end) != kEarlier) {
      return sum + Compute1CouponProportion(from, end, from, to, terms);
    }
    sum += Compute1CouponProportion(from, to, from, to, terms);
    from = to;
  }
  return std::nullopt;
}

bool MakeTheCouponList(const CalendarDate& start, const CalendarDate& end,
                       const CalendarDate& anchor, DayCountTerms& terms,
                       CouponList& list) noexcept {
  CouponSearch search(start, anchor, terms, 0);
  if (!FindCouponInfo(search)) return false;
  const auto set = [&terms](CouponPeriod& slot, const CalendarDate& from, const CalendarDate& to) {
    slot.start = from;
    slot.end = to;
    slot.days = period_length(from, to, terms);
  };
  const CalendarDate first_end = search.nextStore;
  list.starts_on_coupon = search.couponOnSettlement != nullptr;
  set(list.slots[0], search.previousStore, first_end);
  list.used = 1;
  list.periods = 1;

  CalendarDate last_start = search.previousStore;
  CalendarDate last_end = first_end;
  while (zCompareDates(last_end, end) == kEarlier) {
    if (list.periods > kLongestSchedule) return false;
    last_start = last_end;
    last_end = zAdvanceDate(first_end, list.periods, terms);
    ++list.periods;
  }
  if (list.periods > 1) {
    set(list.slots[1], last_start, last_end);
    list.used = 2;
  }
  return true;
}

}  // namespace vxfnc
