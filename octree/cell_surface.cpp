#include "octree/cell_surface.h"

#include <algorithm>
#include <utility>

namespace scanmesh {

namespace {

struct Counts {
  int present = 0;
  int above = 0;
  int below = 0;
};

Counts count_corners(const OctNode* cell) {
  Counts counts;
  for (const OctNode* vertex : cell->link) {
    if (vertex == nullptr) continue;
    ++counts.present;
    if (vertex->half > 0) ++counts.above;
    if (vertex->half < 0) ++counts.below;
  }
  return counts;
}

void set_corner(CellCase& its_case, int corner) {
  its_case.bits = static_cast<uint8_t>(its_case.bits | (1U << corner));
  ++its_case.positive;
}

// A zero joins the majority, and on a tie it is positive.
CellCase case_with_zeros(const OctNode* cell) {
  const Counts counts = count_corners(cell);
  CellCase its_case;
  if (counts.above == 0 || counts.below == 0) return its_case;
  for (int k = 0; k < kCellCorners; ++k) {
    const float value = cell->link[k]->half;
    if (counts.above < counts.below ? value > 0 : value >= 0) set_corner(its_case, k);
  }
  return its_case;
}

template <typename Agrees>
bool all_around(const OctNode* cell, int corner, Agrees agrees) {
  for (const int next : kCornerNeighbours[corner]) {
    const OctNode* const vertex = cell->link[next];
    if (vertex == nullptr || !agrees(vertex->half)) return false;
  }
  return true;
}

// A missing corner is on the minority's side only where all three corners beside it are. Zeros
// count for whichever side is asked about, so the two halves of the rule don't mirror one another;
// hosts know the rims that come of it.
CellCase case_with_gaps(const OctNode* cell) {
  const Counts counts = count_corners(cell);
  CellCase its_case;
  if (counts.above == 0 || counts.below == 0 || counts.present < 4) return its_case;
  if (counts.present == 4 && counts.below == 2) return its_case;
  const bool few_above = counts.above <= counts.below;
  for (int k = 0; k < kCellCorners; ++k) {
    const OctNode* const vertex = cell->link[k];
    bool positive = false;
    if (vertex != nullptr) {
      positive = few_above ? vertex->half > 0 : vertex->half >= 0;
    } else if (few_above) {
      positive = all_around(cell, k, [](float value) { return value >= 0; });
    } else {
      positive = !all_around(cell, k, [](float value) { return value <= 0; });
    }
    if (positive) set_corner(its_case, k);
  }
  return its_case;
}

// Whether some triangle of the cell has all its corners.
bool holds_surface(const OctNode* cell) {
  bool any = false;
  for_each_triangle(cell, case_of(cell), [&any](int, int, int) { any = true; });
  return any;
}

}  // namespace

// One missing corner makes the whole cell one with gaps, even after a zero.
CellCase case_of(const OctNode* cell) {
  CellCase its_case;
  bool zero = false;
  for (int k = 0; k < kCellCorners; ++k) {
    const OctNode* const vertex = cell->link[k];
    if (vertex == nullptr) return case_with_gaps(cell);
    if (vertex->half == 0) zero = true;
    if (vertex->half > 0) set_corner(its_case, k);
  }
  return zero ? case_with_zeros(cell) : its_case;
}

Vec3f cut_of_edge(const OctNode* cell, int edge) {
  const OctNode* const a = cell->link[kEdgeCorners[edge][0]];
  const OctNode* const b = cell->link[kEdgeCorners[edge][1]];
  const double t = static_cast<double>(a->half) / (static_cast<double>(a->half) - b->half);
  const auto at = [&](int k) {
    const double from = a->coor[k];
    return static_cast<float>(from + (b->coor[k] - from) * t);
  };
  return {at(0), at(1), at(2)};
}

// Read through the cell's vertices, so that the tree isn't needed. Where corners differ, the last
// one counts.
FaceNeighbours::FaceNeighbours(const OctNode* cell) {
  for (int corner = 0; corner < kCellCorners; ++corner) {
    const OctNode* const vertex = cell->link[corner];
    if (vertex == nullptr) continue;
    for (const FaceLink& link : kFaceLinks.of[corner]) of[link.face] = vertex->link[link.corner];
  }
  for (const OctNode*& neighbour : of) {
    if (neighbour != nullptr && !holds_surface(neighbour)) neighbour = nullptr;
  }
}

void orient(T_F& facet, const OctNode* cell) {
  const Vec3f n =
      corner_cross(to_vec(facet.vertex[0]), to_vec(facet.vertex[1]), to_vec(facet.vertex[2]));
  Vec3f normal = scaled(n, 1.0 / length(n));
  if (dot(normal, normal_of(cell)) < 0) {
    normal = negated(normal);
    std::swap(facet.vertex[0], facet.vertex[2]);
  }
  facet.normal = to_point(normal);
}

}  // namespace scanmesh
