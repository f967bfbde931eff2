// The six coupon queries: one list of arguments, one order of refusals, six answers.
#include <limits>
#include <optional>

#include "calendar/host_dates.h"
#include "call/reader.h"
#include "coupons/schedule.h"

namespace vxfnc::securities {
namespace {

struct DayNumbers {
  std::int64_t settlement;
  std::int64_t maturity;
};

// Nothing: the schedule of a meaningless frequency is too long to walk.
using Core = std::optional<double>(const DayNumbers&, DayCountTerms&);

// A coupon date as a date value, by way of the host's own formats: MISSING where those reject it.
// Between 1582 and 3999 they agree with the engine, and the way can be spared.
double host_date(const CalendarDate& date) noexcept {
  if (date.year >= 1582 && date.year < 4000) {
    return static_cast<double>(date.dayNumber - kDayNumberOfDateZero);
  }
  return vxfmtzdatjul(vxfmtzjulymd(date.year, date.month, date.day));
}

// What `taken` takes from the coupons around settlement.
std::optional<double> found(const DayNumbers& days, DayCountTerms& terms, std::int32_t requests,
                            double (*taken)(const CouponSearch&)) {
  const CalendarDate settlement = date_of_day(days.settlement);
  const CalendarDate maturity = date_of_day(days.maturity);
  CouponSearch search(settlement, maturity, terms, requests);
  if (!FindCouponInfo(search)) return std::nullopt;
  return taken(search);
}

std::optional<double> zComputeCOUPDAYBS(const DayNumbers& days, DayCountTerms& terms) {
  return found(days, terms, kDaysFromPrevious,
               [](const CouponSearch& search) { return search.daysFromPrevious; });
}

std::optional<double> zComputeCOUPDAYSNC(const DayNumbers& days, DayCountTerms& terms) {
  return found(days, terms, kDaysToNext,
               [](const CouponSearch& search) { return search.daysToNext; });
}

// Only periods of basis 1 differ from each other.
std::optional<double> zComputeCOUPDAYS(const DayNumbers& days, DayCountTerms& terms) {
  if (terms.basis != kBasisActual) return terms.periodDays;
  return found(days, terms, kDaysInPeriod,
               [](const CouponSearch& search) { return search.daysInPeriod; });
}

std::optional<double> zComputeCOUPNCD(const DayNumbers& days, DayCountTerms& terms) {
  return found(days, terms, 0,
               [](const CouponSearch& search) { return host_date(*search.nextCoupon); });
}

std::optional<double> zComputeCOUPPCD(const DayNumbers& days, DayCountTerms& terms) {
  return found(days, terms, 0,
               [](const CouponSearch& search) { return host_date(*search.previousCoupon); });
}

std::optional<double> zComputeCOUPNUM(const DayNumbers& days, DayCountTerms& terms) {
  return CountTheCoupons(date_of_day(days.settlement), date_of_day(days.maturity), terms);
}

DayNumbers read_dates(Reader& in) noexcept {
  const std::int64_t settlement = in.date(1);
  return {settlement, in.date(2)};
}

Status answer(Reader& in, const DayNumbers& days, Core* core) noexcept {
  // Here a frequency beyond 32 bits is refused, not taken by its low 32 bits.
  const std::int64_t frequency = in.whole(3);
  in.require(frequency >= 1 && frequency <= std::numeric_limits<std::int32_t>::max(), 3);
  const BasisCode basis = in.basis(4);
  if (!in.ok()) return in.status();

  DayCountTerms terms{};
  measure_in_coupons(terms, static_cast<std::int32_t>(frequency), basis);
  const auto value = core(days, terms);
  return value ? in.store(*value) : in.fail();
}

// Equal dates answer 0 before anything else is read, also where a date is asked for.
Status answer_up_to_maturity(Reader& in, Core* core) noexcept {
  const DayNumbers days = read_dates(in);
  in.require(days.settlement <= days.maturity, 2);
  if (in.ok() && days.settlement == days.maturity) return in.store(0.0);
  return answer(in, days, core);
}

}  // namespace

// COUPDAYBS(settlement, maturity, frequency [, basis])
// Alone among the six it refuses equal dates, and marks the frequency for the order of the dates.
Status fnc_COUPDAYBS(Reader& in) noexcept {
  const DayNumbers days = read_dates(in);
  in.require(days.settlement < days.maturity, 3);
  return answer(in, days, zComputeCOUPDAYBS);
}

// The others take the same arguments.
Status fnc_COUPDAYS(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPDAYS); }
Status fnc_COUPDAYSNC(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPDAYSNC); }
Status fnc_COUPNCD(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPNCD); }
Status fnc_COUPNUM(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPNUM); }
Status fnc_COUPPCD(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPPCD); }

}  // namespace vxfnc::securities
