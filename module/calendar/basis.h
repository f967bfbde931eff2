// Day-count bases.
#pragma once

#include <cstdint>

namespace vxfnc {

enum BasisCode : std::int32_t {
  kBasisUs30360 = 0,        // 30/360, US method; an omitted basis
  kBasisActual = 1,         // actual/actual; a basis given as a missing value
  kBasisActual360 = 2,      // actual/360
  kBasisActual365 = 3,      // actual/365
  kBasisEuropean30360 = 4,  // 30/360, European method
};

}  // namespace vxfnc
