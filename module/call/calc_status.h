// The status that a calculation routine zCompute<KEYWORD> returns.
#pragma once

#include <cstdint>

namespace vxfnc {

enum CalcStatus : std::int32_t {
  kDone = 0,
  kCannotBeComputed = 1,
  kYieldTooLow = 2,  // 1 + yield per period is 0, nearly 0 or negative
};

}  // namespace vxfnc
