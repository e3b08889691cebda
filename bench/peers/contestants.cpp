#include "peers/contestants.h"

namespace peers {

std::vector<Contestant> load_contestants(const std::string& path) {
  std::vector<Contestant> all{scanmesh_load(path)};
#ifdef SCANMESH_PEER_OPEN3D
  all.push_back(open3d_load(path));
#endif
#ifdef SCANMESH_PEER_OPENMESH
  all.push_back(openmesh_load(path));
#endif
#ifdef SCANMESH_PEER_CGAL
  all.push_back(cgal_load(path));
#endif
#ifdef SCANMESH_PEER_ASSIMP
  all.push_back(assimp_load(path));
#endif
  return all;
}

std::vector<Contestant> simplify_contestants(const IndexedMesh& mesh, int target) {
  std::vector<Contestant> all{scanmesh_simplify(mesh, target)};
#ifdef SCANMESH_PEER_OPEN3D
  all.push_back(open3d_simplify(mesh, target));
#endif
#ifdef SCANMESH_PEER_OPENMESH
  all.push_back(openmesh_simplify(mesh, target));
#endif
#ifdef SCANMESH_PEER_CGAL
  all.push_back(cgal_simplify(mesh, target));
#endif
#ifdef SCANMESH_PEER_MESHOPTIMIZER
  all.push_back(meshoptimizer_simplify(mesh, target));
#endif
  return all;
}

std::vector<Contestant> smooth_contestants(const IndexedMesh& mesh) {
  std::vector<Contestant> all{scanmesh_smooth(mesh)};
#ifdef SCANMESH_PEER_OPEN3D
  all.push_back(open3d_smooth(mesh));
#endif
  return all;
}

std::vector<Contestant> reconstruct_contestants(const OrientedPoints& cloud, const std::string& out,
                                                [[maybe_unused]] int depth) {
  std::vector<Contestant> all{scanmesh_reconstruct(cloud, out)};
#ifdef SCANMESH_PEER_OPEN3D
  all.push_back(open3d_reconstruct(cloud, depth));
#endif
  return all;
}

std::vector<Contestant> subdivide_contestants(const IndexedMesh& mesh) {
  std::vector<Contestant> all{scanmesh_subdivide(mesh)};
#ifdef SCANMESH_PEER_OPENMESH
  all.push_back(openmesh_subdivide(mesh));
#endif
#ifdef SCANMESH_PEER_CGAL
  all.push_back(cgal_subdivide(mesh));
#endif
  return all;
}

}  // namespace peers
