// Point clouds of the tests, and their brute-force neighbours.
#ifndef SCANMESH_TESTS_PIVOTING_POINT_CLOUDS_H
#define SCANMESH_TESTS_PIVOTING_POINT_CLOUDS_H

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "core/vector_math.h"
#include "scanmesh/ball_pivoting.h"
#include "scanmesh/static_kd_tree.h"
#include "tests/support/shapes.h"

namespace test_support {

using BallNode = BPA::Ball_Pivoting::T_node;

struct Cloud {
  std::vector<Vec3f> points;
  std::vector<Vec3f> normals;
};

// Bare vertex records over points, and elements of both trees over them.
struct TreeInput {
  std::vector<Mesh_R::_vert> records;
  std::vector<BallNode> ball_nodes;
  std::vector<xbpa::XPointNode> x_nodes;

  explicit TreeInput(const std::vector<Vec3f>& points) : records(points.size()) {
    for (std::size_t i = 0; i < points.size(); ++i) {
      records[i].point = points[i];
      ball_nodes.emplace_back(&records[i]);
      x_nodes.push_back({&records[i], 0});
    }
  }
  TreeInput(const TreeInput&) = delete;
};

inline std::vector<Vec3f> random_points(int n, uint64_t seed, float extent = 10) {
  Random random(seed);
  std::vector<Vec3f> points;
  for (int i = 0; i < n; ++i) {
    const float x = extent * random.signed_unit();
    const float y = extent * random.signed_unit();
    points.push_back({x, y, extent * random.signed_unit()});
  }
  return points;
}

// Points of a small grid: most distances occur many times.
inline std::vector<Vec3f> grid_points(int n) {
  std::vector<Vec3f> points;
  for (int i = 0; i < n * n * n; ++i) {
    points.push_back(
        {static_cast<float>(i % n), static_cast<float>(i / n % n), static_cast<float>(i / n / n)});
  }
  return points;
}

// Points of a wavy sheet, spacing about 1.
inline std::vector<Vec3f> sheet_points(int n, uint64_t seed) {
  return irregular_patch(n, seed).points;
}

// Squared distances from the query as the first tree computes them, ascending.
inline std::vector<double> brute_distances(const std::vector<Vec3f>& points, const Vec3f& query) {
  std::vector<double> out;
  for (const Vec3f& p : points) {
    const Vec3f d = scanmesh::sub(query, p);
    const float xx = d.x * d.x;
    const float yy = d.y * d.y;
    const float zz = d.z * d.z;
    out.push_back(static_cast<double>(xx) + yy + zz);
  }
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_PIVOTING_POINT_CLOUDS_H
