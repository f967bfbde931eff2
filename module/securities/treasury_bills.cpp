// Treasury bills, with a discount year of 360 days and a bond year of 365 days. Dates need not be
// whole days: fractions of a day are counted.
#include <cmath>

#include "call/reader.h"

namespace vxfnc::securities {
namespace {

struct Bill {
  double settlement;
  double maturity;

  [[nodiscard]] double days() const noexcept { return maturity - settlement; }
};

Bill read_bill(Reader& in) noexcept {
  const double settlement = in.positive(1);
  return {settlement, in.positive(2)};
}

}  // namespace

// TBILLEQ(settlement, maturity, discount)
// Returns the yield of a bond that pays the same: at simple interest up to half a year, and
// compounded once for longer times. Unlike the other two, it compares the dates. Bills of more than
// a year are accepted.
Status fnc_TBILLEQ(Reader& in) noexcept {
  const Bill bill = read_bill(in);
  in.require(bill.settlement < bill.maturity, 2);
  const double discount = in.positive(3);
  if (!in.ok()) return in.status();

  const double days = bill.days();
  const double value = 360.0 - discount * days;
  if (days <= 182.0) return in.store(365.0 * discount / value);
  const double t = days / 365.0;
  const double q = t * t - (2.0 * t - 1.0) * (discount * days / -value);
  if (q < 0.0) return STATUS_BAD_ARG;  // the only failure that does not store MISSING
  return in.store((std::sqrt(q) - t) / (t - 0.5));
}

// TBILLPRICE(settlement, maturity, discount)
Status fnc_TBILLPRICE(Reader& in) noexcept {
  const Bill bill = read_bill(in);
  const double discount = in.positive(3);
  if (!in.ok()) return in.status();
  return in.store((1.0 - discount * bill.days() / 360.0) * 100.0);
}

// TBILLYIELD(settlement, maturity, pr)
// If there are no days to maturity, the result of the division by zero is returned.
Status fnc_TBILLYIELD(Reader& in) noexcept {
  const Bill bill = read_bill(in);
  const double price = in.positive(3);
  if (!in.ok()) return in.status();
  return in.store((100.0 - price) / price * 360.0 / bill.days());
}

}  // namespace vxfnc::securities
