// The embeddable kernel: the services that it offers to modules, and evaluation.
#include "kernel/vxkernel.hpp"

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <span>
#include <thread>
#include <vector>

#include "kernel/services.h"

static std::atomic<long> allocations{0};
static std::atomic<long> failing_from{0};  // from this number on, allocations fail; 0: never
#ifndef VXFNC_SANITIZED                    // sanitizers have their own malloc
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) {
  const long number = ++allocations;
  return failing_from > 0 && number >= failing_from ? nullptr : __libc_malloc(size);
}
#endif

namespace {

using vxkernel::Argument;
using vxkernel::Kernel;

void report(vxfnc::Journal* journal, vxfnc::Journal::Forward operation, std::int64_t word, ...) {
  std::va_list arguments;
  va_start(arguments, word);
  operation(journal, 4, word, arguments);
  va_end(arguments);
}

TEST(Kernel, OffersServicesToModules) {
  vxfnc::KernelServices* const handle = vxkernel::kernel_handle();
  std::int64_t value = -1;
  std::uint64_t size = 8;
  vxk_set_year_cutoff(1920);
  handle->get_option(handle, U"VX_NAME_YEARCUTOFF", 18, 3, &value, &size);
  vxk_set_year_cutoff(1950);
  handle->get_option(handle, U"VX_NAME_OTHER", 13, 3, &value, &size);
  handle->get_option(handle, U"VX_NAME_YEARCUTOFF", 18, 2, &value, &size);
  EXPECT_EQ(value, 1920);  // only the right name and kind return a value
  EXPECT_EQ(handle->case_service->convert(handle->case_service, 0x3B1, 1), 0x391u);
  EXPECT_EQ(handle->case_service->convert(handle->case_service, 0x131, 1), 0x131u);

  std::string lines;
  vxk_open_options options{sizeof options, 0, nullptr, &lines};
  options.journal = [](void* to, const char* line, std::size_t length) {
    static_cast<std::string*>(to)->append(line, length) += '|';
  };
  vxkernel::InstanceServices services(options);
  vxfnc::Journal* const journal = services.create_journal(&services, nullptr, 0, U"");
  report(journal, journal->status_to_journal, vxfnc::kAllocationFailure);
  report(journal, journal->message_to_journal, reinterpret_cast<std::int64_t>("%s %0600d"), "bye",
         7);
  journal->destroy(journal);
  EXPECT_EQ(lines, "level 4: status 0x803FC002|level 4: bye " + std::string(498, '0') + '|');

  // Allocations within and beyond a pool's first block are zero-filled, aligned and separate, also
  // in memory that an earlier pool has used.
  for (int round = 0; round < 2; ++round) {
    vxfnc::MemoryPool* const pool = handle->create_pool(handle, nullptr, nullptr, "", 0, 0, 0, 0);
    EXPECT_EQ(pool->allocate(pool, ~0ULL, 0), nullptr);
    std::vector<std::span<char>> taken;
    for (std::uint64_t bytes = 1; bytes < 5000; bytes += bytes / 2 + 1) {
      auto* const storage = static_cast<char*>(pool->allocate(pool, bytes, vxfnc::kZeroFilled));
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(storage) % 16, 0u);
      EXPECT_EQ(std::count(storage, storage + bytes, 0), static_cast<std::ptrdiff_t>(bytes));
      taken.emplace_back(storage, bytes);
      std::memset(storage, static_cast<int>(taken.size()), bytes);
    }
    for (char mark = 1; const std::span<char> storage : taken)
      EXPECT_EQ(std::ranges::count(storage, mark++), std::ssize(storage));
    pool->destroy(pool);
  }
}

TEST(Kernel, RejectsLongTextsAndUnknownNames) {
  const Kernel kernel(VXFNC_MODULE);
  const std::string text(VXK_MAX_TEXT, 'x');
  const std::vector<Argument> arguments = {1.0, std::string_view(text), 1.0};
  for (const char* function : {"FINANCE", "FINANCE#"}) {
    const auto too_long = kernel.evaluate(function, "SLN", arguments);
    EXPECT_TRUE(too_long.status == VXK_TEXT_TOO_LONG && too_long.argument == 2);
    EXPECT_EQ(kernel.evaluate(function, text, arguments).argument, 2);
    EXPECT_EQ(kernel.evaluate(function, text + 'x', {}).status, VXK_TEXT_TOO_LONG);
    for (const std::string& keyword : std::vector<std::string>{
             text, "", "\xFF\xC3SLN", "\xC1\x93LN", "\xE0\x85\xBFLN", "\xF5SLN"})
      EXPECT_EQ(kernel.evaluate(function, keyword, {}).status, VXK_NO_KEYWORD);
    const Argument year[] = {14976.0, 15341.0, std::string_view(" ac t/360 ")};
    EXPECT_EQ(kernel.evaluate(function, "yearfrac ", year).value, 365.0 / 360.0);
  }
  EXPECT_EQ(kernel.evaluate("FINANCE", "SLN", std::vector<Argument>(500, 1.0)).status, 120836);
  const Argument asset[] = {9.0, 0.0, 3.0};
  EXPECT_EQ(kernel.evaluate("FINANCE", "\xC5\xBFln", asset).value, 3.0);  // the long s
  EXPECT_EQ(kernel.evaluate("FINANCES", "SLN", {}).status, VXK_NO_FUNCTION);
  EXPECT_EQ(kernel.version().major, 7);
}

TEST(Kernel, ReportsTheModuleOrWhyLoadingFails) {
  const auto message = [](const std::string& path) -> std::string {
    try {
      return std::string(Kernel(path).build());
    } catch (const vxkernel::Error& error) {
      return error.what();
    }
  };
  const std::string module = VXFNC_MODULE, folder = module.substr(0, module.rfind('/') + 1);
  const std::pair<std::string, const char*> rows[] = {
      {module, "vxfnc "},
      {folder + "none.so", "/none.so: cannot open shared object file: No such file or directory"},
      {folder + "fake_module.so", " offers version 7.2 of the interface; this kernel takes 7.1"},
      {"/lib/x86_64-linux-gnu/libm.so.6", " is not a module: it has no entry point vxextver"}};
  for (const auto& [path, wanted] : rows)
    EXPECT_NE(message(path).find(wanted), std::string::npos) << message(path);
}

TEST(Kernel, EvaluatesWithoutAllocating) {
  const Kernel kernel(VXFNC_MODULE);
  const std::vector<Argument> texts(16, Argument(std::string_view("text")));
  const Argument machine[] = {1e6, 1e5, 6.0, 1.0, 7.0};
  const long before = allocations;
  for (int i = 0; i < 1000; ++i) {
    EXPECT_EQ(kernel.evaluate("FINANCE", "DB", machine).value, 1e6 * 0.319 * 7 / 12);
    EXPECT_FALSE(kernel.evaluate(i % 2 ? "FINANCE" : "FINANCE#", "FVSCHEDULE", texts).ok());
  }
  EXPECT_EQ(allocations, before);
}

struct Lists {  // groups of flows, and the results of the groups
  const Kernel kernel{VXFNC_MODULE};
  std::vector<double> amounts, dates, values;
  std::vector<std::int64_t> offsets = {0};
  vxk_report report{sizeof report, 0, 0, 0, {}};

  void add_group(const std::vector<double>& group) {
    amounts.insert(amounts.end(), group.begin(), group.end());
    offsets.push_back(std::ssize(amounts));
  }
  int evaluate(const char* keyword, const volatile std::int32_t* cancel = nullptr) {
    values.resize(offsets.size() - 1);
    dates.resize(amounts.size());
    const double rate = 0.0;
    std::vector<vxk_column> columns = {vxkernel::column(amounts.data(), true),
                                       vxkernel::column(dates.data(), true)};
    if (keyword == std::string("XNPV")) columns.insert(columns.begin(), vxkernel::constant(&rate));
    const vxk_results results{sizeof results, 0, values.data(), nullptr, nullptr};
    const auto date_list = static_cast<std::int32_t>(columns.size());
    const vxk_options options{sizeof options, 1, 0, date_list, 0, 0, cancel};
    return kernel.evaluate_lists(keyword, columns, offsets, results, &options, &report);
  }
};

TEST(Kernel, AddsUpTheFlowsOfADateInAnyOrder) {
  // At a rate of 0, XNPV of one date is the sum of the amounts.
  for (const auto& [amounts, sum] : std::vector<std::pair<std::vector<double>, double>>{
           {{0.1, 0.2, 0.3}, 0.6}, {{-1e16, 1, 1e16}, 1}}) {
    Lists lists;
    auto order = amounts;
    do lists.add_group(order);
    while (std::ranges::next_permutation(order).found);
    lists.evaluate("XNPV");
    EXPECT_EQ(lists.values, std::vector<double>(lists.values.size(), sum));
  }
  Lists infinite;
  infinite.add_group({1e308, 1e308, 1});
  infinite.evaluate("XNPV");
  EXPECT_EQ(infinite.report.first.status, VXK_NOT_FINITE);  // NaN would be an invalid argument
}

// What happens to the memory of a call, whose pool is wrapped.
std::atomic<double*> memory{nullptr};
std::atomic<bool> is_overwritten{false}, has_signals{false};
decltype(vxfnc::KernelServices::create_pool) create_pool;
decltype(vxfnc::MemoryPool::allocate) allocate;
decltype(vxfnc::MemoryPool::destroy) destroy;

TEST(Kernel, CancelEndsASearch) {
  // XIRR uses up all steps of its search for these amounts.
  Lists lists;
  std::vector<double> amounts(300'000);
  amounts.front() = amounts.back() = 50;
  amounts[amounts.size() / 2] = -88;
  lists.add_group(amounts);
  lists.dates.resize(amounts.size());
  std::iota(lists.dates.begin(), lists.dates.end(), 0.0);
  vxfnc::KernelServices* const handle = vxkernel::kernel_handle();
  create_pool = std::exchange(handle->create_pool, [](auto... words) {
    vxfnc::MemoryPool* const pool = create_pool(words...);
    allocate = std::exchange(pool->allocate, [](auto... bytes) {
      void* const storage = allocate(bytes...);
      memory = static_cast<double*>(storage);
      memory.notify_one();
      return storage;
    });
    destroy = std::exchange(pool->destroy, [](vxfnc::MemoryPool* object) {
      is_overwritten = std::isnan(*memory);
      sigset_t blocked;
      pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
      has_signals = sigismember(&blocked, SIGINT) == 0;
      return destroy(object);
    });
    return pool;
  });
  std::int32_t cancel = 0;
  std::jthread user([&cancel] {
    memory.wait(nullptr);  // the call has begun
    __atomic_store_n(&cancel, 1, __ATOMIC_RELAXED);
  });
  const int status = lists.evaluate("XIRR", &cancel);
  handle->create_pool = create_pool;
  EXPECT_EQ(status, VXK_CANCELLED);
  EXPECT_TRUE(is_overwritten && !has_signals);
}

#ifndef VXFNC_SANITIZED
TEST(Kernel, ReportsOutOfMemoryOnlyForTheCallThatRanOut) {
  const Kernel kernel(VXFNC_MODULE);
  std::thread([&] {  // the first call of this thread fails
    EXPECT_EQ(kernel.evaluate("FINANCE", "IRR", {}).status, VXK_FAILED);
  })
      .join();
  std::vector<Argument> flows(400, Argument(1.0));
  flows[0] = -150.0;
  for (std::size_t i = 0; i < 200; ++i) flows[200 + i] = static_cast<double>(20000 + i);
  const long before = allocations;
  EXPECT_TRUE(kernel.evaluate("FINANCE", "XIRR", flows).ok());
  const long needed = allocations - before;
  EXPECT_GT(needed, 2);
  for (long i = 1; i <= needed; ++i) {
    failing_from = allocations + i;
    const int status = kernel.evaluate("FINANCE", "XIRR", flows).status;
    failing_from = 0;
    EXPECT_EQ(status, VXK_OUT_OF_MEMORY) << i;
  }
  flows[0] = 150.0;                // these flows have no rate
  failing_from = allocations + 1;  // fails outside of a call
  vxfnc::KernelServices* const handle = vxkernel::kernel_handle();
  EXPECT_EQ(handle->create_pool(handle, nullptr, nullptr, "", 0, 0, 0, 0), nullptr);
  failing_from = 0;
  EXPECT_EQ(kernel.evaluate("FINANCE", "XIRR", flows).status, VXK_FAILED);
}
#endif

}  // namespace
