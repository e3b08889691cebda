// The small meshes of the tests, and an irregular noisy one for comparisons with references.
#ifndef SCANMESH_TESTS_SUPPORT_SHAPES_H
#define SCANMESH_TESTS_SUPPORT_SHAPES_H

#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "scanmesh/mesh.h"

namespace test_support {

using Vec3f = MemS::Point3v<float>;

// The same numbers on every platform.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t next() {
    state_ += 0x9E3779B97F4A7C15ULL;
    uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  }
  // Uniform in [-1, 1).
  float signed_unit() { return static_cast<float>(next() >> 40) / 8388608.0F - 1.0F; }
  int below(int n) { return static_cast<int>(next() % static_cast<uint64_t>(n)); }

 private:
  uint64_t state_;
};

// Points and triangles, before they become a mesh.
struct Soup {
  std::vector<Vec3f> points;
  std::vector<std::array<int, 3>> triangles;

  std::unique_ptr<Mesh_M::Mesh> mesh() const {
    auto built = std::make_unique<Mesh_M::Mesh>();
    std::vector<float> xyz;
    for (const Vec3f& p : points) xyz.insert(xyz.end(), {p.x, p.y, p.z});
    std::vector<int> corners;
    for (const auto& t : triangles) corners.insert(corners.end(), t.begin(), t.end());
    built->rebuild(xyz.data(), static_cast<int>(points.size()), corners.data(),
                   static_cast<int>(triangles.size()));
    return built;
  }
};

inline Soup single_triangle() {
  return {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{{0, 1, 2}}}};
}

inline Soup tetrahedron() {
  return {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
          {{{0, 2, 1}}, {{0, 1, 3}}, {{1, 2, 3}}, {{2, 0, 3}}}};
}

// n x n cells over the unit of `step`; `height` shapes it.
template <typename Height>
Soup height_field(int n, float step, Height height) {
  Soup soup;
  for (int j = 0; j <= n; ++j) {
    for (int i = 0; i <= n; ++i) {
      const float x = static_cast<float>(i) * step;
      const float y = static_cast<float>(j) * step;
      soup.points.push_back({x, y, height(x, y)});
    }
  }
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      const int a = j * (n + 1) + i;
      const int b = a + 1;
      const int c = a + n + 1;
      const int d = c + 1;
      soup.triangles.push_back({a, b, d});
      soup.triangles.push_back({a, d, c});
    }
  }
  return soup;
}

inline Soup flat_grid(int n, float step) {
  return height_field(n, step, [](float, float) { return 0.0F; });
}

// Unit sphere from an octahedron whose faces are split `depth` times, times `radius`.
inline Soup sphere(int depth, float radius) {
  Soup soup{{{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}},
            {{{0, 2, 4}},
             {{2, 1, 4}},
             {{1, 3, 4}},
             {{3, 0, 4}},
             {{2, 0, 5}},
             {{1, 2, 5}},
             {{3, 1, 5}},
             {{0, 3, 5}}}};
  for (int level = 0; level < depth; ++level) {
    std::map<std::pair<int, int>, int> middle;
    const auto split = [&](int a, int b) {
      const auto key = std::minmax(a, b);
      const auto found = middle.find(key);
      if (found != middle.end()) return found->second;
      const Vec3f p = soup.points[static_cast<std::size_t>(a)];
      const Vec3f q = soup.points[static_cast<std::size_t>(b)];
      const Vec3f m{(p.x + q.x) / 2, (p.y + q.y) / 2, (p.z + q.z) / 2};
      const float length = std::sqrt(m.x * m.x + m.y * m.y + m.z * m.z);
      soup.points.push_back({m.x / length, m.y / length, m.z / length});
      const int number = static_cast<int>(soup.points.size()) - 1;
      middle.emplace(key, number);
      return number;
    };
    std::vector<std::array<int, 3>> finer;
    for (const auto& t : soup.triangles) {
      const int ab = split(t[0], t[1]);
      const int bc = split(t[1], t[2]);
      const int ca = split(t[2], t[0]);
      finer.push_back({t[0], ab, ca});
      finer.push_back({ab, t[1], bc});
      finer.push_back({ca, bc, t[2]});
      finer.push_back({ab, bc, ca});
    }
    soup.triangles = finer;
  }
  for (Vec3f& p : soup.points) p = {p.x * radius, p.y * radius, p.z * radius};
  return soup;
}

// Three pointed sheets over a common rim of eight points: each edge of the rim has three faces, and
// no edge has one. Points 0 to 7 are the rim, the last three the tips.
inline Soup three_sheets(float height) {
  Soup soup;
  for (int i = 0; i < 8; ++i) {
    const double t = 6.283185307179586 * i / 8;
    soup.points.push_back({static_cast<float>(2 * std::cos(t)), static_cast<float>(2 * std::sin(t)),
                           i % 2 == 0 ? 0.5F : 0.0F});
  }
  for (int sheet = 0; sheet < 3; ++sheet) {
    soup.points.push_back({0.25F, 0, height * static_cast<float>(sheet - 1)});
    for (int i = 0; i < 8; ++i) soup.triangles.push_back({i, (i + 1) % 8, 8 + sheet});
  }
  return soup;
}

// Moves every point by up to `amount` on each axis.
inline Soup noisy(Soup soup, float amount, uint64_t seed) {
  Random random(seed);
  for (Vec3f& p : soup.points) {
    p.x += amount * random.signed_unit();
    p.y += amount * random.signed_unit();
    p.z += amount * random.signed_unit();
  }
  return soup;
}

// An open, wavy, irregular patch with a few triangles missing: what references are compared on.
inline Soup irregular_patch(int n, uint64_t seed) {
  Soup soup = noisy(
      height_field(n, 1.0F,
                   [](float x, float y) { return 0.8F * std::sin(0.7F * x) * std::cos(0.5F * y); }),
      0.25F, seed);
  Random random(seed + 1);
  for (int i = 0; i < n; ++i) {
    soup.triangles.erase(soup.triangles.begin() +
                         random.below(static_cast<int>(soup.triangles.size())));
  }
  return soup;
}

// Welds a soup of corners as a file would be read; box and cube are those of the points.
inline std::unique_ptr<Mesh_M::Mesh> welded(const Soup& soup, float half = 100.0F) {
  auto mesh = std::make_unique<Mesh_M::Mesh>();
  Vec3f center{0, 0, 0};
  mesh->inalize_oct(center, half);
  for (const auto& t : soup.triangles) {
    Vec3f a = soup.points[static_cast<std::size_t>(t[0])];
    Vec3f b = soup.points[static_cast<std::size_t>(t[1])];
    Vec3f c = soup.points[static_cast<std::size_t>(t[2])];
    Vec3f normal{0, 0, 0};
    mesh->insert(a, b, c, normal);
  }
  return mesh;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_SHAPES_H
