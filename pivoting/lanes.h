// Means of the processor: several distances at once, the lowest bit, memory ahead of its use.
#ifndef SCANMESH_PIVOTING_LANES_H
#define SCANMESH_PIVOTING_LANES_H

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace scanmesh {

// Number of the lowest bit set; there is one.
inline int lowest_bit(uint32_t bits) {
#if defined(__GNUC__)
  return __builtin_ctz(bits);
#else
  int i = 0;
  while ((bits >> i & 1U) == 0) ++i;
  return i;
#endif
}

inline void prefetch(const void* address) {
#if defined(__GNUC__)
  __builtin_prefetch(address);
#else
  (void)address;
#endif
}

// Squared distances of kLanes points, whose coordinates lie in one array per dimension, from `at`:
// products and sums in float, in the order of the dimensions. Bit i of the result tells whether the
// i-th is at most `limit`.
template <int D, int kLanes>
uint32_t lanes_within(const float* const (&along)[D], const float (&at)[D], float limit,
                      float (&distance)[kLanes]) {
  static_assert(kLanes % 4 == 0 && kLanes < 32, "whole registers, and bits for all");
  uint32_t within = 0;
#if defined(__SSE2__)
  for (int i = 0; i < kLanes; i += 4) {
    __m128 sum = _mm_setzero_ps();
    for (int d = 0; d < D; ++d) {
      const __m128 difference = _mm_sub_ps(_mm_set1_ps(at[d]), _mm_loadu_ps(along[d] + i));
      const __m128 square = _mm_mul_ps(difference, difference);
      sum = d == 0 ? square : _mm_add_ps(sum, square);
    }
    _mm_storeu_ps(distance + i, sum);
    const int bits = _mm_movemask_ps(_mm_cmple_ps(sum, _mm_set1_ps(limit)));
    within |= static_cast<uint32_t>(bits) << i;
  }
#else
  for (int i = 0; i < kLanes; ++i) {
    float sum = 0;
    for (int d = 0; d < D; ++d) {
      const float difference = at[d] - along[d][i];
      sum = d == 0 ? difference * difference : sum + difference * difference;
    }
    distance[i] = sum;
    within |= static_cast<uint32_t>(sum <= limit) << i;
  }
#endif
  return within;
}

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_LANES_H
