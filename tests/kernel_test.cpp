// The embeddable kernel: what it refuses to load, what it offers a module, how it evaluates.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <thread>

#include "vxkernel.h"

namespace {
std::atomic<long> allocations{0};
}  // namespace

// Counted, to show that an evaluation allocates nothing.
#ifndef VXFNC_SANITIZED  // the sanitizer has its own
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size) {
  ++allocations;
  if (void* const storage = std::malloc(size)) return storage;
  throw std::bad_alloc();
}
void operator delete(void* storage) noexcept { std::free(storage); }
void operator delete(void* storage, std::size_t) noexcept { std::free(storage); }
#endif

namespace {

using vxkernel::Argument;
using vxkernel::Kernel;

std::string load_error(const std::string& path) {
  try {
    const Kernel kernel(path);
  } catch (const vxkernel::LoadError& error) {
    return error.what();
  }
  return "loaded";
}

TEST(Kernel, SaysWhyAModuleIsRefused) {
  const std::string fakes = VXFNC_FAKES;
  EXPECT_NE(load_error("/no/such/file.so").find("No such file"), std::string::npos);
  EXPECT_NE(load_error("/proc/self/exe").find("cannot load"), std::string::npos);
  EXPECT_NE(load_error(fakes + "fake_NO_ENTRY.so").find("no entry point vxextver"),
            std::string::npos);
  EXPECT_NE(load_error(fakes + "fake_WRONG_VERSION.so").find("offers version 7.2"),
            std::string::npos);
}

TEST(Kernel, OffersItsServicesAndJournals) {
  std::string journal;
  {
    const Kernel kernel(VXFNC_FAKES "fake_PROBE.so",
                        [&](std::string_view line) { journal.append(line) += '\n'; });
    const auto probe = [&](double question) {
      const Argument arguments[] = {question};
      return kernel.evaluate("PROBE", "ANY", arguments).value;
    };
    EXPECT_EQ(probe(0), 1950);
    Kernel::set_year_cutoff(1920);
    EXPECT_EQ(probe(0), 1920);
    Kernel::set_year_cutoff(1950);
    EXPECT_EQ(probe(1), 100 + 19);  // every storage good, and the impossible one refused
    EXPECT_EQ(probe(2), 0x391);
    EXPECT_EQ(probe(3), 0x131);
    EXPECT_EQ(probe(4), 0x3B1);
    const std::vector<Argument> many(500, Argument(9.0));
    EXPECT_EQ(kernel.evaluate("PROBE", "ANY", many).value, 501);
  }
  EXPECT_EQ(journal, "level 4: status 0x803FC002\nlevel 2: bye 7\n");
}

TEST(Kernel, EvaluatesInBothWidths) {
  const Kernel kernel(VXFNC_MODULE);
  EXPECT_EQ(kernel.functions()[1], "FINANCE#");
  EXPECT_EQ(kernel.version(), (vxkernel::Version{7, 0, 0}));
  const struct {
    const char* keyword;
    std::vector<Argument> arguments;
    int status;
    double value;
    int marked;
  } rows[] = {
      {"sln  ", {10000.0, 1000.0, 5.0}, 0, 1800.0, -1},
      {"SLN", {10000.0, Argument::missing(), 5.0}, 120836, NAN, 2},
      {"SLN",
       {10000.0, 1000.0, std::string_view("5")},
       120836,
       NAN,
       3},  // a text where a number belongs
      {"SLN", {10000.0, 1000.0}, 120836, NAN, -1},
      {" SLN", {1.0, 1.0, 1.0}, 120836, NAN, 0},
      {"\xFF\xC3SLN", {1.0, 1.0, 1.0}, 120836, NAN, 0},  // malformed UTF-8
      {"SLN", {1.0, 1.0, std::string_view()}, 120836, NAN, 3},
  };
  for (const char* function : {"FINANCE", "FINANCE#"}) {
    for (const auto& row : rows) {
      const auto answer = kernel.evaluate(function, row.keyword, row.arguments);
      EXPECT_EQ(answer.status, row.status) << function << ' ' << row.keyword;
      EXPECT_EQ(answer.marked, row.marked) << function << ' ' << row.keyword;
      EXPECT_EQ(std::isnan(answer.value), std::isnan(row.value));
      if (answer.ok()) {
        EXPECT_EQ(answer.value, row.value);
      }
    }
    const std::string text(vxkernel::kLongestText, 'x');
    const Argument longest[] = {1.0, std::string_view(text)};
    EXPECT_EQ(kernel.evaluate(function, "SLN", longest).status, vxkernel::kTextTooLong);
    EXPECT_EQ(kernel.evaluate(function, "SLN", longest).marked, 2);
    EXPECT_EQ(kernel.evaluate(function, "", longest).status, 120836);
  }
  EXPECT_EQ(kernel.evaluate("FINANCES", "SLN", {}).status, vxkernel::kUnknownFunction);
}

TEST(Kernel, EvaluatesOnManyThreadsWithoutAllocating) {
  const Kernel kernel(VXFNC_MODULE);
  const std::string text = "text";
  std::vector<Argument> arguments(16, Argument(std::string_view(text)));
  std::atomic<int> wrong{0};
  const auto work = [&] {
    const Argument five[] = {1e6, 1e5, 6.0, 1.0, 7.0};
    for (int i = 0; i < 20000; ++i) {
      wrong += kernel.evaluate("FINANCE", "DB", five).value != 1e6 * 0.319 * 7 / 12;
      wrong += kernel.evaluate("FINANCE#", "NPV", arguments).ok();
    }
  };
  const long before = allocations;
  work();
  EXPECT_EQ(allocations, before);
  std::thread threads[] = {std::thread(work), std::thread(work), std::thread(work)};
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
