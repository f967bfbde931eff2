// The character operations of the dispatchers and of the argument reader: WideCharacters for
// FINANCE and ByteCharacters for FINANCE#. Both classes have the same members, so that callers can
// be templates for both widths. All lengths that are passed in are 0 or more.
#pragma once

#include <algorithm>
#include <cstdint>

#include "text/wide_text.h"

namespace vxfnc {

enum class Width : std::uint8_t { kWide, kByte };

// The target of `copy` must have room for this many characters, and the source must not be longer.
// Byte strings are padded with blanks to this length; wide strings are not padded. Without the copy
// service, nothing is copied.
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

// If the environment does not have a service, byte strings cannot be read: every text is then empty
// or differs from all others. Lengths that a service returns are limited to the length of the
// string.
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
