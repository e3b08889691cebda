// Point clouds of the tests, and their brute-force neighbours.
#ifndef SCANMESH_TESTS_PIVOTING_POINT_CLOUDS_H
#define SCANMESH_TESTS_PIVOTING_POINT_CLOUDS_H

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "core/vector_math.h"
#include "scanmesh/ball_pivoting.h"
#include "scanmesh/static_kd_tree.h"
#include "tests/support/shapes.h"

namespace test_support {

using BallNode = BPA::Ball_Pivoting::T_node;

// Points with unit normals.
struct Cloud {
  std::vector<Vec3f> points;
  std::vector<Vec3f> normals;
  float spacing = 1;

  int count() const { return static_cast<int>(points.size()); }
  void add(const Vec3f& point, const Vec3f& normal) {
    points.push_back(point);
    normals.push_back(scanmesh::scaled(normal, 1 / scanmesh::length(normal)));
  }
};

// A fresh array of the kind that a reconstructor takes.
inline MemS::MemAllo<float[3]> array_of(const std::vector<Vec3f>& vectors) {
  MemS::MemAllo<float[3]> array;
  array.inalize(1000, 10);
  for (const Vec3f& v : vectors) {
    float(&slot)[3] = array.allocate_mem();
    slot[0] = v.x;
    slot[1] = v.y;
    slot[2] = v.z;
  }
  return array;
}

// A spiral over a sphere, jittered: spacing about 1.
inline Cloud sphere_cloud(int n, uint64_t seed, double jitter = 0.2) {
  Random random(seed);
  Cloud cloud;
  const double radius = std::sqrt(n / (4 * 3.14159265358979));
  for (int i = 0; i < n; ++i) {
    const double z = 1 - (2 * i + 1.0) / n;
    const double angle = i * 2.399963229728653;
    const double across = std::sqrt(1 - z * z);
    Vec3f p{static_cast<float>(radius * across * std::cos(angle)),
            static_cast<float>(radius * across * std::sin(angle)), static_cast<float>(radius * z)};
    const auto shift = static_cast<float>(jitter);
    p.x += shift * random.signed_unit();
    p.y += shift * random.signed_unit();
    p.z += shift * random.signed_unit();
    cloud.add(p, p);
  }
  return cloud;
}

// A wavy sheet on an uneven grid with some points missing: spacing about 1.
inline Cloud wavy_cloud(int n, uint64_t seed, float noise = 0.02F) {
  Random random(seed);
  Cloud cloud;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      const float x = static_cast<float>(i) + 0.3F * random.signed_unit();
      const float y = static_cast<float>(j) + 0.3F * random.signed_unit();
      if (random.below(50) == 0) continue;
      const float z = 1.5F * std::sin(0.3F * x) * std::cos(0.25F * y);
      const float zx = 0.45F * std::cos(0.3F * x) * std::cos(0.25F * y);
      const float zy = -0.375F * std::sin(0.3F * x) * std::sin(0.25F * y);
      cloud.add({x, y, z + noise * random.signed_unit()}, {-zx, -zy, 1});
    }
  }
  return cloud;
}

// Points anywhere in a flat box with normals that agree only roughly: everything goes wrong here.
inline Cloud messy_cloud(int n, uint64_t seed) {
  Random random(seed);
  Cloud cloud;
  const float extent = 0.5F * std::sqrt(static_cast<float>(n));
  for (int i = 0; i < n; ++i) {
    const float x = extent * random.signed_unit();
    const float y = extent * random.signed_unit();
    const Vec3f p{x, y, 0.8F * random.signed_unit()};
    const float nx = 0.8F * random.signed_unit();
    cloud.add(p, {nx, 0.8F * random.signed_unit(), random.below(8) == 0 ? -1.0F : 1.0F});
  }
  return cloud;
}

inline Cloud joined(Cloud a, const Cloud& b, const Vec3f& shift) {
  for (std::size_t i = 0; i < b.points.size(); ++i) {
    a.add(scanmesh::add(b.points[i], shift), b.normals[i]);
  }
  return a;
}

inline Cloud shuffled(Cloud cloud, uint64_t seed) {
  Random random(seed);
  for (int i = cloud.count() - 1; i > 0; --i) {
    const auto a = static_cast<std::size_t>(i);
    const auto b = static_cast<std::size_t>(random.below(i + 1));
    std::swap(cloud.points[a], cloud.points[b]);
    std::swap(cloud.normals[a], cloud.normals[b]);
  }
  return cloud;
}

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

struct NamedCloud {
  const char* name;
  Cloud cloud;
};

inline std::vector<NamedCloud> test_clouds() {
  Cloud outliers = wavy_cloud(30, 5);
  for (const Vec3f& p : random_points(40, 6, 30)) outliers.add(p, {0, 0, 1});
  Cloud fine = sphere_cloud(900, 7);
  for (Vec3f& p : fine.points) p = scanmesh::scaled(p, 0.01);
  fine.spacing = 0.01F;
  Cloud sparse = wavy_cloud(30, 8);
  sparse.spacing = 0.4F;
  Cloud coarse = wavy_cloud(25, 9);
  coarse.spacing = 2.5F;
  return {{"sphere", sphere_cloud(1000, 1)},
          {"wavy", wavy_cloud(32, 2)},
          {"shuffled", shuffled(wavy_cloud(32, 3), 4)},
          {"outliers", outliers},
          {"fine", fine},
          {"balls too small", sparse},
          {"balls too large", coarse},
          {"messy", messy_cloud(900, 10)},
          {"messier", messy_cloud(900, 11)},
          {"two parts", joined(sphere_cloud(300, 12), wavy_cloud(16, 13), {40, 0, 0})}};
}

// Clouds that a reconstruction isn't meant for.
inline std::vector<NamedCloud> bad_clouds() {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  std::vector<NamedCloud> out;
  for (const int n : {1, 2, 3, 15, 16}) {
    Cloud few = wavy_cloud(5, 1);
    few.points.resize(static_cast<std::size_t>(n));
    few.normals.resize(static_cast<std::size_t>(n));
    out.push_back({"few", few});
  }
  Cloud equal;
  for (int i = 0; i < 3000; ++i) equal.add({1, 2, 3}, {0, 0, 1});
  out.push_back({"all equal", equal});
  Cloud twice = wavy_cloud(20, 2);
  out.push_back({"every point twice", joined(twice, twice, {0, 0, 0})});
  Cloud often = wavy_cloud(20, 3);
  for (int i = 0; i < 40; ++i) often.add(often.points[7], often.normals[7]);
  out.push_back({"one point often", often});
  Cloud broken = wavy_cloud(25, 4);
  Random random(5);
  for (int i = 0; i < 80; ++i) {
    const auto k = static_cast<std::size_t>(random.below(broken.count()));
    (i % 3 == 0   ? broken.points[k].x
     : i % 3 == 1 ? broken.points[k].y
                  : broken.normals[k].z) = i % 4 == 0 ? kInf : kNaN;
  }
  out.push_back({"not finite", broken});
  Cloud nothing;
  for (int i = 0; i < 50; ++i) nothing.add({kNaN, kNaN, kNaN}, {0, 0, 1});
  out.push_back({"no number at all", nothing});
  Cloud line;
  for (int i = 0; i < 50; ++i) line.add({static_cast<float>(i), 0, 0}, {0, 0, 1});
  out.push_back({"on a line", line});
  Cloud flat = wavy_cloud(20, 6);
  for (Vec3f& n : flat.normals) n = {0, 0, 0};
  out.push_back({"no normals", flat});
  return out;
}

// The reports that a reconstruction makes, by its number of points and of attempts.
inline std::vector<int> expected_steps(long points, long attempts) {
  const long total = std::min(2 * points, 50L);
  const long stride = (2 * points - 1 + total) / total;
  std::vector<int> steps{1};
  for (long i = 1; i <= attempts; ++i) {
    if (i % stride == 1) steps.push_back(static_cast<int>(std::min(total - 1, i / stride + 2)));
  }
  steps.push_back(static_cast<int>(total));
  return steps;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_PIVOTING_POINT_CLOUDS_H
