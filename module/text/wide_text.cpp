// Wide-string routines, and the case mapping of characters below 0x10000 by tables for pages of 128
// characters.
#include "text/wide_text.h"

#include <algorithm>
#include <span>

#include "abi/kernel_handle.h"

namespace vxfnc {
namespace {

struct CasePair {
  WideChar from;
  WideChar to;
};
#include "text/case_tables.inc"

constexpr WideChar kBlank = U' ';
constexpr WideChar kTableLimit = 0x10000;
constexpr WideChar kPage = 128;
static_assert(nbz_metatable[0] == 0 &&
                  std::ranges::count(std::span(nbz_upshift).first(kPage), -128) == 0 &&
                  std::ranges::count(std::span(nbz_downshift).first(kPage), -128) == 0,
              "page 0 must use row 0 and must not use the list of pairs");
constexpr int kAuxiliary = -128;  // this delta means that the list of pairs has the character

// shifts: the deltas of all rows. pairs: the mappings whose difference does not fit into a delta.
WideChar mapped(WideChar c, std::span<const std::int8_t> shifts,
                std::span<const CasePair> pairs) noexcept {
  if (c < kPage) return c + static_cast<WideChar>(shifts[c]);
  if (c >= kTableLimit) return c;
  const int row = nbz_metatable[c / kPage];
  if (row < 0) return c;
  const int delta = shifts[static_cast<std::size_t>(row) + c % kPage];
  if (delta != kAuxiliary) return c + static_cast<WideChar>(delta);
  const auto pair = std::ranges::find(pairs, c, &CasePair::from);
  return pair == pairs.end() ? c : pair->to;
}

WideChar upper(WideChar c) noexcept { return mapped(c, nbz_upshift, nbz_upaux); }
WideChar lower(WideChar c) noexcept { return mapped(c, nbz_downshift, nbz_downaux); }

std::int64_t measured(const WideChar* s, std::int64_t n) noexcept {
  return n < 0 ? nbStrTLen(s) : n;
}

}  // namespace

std::int64_t nbStrTLen(const WideChar* s) noexcept {
  std::int64_t n = 0;
  while (s != nullptr && s[n] != 0) ++n;
  return n;
}

std::int64_t vxzstrp(const WideChar* s, std::int64_t n) noexcept {
  n = measured(s, n);
  while (n > 0 && s[n - 1] == kBlank) --n;
  return n;
}

void vxzsmov(const WideChar* from, std::int64_t n, WideChar* to, std::int64_t m) noexcept {
  const std::int64_t room = m < 0 ? -1 - m : m;
  const std::int64_t copied = from == nullptr ? 0 : std::min(measured(from, n), room);
  for (std::int64_t i = 0; i < copied; ++i) to[i] = from[i];  // faster than memcpy for a few
  if (m < 0) {
    to[copied] = 0;
  } else {
    std::fill(to + copied, to + room, kBlank);
  }
}

std::int64_t vxzsdel(WideChar* s, std::int64_t n, const WideChar* set, std::int64_t k) noexcept {
  const std::int64_t length = measured(s, n);
  const WideChar* const set_end = set + measured(set, k);
  WideChar* const end = std::remove_if(
      s, s + length, [&](WideChar c) { return std::find(set, set_end, c) != set_end; });
  if (n < 0 && s != nullptr) {
    *end = 0;
  } else {
    std::fill(end, s + length, kBlank);
  }
  return end - s;
}

void vxzstup(WideChar* s, std::int64_t n) noexcept {
  CaseService* const service = Exported_VXHandle ? Exported_VXHandle->case_service : nullptr;
  const bool has_service = service != nullptr && service->convert != nullptr;
  for (WideChar& c : std::span(s, static_cast<std::size_t>(measured(s, n)))) {
    c = c >= kPage && has_service ? service->convert(service, c, 1) : upper(c);
  }
}

int vxzseqn(const WideChar* a, std::int64_t n, const WideChar* b, std::int64_t m) noexcept {
  const auto same = [](WideChar x, WideChar y) { return lower(x) == lower(y); };
  n = measured(a, n);
  m = measured(b, m);
  return std::equal(a, a + n, b, b + m, same) ? 1 : 0;
}

}  // namespace vxfnc
