#include "cashflow/irr.h"

#include <cmath>

#include "abi/kernel_records.h"
#include "call/working_storage.h"
#include "numeric/elementary.h"
#include "numeric/vectors.h"

namespace vxfnc::cashflow {
namespace {

constexpr int kMostIterations = 40;

// The value and the derivatives of a polynomial by Horner's scheme. `stride` is the distance
// between coefficients in the array.
struct Taylor {
  double value = 0.0;
  double first = 0.0;
  double second = 0.0;
};

Taylor horner(double x, const double* last, std::int64_t degree, std::ptrdiff_t stride) noexcept {
  Taylor t{.value = *last};
  double half_second = 0.0;
  for (std::int64_t i = 1; i <= degree; ++i) {
    half_second = half_second * x + t.first;
    t.first = t.first * x + t.value;
    t.value = t.value * x + last[-i * stride];
  }
  t.second = 2.0 * half_second;
  return t;
}

// Returns |value| * e^exponent, which may be infinite.
double magnitude(const PolynomialState& p) noexcept {
  return p.exponent == 0.0 ? std::fabs(p.value)
                           : std::exp(std::log(std::fabs(p.value)) + p.exponent);
}

// True if the value is so small that it may be rounding error only.
bool is_noise(double x, const PolynomialState& p) noexcept {
  constexpr double kNoise = 0x1p-42;
  return std::pow(std::fabs(x), static_cast<double>(p.degree)) * p.largest < kNoise * p.scale;
}

// Returns the polynomial of n flows, the first and last of which are not 0.
PolynomialState polynomial_of(const double* flows, std::int64_t n) noexcept {
  PolynomialState p;
  p.degree = n - 1;
  p.coefficients = flows;
  return p;
}

// Solves for flows with one sign change, at index k. The flows before k have one sign, and the
// flows from k on have the other. With u = ln v, ln|before(v)| - ln|after(v)| - k u has one root.
std::int32_t solve_single_change(const double* flows, std::int64_t n, double& v) noexcept {
  std::int64_t k = 1;
  while (k < n && (flows[k] == 0.0 || std::signbit(flows[k]) == std::signbit(flows[0]))) ++k;
  if (k == n) return kIrrUnlocatedChange;
  PolynomialState before = polynomial_of(flows, k);
  PolynomialState after = polynomial_of(flows + k, n - k);
  const auto shift = static_cast<double>(k);
  const auto log_at = [&v](PolynomialState& p) {
    EvalPol(v, p);
    return std::log(std::fabs(p.value)) + p.exponent;
  };
  double log_before = 0.0;
  double u = 0.0;
  v = 1.0;
  for (int i = 0; i < kMostIterations; ++i) {
    if (i == 0 || k > 1) log_before = log_at(before);  // for k = 1 it is the same for every v
    const double value = log_before - log_at(after) - shift * u;
    const double slope = v * before.first / before.value - v * after.first / after.value - shift;
    const double step = value / slope;
    if (!std::isfinite(step)) break;
    u -= step;
    v = std::exp(u);
    if (std::fabs(step) <= 1e-10) return kIrrFound;
  }
  return kIrrNotConverged;
}

// The interval of a bounded search: (0, 1], or the numbers above 1.
struct Interval {
  double start;
  bool (*holds)(double v);
  double (*instead)(double v);  // the next point if a step leaves the interval
};
constexpr Interval kBelowOne = {0.999999999999, [](double v) { return v > 0.0 && v <= 1.0; },
                                [](double v) { return v / 2.0; }};
constexpr Interval kAboveOne = {1.000000000001, [](double v) { return v > 1.0; },
                                [](double v) { return v + 1.0; }};

bool search(PolynomialState& p, const Interval& interval, double& v) noexcept {
  const double small = 1e-10 * p.largest;
  v = interval.start;
  for (int i = 0; i < kMostIterations; ++i) {
    EvalPol(v, p);
    const double step = p.value / p.first;
    const double next = v - step;
    const bool stays = interval.holds(next);
    if (magnitude(p) < small || std::fabs(step) < 1e-10) {
      const bool is_root = !is_noise(v, p);
      if (stays) v = next;
      return is_root;
    }
    v = stays ? next : interval.instead(v);
  }
  return false;
}

// Laguerre's method from several starting points, one after the other.
bool search_everywhere(PolynomialState& p, double& v) noexcept {
  constexpr double kStarts[] = {0.99, 0.3629244535057, 0.7451947130008, 0.8310586730163,
                                0.2762771729735};
  // For all starting points together; the 40th step fails, even if it converges.
  constexpr int kMostSteps = 39;
  const double a = 1.0 / static_cast<double>(p.degree);
  const double b = 1.0 - a;
  int steps = 0;
  for (const double start : kStarts) {
    v = start;
    for (;;) {
      EvalPol(v, p);
      const double t = (p.first * p.first * b - p.value * p.second) * b;
      if (t < 0.0) break;
      const double lead = (p.value < 0.0 ? -p.first : p.first) * a;
      const double root = std::sqrt(t);
      const double step = std::fabs(p.value) / (lead < 0.0 ? lead - root : lead + root);
      v -= step;
      if (++steps > kMostSteps) return false;
      if (std::fabs(step) <= 1e-12 * std::fabs(v) || magnitude(p) < 1e-12 * p.scale) return true;
    }
  }
  return false;
}

std::int32_t solve_several_changes(const double* flows, std::int64_t n, double& v) noexcept {
  PolynomialState p = polynomial_of(flows, n);
  p.scale = zvasum(flows, n);
  p.largest = zvamx(flows, n);
  if (!std::isfinite(p.scale)) return kIrrNone;  // compared with it, every value would count as 0
  if (p.scale < 1e-10 * (1e-10 * p.largest)) {
    v = 1.0;
    return kIrrFound;
  }
  const bool is_found =
      search(p, kBelowOne, v) || search(p, kAboveOne, v) || search_everywhere(p, v);
  return is_found ? kIrrFound : kIrrNone;
}

std::int32_t count_sign_changes(const double* flows, std::int64_t n) noexcept {
  std::int32_t changes = 0;
  bool negative = flows[0] < 0.0;
  for (std::int64_t i = 1; i < n; ++i) {
    if (flows[i] == 0.0 || (flows[i] < 0.0) == negative) continue;
    negative = !negative;
    ++changes;
  }
  return changes;
}

// Computes the rate that belongs to a discount factor.
std::int32_t rate_of(double v, double frequency, double& rate) noexcept {
  if (!(v > 0.0)) return kIrrNoRate;
  if (frequency == 0.0) {
    rate = -std::log(v);
    return kIrrFound;
  }
  std::int32_t status = kPowerOk;
  const double factor = zpower(v, frequency, &status);
  if (status != kPowerOk || factor == 0.0) return kIrrNoRate;
  rate = 1.0 / factor - 1.0;
  return kIrrFound;
}

}  // namespace

void EvalPol(double x, PolynomialState& p) noexcept {
  const double* const c = p.coefficients;
  if (std::fabs(x) < 1.0) {
    const Taylor t = horner(x, c + p.degree, p.degree, 1);
    p.value = t.value;
    p.first = t.first;
    p.second = t.second;
    p.exponent = 0.0;
    return;
  }
  // Evaluates x^n Q(y), where y = 1 / x and Q has the coefficients in reverse order.
  const double y = 1.0 / x;
  const auto n = static_cast<double>(p.degree);
  const Taylor q = horner(y, c, p.degree, -1);
  const double logarithm = std::fabs(x) == 1.0 ? 0.0 : n * std::log(std::fabs(x));
  p.exponent = std::floor(logarithm);
  const double power = logarithm == 0.0 ? 1.0 : std::exp(logarithm - p.exponent);
  const double factor = x < 0.0 && p.degree % 2 == 1 ? -power : power;
  p.value = factor * q.value;
  p.first = factor * y * (n * q.value - y * q.first);
  p.second =
      factor * y * y * (n * (n - 1.0) * q.value - 2.0 * (n - 1.0) * y * q.first + y * y * q.second);
}

std::int32_t zirr_s(IrrProblem& problem) noexcept {
  constexpr std::int32_t kMostFlows = 32767;
  if (problem.frequency < 0.0 || problem.count < 2 || problem.count > kMostFlows ||
      problem.read_flow == nullptr) {
    return kIrrBadInput;
  }
  const WorkingStorage storage(sizeof(double) * static_cast<std::uint64_t>(problem.count));
  auto* flows = static_cast<double*>(storage.get());
  if (flows == nullptr) return kIrrNone;
  std::int64_t n = problem.count;
  for (std::int64_t i = 0; i < n; ++i) {
    const double flow = problem.read_flow(i, problem.flows);
    flows[i] = std::isnan(flow) ? 0.0 : flow;
  }
  while (n > 0 && flows[n - 1] == 0.0) --n;
  for (; n > 0 && flows[0] == 0.0; --n) ++flows;
  if (n == 0) return kIrrAllZero;

  problem.sign_changes = count_sign_changes(flows, n);
  if (problem.sign_changes == 0) return kIrrNone;
  problem.several_roots = problem.sign_changes > 1 ? 1 : 0;
  double v = 1.0;
  const std::int32_t status = problem.several_roots == 0 ? solve_single_change(flows, n, v)
                                                         : solve_several_changes(flows, n, v);
  return status == kIrrFound ? rate_of(v, problem.frequency, problem.rate) : status;
}

double zirr(std::int32_t count, ReadFlow* read_flow, const void* flows, std::int32_t* status,
            double frequency) noexcept {
  IrrProblem problem;
  problem.frequency = frequency;
  problem.count = count;
  problem.read_flow = read_flow;
  problem.flows = flows;
  *status = zirr_s(problem);
  return *status == kIrrFound ? problem.rate : MISSING;
}

}  // namespace vxfnc::cashflow
