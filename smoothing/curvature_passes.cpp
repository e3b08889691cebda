// Passes over all vertices that rest on curvature.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/parallel.h"
#include "core/vector_math.h"
#include "scanmesh/curvature.h"
#include "scanmesh/mesh.h"
#include "smoothing/vertex_steps.h"

namespace Mesh_M {

namespace {

using Mesh_R::_vert;
using Mesh_R::kStateDeleted;
using scanmesh::Vec3f;

constexpr double kFlat = 0.05;
constexpr int kRounds = 3;

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
      means[static_cast<std::size_t>(i)] = scanmesh::mean_of_neighbours(*vertex[i], true).mean();
    }
    for (int i = 0; i < count; ++i) vertex[i]->point = means[static_cast<std::size_t>(i)];
  }
}

}  // namespace Mesh_M
