#include <open3d/geometry/TriangleMesh.h>
#include <open3d/io/TriangleMeshIO.h>

#include <limits>
#include <memory>

#include "peers/contestants.h"

namespace peers {

Contestant open3d_load(const std::string& path) {
  return {"Open3D", [path]() -> Job {
            auto mesh = std::make_shared<open3d::geometry::TriangleMesh>();
            return [mesh, path]() -> long long {
              if (!open3d::io::ReadTriangleMesh(path, *mesh)) return -1;
              mesh->RemoveDuplicatedVertices();
              mesh->ComputeVertexNormals();
              return static_cast<long long>(mesh->triangles_.size());
            };
          }};
}

namespace {

using TriangleMesh = open3d::geometry::TriangleMesh;

std::shared_ptr<TriangleMesh> mesh_of(const IndexedMesh& mesh) {
  auto copy = std::make_shared<TriangleMesh>();
  for (std::size_t i = 0; i + 2 < mesh.points.size(); i += 3) {
    copy->vertices_.emplace_back(mesh.points[i], mesh.points[i + 1], mesh.points[i + 2]);
  }
  for (std::size_t i = 0; i + 2 < mesh.corners.size(); i += 3) {
    copy->triangles_.emplace_back(static_cast<int>(mesh.corners[i]),
                                  static_cast<int>(mesh.corners[i + 1]),
                                  static_cast<int>(mesh.corners[i + 2]));
  }
  return copy;
}

}  // namespace

Contestant open3d_simplify(const IndexedMesh& mesh, int target) {
  return {"Open3D", [&mesh, target]() -> Job {
            const auto copy = mesh_of(mesh);
            auto result = std::make_shared<std::shared_ptr<TriangleMesh>>();
            return [copy, result, target]() -> long long {
              *result = copy->SimplifyQuadricDecimation(
                  target, std::numeric_limits<double>::infinity(), 1.0);
              return static_cast<long long>((*result)->triangles_.size());
            };
          }};
}

Contestant open3d_smooth(const IndexedMesh& mesh) {
  return {"Open3D", [&mesh]() -> Job {
            const auto copy = mesh_of(mesh);
            auto result = std::make_shared<std::shared_ptr<TriangleMesh>>();
            return [copy, result]() -> long long {
              *result = copy->FilterSmoothTaubin(10, 0.5, -0.53);
              return static_cast<long long>((*result)->triangles_.size());
            };
          }};
}

}  // namespace peers
