// Surfaces whose noise-free shape is known, for measuring what smoothing does.
#ifndef SCANMESH_BENCH_SMOOTHING_SHAPES_H
#define SCANMESH_BENCH_SMOOTHING_SHAPES_H

#include <cstdint>
#include <vector>

#include "support/surface.h"

namespace bench {

/// A closed, milled part: planes, a ramp, a hollow and a bulge that meet in sharp edges. `cells`
/// along its length; mean edge about 1.
demo::Surface milled_part(int cells);

/// A sphere of about 8 x 4^depth faces, mean edge about 1.
demo::Surface round_ball(int depth);

/// Scales about the origin so that the mean edge is 1.
void scale_to_unit_edge(demo::Surface& surface);

/// Moves every point along its normal, with the deviation in mesh units.
demo::Surface with_noise(const demo::Surface& surface, double deviation, std::uint64_t seed);

/// Throws `count` single points that lie on no border outwards or inwards by 2 to 4 mean edges, no
/// two of them near one another. `planted` gets their numbers.
demo::Surface with_spikes(const demo::Surface& surface, int count, std::uint64_t seed,
                          std::vector<int>& planted);

}  // namespace bench

#endif  // SCANMESH_BENCH_SMOOTHING_SHAPES_H
