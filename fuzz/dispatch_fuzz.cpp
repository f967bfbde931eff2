// Builds call records from bytes and evaluates them in both widths: status, result and mark must
// agree, and a refusal leaves MISSING or an untouched result. The harness sees to the rest: nothing
// but marks may change, and nothing outside the record may be touched.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <vector>

#include "catalog.h"
#include "harness.h"

namespace {

harness::Argument text(FuzzedDataProvider& in) {
  std::string ascii = in.ConsumeRandomLengthString(300);
  for (char& c : ascii) c &= 0x7F;
  return harness::text(ascii);
}

harness::Argument number(FuzzedDataProvider& in) {
  const int kind = in.ConsumeIntegralInRange(0, 15);
  if (kind == 0) return harness::missing();
  if (kind == 1) return harness::null();
  if (kind == 2) return harness::num(in.ConsumeFloatingPoint<double>());
  return harness::num(in.ConsumeIntegral<std::int16_t>() / (kind < 12 ? 1.0 : 1000.0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  const catalog::Keyword& row = catalog::keywords()[in.ConsumeIntegralInRange(0u, 53u)];
  const auto keyword = in.ConsumeBool() ? harness::text(row.word) : text(in);
  std::vector<harness::Argument> arguments(in.ConsumeIntegralInRange<std::size_t>(0, 20));
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    // Texts only for a basis: the kernel delivers numbers where numbers are read.
    const auto* const expected = row.argument_at(i + 1, arguments.size());
    const bool may_be_text = expected && expected->kind == catalog::ArgumentKind::kBasis;
    arguments[i] = may_be_text && in.ConsumeBool() ? text(in) : number(in);
  }
  const auto count = static_cast<std::int32_t>(arguments.size() + 1);
  const harness::Answer wide = call(harness::Width::wide, keyword, arguments, count);
  const harness::Answer byte = call(harness::Width::byte, keyword, arguments, count);
  const bool refused = wide.bits == harness::kMissingBits || wide.bits == harness::kUntouched;
  if (wide != byte || (wide.status == 0 ? wide.marked >= 0 : !refused)) std::abort();
  return 0;
}
