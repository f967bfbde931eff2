#include "numeric/vectors.h"

#include <immintrin.h>
#ifdef __clang__
#define _Bool bool  // the next header uses _Bool, which clang supports only in C
#endif
#include <sys/platform/x86.h>
#undef _Bool

#include <cmath>

namespace vxfnc {
namespace {

constexpr std::int64_t kLanes = 4;           // the number of doubles in 256 bits
constexpr std::int64_t kSumBlocksFrom = 16;  // shorter vectors are summed without lanes
constexpr std::int64_t kMaximumBlock = 8;

// Returns the number of elements before the first one that is 16-byte aligned.
std::int64_t unaligned_head(const double* x) noexcept {
  return reinterpret_cast<std::uintptr_t>(x) % 16 == 0 ? 0 : 1;
}

// Four partial sums, as in the 256-bit form.
struct PlainLanes {
  double lane[kLanes] = {0.0, 0.0, 0.0, 0.0};
  void add_magnitudes(const double* x) noexcept {
    for (std::int64_t i = 0; i < kLanes; ++i) lane[i] += std::fabs(x[i]);
  }
};

// Adds the parts in the order that both forms share: the head, the pairwise sum of the lanes, then
// the tail.
double joined(double head, const double* lane, const double* tail, const double* end) noexcept {
  double sum = head + ((lane[0] + lane[1]) + (lane[2] + lane[3]));
  for (; tail < end; ++tail) sum += std::fabs(*tail);
  return sum;
}

double larger(double maximum, double x) noexcept {
  const double magnitude = std::fabs(x);
  return magnitude > maximum ? magnitude : maximum;
}

}  // namespace

bool has_wide_vectors() noexcept { return x86_cpu_active(x86_cpu_AVX) != 0; }

double zvasum(const double* x, std::int64_t n) noexcept {
  return has_wide_vectors() ? zvasum_256(x, n) : zvasum_plain(x, n);
}

double zvamx(const double* x, std::int64_t n) noexcept {
  return has_wide_vectors() ? zvamx_256(x, n) : zvamx_plain(x, n);
}

double zvasum_plain(const double* x, std::int64_t n) noexcept {
  double head = 0.0;
  PlainLanes lanes;
  const double* const end = x + (n < 1 ? 0 : n);
  if (n >= kSumBlocksFrom) {
    if (unaligned_head(x) != 0) head = std::fabs(*x++);
    for (; end - x >= kLanes; x += kLanes) lanes.add_magnitudes(x);
  }
  return joined(head, lanes.lane, x, end);
}

__attribute__((target("avx"))) double zvasum_256(const double* x, std::int64_t n) noexcept {
  double head = 0.0;
  alignas(32) double lane[kLanes] = {0.0, 0.0, 0.0, 0.0};
  const double* const end = x + (n < 1 ? 0 : n);
  if (n >= kSumBlocksFrom) {
    const __m256d sign = _mm256_set1_pd(-0.0);
    __m256d lanes = _mm256_setzero_pd();
    if (unaligned_head(x) != 0) head = std::fabs(*x++);
    for (; end - x >= kLanes; x += kLanes) {
      lanes = _mm256_add_pd(lanes, _mm256_andnot_pd(sign, _mm256_loadu_pd(x)));
    }
    _mm256_store_pd(lane, lanes);
  }
  return joined(head, lane, x, end);
}

double zvamx_plain(const double* x, std::int64_t n) noexcept {
  if (n < 1) return 0.0;
  double maximum = std::fabs(x[0]);
  for (std::int64_t i = 1; i < n; ++i) maximum = larger(maximum, x[i]);
  return maximum;
}

__attribute__((target("avx"))) double zvamx_256(const double* x, std::int64_t n) noexcept {
  if (n < 1) return 0.0;
  const double* const end = x + n;
  double maximum = std::fabs(*x++);
  if (end - x > kMaximumBlock) {
    if (unaligned_head(x) != 0) maximum = larger(maximum, *x++);
    // If the new element is NaN, the maximum of a lane is not changed. If the first element is NaN,
    // the maximum stays NaN. The plain form does the same.
    const __m256d sign = _mm256_set1_pd(-0.0);
    __m256d low = _mm256_set1_pd(maximum);
    __m256d high = low;
    for (; end - x >= kMaximumBlock; x += kMaximumBlock) {
      low = _mm256_max_pd(_mm256_andnot_pd(sign, _mm256_loadu_pd(x)), low);
      high = _mm256_max_pd(_mm256_andnot_pd(sign, _mm256_loadu_pd(x + kLanes)), high);
    }
    alignas(32) double lane[kMaximumBlock];
    _mm256_store_pd(lane, low);
    _mm256_store_pd(lane + kLanes, high);
    for (const double value : lane) maximum = larger(maximum, value);
  }
  for (; x < end; ++x) maximum = larger(maximum, *x);
  return maximum;
}

}  // namespace vxfnc
