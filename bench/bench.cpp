// Speed of one evaluation through the loaded module, as a multiple of libm's pow timed in the same
// run: these ratios, unlike nanoseconds, mean the same on any machine.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "frame/kernel_records.h"
#include "services.h"

namespace {

struct Row {
  const char* keyword;
  const char* what;
  std::vector<double> arguments;
  double limit;  // what we hold ourselves to, in multiples of pow

  std::string name() const { return std::string(keyword) + ' ' + what; }
};

// Date values: 2008-08-19 and 2008-12-31; 2024-03-11 and 2035-11-15.
constexpr double kBought = 17763, kYearEnd = 17897, kSettlement = 23446, kMaturity = 27712;
// 2033-11-15 and 2053-11-15; 2024-01-15 and 2024-08-15; 2023-10-15 and 2024-06-15.
constexpr double kTenYears = 26982, kThirtyYears = 34287, kIssued = 23390, kFirstInterest = 23603,
                 kLastInterest = 23298, kSummer = 23542;

// An investment and what it brings; a date for each, three months apart.
std::vector<double> flows(int n) {
  std::vector<double> amounts(static_cast<std::size_t>(n), 1000.0);
  amounts[0] = -900.0 * (n - 1);
  return amounts;
}

std::vector<double> days(int n) {
  std::vector<double> dates;
  for (int i = 0; i < n; ++i) dates.push_back(kSettlement + 91 * i);
  return dates;
}

std::vector<double> with(std::vector<double> head, const std::vector<double>& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

const Row kRows[] = {
    {"SLN", "", {10000, 1000, 5}, 2.5},
    {"SYD", "", {10000, 1000, 10, 5}, 2.5},
    {"DDB", "period 5 of 10", {10000, 1000, 10, 5}, 4},
    {"DB", "period 5 of 10", {10000, 1000, 10, 5}, 6},
    {"VDB", "periods 0 to 5 of 10", {10000, 1000, 10, 0, 5}, 8},
    {"AMORLINC", "period 5", {2400, kBought, kYearEnd, 300, 5, 0.15, 1}, 5},
    {"AMORDEGRC", "period 3", {2400, kBought, kYearEnd, 300, 3, 0.15, 1}, 6},
    {"YEARFRAC", "30/360", {kSettlement, kMaturity, 0}, 4},
    {"YEARFRAC", "ACTUAL", {kSettlement, kMaturity, 1}, 4},
    {"YEARFRAC", "ACT/360", {kSettlement, kMaturity, 2}, 4},
    {"YEARFRAC", "ACT/365", {kSettlement, kMaturity, 3}, 4},
    {"YEARFRAC", "EU30/360", {kSettlement, kMaturity, 4}, 4},
    {"COUPNUM", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 5},
    {"COUPNCD", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 7},
    {"COUPPCD", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 7},
    {"COUPDAYBS", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 7},
    {"COUPDAYSNC", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 7},
    {"COUPDAYS", "semiannual, 30/360", {kSettlement, kMaturity, 2, 0}, 4},
    {"COUPDAYS", "semiannual, ACTUAL", {kSettlement, kMaturity, 2, 1}, 4},
    {"PRICE", "10 years, semiannual", {kSettlement, kTenYears, 0.0575, 0.065, 100, 2, 0}, 9},
    {"PRICE", "30 years, semiannual", {kSettlement, kThirtyYears, 0.0575, 0.065, 100, 2, 0}, 16},
    {"YIELD", "10 years, semiannual", {kSettlement, kTenYears, 0.0575, 94.6, 100, 2, 0}, 30},
    {"YIELD", "30 years, semiannual", {kSettlement, kThirtyYears, 0.0575, 90.2, 100, 2, 0}, 65},
    {"DURATION", "10 years, semiannual", {kSettlement, kTenYears, 0.0575, 0.065, 2, 0}, 8},
    {"MDURATION", "10 years, semiannual", {kSettlement, kTenYears, 0.0575, 0.065, 2, 0}, 8},
    {"ODDLPRICE", "", {kSettlement, kSummer, kLastInterest, 0.0375, 0.0405, 100, 2, 0}, 12},
    {"ODDLYIELD", "", {kSettlement, kSummer, kLastInterest, 0.0375, 99.9, 100, 2, 0}, 12},
    {"ODDFPRICE",
     "10 years, semiannual",
     {kSettlement, kTenYears + 92, kIssued, kFirstInterest, 0.0575, 0.065, 100, 2, 0},
     16},
    {"ODDFYIELD",
     "10 years, semiannual",
     {kSettlement, kTenYears + 92, kIssued, kFirstInterest, 0.0575, 94.6, 100, 2, 0},
     36},
    {"ACCRINT", "", {kIssued, kFirstInterest, kSettlement, 0.0575, 1000, 2, 0}, 12},
    {"ACCRINTM", "", {kIssued, kSettlement, 0.0575, 1000, 0}, 5},
    {"DISC", "", {kSettlement, kSummer, 97.9, 100, 0}, 5},
    {"INTRATE", "", {kSettlement, kSummer, 1000000, 1014420, 0}, 5},
    {"RECEIVED", "", {kSettlement, kSummer, 1000000, 0.0575, 0}, 5},
    {"PRICEDISC", "", {kSettlement, kSummer, 0.0525, 100, 0}, 5},
    {"YIELDDISC", "", {kSettlement, kSummer, 99.8, 100, 0}, 5},
    {"PRICEMAT", "", {kSettlement, kSummer, kIssued, 0.061, 0.061, 0}, 5},
    {"YIELDMAT", "", {kSettlement, kSummer, kIssued, 0.0625, 100.0123, 0}, 5},
    {"TBILLEQ", "half a year and more", {kSettlement, kSettlement + 190, 0.0914}, 3},
    {"TBILLPRICE", "", {kSettlement, kSummer, 0.09}, 3},
    {"TBILLYIELD", "", {kSettlement, kSummer, 98.45}, 3},
    {"PMT", "", {0.005, 360, 200000}, 4},
    {"FV", "", {0.005, 120, -200, -500}, 4},
    {"PV", "", {0.005, 240, 500}, 4},
    {"NPER", "", {0.01, -100, -1000, 10000, 1}, 3.5},
    {"RATE", "", {48, -200, 8000}, 32},
    {"IPMT", "period 13 of 360", {0.005, 13, 360, 200000}, 6},
    {"PPMT", "period 13 of 360", {0.005, 13, 360, 200000}, 6},
    {"ISPMT", "", {0.005, 13, 360, 200000}, 4},
    {"CUMIPMT", "12 of 360", {0.0075, 360, 125000, 1, 12}, 8},
    {"CUMPRINC", "12 of 360", {0.0075, 360, 125000, 1, 12}, 8},
    {"EFFECT", "", {0.0525, 4}, 4},
    {"NOMINAL", "", {0.053543, 4}, 4},
    {"FVSCHEDULE", "3 rates", {1, 0.09, 0.11, 0.1}, 4},
    {"DOLLARDE", "", {1.02, 16}, 4},
    {"DOLLARFR", "", {1.125, 16}, 4},
    {"NPV", "12 flows", with({0.08}, flows(12)), 4},
    {"MIRR", "12 flows", with(flows(12), {0.1, 0.12}), 8},
    {"IRR", "12 flows", flows(12), 20},
    {"IRR", "1000 flows", flows(1000), 2000},
    {"XNPV", "12 flows", with(with({0.08}, flows(12)), days(12)), 16},
    {"XIRR", "12 flows", with(flows(12), days(12)), 90},
};
constexpr double kByteLimit = 1.5;  // FINANCE#, in multiples of FINANCE

// A filled call record, its keyword in one of the two widths.
template <class Char>
class Record {
 public:
  explicit Record(const Row& row)
      : characters_(row.keyword, row.keyword + std::char_traits<char>::length(row.keyword)),
        numbers_(row.arguments) {
    string_ = {0, static_cast<std::int32_t>(characters_.size()), characters_.data()};
    storage_.resize(vxfnc::kFirstSlotOffset + sizeof(vxfnc::ArgumentSlot) * (numbers_.size() + 1));
    call()->count = static_cast<std::int32_t>(numbers_.size() + 1);
    call()->slots()[0] = {vxfnc::kStringArgument, 0, &string_};
    for (std::size_t i = 0; i < numbers_.size(); ++i) {
      call()->slots()[i + 1] = {vxfnc::kNumberArgument, 0, &numbers_[i]};
    }
  }
  vxfnc::FinanceCall* call() { return reinterpret_cast<vxfnc::FinanceCall*>(storage_.data()); }

 private:
  std::basic_string<Char> characters_;
  std::vector<double> numbers_;
  vxfnc::StringValue string_{};
  std::vector<std::byte> storage_;
};

template <class Char>
void evaluate(benchmark::State& state, const Row& row, vxfnc::Dispatcher* dispatcher) {
  Record<Char> record(row);
  double result = 0.0;
  for (auto _ : state) {
    const std::int64_t status = dispatcher(record.call(), &result, vxkernel::call_environment());
    if (status != 0) state.SkipWithError("the call is refused");
    benchmark::DoNotOptimize(result);
  }
}

void libm_pow(benchmark::State& state) {
  double base = 1.0525;
  double exponent = 12.75;
  for (auto _ : state) {
    benchmark::DoNotOptimize(base);
    benchmark::DoNotOptimize(exponent);
    double power = std::pow(base, exponent);
    benchmark::DoNotOptimize(power);
  }
}

// Keeps the median of every benchmark.
class Medians : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      failed = failed || run.error_occurred;
      if (run.run_type == Run::RT_Iteration)
        times_[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
    }
  }
  // NaN for a benchmark that was filtered out.
  double operator[](const std::string& name) {
    std::vector<double>& times = times_[name];
    std::ranges::sort(times);
    return times.empty() ? NAN : times[times.size() / 2];
  }
  bool failed = false;

 private:
  std::map<std::string, std::vector<double>> times_;
};

}  // namespace

int main(int argc, char** argv) {
  void* const module = dlopen(VXFNC_MODULE, RTLD_NOW);
  if (module == nullptr) return std::fprintf(stderr, "%s\n", dlerror()), 1;
  using Extver = std::int64_t(vxfnc::KernelServices*, std::int64_t*, std::int64_t*);
  std::int64_t version[2];
  reinterpret_cast<Extver*>(dlsym(module, "vxextver"))(vxkernel::kernel_handle(), version,
                                                       version + 1);
  auto* const wide = reinterpret_cast<vxfnc::Dispatcher*>(dlsym(module, "fncfin"));
  auto* const byte = reinterpret_cast<vxfnc::Dispatcher*>(dlsym(module, "fncfinS"));

  std::vector<std::string> defaults = {argv[0], "--benchmark_repetitions=11",
                                       "--benchmark_enable_random_interleaving=true",
                                       "--benchmark_min_time=0.05"};
  defaults.insert(defaults.end(), argv + 1, argv + argc);
  std::vector<char*> arguments;
  for (std::string& argument : defaults) arguments.push_back(argument.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());

  benchmark::RegisterBenchmark("pow", libm_pow);
  for (const Row& row : kRows) {
    const std::string name = row.name();
    benchmark::RegisterBenchmark(name.c_str(), evaluate<char32_t>, row, wide);
    benchmark::RegisterBenchmark((name + '#').c_str(), evaluate<char>, row, byte);
  }
  Medians median;
  benchmark::RunSpecifiedBenchmarks(&median);
  if (median.failed) return 1;

  const double pow = median["pow"];
  std::printf("One evaluation, medians of one run; pow takes %.1f ns.\n\n", pow);
  std::printf("%-10s %8s %8s %8s   %8s %8s   %s\n", "keyword", "ns", "x pow", "at most", "# / wide",
              "at most", "of");
  for (const Row& row : kRows) {
    const double time = median[row.name()];
    if (std::isnan(time)) continue;
    const double byte_time = median[row.name() + '#'];
    std::printf("%-10s %8.1f %8.2f %8.1f   %8.2f %8.1f   %s\n", row.keyword, time, time / pow,
                row.limit, byte_time / time, kByteLimit, row.what);
  }
  return 0;
}
