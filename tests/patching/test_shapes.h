// Surfaces of known equation, holes cut out of them, and the one validator of a patch.
#ifndef SCANMESH_TESTS_PATCHING_TEST_SHAPES_H
#define SCANMESH_TESTS_PATCHING_TEST_SHAPES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "scanmesh/cavity_patcher.h"

namespace shapes {

using Mesh_M::MyFace;
using Mesh_M::MyPoint3;

constexpr double pi = 3.141592653589793;

inline MyPoint3 minus(const MyPoint3& a, const MyPoint3& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline double dot(const MyPoint3& a, const MyPoint3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline MyPoint3 cross(const MyPoint3& a, const MyPoint3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double norm(const MyPoint3& a) {
  return std::sqrt(dot(a, a));
}

// A small generator of our own, so that every platform tests the same shapes.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed * 2654435761u + 12345u) {}
  double uniform() {  // -1 .. 1
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(state_ >> 11) / 4503599627370496.0 - 1.0;
  }
  double normal() {
    double sum = 0.0;
    for (int i = 0; i < 12; ++i) sum += 0.5 * uniform();
    return sum;
  }

 private:
  std::uint64_t state_;
};

struct Mesh {
  std::vector<MyPoint3> points;
  std::vector<MyFace> faces;
};

struct Hole {
  std::vector<double> region;
  std::vector<double> ring;
  int ring_size() const { return static_cast<int>(ring.size() / 3); }
};

struct Patch {
  int status = 1;
  std::vector<MyPoint3> vertices;
  std::vector<MyFace> faces;
  std::vector<MyPoint3> normals;
  std::vector<int> ring_indices;
};

// A jittered triangular lattice of `columns` x `rows` unit cells, mapped to space. With wrap, the
// last column (row) continues in the first.
inline Mesh lattice(int columns, int rows, bool wrap_u, bool wrap_v, double jitter,
                    const std::function<MyPoint3(double, double)>& map) {
  Mesh mesh;
  Random random(7);
  const int width = columns + (wrap_u ? 0 : 1);
  const int height = rows + (wrap_v ? 0 : 1);
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) {
      const double shift = j % 2 == 0 ? 0.0 : 0.5;
      const double u = i + shift + jitter * random.uniform();
      const double v = j + jitter * random.uniform();
      mesh.points.push_back(map(u, v));
    }
  }
  const auto at = [&](int i, int j) { return (j % height) * width + i % width; };
  for (int j = 0; j < rows; ++j) {
    for (int i = 0; i < columns; ++i) {
      const int a = at(i, j);
      const int b = at(i + 1, j);
      const int c = at(i, j + 1);
      const int d = at(i + 1, j + 1);
      if (j % 2 == 0) {
        mesh.faces.push_back({a, b, c});
        mesh.faces.push_back({b, d, c});
      } else {
        mesh.faces.push_back({a, b, d});
        mesh.faces.push_back({a, d, c});
      }
    }
  }
  return mesh;
}

inline void add_noise(Mesh& mesh, double amount) {
  Random random(99);
  for (MyPoint3& p : mesh.points) {
    p.x += amount * random.normal();
    p.y += amount * random.normal();
    p.z += amount * random.normal();
  }
}

// Scanned meshes are stored as floats.
inline void round_to_float(Mesh& mesh) {
  for (MyPoint3& p : mesh.points) {
    p = {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
  }
}

inline void append_face(const Mesh& mesh, const MyFace& f, std::vector<double>& region) {
  const MyPoint3& a = mesh.points[f.a];
  const MyPoint3& b = mesh.points[f.b];
  const MyPoint3& c = mesh.points[f.c];
  MyPoint3 n = cross(minus(a, b), minus(b, c));
  const double length = norm(n);
  n = length > 1e-16 ? MyPoint3{n.x / length, n.y / length, n.z / length} : MyPoint3{0, 0, 1};
  for (const MyPoint3& p : {n, a, b, c}) region.insert(region.end(), {p.x, p.y, p.z});
}

// Takes out the faces for which `removed` holds (they must form a disk) and hands over what is left
// within four rows of the rim.
inline Hole cut(const Mesh& mesh, const std::function<bool(const MyFace&)>& removed) {
  std::map<int, int> next;
  std::set<std::pair<int, int>> half_edges;
  std::vector<MyFace> kept;
  for (const MyFace& f : mesh.faces) {
    if (!removed(f)) {
      kept.push_back(f);
      continue;
    }
    for (const auto& [a, b] : {std::pair(f.a, f.b), std::pair(f.b, f.c), std::pair(f.c, f.a)}) {
      half_edges.insert({a, b});
    }
  }
  for (const auto& [a, b] : half_edges) {
    if (half_edges.count({b, a}) == 0) next[a] = b;
  }
  Hole hole;
  std::set<int> near;
  const int start = next.begin()->first;
  for (int v = start;;) {
    near.insert(v);
    const MyPoint3& p = mesh.points[v];
    hole.ring.insert(hole.ring.end(), {p.x, p.y, p.z});
    v = next.at(v);
    if (v == start) break;
  }
  EXPECT_EQ(near.size(), next.size()) << "the cut-out is no disk";
  std::vector<char> taken(kept.size(), 0);
  for (int row = 0; row < 4; ++row) {
    std::set<int> grown = near;
    for (std::size_t i = 0; i < kept.size(); ++i) {
      const MyFace& f = kept[i];
      if (near.count(f.a) + near.count(f.b) + near.count(f.c) == 0) continue;
      grown.insert({f.a, f.b, f.c});
      taken[i] = 1;
    }
    near = grown;
  }
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (taken[i] != 0) append_face(mesh, kept[i], hole.region);
  }
  return hole;
}

// Takes out all faces with a corner for which `inside` holds.
inline Hole cut_around(const Mesh& mesh, const std::function<bool(const MyPoint3&)>& inside) {
  return cut(mesh, [&](const MyFace& f) {
    return inside(mesh.points[f.a]) || inside(mesh.points[f.b]) || inside(mesh.points[f.c]);
  });
}

inline Patch fill(const Hole& hole) {
  Patch patch;
  Mesh_M::CavityPatcher patcher;
  patch.status = patcher.fillHole2(hole.region, hole.ring, patch.vertices, patch.faces,
                                   patch.normals, patch.ring_indices);
  return patch;
}

inline MyPoint3 rule_normal(const Patch& patch, const MyFace& f) {
  const MyPoint3 n = cross(minus(patch.vertices[f.a], patch.vertices[f.b]),
                           minus(patch.vertices[f.b], patch.vertices[f.c]));
  const double length = norm(n);
  if (length <= 1e-16) return {0, 0, 1};
  return {n.x / length, n.y / length, n.z / length};
}

// Everything a host relies on: a manifold disk, every vertex used, boundary exactly the ring in its
// order, ring coordinates untouched and first, normals by the rule, no edge or face of the region.
inline void expect_sound(const Hole& hole, const Patch& patch) {
  ASSERT_EQ(patch.status, 0);
  const int n = hole.ring_size();
  const int count = static_cast<int>(patch.vertices.size());
  ASSERT_GE(count, n);
  ASSERT_EQ(static_cast<int>(patch.ring_indices.size()), n);
  for (int i = 0; i < n; ++i) {
    ASSERT_EQ(patch.ring_indices[i], i);
    ASSERT_EQ(patch.vertices[i].x, hole.ring[3 * i]);
    ASSERT_EQ(patch.vertices[i].y, hole.ring[3 * i + 1]);
    ASSERT_EQ(patch.vertices[i].z, hole.ring[3 * i + 2]);
  }
  std::map<std::pair<int, int>, int> half_edges;
  std::map<int, std::map<int, int>> link;  // per vertex: successor of each neighbour
  for (const MyFace& f : patch.faces) {
    const std::array<int, 3> t = {f.a, f.b, f.c};
    for (int k = 0; k < 3; ++k) {
      ASSERT_GE(t[k], 0);
      ASSERT_LT(t[k], count);
      ASSERT_NE(t[k], t[(k + 1) % 3]);
      ++half_edges[{t[k], t[(k + 1) % 3]}];
      ASSERT_TRUE(link[t[k]].insert({t[(k + 1) % 3], t[(k + 2) % 3]}).second);
    }
  }
  ASSERT_EQ(static_cast<int>(link.size()), count) << "a vertex without a face";
  int edges = 0;
  for (const auto& [edge, uses] : half_edges) {
    const auto [a, b] = edge;
    ASSERT_EQ(uses, 1) << a << " - " << b;
    const bool rim = a < n && b == (a + 1) % n;
    const bool against_rim = b < n && a == (b + 1) % n && n > 2;
    ASSERT_EQ(half_edges.count({b, a}) == 0, rim) << a << " - " << b;
    ASSERT_FALSE(against_rim && !rim) << a << " - " << b;
    if (a < b || rim) ++edges;
  }
  ASSERT_EQ(count - edges + static_cast<int>(patch.faces.size()), 1) << "not a disk";
  for (const auto& [v, successors] : link) {
    int at = v < n ? (v + 1) % n : successors.begin()->first;
    std::size_t steps = 0;
    while (successors.count(at) != 0 && steps <= successors.size()) {
      at = successors.at(at);
      ++steps;
    }
    if (v < n) {
      ASSERT_EQ(steps, successors.size()) << "two fans at ring vertex " << v;
      ASSERT_EQ(at, (v + n - 1) % n);
    } else {
      ASSERT_EQ(steps, successors.size() + 1);
      std::size_t around = 1;
      const int first = successors.begin()->first;
      for (int w = successors.at(first); w != first; w = successors.at(w)) ++around;
      ASSERT_EQ(around, successors.size()) << "two fans at " << v;
    }
  }
  ASSERT_EQ(patch.normals.size(), patch.faces.size());
  for (std::size_t i = 0; i < patch.faces.size(); ++i) {
    const MyPoint3 expected = rule_normal(patch, patch.faces[i]);
    ASSERT_NEAR(norm(patch.normals[i]), 1.0, 1e-12);
    ASSERT_NEAR(norm(minus(patch.normals[i], expected)), 0.0, 1e-12);
  }
  using Key = std::array<double, 3>;
  const auto key = [](const MyPoint3& p) { return Key{p.x, p.y, p.z}; };
  std::map<Key, int> position;
  for (int i = 0; i < n; ++i) position[key(patch.vertices[i])] = i;
  std::set<std::array<int, 3>> triangles;
  for (const MyFace& f : patch.faces) {
    std::array<int, 3> t = {f.a, f.b, f.c};
    std::sort(t.begin(), t.end());
    ASSERT_TRUE(triangles.insert(t).second);
  }
  for (std::size_t i = 0; i + 12 <= hole.region.size(); i += 12) {
    std::array<int, 3> corner{};
    for (std::size_t k = 0; k < 3; ++k) {
      const double* p = hole.region.data() + i + 3 + 3 * k;
      const auto found = position.find(Key{p[0], p[1], p[2]});
      corner[k] = found == position.end() ? -1 : found->second;
    }
    for (int k = 0; k < 3; ++k) {
      const int a = corner[k];
      const int b = corner[(k + 1) % 3];
      if (a < 0 || b < 0 || b == (a + 1) % n || a == (b + 1) % n) continue;
      ASSERT_EQ(half_edges.count({a, b}) + half_edges.count({b, a}), 0u)
          << "chord " << a << " - " << b << " repeated";
    }
    std::sort(corner.begin(), corner.end());
    ASSERT_EQ(triangles.count(corner), 0u) << "region face repeated";
  }
}

inline std::vector<double> flat(const std::vector<MyPoint3>& points) {
  std::vector<double> values;
  for (const MyPoint3& p : points) values.insert(values.end(), {p.x, p.y, p.z});
  return values;
}

// A ring without surroundings.
inline Hole bare(const std::vector<MyPoint3>& points) {
  return {{}, flat(points)};
}

inline double total_area(const Patch& patch) {
  double area = 0.0;
  for (const MyFace& f : patch.faces) {
    area += 0.5 * norm(cross(minus(patch.vertices[f.b], patch.vertices[f.a]),
                             minus(patch.vertices[f.c], patch.vertices[f.a])));
  }
  return area;
}

}  // namespace shapes

#endif  // SCANMESH_TESTS_PATCHING_TEST_SHAPES_H
