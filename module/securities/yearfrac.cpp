// The keyword YEARFRAC.
#include "calendar/day_count.h"
#include "call/reader.h"

namespace vxfnc::securities {

// YEARFRAC(start, end [, basis])
// An end date on the 31st counts as the 31st under basis 0: 30 January to 31 March is 61 days.
Status fnc_YEARFRAC(Reader& in) noexcept {
  const std::int64_t start = in.date(1);
  const std::int64_t end = in.date(2);
  in.require(start <= end, 2);
  if (in.ok() && start == end) return in.store(0.0);  // for any basis, even an invalid one
  DayCountTerms terms{};
  measure_in_years(terms, in.basis(3));
  if (!in.ok()) return in.status();

  const double years = ComputeTheAnnualRatio(date_of_day(start), date_of_day(end), terms);
  return years < 0.0 ? in.fail() : in.store(years);
}

}  // namespace vxfnc::securities
