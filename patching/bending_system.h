// The patch and the rows of the region next to it as one surface, with its discrete Laplacian.
#ifndef SCANMESH_PATCHING_BENDING_SYSTEM_H
#define SCANMESH_PATCHING_BENDING_SYSTEM_H

#include <Eigen/SparseCore>
#include <vector>

#include "patching/patch_mesh.h"
#include "patching/surroundings.h"

namespace cavity {

using SparseMatrix = Eigen::SparseMatrix<double>;
using Coordinates = Eigen::Matrix<double, Eigen::Dynamic, 3>;

enum class Weights { cotangent, uniform };

// Vertices are numbered: ring, free vertices of the patch, region.
struct JoinedSurface {
  int ring_size = 0;
  int patch_size = 0;
  std::vector<Point> points;
  std::vector<Triangle> faces;  // the patch's first
  std::size_t patch_faces = 0;
  double ring_weight = 1.0;  // of the bending at the ring against that of the patch itself

  double weight(int v) const { return v < ring_size ? ring_weight : 1.0; }

  int size() const { return static_cast<int>(points.size()); }
  bool is_free(int v) const { return v >= ring_size && v < patch_size; }
};

// Takes in every region face that touches the ring or one of that many rows of vertices beyond it.
JoinedSurface join_to_region(const Surroundings& around, const PatchMesh& patch, int rows);

// Edge weights and areas of a joined surface. The Laplacian of x at v is the sum of
// weights(v, j) (x_j - x_v) over the neighbours, divided by area[v].
struct Laplacian {
  SparseMatrix weights;      // symmetric, without diagonal
  std::vector<double> area;  // per vertex, never zero
  std::vector<char> closed;  // vertices whose faces go all the way round
};

Laplacian build_laplacian(const JoinedSurface& surface, Weights kind);

// Unit normals of the vertices, zero where the faces around one cancel out.
std::vector<Point> vertex_normals(const JoinedSurface& surface);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_BENDING_SYSTEM_H
