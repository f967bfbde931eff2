// Measures the time of one evaluation through the loaded module, as a multiple of libm's pow and of
// a minimal computation of the same result, which are measured in the same run. Unlike nanoseconds,
// these ratios can be compared between machines. --table=FILE also writes the report to a file.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "abi/kernel_records.h"
#include "bench/rows.h"
#include "bench/table.h"
#include "exports/keywords.h"
#include "kernel/services.h"

namespace {

constexpr double kByteLimit = 1.5;  // the limit for FINANCE#, in multiples of FINANCE

// A filled call record with the keyword in one of the two widths.
template <class Char>
class Record {
 public:
  explicit Record(const Row& row)
      : characters_(row.keyword.begin(), row.keyword.end()), numbers_(row.arguments) {
    string_ = {0, static_cast<std::int32_t>(characters_.size()), characters_.data()};
    storage_.resize(vxfnc::kFirstSlotOffset + sizeof(vxfnc::ArgumentSlot) * (numbers_.size() + 1));
    call()->count = static_cast<std::int32_t>(numbers_.size() + 1);
    call()->slots()[0] = {vxfnc::kStringArgument, 0, &string_};
    for (std::size_t i = 0; i < numbers_.size(); ++i) {
      call()->slots()[i + 1] = {vxfnc::kNumberArgument, 0, &numbers_[i]};
    }
  }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
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
    const std::int64_t status = dispatcher(record.call(), &result, &vxkernel::call_environment);
    if (status != 0) state.SkipWithError("the call fails");
    benchmark::DoNotOptimize(result);
  }
}

void calculate(benchmark::State& state, const Row& row) {
  const std::vector<double> arguments = row.arguments;
  for (auto _ : state) {
    benchmark::DoNotOptimize(arguments.data());
    benchmark::ClobberMemory();
    double result = row.least(arguments);
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

double median_of(std::vector<double> values) {
  std::ranges::sort(values);
  return values.empty() ? NAN : values[values.size() / 2];
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
  // Returns NaN for a benchmark that was filtered out.
  double operator[](const std::string& name) { return median_of(times_[name]); }
  bool failed = false;

 private:
  std::map<std::string, std::vector<double>> times_;
};

// Checks that every keyword has a row and that every minimal computation returns the result of the
// module.
bool are_rows_sound(vxfnc::Dispatcher* dispatcher) {
#define VXFNC_NAME(keyword, minimum, maximum, family) #keyword,
  for (const char* const keyword : {VXFNC_KEYWORDS(VXFNC_NAME)}) {
#undef VXFNC_NAME
    if (std::ranges::find(kRows, keyword, &Row::keyword) != std::end(kRows)) continue;
    std::fprintf(stderr, "%s: kRows has no row for this keyword\n", keyword);
    return false;
  }
  for (const Row& row : kRows) {
    if (row.least == nullptr) continue;
    double result = NAN;
    dispatcher(Record<char32_t>(row).call(), &result, &vxkernel::call_environment);
    const double least = row.least(row.arguments);
    if (std::fabs(least - result) <= 1e-12 * std::fabs(result)) continue;
    std::fprintf(stderr, "%s: the module returns %.17g, the minimal computation %.17g\n",
                 row.name().c_str(), result, least);
    return false;
  }
  return true;
}

// Returns the seconds that the threads take. Each thread makes all the calls with its own records.
double seconds_of(int threads, int rounds, const std::vector<Row>& mix, vxfnc::Dispatcher* wide) {
  const auto work = [&] {
    std::vector<std::unique_ptr<Record<char32_t>>> records;
    for (const Row& row : mix) records.push_back(std::make_unique<Record<char32_t>>(row));
    double result = 0.0;
    for (int i = 0; i < rounds; ++i) {
      for (const auto& record : records) {
        wide(record->call(), &result, &vxkernel::call_environment);
        benchmark::DoNotOptimize(result);
      }
    }
  };
  const auto start = std::chrono::steady_clock::now();
  std::vector<std::jthread> running;
  for (int i = 0; i < threads; ++i) running.emplace_back(work);
  running.clear();  // joins them
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Returns the shortest of several times, because other programs can only make a run slower.
double fastest(int repetitions, const auto& timed) {
  double seconds = HUGE_VAL;
  for (int i = 0; i < repetitions; ++i) seconds = std::min(seconds, timed());
  return seconds;
}

std::string threads_table(vxfnc::Dispatcher* wide) {
  constexpr int kRounds = 50000;
  constexpr int kRepetitions = 11;
  std::vector<Row> mix;
  for (const char* const keyword : {"PRICE", "PMT", "YEARFRAC", "IRR"}) {
    mix.push_back(*std::ranges::find(kRows, keyword, &Row::keyword));
  }
  const auto timed = [&](int threads) {
    return fastest(kRepetitions, [&] { return seconds_of(threads, kRounds, mix, wide); });
  };
  const double calls = kRounds * static_cast<double>(mix.size());
  const double alone = calls / timed(1);
  const double together = 2 * calls / timed(2);
  Table table({"threads", "million calls per second", "times one thread"}, 0);
  table.add({"1", figure(alone / 1e6, 2), figure(1, 2)});
  table.add({"2", figure(together / 1e6, 2), figure(together / alone, 2)});
  return table.text();
}

std::string longest_table(vxfnc::Dispatcher* wide) {
  std::vector<std::pair<double, Row>> timed;
  for (const Row& row : longest_rows()) {
    timed.emplace_back(fastest(5, [&] { return seconds_of(1, 1, {row}, wide); }), row);
  }
  std::ranges::sort(timed, std::greater{}, [](const auto& entry) { return entry.first; });
  Table table({"keyword", "arguments", "ms"}, 2);
  for (const auto& [seconds, row] : timed) {
    std::ostringstream numbers;
    for (const double number : row.arguments) numbers << number << ' ';
    table.add({row.keyword, row.what.empty() ? numbers.str() : row.what, figure(1e3 * seconds, 1)});
  }
  return table.text();
}

std::string report(Medians& median, vxfnc::Dispatcher* wide) {
  const double pow = median["pow"];
  Table rows({"keyword", "arguments", "ns", "times pow", "limit", "times minimal", "bytes / wide"},
             2);
  for (const Row& row : kRows) {
    const double time = median[row.name()];
    if (std::isnan(time)) continue;
    rows.add({row.keyword, row.what, figure(time, 1), figure(time / pow, 2), figure(row.limit, 1),
              figure(time / median[row.name() + " least"], 2),
              figure(median[row.name() + '#'] / time, 2)});
  }
  Table scaling({"keyword", "length", "ns", "ns per item"}, 2);
  for (const auto& [row, length] : scaling_rows()) {
    const double time = median[row.name()];
    if (std::isnan(time)) continue;
    scaling.add({row.keyword, row.what, figure(time, 1), figure(time / length, 2)});
  }
  return heading() +
         "\n### One call of each keyword\n\nMedians of one run. One call of pow takes " +
         figure(pow, 1) + " ns. The limit of bytes / wide is " + figure(kByteLimit, 1) + ".\n\n" +
         rows.text() + "\n### Calls of growing length\n\n" + scaling.text() +
         "\n### Threads\n\nEach thread calls PRICE, PMT, YEARFRAC and IRR in turn. All threads "
         "use " +
         "one kernel handle.\n\n" + threads_table(wide) +
         "\n### The longest calls\n\nEach time includes the start of a thread.\n\n" +
         longest_table(wide);
}

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
  if (!are_rows_sound(wide)) return 1;

  std::vector<std::string> defaults = {argv[0], "--benchmark_repetitions=11",
                                       "--benchmark_enable_random_interleaving=true",
                                       "--benchmark_min_time=0.05"};
  constexpr std::string_view kTable = "--table=";
  std::string file;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument.starts_with(kTable)) {
      file = argument.substr(kTable.size());
    } else {
      defaults.emplace_back(argument);
    }
  }
  std::vector<char*> arguments;
  for (std::string& argument : defaults) arguments.push_back(argument.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());

  benchmark::RegisterBenchmark("pow", libm_pow);
  for (const Row& row : kRows) {
    const std::string name = row.name();
    benchmark::RegisterBenchmark(name.c_str(), evaluate<char32_t>, row, wide);
    benchmark::RegisterBenchmark((name + '#').c_str(), evaluate<char>, row, byte);
    if (row.least == nullptr) continue;
    benchmark::RegisterBenchmark((name + " least").c_str(), calculate, row);
  }
  for (const ScalingRow& scaling : scaling_rows()) {
    const std::string name = scaling.row.name();
    benchmark::RegisterBenchmark(name.c_str(), evaluate<char32_t>, scaling.row, wide);
  }
  Medians median;
  benchmark::RunSpecifiedBenchmarks(&median);
  if (median.failed) return 1;

  const std::string text = report(median, wide);
  std::fputs(text.c_str(), stdout);
  if (!file.empty() && !(std::ofstream(file) << text << std::flush)) {
    return std::fprintf(stderr, "cannot write %s\n", file.c_str()), 1;
  }
  return 0;
}
