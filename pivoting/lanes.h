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

// Bounds of points, and sums of their deviations from the first one with the squares of these.
template <int D>
struct PointSums {
  float low[D];
  float high[D];
  double sum[D];
  double squares[D];
};

// Of `count` elements of `Item`, whose coordinates come first.
template <int D, typename Item>
PointSums<D> sums_of(const Item* items, int count) {
  PointSums<D> sums;
  for (int d = 0; d < D; ++d) {
    sums.low[d] = sums.high[d] = items[0].at[d];
    sums.sum[d] = sums.squares[d] = 0;
  }
  for (int i = 1; i < count; ++i) {
    for (int d = 0; d < D; ++d) {
      const float at = items[i].at[d];
      const double deviation = static_cast<double>(at) - items[0].at[d];
      sums.sum[d] += deviation;
      sums.squares[d] += deviation * deviation;
      sums.low[d] = at < sums.low[d] ? at : sums.low[d];
      sums.high[d] = at > sums.high[d] ? at : sums.high[d];
    }
  }
  return sums;
}

#if defined(__SSE2__)
// The same, three coordinates at once. What stands in the fourth place of an item is no float.
template <typename Item>
PointSums<3> sums_of_three(const Item* items, int count) {
  static_assert(sizeof(Item) == 4 * sizeof(float), "an item fills a register");
  const __m128 used = _mm_castsi128_ps(_mm_set_epi32(0, -1, -1, -1));
  const auto load = [&](int i) { return _mm_and_ps(used, _mm_loadu_ps(items[i].at)); };
  const __m128 first = load(0);
  const __m128d first_xy = _mm_cvtps_pd(first);
  const __m128d first_z = _mm_cvtps_pd(_mm_movehl_ps(first, first));
  __m128 low = first;
  __m128 high = first;
  __m128d sum[2] = {_mm_setzero_pd(), _mm_setzero_pd()};
  __m128d squares[2] = {_mm_setzero_pd(), _mm_setzero_pd()};
  for (int i = 1; i < count; ++i) {
    const __m128 at = load(i);
    low = _mm_min_ps(at, low);
    high = _mm_max_ps(at, high);
    const __m128d xy = _mm_sub_pd(_mm_cvtps_pd(at), first_xy);
    const __m128d z = _mm_sub_pd(_mm_cvtps_pd(_mm_movehl_ps(at, at)), first_z);
    sum[0] = _mm_add_pd(sum[0], xy);
    sum[1] = _mm_add_pd(sum[1], z);
    squares[0] = _mm_add_pd(squares[0], _mm_mul_pd(xy, xy));
    squares[1] = _mm_add_pd(squares[1], _mm_mul_pd(z, z));
  }
  float lows[4];
  float highs[4];
  double sums[4];
  double all_squares[4];
  _mm_storeu_ps(lows, low);
  _mm_storeu_ps(highs, high);
  for (int half = 0; half < 2; ++half) {
    _mm_storeu_pd(sums + 2 * half, sum[half]);
    _mm_storeu_pd(all_squares + 2 * half, squares[half]);
  }
  PointSums<3> out;
  for (int d = 0; d < 3; ++d) {
    out.low[d] = lows[d];
    out.high[d] = highs[d];
    out.sum[d] = sums[d];
    out.squares[d] = all_squares[d];
  }
  return out;
}
#endif

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_LANES_H
