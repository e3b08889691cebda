// Who takes part. Each peer is built where its package is found.
#ifndef SCANMESH_BENCH_PEERS_CONTESTANTS_H
#define SCANMESH_BENCH_PEERS_CONTESTANTS_H

#include <string>
#include <vector>

#include "peers/comparison.h"

namespace peers {

// Opening a binary STL file: read, joined to a mesh, with vertex normals where the peer's own
// structure needs a call for them.
Contestant scanmesh_load(const std::string& path);
Contestant open3d_load(const std::string& path);
Contestant openmesh_load(const std::string& path);
Contestant cgal_load(const std::string& path);
Contestant assimp_load(const std::string& path);

// Simplifying to `target` faces. `mesh` outlives the contestant.
Contestant scanmesh_simplify(const IndexedMesh& mesh, int target);
Contestant open3d_simplify(const IndexedMesh& mesh, int target);
Contestant openmesh_simplify(const IndexedMesh& mesh, int target);
Contestant cgal_simplify(const IndexedMesh& mesh, int target);
Contestant meshoptimizer_simplify(const IndexedMesh& mesh, int target);

// Taubin smoothing, ten iterations. `mesh` outlives the contestant.
Contestant scanmesh_smooth(const IndexedMesh& mesh);
Contestant open3d_smooth(const IndexedMesh& mesh);
// Points with unit normals to a surface. `cloud` outlives the contestant. scanmesh makes cells of
// the points' spacing and writes its facets to `out`; Open3D's is Poisson reconstruction of this
// depth.
struct OrientedPoints {
  std::vector<float> points;
  std::vector<float> normals;
  float spacing = 1;
};
Contestant scanmesh_reconstruct(const OrientedPoints& cloud, const std::string& out);
Contestant open3d_reconstruct(const OrientedPoints& cloud, int depth);

// One round of Loop subdivision.
Contestant scanmesh_subdivide(const IndexedMesh& mesh);
Contestant openmesh_subdivide(const IndexedMesh& mesh);
Contestant cgal_subdivide(const IndexedMesh& mesh);

/// scanmesh first, then the peers that were found.
std::vector<Contestant> load_contestants(const std::string& path);
std::vector<Contestant> simplify_contestants(const IndexedMesh& mesh, int target);
std::vector<Contestant> smooth_contestants(const IndexedMesh& mesh);
std::vector<Contestant> reconstruct_contestants(const OrientedPoints& cloud, const std::string& out,
                                                int depth);
std::vector<Contestant> subdivide_contestants(const IndexedMesh& mesh);

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_CONTESTANTS_H
