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
  // A flat triangle has no normal, here zero; the flatness itself is charged elsewhere.
  if (b[0] == 0.0 && b[1] == 0.0 && b[2] == 0.0) return 0;
  return static_cast<int>(std::max(0.0, 1.0 - a.dot(b)) * bend_steps);
}

}  // namespace

void PolygonSolver::solve(const std::vector<int>& polygon,
                          const std::vector<Point>& outside_normals,
                          std::vector<Triangle>& triangles) {
  polygon_ = &polygon;
  size_ = polygon.size();
  const int n = static_cast<int>(size_);
  if (costs_.size() < size_ * size_) {
    costs_.resize(size_ * size_);
    apexes_.resize(size_ * size_);
  }
  for (int i = 0; i + 1 < n; ++i) enter(i, i + 1, {Cost(), {-1, outside_normals[i]}});
  for (int span = 2; span < n; ++span) {
    for (int i = 0; i + span < n; ++i) {
      solve_part(i, i + span, span == n - 1 ? &outside_normals[n - 1] : nullptr);
    }
  }
  collect(triangles);
}

void PolygonSolver::enter(int i, int k, const Part& found) {
  costs_[at(i, k)] = costs_[at(k, i)] = found.cost;
  apexes_[at(i, k)] = apexes_[at(k, i)] = found.apex;
}

void PolygonSolver::solve_part(int i, int k, const Point* beyond) {
  Part best;
  best.cost.defects = std::numeric_limits<int>::max();
  // The apex of the part that is one edge shorter is often the best here too, and a good start lets
  // the others lose early.
  const int guess = k - i > 2 ? apexes_[at(i, k - 1)].vertex : i + 1;
  try_apex(i, guess, k, beyond, best);
  const Cost* const lefts = &costs_[at(i, 0)];
  const Cost* const rights = &costs_[at(k, 0)];
  for (int m = i + 1; m < k; ++m) {
    const Cost& left = lefts[m];
    const Cost& right = rights[m];
    // Most apexes lose on what is already known, before any geometry is touched.
    const int defects = left.defects + right.defects;
    if (defects > best.cost.defects) continue;
    if (defects == best.cost.defects) {
      const int bend = std::max(left.bend, right.bend);
      if (bend > best.cost.bend) continue;
      if (bend == best.cost.bend && left.area + right.area >= best.cost.area) continue;
    }
    if (m != guess) try_apex(i, m, k, beyond, best);
  }
  // The whole polygon's chord is its last edge.
  if (beyond == nullptr && chords_.contains((*polygon_)[i], (*polygon_)[k])) {
    best.cost.defects += taken_chord_defect;
  }
  enter(i, k, best);
}

bool PolygonSolver::is_dearer(const Cost& a, const Cost& b) {
  if (a.defects != b.defects) return a.defects > b.defects;
  if (a.bend != b.bend) return a.bend > b.bend;
  return a.area >= b.area;
}

void PolygonSolver::try_apex(int i, int m, int k, const Point* beyond, Part& best) const {
  const Cost& left = costs_[at(i, m)];
  const Cost& right = costs_[at(k, m)];
  Cost cost{left.defects + right.defects, std::max(left.bend, right.bend), left.area + right.area};
  const Point& a = corner(i);
  const Point& b = corner(m);
  const Point& c = corner(k);
  const Point area = area_vector(a, b, c);
  const double chord = (a - c).squaredNorm();
  const double longest = std::max(std::max((b - a).squaredNorm(), (c - b).squaredNorm()), chord);
  const double length = area.norm();
  cost.area += length + length_trace * chord;
  Point normal = Point::Zero();
  if (length > flat_height_ratio * longest) {
    normal = area / length;
    charge_bend(bend_between(normal, apexes_[at(i, m)].normal), cost);
    charge_bend(bend_between(normal, apexes_[at(k, m)].normal), cost);
    if (beyond != nullptr) charge_bend(bend_between(normal, *beyond), cost);
  } else {
    ++cost.defects;
  }
  if (!is_dearer(cost, best.cost)) best = {cost, {m, normal}};
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
    const int m = apexes_[at(i, k)].vertex;
    triangles.push_back({(*polygon_)[i], (*polygon_)[m], (*polygon_)[k]});
    open.push_back({m, k});
    open.push_back({i, m});
  }
}

}  // namespace cavity
