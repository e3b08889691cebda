#include "octree/sample_refit.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "core/plane_fit.h"

namespace scanmesh {

namespace {

constexpr int kMostAround = 10000;
constexpr std::size_t kMostInPlane = 500;

struct Box {
  double low[3];
  double high[3];
  bool holds(const float* p) const {
    for (int k = 0; k < 3; ++k) {
      if (!(p[k] >= low[k] && p[k] <= high[k])) return false;
    }
    return true;
  }
};

Box box_about(const OctNode* leaf, const float* centre) {
  const OctNode* const grandparent = leaf->parent->parent;
  // Levels are consecutive, so a missing grandparent is as large as it would be.
  const double reach =
      leaf->half + (grandparent != nullptr ? grandparent->half : 2.0 * leaf->parent->half);
  Box box{};
  for (int k = 0; k < 3; ++k) {
    box.low[k] = centre[k] - reach;
    box.high[k] = centre[k] + reach;
  }
  return box;
}

std::vector<Point3d> points_around(Oct_tree_Tri& tree, const OctNode* leaf, const Box& box,
                                   const Vec3f& normal, const NormalAt& normal_at) {
  std::vector<Point3d> points;
  OctNode* cells[kSlots];
  tree.oct_search(leaf->parent, cells);
  int seen = 0;
  for (OctNode* const cell : cells) {
    visit_leaves(cell, [&](const OctNode* sample) {
      if (points.size() == kMostInPlane || seen == kMostAround) return false;
      ++seen;
      if (box.holds(sample->coor) && dot(normal_at(sample), normal) > 0) {
        points.push_back({sample->coor[0], sample->coor[1], sample->coor[2]});
      }
      return true;
    });
  }
  return points;
}

}  // namespace

Refit refit_sample(Oct_tree_Tri& tree, const OctNode* leaf, const NormalAt& normal_at) {
  float centre[3];
  cell_centre(centre, leaf);
  Refit refit{normal_at(leaf), {centre[0], centre[1], centre[2]}};
  const std::vector<Point3d> points =
      points_around(tree, leaf, box_about(leaf, centre), refit.normal, normal_at);
  Point3d plane{};
  const double constant = fit_point_plane(points.data(), static_cast<int>(points.size()), plane);
  const double size = std::sqrt(plane[0] * plane[0] + plane[1] * plane[1] + plane[2] * plane[2]);
  if (!(size > 0)) return refit;
  const double side =
      plane[0] * refit.normal.x + plane[1] * refit.normal.y + plane[2] * refit.normal.z;
  const double scale = side < 0 ? -1 / size : 1 / size;
  double unit[3];
  for (std::size_t k = 0; k < 3; ++k) unit[k] = plane[k] * scale;
  refit.normal = {static_cast<float>(unit[0]), static_cast<float>(unit[1]),
                  static_cast<float>(unit[2])};
  const double along = plane[0] * unit[0] + plane[1] * unit[1] + plane[2] * unit[2];
  if (along == 0) return refit;
  const double t =
      -(plane[0] * centre[0] + plane[1] * centre[1] + plane[2] * centre[2] + constant) / along;
  refit.position = {static_cast<float>(centre[0] + t * unit[0]),
                    static_cast<float>(centre[1] + t * unit[1]),
                    static_cast<float>(centre[2] + t * unit[2])};
  return refit;
}

}  // namespace scanmesh
