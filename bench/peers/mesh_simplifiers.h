// Simplifiers that hand back their meshes, and a distance between meshes that isn't ours.
#ifndef SCANMESH_BENCH_PEERS_MESH_SIMPLIFIERS_H
#define SCANMESH_BENCH_PEERS_MESH_SIMPLIFIERS_H

#include <cstddef>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace peers {

struct Simplified {
  scanmesh::TriangleMesh mesh;
  double seconds = 0;  // of the call, without the copies in and out
};

Simplified cgal_lindstrom_turk(const scanmesh::TriangleMesh& mesh, std::size_t faces);
Simplified cgal_garland_heckbert(const scanmesh::TriangleMesh& mesh, std::size_t faces);
Simplified meshoptimizer_simplified(const scanmesh::TriangleMesh& mesh, std::size_t faces);
Simplified open3d_simplified(const scanmesh::TriangleMesh& mesh, std::size_t faces);
Simplified engine_simplified(const scanmesh::TriangleMesh& mesh, std::size_t faces);

struct OneWay {
  double mean = 0;
  double maximum = 0;
};
// From `samples` places spread evenly over a, and its points, to the surface of b.
OneWay sampled_distance(const scanmesh::TriangleMesh& a, const scanmesh::TriangleMesh& b,
                        std::size_t samples);

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_MESH_SIMPLIFIERS_H
