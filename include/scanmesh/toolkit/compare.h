// How far two meshes are apart.
#ifndef SCANMESH_TOOLKIT_COMPARE_H
#define SCANMESH_TOOLKIT_COMPARE_H

#include <string>
#include <vector>

#include "scanmesh/toolkit/error.h"
#include "scanmesh/toolkit/export.h"
#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

struct CompareOptions {
  double within = 0;  // mesh units, for the shares; 0: a thousandth of the larger box's diagonal
  Progress progress;
};

/// Distances from one mesh to the surface of the other, over its points, its triangles' middles and
/// the middles of their sides, weighted by area.
struct Distances {
  double mean = 0;
  double rms = 0;
  double maximum = 0;
  double within = 0;              // share no further than the tolerance, 0 to 1
  std::vector<double> of_points;  // one per point; negative behind the other's surface
};
struct Comparison {
  Distances a_to_b;
  Distances b_to_a;
  double tolerance = 0;  // that the shares are told for
  double mean = 0;       // of both ways
  double rms = 0;
  double maximum = 0;  // the larger of both ways
};
/// Throws Error(invalid_mesh) for a mesh without triangles. Uses all processors.
SCANMESH_TOOLKIT_API Comparison compare(const TriangleMesh& a, const TriangleMesh& b,
                                        const CompareOptions& options = {});
SCANMESH_TOOLKIT_API std::string to_json(const Comparison& comparison);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_COMPARE_H
