// Cash flows on any dates. Time is measured in years of exactly 365 days from the first flow of the
// list, which is never discounted. Later flows of the list may have earlier dates.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "call/reader.h"
#include "call/working_storage.h"
#include "numeric/elementary.h"
#include "numeric/newton.h"

namespace vxfnc::cashflow {
namespace {

// At least one flow, in the order of the arguments.
struct DatedFlowRecord {
  std::int32_t count = 0;
  const double* amounts = nullptr;
  const std::int64_t* days = nullptr;
  double rate = 0.0;  // the rate of XNPV, or the guess of XIRR
  std::int32_t rate_given = 0;
  double irr = 0.0;
  double npv = 0.0;

  // The difference of extreme day numbers may not fit into 64 bits.
  [[nodiscard]] double days_from(std::int32_t j, std::int32_t k) const noexcept {
    std::int64_t difference = 0;
    if (__builtin_sub_overflow(days[k], days[j], &difference)) {
      return static_cast<double>(days[k]) - static_cast<double>(days[j]);
    }
    return static_cast<double>(difference);
  }
  [[nodiscard]] double years(std::int32_t k) const noexcept { return days_from(0, k) / 365.0; }
};

enum XirrStatus : std::int32_t { kDone = 0, kNoRoot = 1, kNoStart = 2 };

void zComputeXNPV(DatedFlowRecord& flows) noexcept {
  const double d = 1.0 / (1.0 + flows.rate);
  double npv = flows.amounts[0];
  for (std::int32_t k = 1; k < flows.count; ++k) {
    npv += flows.amounts[k] * std::pow(d, flows.years(k));
  }
  flows.npv = npv;
}

std::int32_t ComputeF_XIRR(NewtonControl& control) noexcept {
  const auto& flows = *static_cast<const DatedFlowRecord*>(control.context);
  const double d = 1.0 / (1.0 + control.x);
  double value = flows.amounts[0];
  double derivative = 0.0;
  double largest = std::fabs(flows.amounts[0]);
  for (std::int32_t k = 1; k < flows.count; ++k) {
    const double t = flows.years(k);
    const double term = flows.amounts[k] * std::pow(d, t);
    value += term;
    derivative += -t * d * term;
    largest = std::max(largest, std::fabs(term));
  }
  control.value = value;
  control.derivative = derivative;
  control.residualScale = largest;
  return 0;
}

bool solve_from(DatedFlowRecord& flows, double start) noexcept {
  NewtonControl control;
  control.evaluate = ComputeF_XIRR;
  control.context = &flows;
  control.start = start;
  if (CallSpecialNewton(control) != 0) return false;
  flows.irr = control.x;
  return true;
}

// If all amounts have the same sign, there is no rate, but the search may still end at its lowest
// point.
bool has_both_signs(const DatedFlowRecord& flows) noexcept {
  const double* const end = flows.amounts + flows.count;
  return std::any_of(flows.amounts, end, [](double amount) { return amount < 0.0; }) &&
         std::any_of(flows.amounts, end, [](double amount) { return amount > 0.0; });
}

XirrStatus zComputeXIRR(DatedFlowRecord& flows) noexcept {
  if (!has_both_signs(flows)) return kNoRoot;
  constexpr double kLowStart = -0.9;
  if (solve_from(flows, flows.rate_given != 0 ? flows.rate : 0.0)) return kDone;
  if (solve_from(flows, kLowStart)) return kDone;

  // The third start is computed from the earliest and the latest flow that are not close to 0.
  constexpr double kSmallest = 1.0536712127723509e-08;
  constexpr std::int32_t kNone = -1;
  std::int32_t first = kNone;
  std::int32_t last = kNone;
  for (std::int32_t k = 0; k < flows.count; ++k) {
    if (!(std::fabs(flows.amounts[k]) >= kSmallest)) continue;
    if (first == kNone || flows.days[k] < flows.days[first]) first = k;
    if (last == kNone || flows.days[k] > flows.days[last]) last = k;
  }
  if (first == kNone || flows.days[first] == flows.days[last]) return kNoStart;
  const double s = std::log(std::fabs(flows.amounts[last] / flows.amounts[first])) * 365.0 /
                   flows.days_from(first, last);
  if (s > kExpOverflow) return kNoRoot;
  return solve_from(flows, zexpm1(s)) ? kDone : kNoRoot;
}

// The arrays of a call. For up to 100 flows they are on the stack, for more in working storage.
class FlowArrays {
 public:
  explicit FlowArrays(std::int64_t count) noexcept {
    if (count <= kInFrame) return;
    const auto n = static_cast<std::uint64_t>(count);
    storage_.emplace(n * (sizeof(double) + sizeof(std::int64_t)));
    amounts = static_cast<double*>(storage_->get());
    days = reinterpret_cast<std::int64_t*>(amounts + (amounts == nullptr ? 0 : count));
  }

  double* amounts = frame_amounts_;  // null if out of memory
  std::int64_t* days = frame_days_;

 private:
  static constexpr std::int64_t kInFrame = 100;

  double frame_amounts_[kInFrame];
  std::int64_t frame_days_[kInFrame];
  std::optional<WorkingStorage> storage_;
};

// Reads the amount and the date of each flow in turn. The amounts begin at `slot`; the dates follow
// the amounts.
void read_flows(Reader& in, std::int64_t slot, std::int64_t count, FlowArrays& arrays,
                DatedFlowRecord& flows) noexcept {
  for (std::int64_t k = 0; k < count && in.ok(); ++k) {
    arrays.amounts[k] = in.number(slot + k);
    arrays.days[k] = in.date(slot + count + k);
  }
  flows.count = static_cast<std::int32_t>(count);
  flows.amounts = arrays.amounts;
  flows.days = arrays.days;
}

}  // namespace

// XNPV(rate, amount ..., date ...)
Status fnc_XNPV(Reader& in) noexcept {
  if (in.count() % 2 != 0) return STATUS_UNPAIRED;  // the result is not changed
  const std::int64_t count = (in.count() - 2) / 2;
  if (count == 0) return in.fail();
  DatedFlowRecord flows;
  flows.rate = in.number(1);
  if (!in.ok()) return in.status();
  FlowArrays arrays(count);
  if (arrays.amounts == nullptr) return STATUS_NO_STORAGE;
  read_flows(in, 2, count, arrays, flows);
  if (!in.ok()) return in.status();
  zComputeXNPV(flows);
  return in.store(flows.npv);
}

// XIRR(amount ..., date ... [, guess])
Status fnc_XIRR(Reader& in) noexcept {
  const std::int64_t count = (in.count() - 1) / 2;
  if (count == 0) return in.fail();
  DatedFlowRecord flows;
  flows.rate_given = in.count() % 2 == 0 ? 1 : 0;
  if (flows.rate_given != 0) flows.rate = in.number(in.count() - 1);
  if (!in.ok()) return in.status();
  FlowArrays arrays(count);
  if (arrays.amounts == nullptr) return STATUS_NO_STORAGE;
  read_flows(in, 1, count, arrays, flows);
  if (!in.ok()) return in.status();
  return zComputeXIRR(flows) == kDone ? in.store(flows.irr) : in.fail();
}

}  // namespace vxfnc::cashflow
