#include <open3d/geometry/KDTreeFlann.h>
#include <open3d/geometry/PointCloud.h>
#include <open3d/geometry/TriangleMesh.h>

#include <memory>

#include "peers/point_contestants.h"

namespace peers {
namespace {

using open3d::geometry::PointCloud;
using open3d::geometry::TriangleMesh;

std::shared_ptr<PointCloud> cloud_of(const demo::PointSet& set) {
  auto cloud = std::make_shared<PointCloud>();
  for (const demo::Vec3& p : set.points) cloud->points_.emplace_back(p.x, p.y, p.z);
  for (const demo::Vec3& n : set.normals) cloud->normals_.emplace_back(n.x, n.y, n.z);
  return cloud;
}

struct Run {
  std::shared_ptr<PointCloud> cloud;
  std::shared_ptr<TriangleMesh> mesh;
  demo::Surface* result;

  ~Run() {
    if (result == nullptr || mesh == nullptr) return;
    *result = {};
    for (const auto& p : mesh->vertices_) result->points.push_back({p.x(), p.y(), p.z()});
    for (const auto& t : mesh->triangles_) result->faces.push_back({t.x(), t.y(), t.z()});
  }
};

}  // namespace

Contestant open3d_ball(const demo::PointSet& set, demo::Surface* result) {
  return {"Open3D", [&set, result]() -> Job {
            auto run = std::make_shared<Run>();
            run->cloud = cloud_of(set);
            run->result = result;
            return [run]() -> long long {
              run->mesh = TriangleMesh::CreateFromPointCloudBallPivoting(
                  *run->cloud, {kBallRadii.begin(), kBallRadii.end()});
              return static_cast<long long>(run->mesh->triangles_.size());
            };
          }};
}

Contestant open3d_tree(const demo::PointSet& set) {
  return {"Open3D", [&set]() -> Job {
            auto cloud = cloud_of(set);
            return [cloud]() -> long long {
              const open3d::geometry::KDTreeFlann tree(*cloud);
              std::vector<int> indices;
              std::vector<double> distances;
              long long neighbours = 0;
              for (const auto& query : cloud->points_) {
                neighbours += tree.SearchKNN(query, kNeighbours, indices, distances);
              }
              return neighbours;
            };
          }};
}

}  // namespace peers
