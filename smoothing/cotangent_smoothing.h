// Taubin smoothing with cotangent weights.
#ifndef SCANMESH_SMOOTHING_COTANGENT_SMOOTHING_H
#define SCANMESH_SMOOTHING_COTANGENT_SMOOTHING_H

#include <cstddef>
#include <vector>

#include "core/vector_math.h"
#include "scanmesh/process_step.h"
#include "scanmesh/stores.h"

namespace scanmesh {

// Where a vertex goes. With `use_border` a vertex with two edges that don't have exactly two faces
// moves along these by the mean of both ends, and one with any other number of them but none stays.
// Else it goes by `step` times the offset of the cotangent-weighted mean of its neighbours, or,
// when not `relative`, to that mean. An edge that isn't deleted and doesn't have two faces keeps it
// where it is. A zero angle has an infinite weight, and the result is then NaN.
Vec3f cotangent_step(const Mesh_R::_vert& vert, double step, bool use_border, bool relative);

// One worker's share of such a step, over the positions [begin, end) of the list; `out` is as long.
void cotangent_share(std::vector<Vec3f>& out, const std::vector<Mesh_R::_vert*>& verts,
                     std::size_t begin, std::size_t end, double step);

// `iterations` pairs of steps on the listed vertices, on `workers` tasks.
void taubin_smooth_area(const std::vector<Mesh_R::_vert*>& verts, int iterations, int workers,
                        const Mesh_M::ProcessStepCallback& callback);

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_COTANGENT_SMOOTHING_H
