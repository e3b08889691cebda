// From points to a mesh with either reconstructor of the library.
#ifndef SCANMESH_EXAMPLES_RECONSTRUCT_H
#define SCANMESH_EXAMPLES_RECONSTRUCT_H

#include "scanmesh/mesh.h"
#include "support/point_set.h"

namespace demo {

enum class Reconstructor { ball, xball };

/// Builds a fresh mesh from points of spacing `spacing`. Vertices are numbered as the points.
void reconstruct(Reconstructor kind, const PointSet& set, double spacing, Mesh_M::Mesh& mesh);

/// The live faces by the numbers of their corners.
Surface surface_of(Mesh_M::Mesh& mesh);

/// What there is to say about a reconstruction.
struct MeshCounts {
  long long faces = 0;
  long long open_edges = 0;
  long long crowded_edges = 0;  // with more than two faces
  long long used_points = 0;
  long long points = 0;
  long long rings = 0;
  long long longest_ring = 0;  // edges
};
MeshCounts count_all(Mesh_M::Mesh& mesh);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_RECONSTRUCT_H
