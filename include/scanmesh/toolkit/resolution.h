// Fewer triangles, or more.
#ifndef SCANMESH_TOOLKIT_RESOLUTION_H
#define SCANMESH_TOOLKIT_RESOLUTION_H

#include <cstdint>
#include <limits>

#include "scanmesh/toolkit/error.h"
#include "scanmesh/toolkit/export.h"
#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

/// Where to stop: the first that is reached. At least one has to be given.
struct SimplifyOptions {
  std::int64_t faces = -1;                                     // -1: not given
  double ratio = -1;                                           // of the input's triangles, 0 to 1
  double max_error = std::numeric_limits<double>::infinity();  // mesh units
  bool lock_boundary = false;  // open edges stay as they are; else they keep their course
  bool avoid_intersections = true;
  bool for_float_files = true;  // positions are floats
  Progress progress;
};

enum class SimplifyStop {
  target,   // faces or ratio
  error,    // max_error
  topology  // nothing could go without closing a hole, tearing or crossing
};

struct SimplifyResult {
  TriangleMesh mesh;
  Origin origin;     // points: of which they are the last that is left; triangles likewise
  double error = 0;  // the largest estimate of a collapse that was taken, mesh units
  SimplifyStop stop = SimplifyStop::target;
};

/// Collapses edges by quadric error (Garland and Heckbert 1997; Lindstrom and Turk 1998; Trettner
/// and Kobbelt 2020) and never changes the topology: a closed manifold mesh stays closed and
/// manifold, with as many handles and components, and open edges keep their course. Points at one
/// place are different points: weld a soup first. Throws Error(invalid_argument) where no target is
/// given or one is out of range.
SCANMESH_TOOLKIT_API SimplifyResult simplify(const TriangleMesh& mesh,
                                             const SimplifyOptions& options);

/// Loop subdivision, `steps` 1 to 8: four triangles for each, per step. Connectivity is made by
/// numbers, so open, non-manifold and huge meshes keep theirs; open edges stay on their curve.
/// Throws Error(invalid_argument) where the result would have too many triangles.
SCANMESH_TOOLKIT_API TriangleMesh subdivide(const TriangleMesh& mesh, int steps = 1,
                                            const Progress& progress = {});

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_RESOLUTION_H
