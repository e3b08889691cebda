// Dynamic programme over sub-polygons: G. Barequet, M. Sharir, "Filling gaps in the boundary of a
// polyhedron", CAGD 12 (1995). The weight (worst dihedral angle, then area), with the faces around
// the polygon counted in, follows P. Liepa, "Filling holes in meshes", SGP 2003.
#include "patching/polygon_solver.h"

#include <limits>

namespace cavity {
namespace {

// A chord that is already taken costs more than any number of flat triangles around it.
constexpr int taken_chord_defect = 1000000;
// Neighbours that lie almost on top of each other; worse than a flat triangle, or slivers on flat
// ground would be avoided by overlaps.
constexpr int fold_defect = 2;
constexpr double folded_cosine = -0.87;
// Dihedrals closer than one step (of 1 - cosine) count as equal, or rounding noise on flat ground
// would decide in place of the area.
constexpr double bend_steps = 1e5;
// Small enough not to compete with area, large enough to prefer compact triangles on flat ground.
constexpr double length_trace = 1e-4;

bool is_fold(int bend) {
  return bend > (1.0 - folded_cosine) * bend_steps;
}

int bend_between(const Point& a, const Point& b) {
  // A flat triangle has no normal; the flatness itself is charged elsewhere.
  if (a.isZero(0.0) || b.isZero(0.0)) return 0;
  return static_cast<int>(std::max(0.0, 1.0 - a.dot(b)) * bend_steps);
}

}  // namespace

void PolygonSolver::solve(const std::vector<int>& polygon,
                          const std::vector<Point>& outside_normals,
                          std::vector<Triangle>& triangles) {
  polygon_ = &polygon;
  size_ = polygon.size();
  const int n = static_cast<int>(size_);
  if (parts_.size() < size_ * size_) parts_.resize(size_ * size_);
  for (int i = 0; i + 1 < n; ++i) {
    part(i, i + 1) = Part();
    part(i, i + 1).normal = outside_normals[i];
    part(i + 1, i) = part(i, i + 1);
  }
  for (int span = 2; span < n; ++span) {
    for (int i = 0; i + span < n; ++i) {
      solve_part(i, i + span, span == n - 1, outside_normals[n - 1]);
    }
  }
  collect(triangles);
}

void PolygonSolver::solve_part(int i, int k, bool closing, const Point& closing_normal) {
  Part best;
  best.cost.defects = std::numeric_limits<int>::max();
  for (int m = i + 1; m < k; ++m) {
    const Cost& left = part(i, m).cost;
    const Cost& right = part(k, m).cost;
    // Most apexes lose on what is already known, before any geometry is touched.
    const int defects = left.defects + right.defects;
    if (defects > best.cost.defects) continue;
    if (defects == best.cost.defects) {
      const int bend = std::max(left.bend, right.bend);
      if (bend > best.cost.bend) continue;
      if (bend == best.cost.bend && left.area + right.area >= best.cost.area) continue;
    }
    Part candidate;
    candidate.cost = {defects, std::max(left.bend, right.bend), left.area + right.area};
    try_apex(i, m, k, candidate);
    if (closing) {
      charge_bend(bend_between(candidate.normal, closing_normal), candidate.cost);
    }
    const Cost& a = candidate.cost;
    const Cost& b = best.cost;
    const bool better =
        a.defects != b.defects
            ? a.defects < b.defects
            : (a.bend != b.bend ? a.bend < b.bend : best.apex < 0 || a.area < b.area);
    if (better) best = candidate;
  }
  if (!closing && chords_.contains((*polygon_)[i], (*polygon_)[k])) {
    best.cost.defects += taken_chord_defect;
  }
  part(i, k) = best;
  part(k, i) = best;
}

void PolygonSolver::try_apex(int i, int m, int k, Part& candidate) const {
  const Point& a = corner(i);
  const Point& b = corner(m);
  const Point& c = corner(k);
  const Point area = area_vector(a, b, c);
  const double chord = (a - c).squaredNorm();
  const double longest = std::max({(b - a).squaredNorm(), (c - b).squaredNorm(), chord});
  const double length = area.norm();
  candidate.apex = m;
  candidate.cost.area += length + length_trace * chord;
  if (length > flat_height_ratio * longest) {
    candidate.normal = area / length;
  } else {
    candidate.normal = Point::Zero();
    ++candidate.cost.defects;
  }
  charge_bend(bend_between(candidate.normal, part(i, m).normal), candidate.cost);
  charge_bend(bend_between(candidate.normal, part(m, k).normal), candidate.cost);
}

void PolygonSolver::charge_bend(int bend, Cost& cost) {
  cost.bend = std::max(cost.bend, bend);
  if (is_fold(bend)) cost.defects += fold_defect;
}

void PolygonSolver::collect(std::vector<Triangle>& triangles) const {
  std::vector<std::array<int, 2>> open = {{0, static_cast<int>(size_) - 1}};
  while (!open.empty()) {
    const auto [i, k] = open.back();
    open.pop_back();
    if (k - i < 2) continue;
    const int m = part(i, k).apex;
    triangles.push_back({(*polygon_)[i], (*polygon_)[m], (*polygon_)[k]});
    open.push_back({m, k});
    open.push_back({i, m});
  }
}

}  // namespace cavity
