// How noisy a mesh is, told from the mesh alone.
#ifndef SCANMESH_TOOLKIT_NOISE_ESTIMATE_H
#define SCANMESH_TOOLKIT_NOISE_ESTIMATE_H

#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"
#include "toolkit/face_graph.h"

namespace scanmesh {

// The standard deviation of points along their normals that is left when a smooth surface is taken
// off, in the mesh's units.
double estimate_noise(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
                      const FaceGraph& graph, const FaceMeasures& faces);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_NOISE_ESTIMATE_H
