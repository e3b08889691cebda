// Best triangulation of a closed polygon in space by dynamic programming.
#ifndef SCANMESH_PATCHING_POLYGON_SOLVER_H
#define SCANMESH_PATCHING_POLYGON_SOLVER_H

#include <vector>

#include "patching/patch_types.h"

namespace cavity {

// Reusable so that many small polygons share one work space. Cubic time and quadratic memory in the
// polygon's size.
class PolygonSolver {
 public:
  // Both must outlive the solver.
  PolygonSolver(const std::vector<Point>& points, const ChordSet& chords)
      : points_(points), chords_(chords) {}

  // polygon: indices of points in walking order, each once, at least three. outside_normals[k]: the
  // unit normal across the edge from polygon[k] to its successor, zero where there is none.
  // Appends polygon.size() - 2 triangles that run along the polygon's order.
  void solve(const std::vector<int>& polygon, const std::vector<Point>& outside_normals,
             std::vector<Triangle>& triangles);

 private:
  // The cost of the part of the polygon cut off by one chord; compared in the order of the fields.
  struct Cost {
    int defects = 0;    // chords that the surroundings already have, folds, flat triangles
    int bend = 0;       // the worst dihedral, in steps
    double area = 0.0;  // twice the area, and a trace of squared edge length to break ties
  };
  // The triangle on the chord.
  struct Apex {
    int vertex = -1;
    Point normal = Point::Zero();
  };
  struct Part {
    Cost cost;
    Apex apex;
  };

  // beyond: the normal across the chord, where the part is the whole polygon.
  void solve_part(int i, int k, const Point* beyond);
  void enter(int i, int k, const Part& found);
  static bool is_dearer(const Cost& a, const Cost& b);
  void try_apex(int i, int m, int k, const Point* beyond, Part& best) const;
  static void charge_bend(int bend, Cost& cost);
  void collect(std::vector<Triangle>& triangles) const;
  const Point& corner(int i) const { return points_[(*polygon_)[i]]; }
  std::size_t at(int i, int k) const { return static_cast<std::size_t>(i) * size_ + k; }

  const std::vector<Point>& points_;
  const ChordSet& chords_;
  const std::vector<int>* polygon_ = nullptr;
  std::size_t size_ = 0;
  // Each part is stored at (i, k) and at (k, i): both lookups of the inner loop then walk a row.
  // Costs are apart from the rest, for they rule out most apexes.
  std::vector<Cost> costs_;
  std::vector<Apex> apexes_;
};

}  // namespace cavity

#endif  // SCANMESH_PATCHING_POLYGON_SOLVER_H
