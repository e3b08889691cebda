#include "scanmesh/toolkit/compare.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "toolkit/box_tree.h"
#include "toolkit/progress.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// The closest point of a triangle (Ericson 2004, by the regions of its corners, edges and inside).
Point closest_in_triangle(const Point& p, const Point& a, const Point& b, const Point& c) {
  const Point ab = b - a;
  const Point ac = c - a;
  const double d1 = dot(ab, p - a);
  const double d2 = dot(ac, p - a);
  if (d1 <= 0 && d2 <= 0) return a;
  const double d3 = dot(ab, p - b);
  const double d4 = dot(ac, p - b);
  if (d3 >= 0 && d4 <= d3) return b;
  const double d5 = dot(ab, p - c);
  const double d6 = dot(ac, p - c);
  if (d6 >= 0 && d5 <= d6) return c;
  const double vc = d1 * d4 - d3 * d2;
  if (vc <= 0 && d1 >= 0 && d3 <= 0) return a + ab * (d1 / (d1 - d3));
  const double vb = d5 * d2 - d1 * d6;
  if (vb <= 0 && d2 >= 0 && d6 <= 0) return a + ac * (d2 / (d2 - d6));
  const double va = d3 * d6 - d5 * d4;
  if (va <= 0 && d4 >= d3 && d5 >= d6) {
    return b + (c - b) * ((d4 - d3) / ((d4 - d3) + (d5 - d6)));
  }
  const double whole = va + vb + vc;
  return whole > 0 ? a + ab * (vb / whole) + ac * (vc / whole) : a;
}

struct Nearest {
  double squared = std::numeric_limits<double>::infinity();
  Point at;
  Point direction;  // sum of the unit normals of the triangles that are as near: which side p is on
};

// Squared distance to a box; below the true one where rounding has a say, never above.
double squared_to_box(const Point& p, const FloatBox& box) {
  const std::array<double, 3> at{p.x, p.y, p.z};
  double squared = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double below = static_cast<double>(box.min[axis]) - at[axis];
    const double above = at[axis] - static_cast<double>(box.max[axis]);
    const double off = std::max({below, above, 0.0});
    squared += off * off;
  }
  return squared * (1 - 1e-12);
}

class Surface {
 public:
  explicit Surface(const TriangleMesh& mesh) : mesh_(mesh) {
    std::vector<std::int32_t> items;
    for (std::size_t f = 0; f < mesh.triangles.size(); ++f) {
      if (finite_corners(mesh.points, mesh.triangles[f]))
        items.push_back(static_cast<std::int32_t>(f));
    }
    tree_ = BoxTree(mesh.points, mesh.triangles, std::move(items));
  }

  bool empty() const { return tree_.size() == 0; }

  Nearest nearest(const Point& p) const {
    Nearest best;
    tree_.nearest_first([&](const FloatBox& box) { return squared_to_box(p, box); },
                        [&](std::int32_t f) {
                          look_at(p, f, best);
                          return best.squared;
                        });
    return best;
  }

 private:
  void look_at(const Point& p, std::int32_t f, Nearest& best) const {
    const Triangle& t = mesh_.triangles[static_cast<std::size_t>(f)];
    const Point& a = mesh_.points[static_cast<std::size_t>(t[0])];
    const Point& b = mesh_.points[static_cast<std::size_t>(t[1])];
    const Point& c = mesh_.points[static_cast<std::size_t>(t[2])];
    const Point at = closest_in_triangle(p, a, b, c);
    const double squared = dot(p - at, p - at);
    if (squared > best.squared) return;
    const Point normal = unit(area_vector(a, b, c));
    const bool as_near = squared == best.squared && at == best.at;
    best.direction = as_near ? best.direction + normal : normal;
    best.squared = squared;
    best.at = at;
  }

  const TriangleMesh& mesh_;
  BoxTree tree_;
};

// Places with the area that they stand for.
struct Sample {
  Point at;
  double weight;
};

// Corners, middles of sides and the middle: weights by which a polynomial of the third degree is
// integrated exactly over a triangle.
void add_samples(const Point& a, const Point& b, const Point& c, std::vector<Sample>& samples) {
  const double area = length(area_vector(a, b, c)) / 2;
  for (const Point& corner : {a, b, c}) samples.push_back({corner, area / 20});
  for (const Point& side : {a + b, b + c, c + a}) samples.push_back({side * 0.5, area * 2 / 15});
  samples.push_back({(a + b + c) * (1.0 / 3), area * 9 / 20});
}

std::vector<Sample> samples_of(const TriangleMesh& mesh) {
  std::vector<Sample> samples;
  samples.reserve(7 * mesh.triangles.size());
  for (const Triangle& t : mesh.triangles) {
    if (!finite_corners(mesh.points, t)) continue;
    add_samples(mesh.points[static_cast<std::size_t>(t[0])],
                mesh.points[static_cast<std::size_t>(t[1])],
                mesh.points[static_cast<std::size_t>(t[2])], samples);
  }
  return samples;
}

// Runs body(i) for i below count on all processors, telling the progress between portions.
template <typename Body>
void in_portions(std::int64_t count, const Progress& progress, Body body) {
  constexpr std::int64_t kPortion = 1 << 15;
  for (std::int64_t begin = 0; begin < count; begin += kPortion) {
    const std::int64_t end = std::min(count, begin + kPortion);
#pragma omp parallel for schedule(dynamic, 256)
    for (std::int64_t i = begin; i < end; ++i) body(static_cast<std::size_t>(i));
    report(progress, static_cast<double>(end) / static_cast<double>(count), "compare");
  }
}

Distances distances(const TriangleMesh& from, const Surface& to, double tolerance,
                    const Progress& progress) {
  Distances result;
  const std::vector<Sample> samples = samples_of(from);
  std::vector<double> off(samples.size());
  in_portions(static_cast<std::int64_t>(samples.size()), share_of(progress, 0, 0.8, "compare"),
              [&](std::size_t i) { off[i] = std::sqrt(to.nearest(samples[i].at).squared); });
  double weight = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    weight += samples[i].weight;
    result.mean += off[i] * samples[i].weight;
    result.rms += off[i] * off[i] * samples[i].weight;
    result.within += off[i] <= tolerance ? samples[i].weight : 0;
    result.maximum = std::max(result.maximum, off[i]);
  }
  if (weight > 0) {
    result.mean /= weight;
    result.rms = std::sqrt(result.rms / weight);
    result.within /= weight;
  }
  result.of_points.resize(from.points.size());
  in_portions(static_cast<std::int64_t>(from.points.size()), share_of(progress, 0.8, 1, "compare"),
              [&](std::size_t v) {
                const Point& p = from.points[v];
                const Nearest near = finite(p) ? to.nearest(p) : Nearest{};
                const double size = std::sqrt(near.squared);
                result.of_points[v] = dot(p - near.at, near.direction) < 0 ? -size : size;
              });
  return result;
}

}  // namespace

Comparison compare(const TriangleMesh& a, const TriangleMesh& b, const CompareOptions& options) {
  require_valid(a);
  require_valid(b);
  if (!(options.within >= 0) || !std::isfinite(options.within)) {
    throw Error(ErrorCode::invalid_argument, "a tolerance is 0 or more");
  }
  const Surface surface_a(a);
  const Surface surface_b(b);
  if (surface_a.empty() || surface_b.empty()) {
    throw Error(ErrorCode::invalid_mesh, "a mesh without faces can't be compared");
  }
  Comparison result;
  result.tolerance = options.within > 0
                         ? options.within
                         : 1e-3 * std::max(bounding_box(a).diagonal(), bounding_box(b).diagonal());
  result.a_to_b =
      distances(a, surface_b, result.tolerance, share_of(options.progress, 0, 0.5, "compare"));
  result.b_to_a =
      distances(b, surface_a, result.tolerance, share_of(options.progress, 0.5, 1, "compare"));
  result.mean = (result.a_to_b.mean + result.b_to_a.mean) / 2;
  result.rms = std::sqrt(
      (result.a_to_b.rms * result.a_to_b.rms + result.b_to_a.rms * result.b_to_a.rms) / 2);
  result.maximum = std::max(result.a_to_b.maximum, result.b_to_a.maximum);
  return result;
}

}  // namespace scanmesh
