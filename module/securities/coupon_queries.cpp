// The six coupon queries. They have the same arguments.
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

// Returns nothing if the schedule is too long, which happens only with an invalid frequency.
using Core = std::optional<double>(const DayNumbers&, DayCountTerms&);

// Converts a coupon date to a date value by the host's conversion functions. Returns MISSING if
// they reject the date. From 1582 to 3999 the host's calendar and ours are the same, so the
// conversion is a subtraction.
double host_date(const CalendarDate& date) noexcept {
  if (date.year >= 1582 && date.year < 4000) {
    return static_cast<double>(date.dayNumber - kDayNumberOfDateZero);
  }
  return vxfmtzdatjul(vxfmtzjulymd(date.year, date.month, date.day));
}

// Finds the coupons around settlement and returns the value that `taken` takes from them.
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

// Only under basis 1 do periods have different lengths.
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

Status query(Reader& in, const DayNumbers& days, Core* core) noexcept {
  // Unlike other keywords, these reject a frequency that does not fit into 32 bits.
  const std::int64_t frequency = in.whole(3);
  in.require(frequency >= 1 && frequency <= std::numeric_limits<std::int32_t>::max(), 3);
  const BasisCode basis = in.basis(4);
  if (!in.ok()) return in.status();

  DayCountTerms terms{};
  measure_in_coupons(terms, static_cast<std::int32_t>(frequency), basis);
  const auto value = core(days, terms);
  return value ? in.store(*value) : in.fail();
}

// If both dates are equal, the result is 0, also for keywords that return a date. The other
// arguments are then not read.
Status query_up_to_maturity(Reader& in, Core* core) noexcept {
  const DayNumbers days = read_dates(in);
  in.require(days.settlement <= days.maturity, 2);
  if (in.ok() && days.settlement == days.maturity) return in.store(0.0);
  return query(in, days, core);
}

}  // namespace

// COUPDAYBS(settlement, maturity, frequency [, basis])
// Unlike the other five, it rejects equal dates. If the dates are equal or in the wrong order, it
// marks the frequency.
Status fnc_COUPDAYBS(Reader& in) noexcept {
  const DayNumbers days = read_dates(in);
  in.require(days.settlement < days.maturity, 3);
  return query(in, days, zComputeCOUPDAYBS);
}

// The other five have the same arguments.
Status fnc_COUPDAYS(Reader& in) noexcept { return query_up_to_maturity(in, zComputeCOUPDAYS); }
Status fnc_COUPDAYSNC(Reader& in) noexcept { return query_up_to_maturity(in, zComputeCOUPDAYSNC); }
Status fnc_COUPNCD(Reader& in) noexcept { return query_up_to_maturity(in, zComputeCOUPNCD); }
Status fnc_COUPNUM(Reader& in) noexcept { return query_up_to_maturity(in, zComputeCOUPNUM); }
Status fnc_COUPPCD(Reader& in) noexcept { return query_up_to_maturity(in, zComputeCOUPPCD); }

}  // namespace vxfnc::securities
