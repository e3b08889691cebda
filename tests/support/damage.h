// Meshes with defects, made by a seed: what the tests and the fuzzers of the toolkit's repair eat.
#ifndef SCANMESH_TESTS_SUPPORT_DAMAGE_H
#define SCANMESH_TESTS_SUPPORT_DAMAGE_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "scanmesh/toolkit/triangle_mesh.h"

namespace test_support {

using scanmesh::Point;
using scanmesh::Triangle;
using scanmesh::TriangleMesh;

// A closed torus, healthy as floats, with a little noise so that nothing is special.
inline TriangleMesh noisy_torus(int around, int across, std::uint32_t seed, double noise = 0.01) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> shake(-noise, noise);
  TriangleMesh mesh;
  for (int i = 0; i < around; ++i) {
    for (int j = 0; j < across; ++j) {
      const double a = 2 * M_PI * i / around;
      const double b = 2 * M_PI * j / across;
      const double r = 0.4 + shake(random);
      const double ring = 1 + r * std::cos(b);
      const auto rounded = [](double x) { return static_cast<double>(static_cast<float>(x)); };
      mesh.points.push_back(
          {rounded(ring * std::cos(a)), rounded(ring * std::sin(a)), rounded(r * std::sin(b))});
    }
  }
  const auto at = [&](int i, int j) { return (i % around) * across + j % across; };
  for (int i = 0; i < around; ++i) {
    for (int j = 0; j < across; ++j) {
      mesh.triangles.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
      mesh.triangles.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
    }
  }
  return mesh;
}

// The surface of a cube with edge 2 around a centre, n x n squares a side.
inline TriangleMesh grid_cube(int n, const Point& centre = {}) {
  TriangleMesh mesh;
  std::vector<std::int32_t> number(static_cast<std::size_t>((n + 1) * (n + 1) * (n + 1)), -1);
  const auto at = [&](int x, int y, int z) {
    std::int32_t& slot = number[static_cast<std::size_t>((x * (n + 1) + y) * (n + 1) + z)];
    if (slot < 0) {
      slot = static_cast<std::int32_t>(mesh.points.size());
      mesh.points.push_back(
          {centre.x - 1 + 2.0 * x / n, centre.y - 1 + 2.0 * y / n, centre.z - 1 + 2.0 * z / n});
    }
    return slot;
  };
  const auto quad = [&](std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    mesh.triangles.push_back({a, b, c});
    mesh.triangles.push_back({a, c, d});
  };
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      quad(at(i, j, 0), at(i, j + 1, 0), at(i + 1, j + 1, 0), at(i + 1, j, 0));
      quad(at(i, j, n), at(i + 1, j, n), at(i + 1, j + 1, n), at(i, j + 1, n));
      quad(at(0, i, j), at(0, i, j + 1), at(0, i + 1, j + 1), at(0, i + 1, j));
      quad(at(n, i, j), at(n, i + 1, j), at(n, i + 1, j + 1), at(n, i, j + 1));
      quad(at(i, 0, j), at(i + 1, 0, j), at(i + 1, 0, j + 1), at(i, 0, j + 1));
      quad(at(i, n, j), at(i, n, j + 1), at(i + 1, n, j + 1), at(i + 1, n, j));
    }
  }
  return mesh;
}

inline void append(TriangleMesh& mesh, const TriangleMesh& other) {
  const auto shift = static_cast<std::int32_t>(mesh.points.size());
  mesh.points.insert(mesh.points.end(), other.points.begin(), other.points.end());
  for (Triangle t : other.triangles) {
    for (std::int32_t& v : t) v += shift;
    mesh.triangles.push_back(t);
  }
}

inline TriangleMesh moved(TriangleMesh mesh, const Point& by, double scale = 1) {
  for (Point& p : mesh.points) p = {p.x * scale + by.x, p.y * scale + by.y, p.z * scale + by.z};
  return mesh;
}

enum class Damage {
  flipped_patch,
  holes,
  t_junctions,
  double_layer,
  bowtie,
  book,
  debris,
  spikes,
  overlapping_shell,
  needles,
  shuffled_winding,
  soup,
  folds,
  moebius,
  count
};

class Damager {
 public:
  Damager(TriangleMesh& mesh, std::uint32_t seed) : mesh_(mesh), random_(seed) {}

  void apply(Damage damage) {
    switch (damage) {
      case Damage::flipped_patch:
        return flip_patch();
      case Damage::holes:
        return cut_hole();
      case Damage::t_junctions:
        return split_one_side();
      case Damage::double_layer:
        return double_patch();
      case Damage::bowtie:
        return pinch();
      case Damage::book:
        return add_pages();
      case Damage::debris:
        return scatter();
      case Damage::spikes:
        return pull_spike();
      case Damage::overlapping_shell:
        return overlap();
      case Damage::needles:
        return add_needle();
      case Damage::shuffled_winding:
        return shuffle();
      case Damage::soup:
        return unweld();
      case Damage::folds:
        return fold();
      case Damage::moebius:
        return add_moebius();
      case Damage::count:
        break;
    }
  }

 private:
  std::size_t below(std::size_t n) {
    return n == 0 ? 0 : std::uniform_int_distribution<std::size_t>(0, n - 1)(random_);
  }
  double real(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random_);
  }
  std::size_t any_triangle() { return below(mesh_.triangles.size()); }
  Point& point(std::int32_t v) { return mesh_.points[static_cast<std::size_t>(v)]; }
  Point middle(const Triangle& t) {
    const Point& a = point(t[0]);
    const Point& b = point(t[1]);
    const Point& c = point(t[2]);
    return {(a.x + b.x + c.x) / 3, (a.y + b.y + c.y) / 3, (a.z + b.z + c.z) / 3};
  }
  static double distance(const Point& a, const Point& b) {
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
  }
  std::vector<std::size_t> patch(double radius) {
    const Point centre = middle(mesh_.triangles[any_triangle()]);
    std::vector<std::size_t> found;
    for (std::size_t f = 0; f < mesh_.triangles.size(); ++f) {
      if (distance(middle(mesh_.triangles[f]), centre) < radius) found.push_back(f);
    }
    return found;
  }

  void flip_patch() {
    for (const std::size_t f : patch(real(0.1, 0.5))) {
      std::swap(mesh_.triangles[f][1], mesh_.triangles[f][2]);
    }
  }
  void cut_hole() {
    const std::vector<std::size_t> gone = patch(real(0.05, 0.3));
    for (auto f = gone.rbegin(); f != gone.rend(); ++f) {
      mesh_.triangles.erase(mesh_.triangles.begin() + static_cast<std::ptrdiff_t>(*f));
    }
  }
  // One side of an edge gets a vertex in the middle, the other doesn't.
  void split_one_side() {
    for (int i = 0; i < 5; ++i) {
      const std::size_t f = any_triangle();
      const Triangle t = mesh_.triangles[f];
      const Point& a = point(t[0]);
      const Point& b = point(t[1]);
      const auto m = static_cast<std::int32_t>(mesh_.points.size());
      mesh_.points.push_back({(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2});
      mesh_.triangles[f] = {t[0], m, t[2]};
      mesh_.triangles.push_back({m, t[1], t[2]});
    }
  }
  void double_patch() {
    const bool turned = below(2) == 0;
    for (const std::size_t f : patch(real(0.1, 0.4))) {
      Triangle t = mesh_.triangles[f];
      if (turned) std::swap(t[1], t[2]);
      mesh_.triangles.push_back(t);
    }
  }
  // Two far vertices become one.
  void pinch() {
    const std::int32_t a = mesh_.triangles[any_triangle()][0];
    const std::int32_t b = mesh_.triangles[any_triangle()][0];
    for (Triangle& t : mesh_.triangles) {
      for (std::int32_t& v : t) {
        if (v == b) v = a;
      }
    }
  }
  void add_pages() {
    const Triangle t = mesh_.triangles[any_triangle()];
    for (int i = 0; i < 3; ++i) {
      const Point& a = point(t[0]);
      mesh_.points.push_back({a.x + real(-0.3, 0.3), a.y + real(-0.3, 0.3), a.z + real(-0.3, 0.3)});
      mesh_.triangles.push_back({t[0], t[1], static_cast<std::int32_t>(mesh_.points.size()) - 1});
    }
  }
  void scatter() {
    for (int i = 0; i < 20; ++i) {
      const Point at{real(-2, 2), real(-2, 2), real(-2, 2)};
      const auto first = static_cast<std::int32_t>(mesh_.points.size());
      for (int k = 0; k < 3; ++k) {
        mesh_.points.push_back(
            {at.x + real(-0.01, 0.01), at.y + real(-0.01, 0.01), at.z + real(-0.01, 0.01)});
      }
      mesh_.triangles.push_back({first, first + 1, first + 2});
    }
  }
  void pull_spike() {
    Point& p = point(mesh_.triangles[any_triangle()][0]);
    p = {p.x + real(-1, 1), p.y + real(-1, 1), p.z + real(-1, 1)};
  }
  void overlap() {
    const Point at = middle(mesh_.triangles[any_triangle()]);
    append(mesh_, moved(noisy_torus(12, 8, static_cast<std::uint32_t>(random_())), at, 0.2));
  }
  // A vertex comes to stand on, or close to, the edge across from it.
  void add_needle() {
    for (int i = 0; i < 3; ++i) {
      const Triangle t = mesh_.triangles[any_triangle()];
      const Point a = point(t[0]);
      const Point b = point(t[1]);
      point(t[2]) = {(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2 + (i == 0 ? 0 : 1e-7)};
    }
  }
  void shuffle() {
    for (Triangle& t : mesh_.triangles) {
      if (below(2) == 0) std::swap(t[1], t[2]);
    }
  }
  void unweld() {
    TriangleMesh soup;
    for (const Triangle& t : mesh_.triangles) {
      const auto first = static_cast<std::int32_t>(soup.points.size());
      for (const std::int32_t v : t) soup.points.push_back(point(v));
      soup.triangles.push_back({first, first + 1, first + 2});
    }
    std::shuffle(soup.triangles.begin(), soup.triangles.end(), random_);
    mesh_ = std::move(soup);
  }
  // A vertex is drawn across its neighbours.
  void fold() {
    for (int i = 0; i < 3; ++i) {
      const Triangle t = mesh_.triangles[any_triangle()];
      Point& p = point(t[0]);
      const Point& q = point(t[1]);
      const double far = real(1.5, 3);
      p = {p.x + (q.x - p.x) * far, p.y + (q.y - p.y) * far, p.z + (q.z - p.z) * far};
    }
  }
  void add_moebius() {
    TriangleMesh band;
    constexpr int kAround = 24;
    for (int i = 0; i < kAround; ++i) {
      const double a = 2 * M_PI * i / kAround;
      for (const double s : {-0.2, 0.2}) {
        const double ring = 1 + s * std::cos(a / 2);
        band.points.push_back({ring * std::cos(a), ring * std::sin(a), s * std::sin(a / 2)});
      }
    }
    for (int i = 0; i < kAround; ++i) {
      const bool last = i + 1 == kAround;
      const std::int32_t a = 2 * i;
      const std::int32_t b = 2 * i + 1;
      const std::int32_t c = last ? 1 : a + 2;
      const std::int32_t d = last ? 0 : b + 2;
      band.triangles.push_back({a, c, d});
      band.triangles.push_back({a, d, b});
    }
    append(mesh_, moved(band, {0, 0, 3}));
  }

  TriangleMesh& mesh_;
  std::mt19937 random_;
};

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_DAMAGE_H
