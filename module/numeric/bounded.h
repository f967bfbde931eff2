// Bounded time. A loop over periods may stop as soon as nothing can change any more; one that is
// still changing after this many periods is not carried out, so that no call can run for seconds.
#pragma once

#include <bit>
#include <cstdint>

namespace vxfnc {

inline constexpr std::int64_t kLongestWalk = 1 << 24;

// Equal bits, NaNs and signed zeros included: a loop whose state repeats has reached its end.
constexpr bool same_bits(double a, double b) noexcept {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

}  // namespace vxfnc
