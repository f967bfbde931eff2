// The character operations that the dispatchers and the argument reader need, once for the wide
// characters of FINANCE and once for the byte strings of FINANCE#. Both have the same members, so
// that everything above is written once for both widths. All lengths passed in are 0 or more.
#pragma once

#include <algorithm>
#include <cstdint>

#include "text/wide_text.h"

namespace vxfnc {

enum class Width : std::uint8_t { kWide, kByte };

// What `copy` writes at the most, and so how much it may copy and needs room for.
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

// An environment without the services cannot read byte strings: every text then counts as empty.
// Lengths that a service answers are held inside the string they were asked for.
class ByteCharacters {
 public:
  using Char = char;

  explicit ByteCharacters(CallEnvironment* environment) noexcept
      : services_(environment == nullptr ? nullptr : environment->byte_strings) {}

  std::int64_t trim(const Char* s, std::int64_t n) const noexcept {
    if (services_ == nullptr || services_->trim == nullptr) return 0;
    return std::clamp<std::int64_t>(services_->trim(services_, s, n, 0), 0, n);
  }
  void copy(const Char* from, std::int64_t n, Char* to) const noexcept {
    std::fill_n(to, kCopyRoom, ' ');
    std::int64_t copied = 0;
    if (services_->copy != nullptr) services_->copy(services_, from, n, to, kCopyRoom, &copied, 1);
  }
  void upper(Char* s, std::int64_t n) const noexcept {
    if (services_->upper != nullptr) services_->upper(services_, s, n, 0);
  }
  std::int64_t erase_blanks(Char* s, std::int64_t n) const noexcept {
    if (services_ == nullptr || services_->erase == nullptr) return 0;
    return std::clamp<std::int64_t>(services_->erase(services_, s, n, " ", 1, 0), 0, n);
  }
  bool equal(const Char* a, std::int64_t n, const Char* b, std::int64_t m) const noexcept {
    return services_->compare != nullptr && services_->compare(services_, a, n, b, m, 2) == 0;
  }

 private:
  ByteStringServices* services_;
};

}  // namespace vxfnc
