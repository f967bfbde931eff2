// Builds call records from bytes and evaluates them in both widths, with and without a kernel whose
// allocations may fail. Status, result and mark must be consistent. A call that fails must store
// MISSING or leave the result unchanged. All pools must be destroyed, and no call may take long.
// The harness checks the rest: the module may change nothing but marks and the result.
#include <fuzzer/FuzzedDataProvider.h>

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "catalog/catalog.h"
#include "tests/harness.h"

namespace {

using catalog::ArgumentKind;
using harness::Outcome, harness::Width, harness::Word;

void demand(bool holds) { holds ? void() : std::abort(); }

// ---- A kernel whose n-th allocation fails ----------------------------------------------------

int pools, left_to_failure;
std::vector<std::vector<char>> storages;
void* allocate(void*, std::size_t bytes) {
  return left_to_failure-- == 0 ? nullptr : storages.emplace_back(bytes).data();
}
void destroy(void*) { storages.clear(), --pools; }
Word pool[] = {0, 0, harness::word(&destroy), harness::word(&allocate)};
void* create() { return left_to_failure-- == 0 ? nullptr : (++pools, pool); }
Word upper(void*, Word c) { return c >= 'a' && c <= 'z' ? c - 32 : c; }
Word cases[32];
Word handle[28];

// ---- Arguments ----------------------------------------------------------------------------------

harness::Argument text(FuzzedDataProvider& in, bool ascii) {
  std::u32string s(in.ConsumeIntegralInRange<std::size_t>(0, 300), U' ');
  for (char32_t& c : s) c = in.ConsumeIntegral<std::uint8_t>() & 0x7F;
  for (char32_t& c : s) c = ascii ? c : c << in.ConsumeIntegralInRange(0, 25);
  return harness::text(s);
}

// Often returns an argument that the keyword accepts, so that calculations are reached, too.
harness::Argument argument(FuzzedDataProvider& in, const catalog::Argument* expected, bool ascii) {
  const int sort = in.ConsumeIntegralInRange(0, 99);
  const int small = in.ConsumeIntegral<std::int16_t>();
  const bool is_basis = expected && expected->kind == ArgumentKind::kBasis;
  if (sort == 0) return harness::missing();
  if (sort == 1) return harness::null();
  if (sort == 2 || (is_basis && sort < 40)) return text(in, ascii);
  if (sort == 3) return {in.ConsumeIntegral<std::uint8_t>(), false, 1. * small, {}};
  if (sort == 4) return {2, false, 1. * small, {}};  // a length without characters
  if (sort == 5) return harness::num(in.ConsumeFloatingPoint<double>());
  if (sort == 6) return harness::num(std::ldexp(small, in.ConsumeIntegralInRange(-1080, 1030)));
  if (is_basis) return harness::num(small % 5);
  if (expected == nullptr || sort < 14) return harness::num(small);
  if (expected->kind == ArgumentKind::kNumber) return harness::num(small / 1000.);
  if (expected->kind == ArgumentKind::kFrequency) return harness::num(small % 13);
  return harness::num(expected->kind == ArgumentKind::kWhole ? small % 64 : small);
}

// The processor time of this thread, which does not include the time of other programs.
double seconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

Outcome evaluated(Width width, const harness::Argument& keyword,
                  const std::vector<harness::Argument>& arguments, int count, int failing) {
  left_to_failure = failing;
  const double start = seconds();
  const Outcome outcome = call(width, keyword, arguments, count);
  demand(seconds() - start < 1.0 && pools == 0);
  const bool no_result =
      outcome.bits == harness::kMissingBits || outcome.bits == harness::kUntouched;
  demand(outcome.status == 0 ? outcome.marked == -1 : outcome.status == 120836 && no_result);
  demand(outcome.marked >= -1 && outcome.marked < std::max(count, 1));
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  const auto keywords = catalog::keywords();
  const auto& row = keywords[in.ConsumeIntegralInRange<std::size_t>(0, keywords.size() - 1)];
  const bool ascii = in.ConsumeIntegralInRange(0, 3) > 0;
  const auto keyword =
      in.ConsumeIntegralInRange(0, 7) > 0 ? harness::text(row.word) : text(in, ascii);
  const auto right =
      std::min(row.max_args(), row.min_args() + in.ConsumeIntegralInRange<std::size_t>(0, 3));
  std::vector<harness::Argument> arguments(
      in.ConsumeBool() ? right : in.ConsumeIntegralInRange<std::size_t>(0, 399));
  for (std::size_t i = 0; i < arguments.size(); ++i)
    arguments[i] = argument(in, row.argument_at(i + 1, arguments.size()), ascii);
  // Any service may be absent.
  handle[6] = in.ConsumeBool() ? harness::word(&create) : 0;
  handle[27] = in.ConsumeBool() ? harness::word(cases) : 0;
  cases[31] = in.ConsumeBool() ? harness::word(&upper) : 0;
  const auto all = static_cast<int>(arguments.size() + 1);
  const int count = in.ConsumeIntegralInRange(0, 15) > 0 ? all : in.ConsumeIntegralInRange(0, all);
  const int failing = in.ConsumeIntegralInRange(-1, 3);
  reinterpret_cast<void (*)(Word*)>(harness::entry("vxextent"))(in.ConsumeBool() ? handle
                                                                                 : nullptr);
  const Outcome wide = evaluated(Width::wide, keyword, arguments, count, failing);
  const Outcome byte = evaluated(Width::byte, keyword, arguments, count, failing);
  demand(wide == byte || !ascii);
  return 0;
}
