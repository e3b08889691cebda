// A mesh that came from a scan or a file, made healthy.
#ifndef SCANMESH_TOOLKIT_REPAIR_H
#define SCANMESH_TOOLKIT_REPAIR_H

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "scanmesh/toolkit/export.h"
#include "scanmesh/toolkit/inspect.h"

namespace scanmesh {

/// Which components a repair keeps.
enum class Keep {
  all,     // all but debris
  largest  // the one with most area
};

/// Which rings a repair closes. Lengths in mesh units.
enum class Holes {
  all,
  none,
  up_to  // those within max_ring_edges, max_ring_length and max_ring_diameter
};

/// What becomes of an open component whose rings no patch closes without passing through it: a
/// plane, a face scan, a shell of a building.
enum class Sheets {
  best,   // what keeps more of the input: the two below are tried
  close,  // the patch is taken all the same, and what lies inside goes
  back    // it becomes a thin plate
};

struct RepairOptions {
  Keep keep = Keep::all;
  std::int64_t min_faces = 0;  // components with fewer faces go, whatever they are
  /// Open components go whose area is at most this share of the whole; closed ones stay.
  double debris = 1e-4;
  Holes holes = Holes::all;
  std::int64_t max_ring_edges = std::numeric_limits<std::int64_t>::max();
  double max_ring_length = std::numeric_limits<double>::infinity();
  double max_ring_diameter = std::numeric_limits<double>::infinity();
  Sheets sheets = Sheets::best;
  bool intersections = true;  // false leaves self-intersections as they are
  /// New points are floats, and health is judged as a file of floats (STL, PLY) will have it.
  bool for_float_files = true;
  /// Points closer than this share of the box's diagonal are joined along edges and cracks: other
  /// programs would do it, and open the mesh.
  double weld = 1.2e-6;
  int max_rounds = 12;
  Progress progress;
};

/// How a repair ended.
enum class RepairState {
  healthy,   // was already, nothing changed
  repaired,  // is now; but for openings that were to stay
  improved,  // has fewer defects than before
  unchanged  // nothing could be made better; the mesh is as it was
};

/// One step of a repair, in numbers of what it is named for.
struct RepairStep {
  std::string name;
  std::int64_t found = 0;
  std::int64_t mended = 0;
};

/// A place where a defect is left.
struct Remaining {
  std::string defect;      // by the name in Health
  std::int32_t face = -1;  // of the result
  Point at;
};

struct RepairReport {
  RepairState state = RepairState::unchanged;
  Health before;
  Health after;
  std::vector<RepairStep> steps;
  std::vector<Remaining> remaining;  // at most a hundred places
  Origin origin;                     // of the result's elements
  std::int64_t points_kept = 0;      // of the input's used points, bit for bit
  std::int64_t faces_added = 0;
  std::int64_t faces_removed = 0;
  double largest_movement = 0;  // of a point that has an origin, mesh units
  double seconds = 0;
};

struct RepairResult {
  TriangleMesh mesh;
  RepairReport report;
};

/// Makes a healthy mesh: closed, manifold, neighbours agreeing, outside out, no self-intersections.
/// In this order: triangles without meaning go, points at one place are joined, cracks are closed,
/// junctions are cut, neighbours turned to agree, rings filled, places that cross cut out and
/// filled anew (growing until it works), and the outside turned out. Each place is measured before
/// and after and left alone where it can't be bettered. Points that are no part of a defect keep
/// their coordinates to the bit; a healthy mesh comes back as it was. Repairing a result changes
/// nothing.
SCANMESH_TOOLKIT_API RepairResult repair(const TriangleMesh& mesh,
                                         const RepairOptions& options = {});

/// The report as text, a line per step, and as a JSON object.
SCANMESH_TOOLKIT_API std::string describe(const RepairReport& report);
SCANMESH_TOOLKIT_API std::string to_json(const RepairReport& report);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_REPAIR_H
