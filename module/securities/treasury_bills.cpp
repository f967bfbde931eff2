// Treasury bills, on a discount year of 360 days and a bond year of 365. Their dates are plain date
// values: fractions of a day count.
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
// The yield of a bond that pays as much: at simple interest up to half a year, compounded once
// beyond. Alone among the three it compares the dates; bills of more than a year are computed, too.
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
  if (q < 0.0) return STATUS_BAD_ARG;  // the one failure that leaves the result untouched
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
// No days to maturity: the quotient by zero is the answer.
Status fnc_TBILLYIELD(Reader& in) noexcept {
  const Bill bill = read_bill(in);
  const double price = in.positive(3);
  if (!in.ok()) return in.status();
  return in.store((100.0 - price) / price * 360.0 / bill.days());
}

}  // namespace vxfnc::securities
