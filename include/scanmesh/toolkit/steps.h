// The single steps of a repair, for those who want to take them one by one.
#ifndef SCANMESH_TOOLKIT_STEPS_H
#define SCANMESH_TOOLKIT_STEPS_H

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "scanmesh/toolkit/export.h"
#include "scanmesh/toolkit/inspect.h"

namespace scanmesh {

/// A changed mesh, where its elements come from, and how many of what the step is named for there
/// were. Points that no triangle uses any more are gone; everything else keeps its order.
struct StepResult {
  TriangleMesh mesh;
  Origin origin;
  std::int64_t changed = 0;
};

/// Joins points at exactly the same place; with a tolerance (mesh units) also the ends of edges up
/// to that long, and points of open edges that close to one another. `changed` counts points.
SCANMESH_TOOLKIT_API StepResult weld(const TriangleMesh& mesh, double tolerance = 0);

/// Drops all but the first of triangles with the same corners, whatever their direction.
SCANMESH_TOOLKIT_API StepResult remove_duplicates(const TriangleMesh& mesh);

/// Drops triangles with a corner twice or one that isn't finite; of three corners on a line, the
/// middle one splits the triangle across the long side, so that no gap opens.
SCANMESH_TOOLKIT_API StepResult remove_degenerate(const TriangleMesh& mesh);

/// Cuts edges of more than two triangles into pairs and gives every closed fan at a vertex a vertex
/// of its own, at the same place. `changed` counts junction edges and copies.
SCANMESH_TOOLKIT_API StepResult split_non_manifold(const TriangleMesh& mesh);

struct OrientResult {
  TriangleMesh mesh;
  std::int64_t turned_faces = 0;  // against the input
  std::int64_t turned_components = 0;
  std::int64_t cavities = 0;   // closed components within another: their outside is its inside
  std::int64_t undecided = 0;  // open components that show as much of one side as of the other
  std::int64_t cut_edges = 0;  // along which a one-sided surface was cut
};

/// Turns triangles until neighbours agree, closed components outward (those within an odd number of
/// others inward), open ones so that most of what is seen from outside is their outside. A surface
/// with one side, as Moebius' band, is cut along edges. Points stay.
SCANMESH_TOOLKIT_API OrientResult orient(const TriangleMesh& mesh);

struct DebrisOptions {
  double share = 0.005;        // components up to this share of all area go, the largest never
  std::int64_t min_faces = 0;  // and those of fewer faces
};
/// Drops small components. `changed` counts triangles.
SCANMESH_TOOLKIT_API StepResult remove_debris(const TriangleMesh& mesh,
                                              const DebrisOptions& options = {});

struct FillOptions {
  std::int64_t max_ring_edges = std::numeric_limits<std::int64_t>::max();
  double max_ring_length = std::numeric_limits<double>::infinity();    // mesh units
  double max_ring_diameter = std::numeric_limits<double>::infinity();  // mesh units
  /// Take a patch that passes through something where no other is found.
  bool allow_crossing = false;
  bool for_float_files = true;  // new points are floats
  Progress progress;
};

/// What became of one ring.
struct RingReport {
  std::int64_t edges = 0;
  double length = 0;  // mesh units
  Point centre;
  bool filled = false;
  std::string reason;  // of a ring that was left
};

struct FillResult {
  TriangleMesh mesh;  // the input's elements first, as they were
  Origin origin;
  std::vector<RingReport> rings;
};

/// Closes rings of open edges with patches that continue the surface, short rings first.
SCANMESH_TOOLKIT_API FillResult fill_holes(const TriangleMesh& mesh,
                                           const FillOptions& options = {});

struct UntangleOptions {
  int max_rounds = 12;
  bool for_float_files = true;
  Progress progress;
};
/// Removes self-intersections: of a closed mesh what lies inside goes along the line where it
/// passes through itself; small places are cut out and filled anew. `changed` counts pairs that are
/// gone.
SCANMESH_TOOLKIT_API StepResult resolve_self_intersections(const TriangleMesh& mesh,
                                                           const UntangleOptions& options = {});

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_STEPS_H
