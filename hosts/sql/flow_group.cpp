#include "hosts/sql/flow_group.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace host {
namespace {

constexpr std::int32_t kFree = std::numeric_limits<std::int32_t>::min();  // a key of no flow

// A short array is filled from its begin and searched in order, up to one free place at its end. It
// needs half the memory of a hash table.
constexpr bool is_list(std::uint64_t room) noexcept { return room <= 32; }

std::uint64_t most_taken(std::uint64_t room) noexcept {
  if (is_list(room)) return room == 0 ? 0 : room - 1;
  return room / 4 * 3;
}

std::uint64_t hash(std::int32_t key, const double (&rates)[2]) noexcept {
  std::uint64_t bits = static_cast<std::uint32_t>(key) * 0x9E3779B97F4A7C15;
  bits ^= std::bit_cast<std::uint64_t>(rates[0]) * 0xC2B2AE3D27D4EB4F;
  bits ^= std::bit_cast<std::uint64_t>(rates[1]) * 0x165667B19E3779F9;
  return bits ^ bits >> 32;
}

bool has_bits_of(double a, double b) noexcept {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// The sum for a key and rates, or the free place for it.
FlowSum& find(const FlowGroup& group, std::int32_t key, const double (&rates)[2]) noexcept {
  for (std::uint64_t i = is_list(group.room) ? 0 : hash(key, rates);; ++i) {
    FlowSum& sum = group.sums[i & (group.room - 1)];
    if (sum.key == kFree) return sum;
    if (sum.key == key && has_bits_of(sum.rates[0], rates[0]) &&
        has_bits_of(sum.rates[1], rates[1])) {
      return sum;
    }
  }
}

FlowSum& take(FlowGroup& group, std::int32_t key, const double (&rates)[2]) noexcept {
  FlowSum& sum = find(group, key, rates);
  if (sum.key == kFree) {
    sum = {{}, {rates[0], rates[1]}, key, 0};
    ++group.taken;
  }
  if (sum.flows == 0) {
    sum.amount = {};
    ++group.live;
  }
  return sum;
}

}  // namespace

bool has_room(const FlowGroup& group, std::uint64_t more) noexcept {
  return group.taken + more <= most_taken(group.room);
}

std::uint64_t room_for(const FlowGroup& group, std::uint64_t more) noexcept {
  constexpr std::uint64_t kLeast = 4;
  const std::uint64_t wanted = group.live + more;
  const std::uint64_t room = std::bit_ceil(std::max(kLeast, wanted + 1));
  return is_list(room) ? room : std::bit_ceil(2 * wanted);
}

void move_to(FlowGroup& group, FlowSum* sums, std::uint64_t room) noexcept {
  for (std::uint64_t i = 0; i < room; ++i) sums[i] = {{}, {}, kFree, 0};
  FlowGroup moved{sums, room, 0, 0, 0, 0};
  for_each_sum(group, [&moved](const FlowSum& sum) { take(moved, sum.key, sum.rates) = sum; });
  moved.flows = group.flows;
  moved.invalid = group.invalid;
  group = moved;
}

void add(FlowGroup& group, const Flow& flow) noexcept {
  FlowSum& sum = take(group, flow.key, flow.rates);
  sum.amount.add(flow.amount);
  ++sum.flows;
  ++group.flows;
}

bool remove(FlowGroup& group, const Flow& flow) noexcept {
  constexpr double kMostRemoved = 1e15;
  if (group.room == 0) return true;
  FlowSum& sum = find(group, flow.key, flow.rates);
  if (sum.flows == 0) return true;
  sum.amount.add(-flow.amount);
  --sum.flows;
  --group.flows;
  if (sum.flows == 0) --group.live;
  return sum.flows == 0 || std::fabs(flow.amount) <= kMostRemoved;
}

void add_sum(FlowGroup& group, const FlowSum& other) noexcept {
  FlowSum& sum = take(group, other.key, other.rates);
  sum.amount.add(other.amount.sum);
  sum.amount.add(other.amount.rest);
  sum.flows += other.flows;
  group.flows += other.flows;
}

void add_all(FlowGroup& group, const FlowGroup& other) noexcept {
  for_each_sum(other, [&group](const FlowSum& sum) { add_sum(group, sum); });
  group.invalid += other.invalid;
}

}  // namespace host
