// The octree pipeline as a contestant, from points with normals to the file.
#include <algorithm>
#include <cmath>
#include <memory>

#include "peers/contestants.h"
#include "scanmesh/marching.h"

namespace peers {

namespace {

struct Cube {
  float centre[3];
  float half;
};

// A little off the middle, and a power of two of cells.
Cube cube_about(const OrientedPoints& cloud, float cell_half) {
  Cube cube{{0, 0, 0}, cell_half};
  float reach = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    float low = cloud.points[k];
    float high = low;
    for (std::size_t i = k; i < cloud.points.size(); i += 3) {
      low = std::min(low, cloud.points[i]);
      high = std::max(high, cloud.points[i]);
    }
    cube.centre[k] = 0.5F * (low + high) + 0.27F * cell_half;
    reach = std::max(reach, 0.5F * (high - low));
  }
  while (cube.half < reach + 8 * cell_half) cube.half *= 2;
  return cube;
}

}  // namespace

Contestant scanmesh_reconstruct(const OrientedPoints& cloud, const std::string& out) {
  return {"scanmesh", [&cloud, out]() -> Job {
            auto pipeline = std::make_shared<MC_Triangulation>();
            auto points = std::make_shared<OrientedPoints>(cloud);
            return [pipeline, points, out]() -> long long {
              const float half = 0.5F * points->spacing;
              Cube cube = cube_about(*points, half);
              const auto count = static_cast<int>(points->points.size() / 3);
              pipeline->inalize(cube.centre, count, cube.half, 0, half);
              for (std::size_t i = 0; i < points->points.size(); i += 3) {
                pipeline->insert_data(&points->points[i], &points->normals[i], half, 0);
              }
              pipeline->mc_triangulation();
              const long long facets = 100000LL * pipeline->facet_block + pipeline->facet_slot;
              pipeline->mc_output_data(out.c_str());
              return facets;
            };
          }};
}

}  // namespace peers
