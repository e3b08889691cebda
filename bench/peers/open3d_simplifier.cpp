#include <open3d/geometry/TriangleMesh.h>

#include <chrono>
#include <limits>

#include "peers/mesh_simplifiers.h"

namespace peers {

Simplified open3d_simplified(const scanmesh::TriangleMesh& mesh, std::size_t faces) {
  open3d::geometry::TriangleMesh copy;
  for (const scanmesh::Point& p : mesh.points) copy.vertices_.emplace_back(p.x, p.y, p.z);
  for (const scanmesh::Triangle& t : mesh.triangles) copy.triangles_.emplace_back(t[0], t[1], t[2]);
  const auto begin = std::chrono::steady_clock::now();
  const auto result = copy.SimplifyQuadricDecimation(static_cast<int>(faces),
                                                     std::numeric_limits<double>::infinity(), 1.0);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  Simplified out;
  out.seconds = took.count();
  for (const auto& p : result->vertices_) out.mesh.points.push_back({p.x(), p.y(), p.z()});
  for (const auto& t : result->triangles_) out.mesh.triangles.push_back({t[0], t[1], t[2]});
  return out;
}

}  // namespace peers
