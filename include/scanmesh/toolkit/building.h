// From points to a mesh, two meshes in one, openings.
#ifndef SCANMESH_TOOLKIT_BUILDING_H
#define SCANMESH_TOOLKIT_BUILDING_H

#include <vector>

#include "scanmesh/toolkit/error.h"
#include "scanmesh/toolkit/export.h"
#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

enum class Method {
  pivoting,  // a ball rolls over the points: they are the vertices
  octree     // a field on an octree, marched: samples are averaged
};
struct ReconstructOptions {
  Method method = Method::pivoting;
  double spacing = 0;  // of the points, mesh units; 0: the median distance to the nearest
  Progress progress;
};
/// A mesh of points with normals (`samples.points`, `samples.normals`; triangles are ignored).
/// Throws Error(invalid_argument) without normals, or where no face came of it.
SCANMESH_TOOLKIT_API TriangleMesh reconstruct(const TriangleMesh& samples,
                                              const ReconstructOptions& options = {});

/// The fine mesh set into the coarse one and the gap between them closed: the coarse mesh's faces
/// where the fine one lies are replaced. Throws Error(invalid_argument) where the meshes don't
/// meet.
SCANMESH_TOOLKIT_API TriangleMesh stitch(const TriangleMesh& coarse, const TriangleMesh& fine,
                                         const Progress& progress = {});

/// An opening as a tool cuts it, along its axis.
struct Opening {
  enum class Shape { circle, slot, rectangle };
  Shape shape = Shape::circle;
  Point centre;
  Point normal;            // along the tool; any length
  Point direction;         // of the longer side, slots and rectangles
  double half_length = 0;  // radius of a circle
  double half_width = 0;   // slots and rectangles
  double depth = 0;        // of a wall along the rim; 0: none
};
/// Cuts the openings one after the other, exactly along their curves. Throws
/// Error(invalid_argument) for sizes that aren't positive, and names the opening that the mesh
/// doesn't hold.
SCANMESH_TOOLKIT_API TriangleMesh trim(const TriangleMesh& mesh,
                                       const std::vector<Opening>& openings,
                                       const Progress& progress = {});

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_BUILDING_H
