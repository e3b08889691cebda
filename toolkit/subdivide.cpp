// Charles Loop, Smooth subdivision surfaces based on triangles, 1987; borders as cubic curves
// (Hoppe, DeRose, Duchamp and others 1994).
#include <cmath>
#include <limits>

#include "scanmesh/toolkit/resolution.h"
#include "toolkit/progress.h"
#include "toolkit/topology.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

constexpr int kMostSteps = 8;
// Sides are numbered in 32 bits.
constexpr std::int64_t kMostTriangles = std::numeric_limits<std::int32_t>::max() / 3;

// Edges by number, what they join, and which of them run along a border or a junction.
struct Edges {
  explicit Edges(const TriangleMesh& mesh) : table(mesh.triangles, mesh.points.size()) {
    of_side.resize(3 * mesh.triangles.size(), -1);
    const auto count = static_cast<std::int64_t>(table.count());
#pragma omp parallel for schedule(static)
    for (std::int64_t e = 0; e < count; ++e) {
      const auto at = static_cast<std::size_t>(e);
      for (std::int32_t i = table.begin(at); i < table.end(at); ++i) {
        of_side[static_cast<std::size_t>(table.side(i))] = static_cast<std::int32_t>(e);
      }
    }
  }
  bool crease(std::size_t e) const {
    return table.valence(e) != 2;
  }

  EdgeTable table;
  std::vector<std::int32_t> of_side;
};

// A weighted mean of what points carry, added up in the order of the calls.
class Mean {
 public:
  explicit Mean(const TriangleMesh& mesh) : mesh_(mesh) {}

  void add(std::int32_t v, double weight) {
    const auto at = static_cast<std::size_t>(v);
    place_ = place_ + mesh_.points[at] * weight;
    if (!mesh_.normals.empty()) normal_ = normal_ + mesh_.normals[at] * weight;
    for (std::size_t c = 0; c < 4 && !mesh_.colors.empty(); ++c) {
      color_[c] += weight * mesh_.colors[at][c];
    }
  }
  void put(TriangleMesh& out, std::size_t at) const {
    out.points[at] = place_;
    if (!mesh_.normals.empty()) out.normals[at] = unit(normal_);
    for (std::size_t c = 0; c < 4 && !mesh_.colors.empty(); ++c) {
      out.colors[at][c] = static_cast<std::uint8_t>(std::lround(color_[c]));
    }
  }

 private:
  const TriangleMesh& mesh_;
  Point place_;
  Point normal_;
  std::array<double, 4> color_{};
};

// What stands on the other side of a triangle than its side.
std::int32_t opposite_corner(const TriangleMesh& mesh, std::int32_t side) {
  return mesh
      .triangles[static_cast<std::size_t>(side / 3)][static_cast<std::size_t>((side + 2) % 3)];
}

Mean edge_point(const TriangleMesh& mesh, const Edges& edges, std::size_t e) {
  const std::int32_t first = edges.table.side(edges.table.begin(e));
  const std::int32_t a = side_start(mesh.triangles, first);
  const std::int32_t b = side_end(mesh.triangles, first);
  Mean mean(mesh);
  if (edges.crease(e)) {
    mean.add(a, 0.5);
    mean.add(b, 0.5);
    return mean;
  }
  mean.add(a, 0.375);
  mean.add(b, 0.375);
  mean.add(opposite_corner(mesh, first), 0.125);
  mean.add(opposite_corner(mesh, edges.table.side(edges.table.begin(e) + 1)), 0.125);
  return mean;
}

// The edges at each vertex, by number.
class VertexEdges {
 public:
  VertexEdges(const TriangleMesh& mesh, const Edges& edges) : first_(mesh.points.size() + 1, 0) {
    for_each_end(mesh, edges, [&](std::int32_t v, std::int32_t, bool) {
      ++first_[static_cast<std::size_t>(v) + 1];
    });
    for (std::size_t v = 1; v < first_.size(); ++v) first_[v] += first_[v - 1];
    other_.resize(static_cast<std::size_t>(first_.back()));
    crease_.resize(other_.size());
    std::vector<std::int32_t> next(first_.begin(), first_.end() - 1);
    for_each_end(mesh, edges, [&](std::int32_t v, std::int32_t other, bool crease) {
      const auto at = static_cast<std::size_t>(next[static_cast<std::size_t>(v)]++);
      other_[at] = other;
      crease_[at] = crease;
    });
  }

  Mean vertex_point(const TriangleMesh& mesh, std::int32_t v) const {
    const std::int32_t begin = first_[static_cast<std::size_t>(v)];
    const std::int32_t end = first_[static_cast<std::size_t>(v) + 1];
    int creases = 0;
    for (std::int32_t i = begin; i < end; ++i) creases += crease_[static_cast<std::size_t>(i)];
    Mean mean(mesh);
    if (begin == end || (creases != 0 && creases != 2)) {  // a corner, or of no triangle
      mean.add(v, 1);
      return mean;
    }
    const auto valence = static_cast<double>(end - begin);
    const double turn = 0.375 + 0.25 * std::cos(2 * 3.14159265358979323846 / valence);
    const double weight = creases == 2 ? 0.125 : (0.625 - turn * turn) / valence;
    mean.add(v, creases == 2 ? 0.75 : 1 - valence * weight);
    for (std::int32_t i = begin; i < end; ++i) {
      const auto at = static_cast<std::size_t>(i);
      if (creases == 0 || crease_[at]) mean.add(other_[at], weight);
    }
    return mean;
  }

 private:
  template <typename Use>
  static void for_each_end(const TriangleMesh& mesh, const Edges& edges, Use use) {
    for (std::size_t e = 0; e < edges.table.count(); ++e) {
      const std::int32_t side = edges.table.side(edges.table.begin(e));
      const std::int32_t a = side_start(mesh.triangles, side);
      const std::int32_t b = side_end(mesh.triangles, side);
      use(a, b, edges.crease(e));
      use(b, a, edges.crease(e));
    }
  }

  std::vector<std::int32_t> first_;
  std::vector<std::int32_t> other_;
  std::vector<std::uint8_t> crease_;
};

void place_points(const TriangleMesh& mesh, const Edges& edges, TriangleMesh& out) {
  const VertexEdges around(mesh, edges);
  const auto points = static_cast<std::int64_t>(mesh.points.size());
  const auto count = static_cast<std::int64_t>(edges.table.count());
#pragma omp parallel for schedule(static)
  for (std::int64_t v = 0; v < points; ++v) {
    const auto at = static_cast<std::size_t>(v);
    around.vertex_point(mesh, static_cast<std::int32_t>(v)).put(out, at);
  }
#pragma omp parallel for schedule(static)
  for (std::int64_t e = 0; e < count; ++e) {
    edge_point(mesh, edges, static_cast<std::size_t>(e))
        .put(out, static_cast<std::size_t>(points + e));
  }
}

// The corners' three, then the middle. A triangle with a corner twice stays four times what it is.
void split_triangles(const TriangleMesh& mesh, const Edges& edges, TriangleMesh& out) {
  const auto points = static_cast<std::int32_t>(mesh.points.size());
  const auto count = static_cast<std::int64_t>(mesh.triangles.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t f = 0; f < count; ++f) {
    const auto at = static_cast<std::size_t>(f);
    const Triangle& t = mesh.triangles[at];
    const auto middle = [&](std::size_t k) {
      const std::int32_t e = edges.of_side[3 * at + k];
      return e < 0 ? t[k] : points + e;
    };
    const Triangle inner{middle(0), middle(1), middle(2)};
    out.triangles[4 * at] = {t[0], inner[0], inner[2]};
    out.triangles[4 * at + 1] = {t[1], inner[1], inner[0]};
    out.triangles[4 * at + 2] = {t[2], inner[2], inner[1]};
    out.triangles[4 * at + 3] = inner;
  }
}

TriangleMesh subdivided(const TriangleMesh& mesh) {
  const Edges edges(mesh);
  const std::size_t points = mesh.points.size() + edges.table.count();
  if (points > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    throw Error(ErrorCode::invalid_argument, "the result would have too many points");
  }
  TriangleMesh out;
  out.points.resize(points);
  if (!mesh.colors.empty()) out.colors.resize(points);
  if (!mesh.normals.empty()) out.normals.resize(points);
  out.triangles.resize(4 * mesh.triangles.size());
  place_points(mesh, edges, out);
  split_triangles(mesh, edges, out);
  return out;
}

}  // namespace

TriangleMesh subdivide(const TriangleMesh& mesh, int steps, const Progress& progress) {
  require_valid(mesh);
  if (steps < 1 || steps > kMostSteps) {
    throw Error(ErrorCode::invalid_argument, "subdivide takes 1 to 8 steps");
  }
  const auto triangles = static_cast<std::int64_t>(mesh.triangles.size());
  if (triangles > kMostTriangles >> (2 * steps)) {
    throw Error(ErrorCode::invalid_argument, "the result would have too many triangles");
  }
  report(progress, 0, "subdivide");
  TriangleMesh out = subdivided(mesh);
  for (int step = 1; step < steps; ++step) {
    report(progress, std::ldexp(1.0, 2 * (step - steps)), "subdivide");
    out = subdivided(out);
  }
  report(progress, 1, "subdivide");
  return out;
}

}  // namespace scanmesh
