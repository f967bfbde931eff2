// Measures what the kernel adds to the time of the dispatcher: for a prepared call, for columns and
// for lists. All times are the shortest of several rounds of one run. Their ratios can be compared
// between machines.
// usage: kernel_bench [ROWS]
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "abi/kernel_records.h"
#include "bench/rows.h"
#include "bench/table.h"
#include "kernel/services.h"
#include "kernel/vxkernel.hpp"

namespace {

std::int64_t row_count = 1'000'000;
constexpr int kRounds = 9;

// Returns the seconds of the fastest round of each body. The rounds of the bodies alternate.
template <std::size_t N>
std::vector<double> fastest(const std::function<void()> (&bodies)[N]) {
  std::vector<double> best(N, HUGE_VAL);
  for (int round = 0; round < kRounds; ++round) {
    for (std::size_t i = 0; i < N; ++i) {
      const auto began = std::chrono::steady_clock::now();
      bodies[i]();
      const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - began;
      best[i] = std::min(best[i], spent.count());
    }
  }
  return best;
}

void demand(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "kernel_bench: %s: two ways of calling return different results\n", what);
  std::exit(1);
}

vxk_results results_in(std::vector<double>& values) {
  vxk_results results{};
  results.size = sizeof results;
  results.values = values.data();
  return results;
}

vxk_options options_with(int threads) {
  vxk_options options{};
  options.size = sizeof options;
  options.threads = threads;
  return options;
}

// A call record for the dispatcher, filled once.
class Record {
 public:
  explicit Record(const Row& row)
      : keyword_(row.keyword.begin(), row.keyword.end()), numbers(row.arguments) {
    text_ = {0, static_cast<std::int32_t>(keyword_.size()), keyword_.data()};
    storage_.resize(vxfnc::kFirstSlotOffset + sizeof(vxfnc::ArgumentSlot) * (numbers.size() + 1));
    call()->count = static_cast<std::int32_t>(numbers.size() + 1);
    call()->slots()[0] = {vxfnc::kStringArgument, 0, &text_};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      call()->slots()[i + 1] = {vxfnc::kNumberArgument, 0, &numbers[i]};
    }
  }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  vxfnc::FinanceCall* call() { return reinterpret_cast<vxfnc::FinanceCall*>(storage_.data()); }

 private:
  std::u32string keyword_;
  vxfnc::StringValue text_{};
  std::vector<std::byte> storage_;

 public:
  std::vector<double> numbers;
};

// Stores the arguments of a row. As in a host, the number of arguments is a constant in the usual
// cases.
void store(double* to, const std::vector<double>& from) {
  switch (from.size()) {
    case 3:
      std::copy_n(from.data(), 3, to);
      break;
    case 6:
      std::copy_n(from.data(), 6, to);
      break;
    default:
      std::copy_n(from.data(), from.size(), to);
  }
}

void add_row(Table& table, const vxkernel::Kernel& kernel, vxfnc::Dispatcher* dispatcher,
             const Row& row, std::int64_t rows) {
  const std::size_t count = row.arguments.size();
  Record record(row);
  vxkernel::Call call = kernel.prepare(row.keyword, count);
  std::vector<std::vector<double>> values;
  std::vector<vxk_column> columns;
  for (const double argument : row.arguments) {
    values.emplace_back(static_cast<std::size_t>(rows), argument);
    columns.push_back(vxkernel::column(values.back().data()));
  }
  std::vector<double> out(static_cast<std::size_t>(rows));
  const vxk_results results = results_in(out);
  const vxk_options two = options_with(2);
  volatile double last = 0.0;
  const auto seconds = fastest({
      [&] {
        double result = 0.0;
        for (std::int64_t i = 0; i < rows; ++i) {
          dispatcher(record.call(), &result, &vxkernel::call_environment);
          last = result;
        }
      },
      [&] {
        double* const numbers = vxk_arguments(call.get());
        double result = 0.0;
        for (std::int64_t i = 0; i < rows; ++i) {
          store(numbers, row.arguments);
          vxk_run(call.get(), &result, nullptr);
          last = result;
        }
      },
      [&] { call.run(columns, rows, results); },
      [&] { call.run(columns, rows, results, &two); },
  });
  demand(last == out.front() && last == out.back(), row.keyword.c_str());
  const double ns = 1e9 / static_cast<double>(rows);
  table.add({row.keyword, figure(seconds[0] * ns, 1), figure(seconds[1] / seconds[0], 2),
             figure(seconds[2] / seconds[0], 2), figure(seconds[2] / seconds[3], 2)});
}

// Compares 100,000 groups of 10 flows with prepared calls that have the same arguments.
void add_lists(Table& table, const vxkernel::Kernel& kernel) {
  const auto groups = static_cast<std::size_t>(row_count / 10);
  constexpr std::size_t kFlows = 10;
  std::vector<double> amounts;
  std::vector<double> dates;
  std::vector<std::int64_t> offsets = {0};
  for (std::size_t group = 0; group < groups; ++group) {
    for (std::size_t i = 0; i < kFlows; ++i) {
      amounts.push_back(i == 0 ? -1000.0 : 120.0 + static_cast<double>(group % 7));
      dates.push_back(kSettlement + 91.0 * static_cast<double>(i) + static_cast<double>(group % 5));
    }
    offsets.push_back(static_cast<std::int64_t>(amounts.size()));
  }
  vxkernel::Call call = kernel.prepare("XIRR", 2 * kFlows);
  const vxk_column columns[] = {vxkernel::column(amounts.data(), true),
                                vxkernel::column(dates.data(), true)};
  std::vector<double> rates(groups);
  std::vector<double> out(groups);
  vxk_options options = options_with(1);
  options.date_list = 2;
  vxk_options two = options;
  two.threads = 2;
  const auto seconds = fastest({
      [&] {
        double* const numbers = vxk_arguments(call.get());
        for (std::size_t group = 0; group < groups; ++group) {
          std::copy_n(&amounts[kFlows * group], kFlows, numbers);
          std::copy_n(&dates[kFlows * group], kFlows, numbers + kFlows);
          vxk_run(call.get(), &rates[group], nullptr);
        }
      },
      [&] { kernel.evaluate_lists("XIRR", columns, offsets, results_in(out), &options); },
      [&] { kernel.evaluate_lists("XIRR", columns, offsets, results_in(out), &two); },
  });
  demand(rates == out, "XIRR of lists");
  table.add({"XIRR, groups of 10 flows", figure(seconds[0] * 1e9 / static_cast<double>(groups), 0),
             "1.00", figure(seconds[1] / seconds[0], 2), figure(seconds[1] / seconds[2], 2)});
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc > 1) row_count = std::atoll(argv[1]);
  void* const module = dlopen(VXFNC_MODULE, RTLD_NOW);
  if (module == nullptr) return std::fprintf(stderr, "%s\n", dlerror()), 1;
  const vxkernel::Kernel kernel(VXFNC_MODULE);
  auto* const dispatcher = reinterpret_cast<vxfnc::Dispatcher*>(dlsym(module, "fncfin"));
  Table table(
      {"keyword", "dispatcher, ns", "bound call", "columns, one thread", "speedup of two threads"},
      1);
  for (const char* const keyword : {"SLN", "YEARFRAC", "PRICE", "YIELD"}) {
    const Row& row = *std::ranges::find(kRows, keyword, &Row::keyword);
    add_row(table, kernel, dispatcher, row, row.keyword == "YIELD" ? row_count / 5 : row_count);
  }
  add_lists(table, kernel);
  std::printf(
      "### Calls through the kernel\n\nThe time of the dispatcher is 1.00. For lists, the time of "
      "the bound "
      "call is 1.00.\n\n%s",
      table.text().c_str());
} catch (const std::exception& error) {
  return std::fprintf(stderr, "%s\n", error.what()), 1;
}
