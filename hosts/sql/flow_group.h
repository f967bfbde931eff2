// The cash flows of a group, added up by date or period while they are collected.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernel/compensated_sum.h"

namespace host {

struct Flow {
  std::int32_t key;  // a date, as days from 1 January 1960, or a period
  double amount;
  double rates[2];  // 0 for an aggregate without rates
};

// The flows of one date or period that have the same rates.
struct FlowSum {
  vxkernel::CompensatedSum amount;
  double rates[2];
  std::int32_t key;
  std::uint32_t flows;
};

// A table of sums. This is plain data, and the host owns its memory, so that a database can
// account for it, limit it and free it.
struct FlowGroup {
  FlowSum* sums;
  std::uint64_t room;   // of the array; a power of two, or 0
  std::uint64_t taken;  // sums of the array that are or were in use
  std::uint64_t live;   // sums with flows
  std::uint64_t flows;
  std::uint64_t invalid;  // rows that are not flows; the host counts them
};

// If a group does not have room for more sums, the host allocates an array of room_for sums, calls
// move_to, and frees the old array.
bool has_room(const FlowGroup& group, std::uint64_t more) noexcept;
std::uint64_t room_for(const FlowGroup& group, std::uint64_t more) noexcept;
void move_to(FlowGroup& group, FlowSum* sums, std::uint64_t room) noexcept;

// Adds a flow. The group must have room for it.
void add(FlowGroup& group, const Flow& flow) noexcept;

// Removes a flow that was added. In practice the sum of the other flows is that of a group which
// never had it. Returns false if the flow was so large that the sum may have lost the others.
bool remove(FlowGroup& group, const Flow& flow) noexcept;

// Adds the flows of a sum. The group must have room for it.
void add_sum(FlowGroup& group, const FlowSum& other) noexcept;

// Adds all flows and invalid rows of another group. The group must have room for other.live more
// sums.
void add_all(FlowGroup& group, const FlowGroup& other) noexcept;

// Calls visit for each sum with flows, in no order.
void for_each_sum(const FlowGroup& group, auto&& visit) {
  for (std::uint64_t i = 0; i < group.room; ++i) {
    if (group.sums[i].flows > 0) visit(group.sums[i]);
  }
}

}  // namespace host
