// Bounded time. A loop over periods may stop as soon as nothing can change any more; one that is
// still changing after this many periods is not carried out, so that no call can run for seconds.
//
// Nothing here rounds but the addition that `is_settled` tries, once and to nearest as in the loop.
// The constants are choices: 2^24 periods bound the time of a call, and counts of steps are exact
// up to 2^53.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

namespace vxfnc {

inline constexpr std::int64_t kLongestWalk = 1 << 24;

// Equal bits, NaNs and signed zeros included: a loop whose state repeats has reached its end.
constexpr bool same_bits(double a, double b) noexcept {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// True when adding leaves the sum as it is, as of a NaN.
constexpr bool is_settled(double sum, double addend) noexcept {
  return sum + addend == sum || sum != sum;
}

// Takes so many steps, a whole number or less than one; fewer once `settled` says that none can
// change anything any more. False: there are more than `most`, which are not carried out.
template <class Step, class Settled>
constexpr bool walk(double steps, std::int64_t most, Step&& step, Settled&& settled) noexcept {
  constexpr std::int64_t kBlock = 256;  // steps between two questions, which cost time
  constexpr double kFarthest = 0x1p53;
  auto left = static_cast<std::int64_t>(std::min(steps, kFarthest));
  for (std::int64_t walked = kBlock; left > kBlock; left -= kBlock, walked += kBlock) {
    for (std::int64_t k = 0; k < kBlock; ++k) step();
    if (settled()) return true;
    if (walked >= most) return false;
  }
  for (; left > 0; --left) step();
  return true;
}

}  // namespace vxfnc
