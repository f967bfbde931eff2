// Day-count bases.
#pragma once

#include <cstdint>

namespace vxfnc {

enum BasisCode : std::int32_t {
  kBasisUs30360 = 0,        // 30/360, US method; the default if the basis is omitted
  kBasisActual = 1,         // actual/actual; also if the basis is a missing value
  kBasisActual360 = 2,      // actual/360
  kBasisActual365 = 3,      // actual/365
  kBasisEuropean30360 = 4,  // 30/360, European method
};

}  // namespace vxfnc
