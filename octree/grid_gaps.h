// New positions across a hole: straight lines between the samples on its two sides.
#ifndef SCANMESH_OCTREE_GRID_GAPS_H
#define SCANMESH_OCTREE_GRID_GAPS_H

#include <vector>

#include "core/vector_math.h"

namespace scanmesh {

// A square grid over two axes.
struct GapGrid {
  int size = 0;
  float step = 0;
  Vec3f origin{0, 0, 0};
  int a = 0;
  int b = 1;
};

// The positions of the empty cells between occupied ones of a row, and then of a column, that lie
// within `radius` of `marker`, in this order. What a row yields occupies its cells, what a column
// yields doesn't.
std::vector<Vec3f> grid_gap_seeds(const GapGrid& grid, const std::vector<Vec3f>& points,
                                  const Vec3f& marker, float radius);

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_GRID_GAPS_H
