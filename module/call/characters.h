// The character operations that the dispatchers and the argument reader need, once for the wide
// characters of FINANCE and once for the byte strings of FINANCE#. Both have the same members, so
// that everything above is written once for both widths. All lengths passed in are 0 or more.
#pragma once

#include <algorithm>
#include <cstdint>

#include "text/wide_text.h"

namespace vxfnc {

enum class Width : std::uint8_t { kWide, kByte };

// What a caller of `copy` may copy at the most, and must have room for: byte strings are padded to
// this length, wide ones are not padded. Where the service is missing, nothing is copied.
inline constexpr std::int64_t kCopyRoom = 16;

class WideCharacters {
 public:
  using Char = WideChar;

  explicit WideCharacters(CallEnvironment*) noexcept {}

  std::int64_t trim(const Char* s, std::int64_t n) const noexcept { return vxzstrp(s, n); }
  void copy(const Char* from, std::int64_t n, Char* to) const noexcept { vxzsmov(from, n, to, n); }
  void upper(Char* s, std::int64_t n) const noexcept { vxzstup(s, n); }
  std::int64_t erase_blanks(Char* s, std::int64_t n) const noexcept {
    return vxzsdel(s, n, U" ", 1);
  }
  bool equal(const Char* a, std::int64_t n, const Char* b, std::int64_t m) const noexcept {
    return vxzseqn(a, n, b, m) != 0;
  }
};

// An environment that lacks a service cannot read byte strings: every text then counts as empty, or
// equals nothing. Lengths that a service answers are held inside the string they were asked for.
class ByteCharacters {
 public:
  using Char = char;

  explicit ByteCharacters(CallEnvironment* environment) noexcept
      : services_(environment == nullptr ? nullptr : environment->byte_strings) {}

  std::int64_t trim(const Char* s, std::int64_t n) const noexcept {
    if (!has(&ByteStringServices::trim)) return 0;
    return std::clamp<std::int64_t>(services_->trim(services_, s, n, 0), 0, n);
  }
  void copy(const Char* from, std::int64_t n, Char* to) const noexcept {
    std::int64_t copied = 0;
    if (has(&ByteStringServices::copy)) {
      services_->copy(services_, from, n, to, kCopyRoom, &copied, 1);
    }
  }
  void upper(Char* s, std::int64_t n) const noexcept {
    if (has(&ByteStringServices::upper)) services_->upper(services_, s, n, 0);
  }
  std::int64_t erase_blanks(Char* s, std::int64_t n) const noexcept {
    if (!has(&ByteStringServices::erase)) return 0;
    return std::clamp<std::int64_t>(services_->erase(services_, s, n, " ", 1, 0), 0, n);
  }
  bool equal(const Char* a, std::int64_t n, const Char* b, std::int64_t m) const noexcept {
    return has(&ByteStringServices::compare) && services_->compare(services_, a, n, b, m, 2) == 0;
  }

 private:
  bool has(auto ByteStringServices::*service) const noexcept {
    return services_ != nullptr && services_->*service != nullptr;
  }

  ByteStringServices* services_;
};

}  // namespace vxfnc
