#include <meshoptimizer.h>

#include <chrono>
#include <limits>
#include <vector>

#include "peers/mesh_simplifiers.h"

namespace peers {

Simplified meshoptimizer_simplified(const scanmesh::TriangleMesh& mesh, std::size_t faces) {
  std::vector<float> points;
  std::vector<unsigned int> corners;
  for (const scanmesh::Point& p : mesh.points) {
    for (const double x : {p.x, p.y, p.z}) points.push_back(static_cast<float>(x));
  }
  for (const scanmesh::Triangle& t : mesh.triangles) {
    for (const std::int32_t v : t) corners.push_back(static_cast<unsigned int>(v));
  }
  std::vector<unsigned int> result(corners.size());
  const auto begin = std::chrono::steady_clock::now();
  result.resize(meshopt_simplify(result.data(), corners.data(), corners.size(), points.data(),
                                 mesh.points.size(), 3 * sizeof(float), 3 * faces,
                                 std::numeric_limits<float>::max(), 0, nullptr));
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  Simplified out;
  out.seconds = took.count();
  out.mesh.points = mesh.points;
  for (std::size_t i = 0; i < result.size(); i += 3) {
    out.mesh.triangles.push_back({static_cast<std::int32_t>(result[i]),
                                  static_cast<std::int32_t>(result[i + 1]),
                                  static_cast<std::int32_t>(result[i + 2])});
  }
  return out;
}

}  // namespace peers
