// Day numbers. The host passes dates as whole days from 1 January 1960; the engine counts days on
// the astronomical scale, as Julian day numbers.
#pragma once

#include <cstdint>

namespace vxfnc {

inline constexpr std::int64_t kDayNumberOfDateZero = 2436935;  // 1 January 1960

}  // namespace vxfnc
