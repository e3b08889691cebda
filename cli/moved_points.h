// What a filter did to the points, which keep their order.
#ifndef SCANMESH_CLI_MOVED_POINTS_H
#define SCANMESH_CLI_MOVED_POINTS_H

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "cli/session.h"
#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh::cli {

struct Moved {
  std::int64_t points = 0;
  std::int64_t of = 0;
  double largest = 0;  // mesh units
};

inline Moved moved_points(const TriangleMesh& before, const TriangleMesh& after) {
  Moved moved;
  moved.of = static_cast<std::int64_t>(before.points.size());
  for (std::size_t i = 0; i < std::min(before.points.size(), after.points.size()); ++i) {
    const Point& p = before.points[i];
    const Point& q = after.points[i];
    const double distance = std::hypot(q.x - p.x, q.y - p.y, q.z - p.z);
    if (!(distance > 0)) continue;  // a point that isn't finite stays
    ++moved.points;
    moved.largest = std::max(moved.largest, distance);
  }
  return moved;
}

inline Json json_of(const Moved& moved) {
  return {{"points", moved.of}, {"moved_points", moved.points}, {"largest_move", moved.largest}};
}

inline std::string text_of(const Moved& moved) {
  return fmt::format("{} of {} points moved, by {:.6g} at most\n", moved.points, moved.of,
                     moved.largest);
}

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_MOVED_POINTS_H
