// Triangles that bound nothing: without area, doubled, not finite.
#ifndef SCANMESH_TOOLKIT_CLEANING_H
#define SCANMESH_TOOLKIT_CLEANING_H

#include "toolkit/work_mesh.h"

namespace scanmesh {

// Each returns how many triangles or points it concerned; triangles keep their order.

// Drops triangles with a corner that isn't finite.
std::int64_t drop_nonfinite(WorkMesh& mesh);
// Lets triangles name one point where several stand at the same place.
std::int64_t weld_equal_points(WorkMesh& mesh);
// Joins the ends of edges up to `tolerance` long, and points of open edges that close to one
// another.
std::int64_t weld_close_points(WorkMesh& mesh, double tolerance);
// Joins new points to what stands within `tolerance` along an edge: where a cut ended beside a
// vertex, triangles too thin to be rounded come of it. Points of the input never join one another.
std::int64_t weld_new_points(WorkMesh& mesh, double tolerance);
// Drops all but the first of triangles with the same corners.
std::int64_t drop_doubles(WorkMesh& mesh);
// Drops triangles with a corner twice. Of three corners on one line the middle one splits what lies
// across the long side, so that no gap opens.
std::int64_t remove_without_area(WorkMesh& mesh);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_CLEANING_H
