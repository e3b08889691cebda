// Passes over all vertices that rest on curvature.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/face_building.h"
#include "core/parallel.h"
#include "core/vector_math.h"
#include "scanmesh/curvature.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

namespace {

using Mesh_R::_vert;
using Mesh_R::kStateDeleted;
using scanmesh::Vec3f;

constexpr double kFlat = 0.05;
constexpr int kRounds = 3;

// The mean of a vertex and its neighbours: float sums, double division.
Vec3f mean_with_neighbours(const _vert& vert) {
  Vec3f sum = vert.point;
  int count = 1;
  for (int i = 0; i < vert.edge_num; ++i) {
    if (vert.edge[i]->state == kStateDeleted) continue;
    sum = scanmesh::add(sum, scanmesh::far_end(vert.edge[i], &vert)->point);
    ++count;
  }
  return {static_cast<float>(static_cast<double>(sum.x) / count),
          static_cast<float>(static_cast<double>(sum.y) / count),
          static_cast<float>(static_cast<double>(sum.z) / count)};
}

}  // namespace

// Marks are added, never cleared: a host marks by several limits in turn.
int Mesh::markHighCurvature(const float& limit) {
  const double bound = limit;
  scanmesh::parallel_over(vertex.records, std::max(scanmesh::processor_count() - 1, 1),
                          [bound](_vert& vert) {
                            if (vert.state == kStateDeleted) return;
                            const auto [h, k] = GetHK(&vert, true, false, false, nullptr, nullptr);
                            if (std::fabs(h) > bound || std::fabs(k) > bound)
                              vert.state = Mesh_R::kStateHighCurvature;
                          });
  return 0;
}

void Mesh::GaussianCurvatureLimit_Lap_filter() {
  const int count = vertex.get_vertnum();
  // A first pass marks flat vertices, and nothing reads the marks: every vertex takes part. Hosts
  // know the filter with this cost.
  std::vector<bool> flat(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    flat[static_cast<std::size_t>(i)] = vertex.Cal_v_Gaussian_curvature(vertex[i], false) < kFlat;
  }
  std::vector<Vec3f> means(static_cast<std::size_t>(count));
  for (int round = 0; round < kRounds; ++round) {
    for (int i = 0; i < count; ++i) {
      means[static_cast<std::size_t>(i)] = mean_with_neighbours(*vertex[i]);
    }
    for (int i = 0; i < count; ++i) vertex[i]->point = means[static_cast<std::size_t>(i)];
  }
}

}  // namespace Mesh_M
