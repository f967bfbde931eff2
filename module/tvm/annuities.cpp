// Annuities: equal payments, one per period. Money received is positive, money paid is negative.
// The rate is a fraction per period. Type 1 means that payments are made at the start of each
// period.
//
// Powers (1 + r)^k are computed as e^(k ln(1 + r)), so that no digits of small rates are lost.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "call/calc_status.h"
#include "call/reader.h"
#include "numeric/bounded.h"
#include "numeric/elementary.h"
#include "numeric/newton.h"

namespace vxfnc::tvm {
namespace {

// The input and output of a calculation. All members are 0 at first. A routine reads its input
// members and sets its output member.
struct AnnuityRecord {
  std::int32_t nper = 0;
  std::int32_t per = 0;
  std::int32_t start_period = 0;
  std::int32_t end_period = 0;
  std::int32_t type = 0;  // 1: payments at the start; any other value: at the end
  double pmt = 0.0;
  double pv = 0.0;
  double fv_in = 0.0;  // the argument fv, or pv for FV
  double ipmt = 0.0;
  double rate = 0.0;
  double ppmt = 0.0;
  double cumprinc = 0.0;
  double cumipmt = 0.0;
  double fv_out = 0.0;
  double pv_out = 0.0;  // the result of PV, or the argument pv of RATE
  double rate_scale_fv = 0.0;
  double rate_scale_pv = 0.0;

  [[nodiscard]] bool pays_at_start() const noexcept { return type == 1; }
  // The factor for payments that are made one period earlier.
  [[nodiscard]] double advance() const noexcept { return pays_at_start() ? 1.0 + rate : 1.0; }
};

// Computes g = (1 + rate)^periods - 1. Returns false if it overflows.
bool grow(double rate, double periods, double& g) noexcept {
  const double exponent = periods * zln1px(rate);
  if (exponent >= kExpOverflow) return false;
  g = periods == 0.0 ? 0.0 : zexpm1(exponent);
  return true;
}

CalcStatus zComputeFV(AnnuityRecord& a) noexcept {
  double v = 0.0;
  if (!grow(a.rate, a.nper, v)) return kCannotBeComputed;
  a.fv_out = a.fv_out - (v + 1.0) * a.fv_in - v * a.pmt * a.advance() / a.rate;
  return kDone;
}

// For a rate of 0 this computes 0 / 0, and the result is NaN. This is intended.
CalcStatus zComputePV(AnnuityRecord& a) noexcept {
  double w = 0.0;
  if (!grow(a.rate, -static_cast<double>(a.nper), w)) return kCannotBeComputed;
  a.pv_out = -a.fv_in * (w + 1.0) + w * a.pmt * a.advance() / a.rate;
  return kDone;
}

CalcStatus zComputePMT(AnnuityRecord& a) noexcept {
  double v = 0.0;
  if (!grow(a.rate, a.nper, v)) return kCannotBeComputed;
  const double p = -a.rate * ((v + 1.0) * a.pv + a.fv_in) / v;
  a.pmt = a.pays_at_start() ? p / (1.0 + a.rate) : p;
  return kDone;
}

// Computes the interest of period `per`. Unless that is the first period, a.pmt must be set.
CalcStatus find_interest(AnnuityRecord& a) noexcept {
  if (a.per == 1) {
    a.ipmt = a.pays_at_start() ? 0.0 : -a.pv * a.rate;
    return kDone;
  }
  double u = 0.0;
  if (!grow(a.rate, static_cast<double>(a.per) - 1.0, u)) return kCannotBeComputed;
  const double interest = (u + 1.0) * (-a.pv * a.rate);
  a.ipmt = (a.pays_at_start() ? interest / (1.0 + a.rate) : interest) - u * a.pmt;
  return kDone;
}

CalcStatus zComputeIPMT(AnnuityRecord& a) noexcept {
  if (a.per != 1 && zComputePMT(a) != kDone) return kCannotBeComputed;
  return find_interest(a);
}

CalcStatus zComputePPMT(AnnuityRecord& a) noexcept {
  if (zComputePMT(a) != kDone || find_interest(a) != kDone) return kCannotBeComputed;
  a.ppmt = a.pmt - a.ipmt;
  return kDone;
}

// The balance of a loan and the range of periods over which to sum. Payments at the start of
// periods are made one period earlier, and the first one is made immediately.
struct Run {
  double balance;
  std::int64_t first;
  std::int64_t last;
};

Run run_of(const AnnuityRecord& a) noexcept {
  const std::int64_t earlier = a.pays_at_start() ? 1 : 0;
  return {a.pays_at_start() ? a.pv + a.pmt : a.pv, a.start_period - earlier,
          a.end_period - earlier};
}

// Calls `pay` for each period. `pay` updates the balance and returns the interest or the principal
// of the period. Adds these amounts up for the periods of the run. Returns false if there are too
// many periods.
template <class Pay>
bool sum_shares(Run run, double& sum, Pay&& pay) noexcept {
  if (run.last < 1 || run.first > run.last) return true;
  const auto balance_stays = [&] {
    double balance = run.balance;
    pay(balance);
    return same_bits(balance, run.balance);
  };
  const auto sum_stays = [&] {
    double balance = run.balance;
    return is_settled(sum, pay(balance)) && same_bits(balance, run.balance);
  };
  const auto before = static_cast<double>(std::max<std::int64_t>(run.first, 1) - 1);
  const double counted = static_cast<double>(run.last) - before;
  const auto pass = [&] { pay(run.balance); };
  const auto count = [&] { sum += pay(run.balance); };
  return walk(before, kLongestWalk, pass, balance_stays) &&
         walk(counted, kLongestWalk, count, sum_stays);
}

CalcStatus zComputeCUMIPMT(AnnuityRecord& a) noexcept {
  if (zComputePMT(a) != kDone) return kCannotBeComputed;
  const bool is_done = sum_shares(run_of(a), a.cumipmt, [&](double& balance) {
    const double interest = a.rate * balance;
    balance = balance + a.pmt + interest;
    return -interest;
  });
  return is_done ? kDone : kCannotBeComputed;
}

CalcStatus zComputeCUMPRINC(AnnuityRecord& a) noexcept {
  if (zComputePMT(a) != kDone) return kCannotBeComputed;
  if (a.pays_at_start() && a.start_period == 1) a.cumprinc = a.pmt;
  const bool is_done = sum_shares(run_of(a), a.cumprinc, [&](double& balance) {
    const double principal = a.rate * balance + a.pmt;
    balance = balance + principal;
    return principal;
  });
  return is_done ? kDone : kCannotBeComputed;
}

// The annuity factor (1 - (1 + r)^-n) / r and its derivative.
struct Factor {
  double value;
  double derivative;
};

Factor annuity_factor(double r, double n) noexcept {
  if (std::fabs(r * n) >= 0.0001) {
    const double e = zexpm1(-n * zln1px(r));
    const double value = -e / r;
    return {value, n / (1.0 + r) * (1.0 / r - value) - value / r};
  }
  // The quotient would lose digits by cancellation, so its series is used.
  constexpr double kFactorials[] = {1, 2, 6, 24, 120, 720};
  double product = n;  // n (n + 1) ... (n + k)
  double power = 1.0;  // (-r)^k
  Factor f{0.0, 0.0};
  for (int k = 0; k <= 5; ++k) {
    f.value += product * power / kFactorials[k];
    const double next = product * (n + k + 1);
    if (k < 5) f.derivative -= (k + 1) * next * power / kFactorials[k + 1];
    product = next;
    power *= -r;
  }
  return f;
}

// The equation pv + pmt (1 + r type) a(r) + fv (1 + r)^-n = 0, divided by pmt and solved for a(r),
// in logarithms.
std::int32_t ComputeF_RATE(NewtonControl& control) noexcept {
  const auto& a = *static_cast<const AnnuityRecord*>(control.context);
  const double r = control.x;
  if (r <= -1.0) return kCannotBeComputed;
  const Factor factor = annuity_factor(r, a.nper);
  const double d = (r * factor.value - 1.0) * a.rate_scale_fv + a.rate_scale_pv;
  if (!(d > std::numeric_limits<double>::min())) return kCannotBeComputed;
  control.value = std::log(d) - std::log(factor.value);
  control.derivative = a.rate_scale_fv * (r * factor.derivative + factor.value) / d -
                       factor.derivative / factor.value;
  if (a.pays_at_start()) {
    control.value = control.value - zln1px(r);
    control.derivative = control.derivative - 1.0 / (1.0 + r);
  }
  return kDone;
}

CalcStatus zComputeRATE(AnnuityRecord& a) noexcept {
  const double pv = a.pv_out;
  if (!(std::fabs(a.pmt) > 0.0)) {
    // Without payments, pv grows to fv. Both must have the same sign; opposite signs are rejected,
    // on purpose.
    if (a.fv_in == 0.0 || pv / a.fv_in <= 0.0) return kCannotBeComputed;
    a.rate = zexpm1(-std::log(pv / a.fv_in) / a.nper);
    return kDone;
  }
  a.rate_scale_fv = a.fv_in / a.pmt;
  a.rate_scale_pv = -pv / a.pmt;
  NewtonControl control;
  control.evaluate = ComputeF_RATE;
  control.context = &a;
  control.start = -a.pmt / pv;
  control.residualScale = std::max(std::fabs(a.pmt), std::fabs(pv));
  if (CallSpecialNewton(control) != 0) return kCannotBeComputed;
  a.rate = control.x;
  return kDone;
}

// ---- Handlers ----------------------------------------------------------------------------------

// Reads the payment type: a whole number. Numbers above 1 are rejected; negative numbers are
// accepted.
void read_type(Reader& in, std::int64_t slot, AnnuityRecord& a) noexcept {
  a.type = in.choice_if_any(slot, 0);
  in.require(a.type <= 1, slot);
}

Status calculate_and_store(Reader& in, AnnuityRecord& a,
                           CalcStatus (*calculate)(AnnuityRecord&) noexcept,
                           double AnnuityRecord::*field) noexcept {
  if (!in.ok()) return in.status();
  return calculate(a) == kDone ? in.store(a.*field) : in.fail();
}

// Reads the arguments of IPMT and PPMT.
void read_period(Reader& in, AnnuityRecord& a) noexcept {
  a.rate = in.positive(1);
  a.per = in.integer(2, 1);
  a.nper = in.integer(3, 1);
  in.require(a.per <= a.nper, 2);
  a.pv = in.number(4);
  a.fv_in = in.number_if_any(5, 0.0);
  read_type(in, 6, a);
}

}  // namespace

// FV(rate, nper, pmt [, pv [, type]])
// Unlike the other nine, it reads a missing payment as 0. In that case pv must not be missing.
Status fnc_FV(Reader& in) noexcept {
  AnnuityRecord a;
  a.rate = in.positive(1);
  a.nper = in.integer(2, 1);
  const bool lacks_payment = in.is_missing(3);
  a.pmt = lacks_payment ? 0.0 : in.number(3);
  a.fv_in = in.number_if_any(4, 0.0);
  in.require(!(lacks_payment && in.is_missing(4)), 4);
  read_type(in, 5, a);
  return calculate_and_store(in, a, zComputeFV, &AnnuityRecord::fv_out);
}

// PV(rate, nper, pmt [, fv [, type]])
// Unlike the other nine, it accepts 0 and negative rates above -1. If the type is above 1, it fails
// and marks no argument.
Status fnc_PV(Reader& in) noexcept {
  AnnuityRecord a;
  a.rate = in.number(1);
  in.require(a.rate > -1.0, 1);
  a.nper = in.integer(2, 1);
  a.pmt = in.number(3);
  a.fv_in = in.number_if_any(4, 0.0);
  a.type = in.choice_if_any(5, 0);
  if (in.ok() && a.type > 1) return in.fail();
  return calculate_and_store(in, a, zComputePV, &AnnuityRecord::pv_out);
}

// PMT(rate, nper, pv [, fv [, type]])
Status fnc_PMT(Reader& in) noexcept {
  AnnuityRecord a;
  a.rate = in.positive(1);
  a.nper = in.integer(2, 1);
  a.pv = in.number(3);
  a.fv_in = in.number_if_any(4, 0.0);
  read_type(in, 5, a);
  return calculate_and_store(in, a, zComputePMT, &AnnuityRecord::pmt);
}

// IPMT(rate, per, nper, pv [, fv [, type]])
Status fnc_IPMT(Reader& in) noexcept {
  AnnuityRecord a;
  read_period(in, a);
  return calculate_and_store(in, a, zComputeIPMT, &AnnuityRecord::ipmt);
}

// PPMT(rate, per, nper, pv [, fv [, type]])
Status fnc_PPMT(Reader& in) noexcept {
  AnnuityRecord a;
  read_period(in, a);
  return calculate_and_store(in, a, zComputePPMT, &AnnuityRecord::ppmt);
}

// CUMIPMT(rate, nper, pv, start_period, end_period [, type])
// Unlike CUMPRINC, it accepts any whole numbers as periods, in any order, but only a positive pv.
Status fnc_CUMIPMT(Reader& in) noexcept {
  constexpr std::int32_t kAny = std::numeric_limits<std::int32_t>::min();
  AnnuityRecord a;
  a.rate = in.positive(1);
  a.nper = in.integer(2, kAny);
  a.pv = in.positive(3);
  a.start_period = in.integer(4, kAny);
  a.end_period = in.integer(5, kAny);
  read_type(in, 6, a);
  return calculate_and_store(in, a, zComputeCUMIPMT, &AnnuityRecord::cumipmt);
}

// CUMPRINC(rate, nper, pv, start_period, end_period [, type])
Status fnc_CUMPRINC(Reader& in) noexcept {
  AnnuityRecord a;
  a.rate = in.positive(1);
  a.nper = in.integer(2, 1);
  a.pv = in.number(3);
  a.start_period = in.integer(4, 1);
  in.require(a.start_period <= a.nper, 4);
  a.end_period = in.integer(5, 1);
  in.require(a.end_period <= a.nper, 5);
  in.require(a.start_period <= a.end_period, 4);
  read_type(in, 6, a);
  return calculate_and_store(in, a, zComputeCUMPRINC, &AnnuityRecord::cumprinc);
}

// NPER(rate, pmt, pv [, fv [, type]])
// Unlike the other nine, it rejects a missing fv and accepts any whole number as type.
Status fnc_NPER(Reader& in) noexcept {
  AnnuityRecord a;
  a.rate = in.positive(1);
  a.pmt = in.number(2);
  a.pv = in.number(3);
  a.fv_in = in.number_or(4, 0.0);
  a.type = in.choice_if_any(5, 0);
  if (!in.ok()) return in.status();

  const double payment = a.pays_at_start() ? a.pmt * (1.0 + a.rate) : a.pmt;
  const double d = payment - a.fv_in * a.rate;
  if (d == 0.0) return in.fail();
  const double x = (a.pv * a.rate + payment) / d;
  if (x <= 0.0) return in.fail();
  return in.store(-std::log(x) / zln1px(a.rate));
}

// RATE(nper, pmt, pv [, fv [, type]])
Status fnc_RATE(Reader& in) noexcept {
  AnnuityRecord a;
  a.nper = in.integer(1, 1);
  a.pmt = in.number(2);
  a.pv_out = in.number(3);
  a.fv_in = in.number_if_any(4, 0.0);
  read_type(in, 5, a);
  return calculate_and_store(in, a, zComputeRATE, &AnnuityRecord::rate);
}

// ISPMT(rate, per, nper, pv)
// A period after the last one is not an error: its interest has the opposite sign.
Status fnc_ISPMT(Reader& in) noexcept {
  const double rate = in.positive(1);
  const std::int32_t per = in.integer(2, 1);
  const std::int32_t nper = in.integer(3, 1);
  const double pv = in.number(4);
  if (!in.ok()) return in.status();
  const double left = static_cast<double>(nper) - static_cast<double>(per);
  return in.store(-pv * rate * left / nper);
}

}  // namespace vxfnc::tvm
