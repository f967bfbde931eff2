// Builds call records from bytes and evaluates them in both widths: status, result and mark must
// agree, nothing but flags may change, and a refusal leaves MISSING or an untouched result.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "frame/dispatch.h"
#include "frame/keywords.h"
#include "services.h"

namespace {

using namespace vxfnc;

struct Bytes {
  const std::uint8_t* data;
  std::size_t left;

  template <class T>
  T take() {
    T value{};
    const std::size_t size = std::min(sizeof value, left);
    std::memcpy(&value, data, size);
    data += size;
    left -= size;
    return value;
  }
};

// A value that a calculation takes seriously, or any double at all.
double number(Bytes& in) {
  const auto kind = in.take<std::uint8_t>();
  if (kind < 128) return static_cast<double>(in.take<std::int16_t>()) / (kind < 96 ? 1 : 1000);
  return kind < 240 ? static_cast<double>(in.take<std::int32_t>()) : in.take<double>();
}

struct Argument {
  enum { kNumber, kNull, kText } kind;
  double number;
  std::string bytes;
  std::u32string wide;
};

Argument argument(Bytes& in) {
  const auto kind = in.take<std::uint8_t>() % 16;
  if (kind == 0) return {Argument::kNumber, MISSING, {}, {}};
  if (kind == 1) return {Argument::kNull, 0.0, {}, {}};
  if (kind > 2) return {Argument::kNumber, number(in), {}, {}};
  std::string text(in.take<std::uint16_t>() % 300, ' ');
  for (char& c : text) c = in.take<char>() & 0x7F;
  return {Argument::kText, 0.0, text, std::u32string(text.begin(), text.end())};
}

struct Answer {
  std::int64_t status;
  std::uint64_t bits;
  int marked;
  bool operator==(const Answer&) const = default;
};

Answer evaluate(const std::vector<Argument>& arguments, bool as_bytes) {
  constexpr double kUntouched = 42.0;
  std::vector<std::uint64_t> record(5 + 2 * arguments.size());
  std::vector<StringValue> strings(arguments.size());
  auto* const call = reinterpret_cast<FinanceCall*>(record.data());
  call->count = static_cast<std::int32_t>(arguments.size());
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const auto& [kind, number, bytes, wide] = arguments[i];
    const void* const characters = as_bytes ? static_cast<const void*>(bytes.data()) : wide.data();
    strings[i] = {kMissingBits, static_cast<std::int32_t>(bytes.size()), characters};
    call->slots()[i] = kind == Argument::kText ? ArgumentSlot{kStringArgument, 0, &strings[i]}
                                               : ArgumentSlot{kNumberArgument, 0, &number};
    if (kind == Argument::kNull) call->slots()[i].value = nullptr;
  }
  const std::vector<std::uint64_t> before = record;
  double result = kUntouched;
  const std::int64_t status =
      (as_bytes ? fncfinS : fncfin)(call, &result, vxkernel::call_environment());
  int marked = -1;
  for (std::int32_t i = 0; i < call->count; ++i) {
    if (call->slots()[i].flags == 0) continue;
    if (marked >= 0 || call->slots()[i].flags != kErrorFlag) std::abort();
    call->slots()[marked = i].flags = 0;
  }
  const auto bits = std::bit_cast<std::uint64_t>(result);
  if (record != before || (status != STATUS_SUCCESS && status != STATUS_BAD_ARG)) std::abort();
  if (status == STATUS_SUCCESS && marked >= 0) std::abort();
  if (status != STATUS_SUCCESS && bits != kMissingBits && result != kUntouched) std::abort();
  return {status, bits, marked};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes in{data, size};
  std::vector<Argument> arguments(in.take<std::uint8_t>() % 12 + 1);
  for (Argument& each : arguments) each = argument(in);
  if (const auto row = in.take<std::uint8_t>(); row < 240) {
    const std::string name(FinancialList[row % kKeywordCount].name);
    arguments[0] = {Argument::kText, 0.0, name, std::u32string(name.begin(), name.end())};
  }
  if (evaluate(arguments, false) != evaluate(arguments, true)) std::abort();
  return 0;
}
