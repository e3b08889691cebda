// Turning closed shells so that their outside is out.
#ifndef SCANMESH_TOOLKIT_OUTWARD_H
#define SCANMESH_TOOLKIT_OUTWARD_H

#include "scanmesh/toolkit/inspect.h"
#include "toolkit/work_mesh.h"

namespace scanmesh {

struct OutwardChanges {
  std::int64_t turned_shells = 0;
  std::int64_t cavities = 0;   // closed shells within another: their outside is its inside
  std::int64_t undecided = 0;  // open shells that show as much of one side as of the other
};

// Closed shells outward, those within an odd number of others inward; shells that meet, by the
// pairs of triangles that do, aren't within one another. Open ones outward as seen from the middle
// of their own points, where that is clear; else as they came.
OutwardChanges turn_outward(WorkMesh& mesh, const std::vector<Intersection>& pairs);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_OUTWARD_H
