#include "toolkit/cleaning.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_map>

#include "toolkit/contact.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"
#include "toolkit/welding.h"

namespace scanmesh {
namespace {

template <typename Bad>
std::int64_t drop_triangles(WorkMesh& mesh, Bad bad) {
  std::int64_t count = 0;
  for (std::int32_t f = 0; f < mesh.size(); ++f) {
    if (!bad(mesh.triangle(f))) continue;
    mesh.kill(f);
    ++count;
  }
  if (count > 0) mesh.compact();
  return count;
}

bool corner_twice(const Triangle& t) {
  return t[0] == t[1] || t[1] == t[2] || t[2] == t[0];
}

void rename_corners(WorkMesh& mesh, const std::vector<std::int32_t>& name) {
  for (Triangle& t : mesh.triangles) {
    for (std::int32_t& v : t) v = name[static_cast<std::size_t>(v)];
  }
}

// Pairs of points of open edges closer than the tolerance, by a grid of that width.
class ClosePoints {
 public:
  ClosePoints(const WorkMesh& mesh, double tolerance) : mesh_(mesh), tolerance_(tolerance) {
    const EdgeTable edges(mesh.triangles, mesh.points.size());
    std::vector<std::uint8_t> open(mesh.points.size(), 0);
    for (std::size_t e = 0; e < edges.count(); ++e) {
      if (edges.valence(e) != 1) continue;
      const std::int32_t side = edges.side(edges.begin(e));
      open[static_cast<std::size_t>(side_start(mesh.triangles, side))] = 1;
      open[static_cast<std::size_t>(side_end(mesh.triangles, side))] = 1;
    }
    for (std::size_t v = 0; v < open.size(); ++v) {
      if (open[v] == 0) continue;
      points_.push_back(static_cast<std::int32_t>(v));
      cells_.emplace(key(mesh.points[v], 0, 0, 0), static_cast<std::int32_t>(v));
    }
  }

  template <typename Visit>
  void for_each_pair(Visit visit) const {
    for (const std::int32_t v : points_) {
      for (int i = 0; i < 27; ++i) {
        const auto cell =
            cells_.equal_range(key(mesh_.point(v), i % 3 - 1, i / 3 % 3 - 1, i / 9 - 1));
        for (auto it = cell.first; it != cell.second; ++it) {
          if (it->second < v && distance(mesh_.point(it->second), mesh_.point(v)) <= tolerance_) {
            visit(it->second, v);
          }
        }
      }
    }
  }

 private:
  std::uint64_t key(const Point& p, int x, int y, int z) const {
    const auto cell = [this](double at, int step) {
      return static_cast<std::uint64_t>(static_cast<std::int64_t>(std::floor(at / tolerance_)) +
                                        step);
    };
    return (cell(p.x, x) * 0x9e3779b97f4a7c15ULL + cell(p.y, y)) * 0xbf58476d1ce4e5b9ULL +
           cell(p.z, z);
  }

  const WorkMesh& mesh_;
  double tolerance_;
  std::vector<std::int32_t> points_;
  std::unordered_multimap<std::uint64_t, std::int32_t> cells_;
};

// The corner between the other two of three on a line.
std::size_t middle_corner(const WorkMesh& mesh, const Triangle& t) {
  std::size_t middle = 0;
  double longest = -1;
  for (std::size_t k = 0; k < 3; ++k) {
    const double across = distance(mesh.point(t[(k + 1) % 3]), mesh.point(t[(k + 2) % 3]));
    if (across > longest) middle = k;
    longest = std::max(longest, across);
  }
  return middle;
}

void split_side(WorkMesh& mesh, std::int32_t side, std::int32_t v) {
  const std::int32_t f = side / 3;
  const auto k = static_cast<std::size_t>(side % 3);
  const std::int32_t from = mesh.triangle_from[static_cast<std::size_t>(f)];
  Triangle first = mesh.triangle(f);
  Triangle second = first;
  first[(k + 1) % 3] = v;
  second[k] = v;
  mesh.kill(f);
  mesh.add_triangle(first, from);
  mesh.add_triangle(second, from);
}

// One round: caps whose neighbours across the long side aren't taken in this round already.
std::int64_t remove_caps(WorkMesh& mesh) {
  std::vector<std::int32_t> caps;
  for (std::int32_t f = 0; f < mesh.size(); ++f) {
    if (degenerate(mesh.points, mesh.triangle(f))) caps.push_back(f);
  }
  if (caps.empty()) return 0;
  const VertexSides at(mesh.triangles, mesh.points.size());
  std::int64_t done = 0;
  for (const std::int32_t f : caps) {
    if (!mesh.alive(f)) continue;
    const Triangle t = mesh.triangle(f);
    const std::size_t k = middle_corner(mesh, t);
    const std::int32_t a = t[(k + 1) % 3];
    const std::int32_t b = t[(k + 2) % 3];
    mesh.kill(f);
    ++done;
    for (const std::int32_t v : {a, b}) {
      for (const std::int32_t* side = at.begin(v); side != at.end(v); ++side) {
        if (mesh.alive(*side / 3) && side_end(mesh.triangles, *side) == (v == a ? b : a)) {
          split_side(mesh, *side, t[k]);
        }
      }
    }
  }
  mesh.compact();
  return done;
}

}  // namespace

std::int64_t drop_nonfinite(WorkMesh& mesh) {
  return drop_triangles(mesh, [&](const Triangle& t) { return !finite_corners(mesh.points, t); });
}

std::int64_t weld_equal_points(WorkMesh& mesh) {
  const std::vector<std::int32_t> first = first_equal_points(mesh.points);
  std::int64_t count = 0;
  for (std::size_t v = 0; v < first.size(); ++v) count += first[v] != static_cast<std::int32_t>(v);
  if (count > 0) rename_corners(mesh, first);
  return count;
}

std::int64_t weld_close_points(WorkMesh& mesh, double tolerance) {
  if (!(tolerance > 0)) return 0;
  DisjointSets sets(mesh.points.size());
  for (const Triangle& t : mesh.triangles) {
    for (std::size_t k = 0; k < 3; ++k) {
      const std::int32_t a = t[k];
      const std::int32_t b = t[(k + 1) % 3];
      if (distance(mesh.point(a), mesh.point(b)) <= tolerance) sets.join(a, b);
    }
  }
  ClosePoints(mesh, tolerance).for_each_pair([&](std::int32_t a, std::int32_t b) {
    sets.join(a, b);
  });
  std::vector<std::int32_t> name(mesh.points.size());
  std::int64_t count = 0;
  for (std::size_t v = 0; v < name.size(); ++v) {
    name[v] = sets.find(static_cast<std::int32_t>(v));
    count += name[v] != static_cast<std::int32_t>(v);
  }
  if (count > 0) rename_corners(mesh, name);
  return count;
}

std::int64_t weld_new_points(WorkMesh& mesh, double tolerance) {
  DisjointSets sets(mesh.points.size());
  std::vector<bool> has_old(mesh.points.size());
  for (std::size_t v = 0; v < has_old.size(); ++v) has_old[v] = mesh.point_from[v] != kNew;
  std::int64_t count = 0;
  for (const Triangle& t : mesh.triangles) {
    for (std::size_t k = 0; k < 3; ++k) {
      if (distance(mesh.point(t[k]), mesh.point(t[(k + 1) % 3])) > tolerance) continue;
      const auto a = static_cast<std::size_t>(sets.find(t[k]));
      const auto b = static_cast<std::size_t>(sets.find(t[(k + 1) % 3]));
      if (a == b || (has_old[a] && has_old[b])) continue;
      const bool old = has_old[a] || has_old[b];
      // Points of the input have the smaller numbers: the set is called by one where it has any.
      sets.join(static_cast<std::int32_t>(a), static_cast<std::int32_t>(b));
      has_old[std::min(a, b)] = old;
      ++count;
    }
  }
  if (count == 0) return 0;
  std::vector<std::int32_t> name(mesh.points.size());
  for (std::size_t v = 0; v < name.size(); ++v) name[v] = sets.find(static_cast<std::int32_t>(v));
  rename_corners(mesh, name);
  return count;
}

std::int64_t drop_doubles(WorkMesh& mesh) {
  const std::vector<std::int32_t> copies = copies_of_earlier(mesh.triangles, mesh.points.size());
  for (const std::int32_t f : copies) mesh.kill(f);
  if (!copies.empty()) mesh.compact();
  return static_cast<std::int64_t>(copies.size());
}

std::int64_t remove_without_area(WorkMesh& mesh) {
  std::int64_t count = drop_triangles(mesh, corner_twice);
  // A split makes triangles without area anew where the far corner lies on the line too; each round
  // moves them outwards until the row of them ends.
  for (int round = 0; round < 50; ++round) {
    const std::int64_t done = remove_caps(mesh);
    count += done;
    if (done == 0) break;
    drop_triangles(mesh, corner_twice);
    drop_doubles(mesh);
  }
  return count;
}

}  // namespace scanmesh
