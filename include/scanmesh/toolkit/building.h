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
/// With pivoting the points are the samples', to the bit and in their order, with colours and unit
/// normals; those that no triangle uses are left out. The octree makes points of its own, in cells
/// of one and a half spacings. Samples that aren't finite, have no normal, or stand where another
/// does are passed over. Throws Error(invalid_argument) without normals, or where no face came of
/// it.
SCANMESH_TOOLKIT_API TriangleMesh reconstruct(const TriangleMesh& samples,
                                              const ReconstructOptions& options = {});

/// The fine mesh set into the coarse one and the gap between them closed: the coarse mesh's faces
/// with a corner within 0.6 of its mean edge of the fine surface are replaced. Points of both keep
/// their coordinates. Holes of either mesh at the seam, two and a half coarse edges to its sides,
/// are closed along. Where the fine mesh covers all of the coarse one, it is the result. Colours
/// and normals survive if both meshes have them. Throws Error(invalid_argument) where the meshes
/// don't meet.
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
/// Cuts the openings one after the other, exactly along their curves as seen along the tool.
/// Everything else keeps its coordinates and its order. The centre may lie a little above or below
/// the surface. Throws Error(invalid_argument) for sizes that aren't positive, and names the
/// opening that the mesh doesn't hold ("opening 2: ...", counted from 1).
SCANMESH_TOOLKIT_API TriangleMesh trim(const TriangleMesh& mesh,
                                       const std::vector<Opening>& openings,
                                       const Progress& progress = {});

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_BUILDING_H
