// Our own mesh of what the contestants share.
#ifndef SCANMESH_BENCH_PEERS_SCANMESH_MESH_H
#define SCANMESH_BENCH_PEERS_SCANMESH_MESH_H

#include <memory>
#include <vector>

#include "peers/contestants.h"
#include "scanmesh/mesh.h"

namespace peers {

inline std::shared_ptr<Mesh_M::Mesh> mesh_of(const IndexedMesh& mesh) {
  auto copy = std::make_shared<Mesh_M::Mesh>();
  std::vector<float> points(mesh.points);
  std::vector<int> corners(mesh.corners.begin(), mesh.corners.end());
  copy->rebuild(points.data(), static_cast<int>(points.size() / 3), corners.data(),
                static_cast<int>(corners.size() / 3));
  return copy;
}

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_SCANMESH_MESH_H
