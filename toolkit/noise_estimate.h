// How noisy a mesh is, told from the mesh alone.
#ifndef SCANMESH_TOOLKIT_NOISE_ESTIMATE_H
#define SCANMESH_TOOLKIT_NOISE_ESTIMATE_H

#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"
#include "toolkit/face_graph.h"

namespace scanmesh {

struct NoiseEstimate {
  // The standard deviation of points along their normals that is left when a smooth surface is
  // taken off, in calm places; in the mesh's units.
  double deviation = 0;
  // It is much the same all over the mesh, as noise is. Otherwise it may be the shape's detail.
  bool even = false;
};

// `edge`: the mean length of an edge.
NoiseEstimate estimate_noise(const std::vector<Point>& points,
                             const std::vector<Triangle>& triangles, const FaceGraph& graph,
                             const FaceMeasures& faces, double edge);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_NOISE_ESTIMATE_H
