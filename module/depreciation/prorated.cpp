#include "depreciation/prorated.h"

#include <algorithm>
#include <cmath>

#include "call/reader.h"
#include "numeric/bounded.h"

namespace vxfnc::depreciation {
namespace {

// Returns the number of whole periods of a life. It may not fit into 32 bits.
std::int64_t periods_of(double life) noexcept {
  constexpr double kMost = 0x1p53;
  return static_cast<std::int64_t>(std::min(life, kMost));
}

// Rounds amounts to whole numbers, halves away from zero, and records whether all of them fit into
// 32 bits.
class WholeAmounts {
 public:
  double rounded(double amount) noexcept {
    const double moved = amount > 0.0 ? amount + 0.5 : amount - 0.5;
    if (!(moved > -0x1p31 - 1.0 && moved < 0x1p31)) {
      fit_ = false;
      return 0.0;
    }
    return static_cast<double>(static_cast<std::int32_t>(moved));
  }
  [[nodiscard]] bool fit() const noexcept { return fit_; }

 private:
  bool fit_ = true;
};

// Returns the coefficient of a life: 1.5 up to 4 years, 2 up to 6 years, else 2.5. The limits are
// slightly higher, so that rounding errors of 1 / rate do not matter.
double coefficient(double life) noexcept {
  if (life <= 4.000000000004) return 1.5;
  return life <= 6.0000000000060005 ? 2.0 : 2.5;
}

double first_fraction(ProratedAsset& asset) noexcept {
  asset.terms.useStartYearLength = 1;
  return ComputeTheAnnualRatio(asset.purchased, asset.first_period_end, asset.terms);
}

}  // namespace

std::optional<double> zComputeAMORDEGRC(ProratedAsset& asset) noexcept {
  const double life = 1.0 / asset.rate;
  const std::int64_t n = periods_of(life);
  if (n < 3) return 0.0;
  const double c = coefficient(life);
  if (asset.period > n) return 0.0;

  const double y = first_fraction(asset);
  double first = asset.cost * c * asset.rate * y;
  if (asset.salvage > asset.cost - first) first = asset.cost - asset.salvage;
  WholeAmounts amounts;
  double charge = amounts.rounded(first);
  double value = asset.cost;
  double rate = c * asset.rate;
  std::int64_t walked = 0;
  for (std::int64_t k = 0; k < asset.period; ++k) {
    if (++walked > kLongestWalk) return std::nullopt;
    value = value - charge;
    if (k == n - 2) {
      rate = 0.5;
    } else if (k == n - 1) {
      rate = 1.0;
    }
    charge = amounts.rounded(asset.salvage > value ? 0.0 : value * rate);
    // After a charge of 0, all charges are 0 until the rate changes, so those periods are skipped.
    if (charge == 0.0 && k < n - 3) k = std::min<std::int64_t>(asset.period - 1, n - 3);
  }
  if (!amounts.fit()) return std::nullopt;
  return charge;
}

double zComputeAMORLINC(ProratedAsset& asset) noexcept {
  // A life this close to a whole number is whole.
  constexpr double kWholeLife = 1.053671212772351e-08;
  const double life = 1.0 / asset.rate;
  std::int64_t n = periods_of(1.000000000001 * life);
  if (std::fabs(static_cast<double>(n) - life) > static_cast<double>(n) * kWholeLife) n = n + 1;
  if (asset.period > n) return 0.0;

  asset.terms.keepEnd31 = 1;
  const double y = first_fraction(asset);
  // If the asset is bought on the last day of the first period, there is no prorated period: period
  // 0 is the first full one.
  const bool no_first = asset.purchased.dayNumber == asset.first_period_end.dayNumber;
  const double period = static_cast<double>(asset.period) + (no_first ? 1.0 : 0.0);
  const double full = asset.cost * asset.rate;
  if (period == 0.0) return y * full;
  const double left = asset.cost - y * full - asset.salvage - (period - 1.0) * full;
  return std::max(std::min(left, full), 0.0);
}

namespace {

// The first three arguments, which both keywords read in the same way.
struct Purchase {
  double cost;
  std::int64_t purchased;
  std::int64_t first_period_end;
};

Purchase read_purchase(Reader& in) noexcept {
  const double cost = in.positive(1);
  const std::int64_t purchased = in.date(2);
  const std::int64_t first_period_end = in.date(3);
  in.require(purchased <= first_period_end, 3);
  return {cost, purchased, first_period_end};
}

double read_salvage(Reader& in) noexcept {
  const double salvage = in.number(4);
  in.require(salvage >= 0.0, 4);
  return salvage;
}

void fill(ProratedAsset& asset, const Purchase& purchase, double salvage, double rate,
          std::int32_t period, BasisCode basis) noexcept {
  asset.cost = purchase.cost;
  asset.salvage = salvage;
  asset.rate = rate;
  asset.period = period;
  asset.purchased.dayNumber = purchase.purchased;
  asset.first_period_end.dayNumber = purchase.first_period_end;
  zgetMonthDayYear(asset.purchased);
  zgetMonthDayYear(asset.first_period_end);
  measure_in_years(asset.terms, basis);
}

}  // namespace

// AMORDEGRC(cost, date_purchased, first_period, salvage, period, rate [, basis])
Status fnc_AMORDEGRC(Reader& in) noexcept {
  const Purchase purchase = read_purchase(in);
  if (in.ok() && purchase.purchased == purchase.first_period_end) {
    return in.store(0.0);  // the other arguments are not read
  }
  const double salvage = read_salvage(in);
  const std::int32_t period = in.integer(5, 0);
  const double rate = in.positive(6);
  in.require(rate < 0.5, 6);
  const BasisCode basis = in.basis(7);
  if (!in.ok()) return in.status();

  ProratedAsset asset;
  fill(asset, purchase, salvage, rate, period, basis);
  const auto charge = zComputeAMORDEGRC(asset);
  return charge ? in.store(*charge) : in.fail();
}

// AMORLINC(cost, date_purchased, first_period, salvage, period, rate [, basis])
Status fnc_AMORLINC(Reader& in) noexcept {
  const Purchase purchase = read_purchase(in);
  const double salvage = read_salvage(in);
  in.require(salvage <= purchase.cost, 4);
  const std::int32_t period = in.integer(5, 0);
  const double rate = in.positive(6);
  const BasisCode basis = in.basis(7);
  if (!in.ok()) return in.status();

  ProratedAsset asset;
  fill(asset, purchase, salvage, rate, period, basis);
  return in.store(zComputeAMORLINC(asset));
}

}  // namespace vxfnc::depreciation
