// Sum and maximum of the magnitudes of a vector, 0 for an empty one.
//
// Each has a plain and a 256-bit form, chosen per call from the processor features that the C
// library has recorded. Both forms add in one order, so a result never depends on the processor.
#pragma once

#include <cstdint>

namespace vxfnc {

double zvasum(const double* x, std::int64_t n) noexcept;
double zvamx(const double* x, std::int64_t n) noexcept;

bool has_wide_vectors() noexcept;

double zvasum_plain(const double* x, std::int64_t n) noexcept;
double zvasum_256(const double* x, std::int64_t n) noexcept;  // needs has_wide_vectors()
double zvamx_plain(const double* x, std::int64_t n) noexcept;
double zvamx_256(const double* x, std::int64_t n) noexcept;  // needs has_wide_vectors()

}  // namespace vxfnc
