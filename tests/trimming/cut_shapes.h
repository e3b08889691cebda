// The three curves of the tests of cuts: as plain tests of points, and in a tilted frame.
#ifndef SCANMESH_TESTS_TRIMMING_CUT_SHAPES_H
#define SCANMESH_TESTS_TRIMMING_CUT_SHAPES_H

#include <cmath>
#include <functional>
#include <vector>

#include "scanmesh/internal.h"

namespace test_support {

using scanmesh::Point2;
using Polygon = std::vector<Point2>;

// A curve with all that the reference needs to know of it, found without the code under test.
struct Shape {
  std::function<bool(const Point2&)> outside;
  Polygon fixed;
};

inline const Shape kCircleShape{[](const Point2& p) { return std::hypot(p.x, p.y) > 5; }, {}};
inline const Shape kSlotShape{
    [](const Point2& p) { return std::hypot(std::max(0.0, std::fabs(p.x) - 3), p.y) > 2; },
    {{3, 2}, {3, -2}, {-3, 2}, {-3, -2}}};
inline const Shape kRectangleShape{
    [](const Point2& p) { return std::fabs(p.x) > 4 || std::fabs(p.y) > 3; },
    {{4, 3}, {4, -3}, {-4, 3}, {-4, -3}}};

// A tilted frame, so that nothing holds by the axes being those of space.
struct Setting {
  scanmesh::Vec3f centre{1, -2, 0.5F};
  scanmesh::Vec3f n{0.36F, 0.48F, 0.8F};
  scanmesh::Vec3f dir{0.8F, -0.6F, 0};
  qv::maac::xtirm_mesh::FCircle3D circle{centre, n, 5};
  qv::maac::xtirm_mesh::FOvalSlot3D slot{centre, n, dir, 3, 2};
  qv::maac::xtirm_mesh::FRectangle3D rectangle{centre, n, dir, 4, 3};
};

}  // namespace test_support

#endif  // SCANMESH_TESTS_TRIMMING_CUT_SHAPES_H
