// Compares the functions of module/numeric with their values in 256 bits, for random arguments and
// for the doubles next to the ends of each range. Prints a table in Markdown for docs/accuracy.md.
#include "bench/accuracy/elementary.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "bench/accuracy/real.h"
#include "bench/table.h"
#include "numeric/elementary.h"
#include "numeric/vectors.h"

namespace {

constexpr int kNeighbours = 2000;  // doubles on each side of the end of a range
constexpr std::size_t kAdded = 1000;

using Point = std::array<double, 2>;

struct Function {
  const char* name;
  const char* range;
  double limit;  // the maximum error, in ulp
  Point x, y;    // the range of each argument
  bool has_whole_y;
  double (*got)(double x, double y);
  Real (*wanted)(const Real& x, const Real& y);
};

double power(double x, double y) {
  std::int32_t status = 0;
  const double result = vxfnc::zpower(x, y, &status);
  return status == 0 ? result : HUGE_VAL;
}
double expm1_of(double x, double /*y*/) { return vxfnc::zexpm1(x); }
double log1p_of(double x, double /*y*/) { return vxfnc::zln1px(x); }
Real exact_expm1(const Real& x, const Real& /*y*/) { return expm1(x); }
Real exact_log1p(const Real& x, const Real& /*y*/) { return log1p(x); }
Real exact_power(const Real& x, const Real& y) { return pow(x, y); }
Real exact_sum(const Real& a, const Real& b) { return log(exp(a) + exp(b)); }

// clang-format off
const Function kFunctions[] = {
    {"zexpm1", "-0.01 to 0.01", 3, {-0.01, 0.01}, {}, false, expm1_of, exact_expm1},
    {"zexpm1", "0.01 to 1", 66, {0x1.47ae147ae147cp-7, 1}, {}, false, expm1_of, exact_expm1},
    {"zexpm1", "-1 to -0.01", 34, {-1, -0x1.47ae147ae147cp-7}, {}, false, expm1_of, exact_expm1},
    {"zexpm1", "1 to 709.78", 2, {1, 709.78}, {}, false, expm1_of, exact_expm1},
    {"zexpm1", "-750 to -1", 2, {-750, -1}, {}, false, expm1_of, exact_expm1},
    {"zln1px", "-1/32 to 1/32", 2, {-0.03125, 0.03125}, {}, false, log1p_of, exact_log1p},
    {"zln1px", "1/32 to 1", 34, {0x1.0000000000001p-5, 1}, {}, false, log1p_of, exact_log1p},
    {"zln1px", "-1 to -1/32", 10, {-1 + 0x1p-53, -0x1.0000000000001p-5}, {}, false, log1p_of, exact_log1p},
    {"zln1px", "1 to 1e300", 2, {1, 1e300}, {}, false, log1p_of, exact_log1p},
    {"zlnSumOfExp", "both 1 to 700", 2, {1, 700}, {1, 700}, false, vxfnc::zlnSumOfExp, exact_sum},
    {"zpower", "x 0.5 to 2, y whole, -100 to 100", 128, {0.5, 2}, {-100, 100}, true, power, exact_power},
    {"zpower", "x 1.0001 to 1.1, y whole, -700 to 700", 2000, {1.0001, 1.1}, {-700, 700}, true, power, exact_power},
    {"zpower", "x 0.5 to 2, y -700 to 700", 2, {0.5, 2}, {-700, 700}, false, power, exact_power},
};
// clang-format on

class Arguments {
 public:
  explicit Arguments(std::uint64_t seed) : random_(seed) {}

  double between(double low, double high) {
    const double unit = static_cast<double>(random_() >> 11) * 0x1p-53;
    // Half of the arguments are drawn evenly, the other half evenly by order of magnitude.
    if (random_() % 2 != 0) return low + (high - low) * unit;
    if (low > 0 || high < 0) return low * std::exp(unit * std::log(high / low));
    return std::ldexp(random_() % 2 != 0 ? low : high, -static_cast<int>(random_() % 60)) *
           (0.5 + unit / 2);
  }

 private:
  std::mt19937_64 random_;
};

struct Worst {
  double error = -1;
  Point at{};
  double got = 0, wanted = 0;
};

Worst search(const Function& f, std::uint64_t seed, std::size_t draws) {
  Arguments arguments(seed);
  Worst worst;
  const auto measure = [&](double x, double y) {
    if (f.has_whole_y) y = std::trunc(y);
    const double got = f.got(x, y);
    if (!std::isfinite(got) || std::fabs(got) < 0x1p-1022) return;
    const Real wanted = f.wanted(x, y);
    const double error = rounded(fabs(got - wanted) / last_place(wanted));
    if (error > worst.error) worst = {error, {x, y}, got, rounded(wanted)};
  };
  for (std::size_t i = 0; i < draws; ++i) {
    const double x = arguments.between(f.x[0], f.x[1]);
    measure(x, arguments.between(f.y[0], f.y[1]));
  }
  for (double x = f.x[0], z = f.x[1], i = 0; i < kNeighbours; ++i) {
    measure(x, arguments.between(f.y[0], f.y[1]));
    measure(z, arguments.between(f.y[0], f.y[1]));
    x = std::nextafter(x, f.x[1]);
    z = std::nextafter(z, f.x[0]);
  }
  return worst;
}

// Measures zvasum. zvamx is exact, and the tests compare it.
Worst search_sums(std::uint64_t seed, std::size_t draws) {
  Arguments arguments(seed);
  Worst worst;
  std::vector<double> x(kAdded);
  for (std::size_t i = 0; i < draws; ++i) {
    Real wanted;
    for (double& term : x) {
      term = arguments.between(-1, 1);
      wanted += std::fabs(term);
    }
    const double got = vxfnc::zvasum(x.data(), static_cast<std::int64_t>(x.size()));
    const double error = rounded(fabs(got - wanted) / last_place(wanted));
    if (error > worst.error) worst = {error, {}, got, rounded(wanted)};
  }
  return worst;
}

}  // namespace

bool report_elementary(std::uint64_t seed, std::size_t draws, std::size_t threads,
                       std::string& report) {
  constexpr double kSumLimit = 16;
  constexpr std::size_t kRows = std::size(kFunctions);
  std::array<Worst, kRows + 1> worst;
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i; (i = next++) <= kRows;) {
      worst[i] =
          i < kRows ? search(kFunctions[i], seed, draws) : search_sums(seed, draws / kAdded + 1);
    }
    mpfr_free_cache();
  };
  {
    std::vector<std::jthread> workers;
    for (std::size_t i = 0; i < threads; ++i) workers.emplace_back(work);
  }
  Table table(
      {"function", "arguments", "worst", "limit", "worst arguments", "returns", "exact result"}, 2);
  bool is_held = true;
  const auto add = [&](const char* name, const std::string& range, double limit, const Worst& w,
                       const std::string& at) {
    table.add({name, range, fmt::format("{:.2f}", w.error), fmt::format("{}", limit), at,
               fmt::format("{:a}", w.got), fmt::format("{:a}", w.wanted)});
    is_held = is_held && w.error <= limit;
  };
  for (std::size_t i = 0; i < kRows; ++i) {
    const Function& f = kFunctions[i];
    const Point& at = worst[i].at;
    const bool has_y = f.y[0] != f.y[1];
    add(f.name, f.range, f.limit, worst[i],
        has_y ? fmt::format("{:a}, {:a}", at[0], at[1]) : fmt::format("{:a}", at[0]));
  }
  add("zvasum", fmt::format("{} numbers of magnitude 0 to 1", kAdded), kSumLimit, worst[kRows], "");
  report = table.text();
  return is_held;
}
