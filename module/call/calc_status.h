// What a calculation routine zCompute<KEYWORD> returns.
#pragma once

#include <cstdint>

namespace vxfnc {

enum CalcStatus : std::int32_t {
  kDone = 0,
  kCannotBeComputed = 1,
  kYieldTooLow = 2,  // nothing is left of 1 + yield a period
};

}  // namespace vxfnc
