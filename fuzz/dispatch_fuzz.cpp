// Builds call records from bytes and evaluates them in both widths: status, result and mark must
// agree, and a refusal leaves MISSING or an untouched result. The harness sees to the rest: nothing
// but marks may change, and nothing outside the record may be touched.
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "catalog.h"
#include "harness.h"

namespace {

struct Bytes {
  const std::uint8_t* data;
  std::size_t left;

  template <class T>
  T take() {
    T value{};
    const std::size_t size = std::min(sizeof value, left);
    std::memcpy(&value, std::exchange(data, data + size), size);
    left -= size;
    return value;
  }
};

harness::Argument text(Bytes& in) {
  std::u32string characters(in.take<std::uint16_t>() % 300, U' ');
  for (char32_t& c : characters) c = in.take<char>() & 0x7F;
  return harness::text(characters);
}

harness::Argument number(Bytes& in) {
  const auto kind = in.take<std::uint8_t>() % 16;
  if (kind == 0) return harness::missing();
  if (kind == 1) return harness::null();
  if (kind == 2) return harness::num(in.take<double>());
  return harness::num(in.take<std::int16_t>() / (kind < 12 ? 1.0 : 1000.0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes in{data, size};
  const catalog::Keyword& row = catalog::keywords()[in.take<std::uint8_t>() % 54];
  const auto keyword = in.take<std::uint8_t>() % 8 == 0 ? text(in) : harness::text(row.word);
  std::vector<harness::Argument> arguments(in.take<std::uint8_t>() % 20);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    // Texts only for a basis: the kernel delivers numbers where numbers are read.
    const auto* const expected = row.argument_at(i + 1, arguments.size());
    const bool may_be_text = expected && expected->kind == catalog::ArgumentKind::kBasis;
    arguments[i] = may_be_text && in.take<std::uint8_t>() % 2 == 0 ? text(in) : number(in);
  }
  const auto count = static_cast<std::int32_t>(arguments.size() + 1);
  const harness::Answer wide = call(harness::Width::wide, keyword, arguments, count);
  const harness::Answer byte = call(harness::Width::byte, keyword, arguments, count);
  const bool refused = wide.bits == harness::kMissingBits || wide.bits == harness::kUntouched;
  if (wide != byte || (wide.status == 0 ? wide.marked >= 0 : !refused)) std::abort();
  return 0;
}
