// Patches for rings: made by the engine, judged against everything around before they are taken.
#ifndef SCANMESH_TOOLKIT_PATCH_MAKING_H
#define SCANMESH_TOOLKIT_PATCH_MAKING_H

#include <cstdint>
#include <vector>

#include "toolkit/work_mesh.h"

namespace scanmesh {

// How new points are stored, and what lengths are measured by.
struct Ground {
  bool floats = true;   // round new points to floats
  double diagonal = 1;  // of the mesh's box
  Point stored(const Point& p) const;
};

// The kinds of patches, in the order in which they are tried.
enum class PatchKind {
  continuing,  // refined and faired, with the tangents of the surroundings
  flat,        // refined and faired, knowing nothing of the surroundings
  plain        // over the ring's own vertices
};

// Triangles over vertices of the mesh and new points, which have the numbers that follow.
struct Patch {
  std::vector<Point> new_points;
  std::vector<Triangle> triangles;
  bool made = false;
};

// A patch for the ring, in the ring's direction. `made` is false where the engine refuses the ring.
Patch make_patch(const LiveMesh& live, const std::vector<std::int32_t>& ring, PatchKind kind,
                 const Ground& ground);

// What would be wrong with the patches if they were added: pairs of triangles that meet, triangles
// without area, edges that would have more than two triangles. Stops counting beyond `enough`.
std::int64_t faults_of(LiveMesh& live, const std::vector<Patch>& patches, std::int64_t enough);

// Adds patches that were made for the mesh as it stands; the numbers of their triangles.
std::vector<std::int32_t> take_patches(LiveMesh& live, const std::vector<Patch>& patches);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_PATCH_MAKING_H
