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

// One round of Loop subdivision.
Contestant scanmesh_subdivide(const IndexedMesh& mesh);
Contestant openmesh_subdivide(const IndexedMesh& mesh);
Contestant cgal_subdivide(const IndexedMesh& mesh);

/// scanmesh first, then the peers that were found.
std::vector<Contestant> load_contestants(const std::string& path);
std::vector<Contestant> simplify_contestants(const IndexedMesh& mesh, int target);
std::vector<Contestant> smooth_contestants(const IndexedMesh& mesh);
std::vector<Contestant> subdivide_contestants(const IndexedMesh& mesh);

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_CONTESTANTS_H
