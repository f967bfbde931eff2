// The six coupon queries: one list of arguments, one order of refusals, six answers.
#include <optional>

#include "calendar/host_dates.h"
#include "coupons/schedule.h"
#include "frame/reader.h"

namespace vxfnc::coupons {
namespace {

struct CouponQuery {
  CalendarDate settlement{};
  CalendarDate maturity{};
  DayCountTerms terms{};
};

// Nothing: the schedule of a meaningless frequency is too long to walk.
using Core = std::optional<double>(CouponQuery&);

CouponSearch search_of(CouponQuery& query, std::int32_t requests) noexcept {
  CouponSearch search{};
  search.settlement = &query.settlement;
  search.maturity = &query.maturity;
  search.terms = &query.terms;
  search.requests = requests;
  return search;
}

// A coupon date as a date value, by way of the host's own formats: MISSING where those reject it.
double host_date(const CalendarDate& date) noexcept {
  return vxfmtzdatjul(vxfmtzjulymd(date.year, date.month, date.day));
}

std::optional<double> zComputeCOUPDAYBS(CouponQuery& query) {
  CouponSearch search = search_of(query, kDaysFromPrevious);
  if (!FindCouponInfo(search)) return std::nullopt;
  return search.daysFromPrevious;
}

std::optional<double> zComputeCOUPDAYSNC(CouponQuery& query) {
  CouponSearch search = search_of(query, kDaysToNext);
  if (!FindCouponInfo(search)) return std::nullopt;
  return search.daysToNext;
}

// Only periods of basis 1 differ from each other.
std::optional<double> zComputeCOUPDAYS(CouponQuery& query) {
  if (query.terms.basis != kBasisActual) return query.terms.periodDays;
  CouponSearch search = search_of(query, kDaysInPeriod);
  if (!FindCouponInfo(search)) return std::nullopt;
  return search.daysInPeriod;
}

std::optional<double> zComputeCOUPNCD(CouponQuery& query) {
  CouponSearch search = search_of(query, 0);
  if (!FindCouponInfo(search)) return std::nullopt;
  return host_date(search.nextStore);
}

std::optional<double> zComputeCOUPPCD(CouponQuery& query) {
  CouponSearch search = search_of(query, 0);
  if (!FindCouponInfo(search)) return std::nullopt;
  return host_date(search.previousStore);
}

std::optional<double> zComputeCOUPNUM(CouponQuery& query) {
  return CountTheCoupons(query.settlement, query.maturity, query.terms);
}

void read_dates(Reader& in, CouponQuery& query) noexcept {
  query.settlement.dayNumber = in.date(1);
  query.maturity.dayNumber = in.date(2);
}

Status answer(Reader& in, CouponQuery& query, Core* core) noexcept {
  query.terms.frequency = in.integer(3, 1);
  query.terms.basis = in.basis(4);
  if (!in.ok()) return in.status();

  query.terms.stepUnit = kMonths;
  zComputePeriod(query.terms);
  zComputeDaysInPeriod(query.terms);
  zgetMonthDayYear(query.settlement);
  zgetMonthDayYear(query.maturity);
  const auto value = core(query);
  return value ? in.store(*value) : in.fail();
}

// Equal dates answer 0 before anything else is read, also where a date is asked for.
Status answer_up_to_maturity(Reader& in, Core* core) noexcept {
  CouponQuery query;
  read_dates(in, query);
  in.require(query.settlement.dayNumber <= query.maturity.dayNumber, 2);
  if (in.ok() && query.settlement.dayNumber == query.maturity.dayNumber) return in.store(0.0);
  return answer(in, query, core);
}

}  // namespace

// COUPDAYBS(settlement, maturity, frequency [, basis])
// Alone among the six it refuses equal dates, and marks the frequency for the order of the dates.
Status fnc_COUPDAYBS(Reader& in) noexcept {
  CouponQuery query;
  read_dates(in, query);
  in.require(query.settlement.dayNumber < query.maturity.dayNumber, 3);
  return answer(in, query, zComputeCOUPDAYBS);
}

// The others take the same arguments.
Status fnc_COUPDAYS(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPDAYS); }
Status fnc_COUPDAYSNC(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPDAYSNC); }
Status fnc_COUPNCD(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPNCD); }
Status fnc_COUPNUM(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPNUM); }
Status fnc_COUPPCD(Reader& in) noexcept { return answer_up_to_maturity(in, zComputeCOUPPCD); }

}  // namespace vxfnc::coupons
