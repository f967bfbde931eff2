// Limits for loops over periods, so that no call runs for seconds. A loop stops as soon as further
// periods would change nothing. If it has not stopped after kLongestWalk periods, the calculation
// fails.
//
// The only rounded operation here is the addition in `is_settled`, which rounds as the same
// addition in the loop does. The constants are choices: 2^24 periods limit the time of a call, and
// doubles count steps exactly up to 2^53.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

namespace vxfnc {

inline constexpr std::int64_t kLongestWalk = 1 << 24;

// True if all bits are equal, also those of NaNs and signed zeros. If the whole state of a loop
// repeats, the loop has reached its final state.
constexpr bool same_bits(double a, double b) noexcept {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// True if the addition would not change the sum. A sum that is NaN never changes.
constexpr bool is_settled(double sum, double addend) noexcept {
  return sum + addend == sum || sum != sum;
}

// Calls step() `steps` times; `steps` is a whole number, or less than 1 for none. Stops early if
// settled() returns true, which must mean that further steps would change nothing. Returns false if
// settled() is still false after `most` steps and steps remain.
template <class Step, class Settled>
constexpr bool walk(double steps, std::int64_t most, Step&& step, Settled&& settled) noexcept {
  constexpr std::int64_t kBlock = 256;  // steps between calls of settled(), which cost time
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
