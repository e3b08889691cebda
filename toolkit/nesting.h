// Which closed components lie inside which, by exact rays.
#ifndef SCANMESH_TOOLKIT_NESTING_H
#define SCANMESH_TOOLKIT_NESTING_H

#include <vector>

#include "scanmesh/toolkit/inspect.h"
#include "toolkit/box_tree.h"
#include "toolkit/topology.h"

namespace scanmesh {

// What is known of a component of a mesh.
struct Shell {
  bool closed = false;  // as many sides run one way as the other along each of its edges
  double volume = 0;    // signed, measured from a corner of its own
  double area = 0;
  std::int32_t faces = 0;
  std::int32_t depth = 0;  // how many other closed shells it lies in; closed shells only
};

// The shells of a mesh without degenerate or non-finite faces.
std::vector<Shell> shells_of(const std::vector<Point>& points,
                             const std::vector<Triangle>& triangles, const EdgeTable& edges,
                             const Components& components);

// Fills in the depths. `tree` holds the triangles. Shells that meet, by the pairs of triangles that
// do, don't lie in one another.
void measure_depths(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
                    const Components& components, const BoxTree& tree,
                    const std::vector<Intersection>& pairs, std::vector<Shell>& shells);

// A closed shell whose inside is out: outward at even depth, inward at odd.
inline bool inside_out(const Shell& shell) {
  return shell.closed && (shell.volume < 0) != (shell.depth % 2 == 1);
}

// Calls hit(triangle, sign) for each triangle that the ray from p towards +x passes; the sign is +1
// where it leaves a closed surface through it. Rays through edges and corners count once: closed
// surfaces that don't hold p sum up to 0, those that hold it to their winding number.
template <typename Hit>
void for_each_crossing(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
                       const BoxTree& tree, const Point& p, Hit hit);

// The sign of a crossing, 0 for none.
int crossing_sign(const Point& p, const Point& a, const Point& b, const Point& c);

template <typename Hit>
void for_each_crossing(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
                       const BoxTree& tree, const Point& p, Hit hit) {
  const auto may_meet = [&p](const FloatBox& box) {
    return static_cast<double>(box.max[0]) >= p.x && static_cast<double>(box.min[1]) <= p.y &&
           static_cast<double>(box.max[1]) >= p.y && static_cast<double>(box.min[2]) <= p.z &&
           static_cast<double>(box.max[2]) >= p.z;
  };
  tree.descend(may_meet, [&](std::int32_t f) {
    const Triangle& t = triangles[static_cast<std::size_t>(f)];
    const int sign = crossing_sign(p, points[static_cast<std::size_t>(t[0])],
                                   points[static_cast<std::size_t>(t[1])],
                                   points[static_cast<std::size_t>(t[2])]);
    if (sign != 0) hit(f, sign);
  });
}

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_NESTING_H
