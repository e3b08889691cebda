#include "toolkit/nesting.h"

#include <algorithm>
#include <tuple>

#include "toolkit/predicates.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Whether the edge, seen along x, passes the half-line from p towards +z. The lower end counts, the
// upper one doesn't; both triangles of an edge get the same answer, for the order of its ends is of
// no account.
bool passes_above(const Point& p, const Point& a, const Point& b) {
  const bool ascending = a.y < b.y || (a.y == b.y && a.z < b.z);
  const Point& low = ascending ? a : b;
  const Point& high = ascending ? b : a;
  if (!(low.y <= p.y && p.y < high.y)) return false;
  return orient2d(low, high, p, Plane::yz) < 0;
}

std::vector<std::pair<std::int32_t, std::int32_t>> shells_that_meet(
    const Components& components, const std::vector<Intersection>& pairs) {
  std::vector<std::pair<std::int32_t, std::int32_t>> meeting;
  for (const Intersection& pair : pairs) {
    const std::int32_t a = components.of_triangle[static_cast<std::size_t>(pair.first)];
    const std::int32_t b = components.of_triangle[static_cast<std::size_t>(pair.second)];
    if (a != b) meeting.push_back(std::minmax(a, b));
  }
  std::sort(meeting.begin(), meeting.end());
  meeting.erase(std::unique(meeting.begin(), meeting.end()), meeting.end());
  return meeting;
}

}  // namespace

int crossing_sign(const Point& p, const Point& a, const Point& b, const Point& c) {
  if (passes_above(p, a, b) == (passes_above(p, b, c) != passes_above(p, c, a))) return 0;
  const int facing = orient2d(a, b, c, Plane::yz);  // the sign of the normal's x
  if (facing == 0) return 0;
  // In front of p along x: p lies on the side that the normal turns away from, if that looks to +x.
  return orient3d(a, b, c, p) * facing < 0 ? facing : 0;
}

std::vector<Shell> shells_of(const std::vector<Point>& points,
                             const std::vector<Triangle>& triangles, const EdgeTable& edges,
                             const Components& components) {
  std::vector<Shell> shells(static_cast<std::size_t>(components.count));
  std::vector<std::int32_t> origin(shells.size(), -1);
  for (std::size_t f = 0; f < triangles.size(); ++f) {
    const auto component = static_cast<std::size_t>(components.of_triangle[f]);
    const Triangle& t = triangles[f];
    if (origin[component] < 0) origin[component] = t[0];
    const Point& from = points[static_cast<std::size_t>(origin[component])];
    const Point a = points[static_cast<std::size_t>(t[0])] - from;
    const Point b = points[static_cast<std::size_t>(t[1])] - from;
    const Point c = points[static_cast<std::size_t>(t[2])] - from;
    Shell& shell = shells[component];
    shell.volume += dot(a, cross(b, c)) / 6;
    shell.area += length(area_vector(a, b, c)) / 2;
    ++shell.faces;
    shell.closed = true;
  }
  for (std::size_t e = 0; e < edges.count(); ++e) {
    const std::int32_t start = side_start(triangles, edges.side(edges.begin(e)));
    std::int32_t balance = 0;
    for (std::int32_t i = edges.begin(e); i < edges.end(e); ++i) {
      balance += side_start(triangles, edges.side(i)) == start ? 1 : -1;
    }
    if (balance == 0) continue;
    const std::int32_t face = edges.side(edges.begin(e)) / 3;
    shells[static_cast<std::size_t>(components.of_triangle[static_cast<std::size_t>(face)])]
        .closed = false;
  }
  return shells;
}

void measure_depths(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
                    const Components& components, const BoxTree& tree,
                    const std::vector<Intersection>& pairs, std::vector<Shell>& shells) {
  if (shells.size() < 2) return;
  const std::vector<std::pair<std::int32_t, std::int32_t>> meeting =
      shells_that_meet(components, pairs);
  // The corner furthest along x: the shell itself can't stand before it.
  std::vector<std::int32_t> extreme(shells.size(), -1);
  for (std::size_t f = 0; f < triangles.size(); ++f) {
    std::int32_t& best = extreme[static_cast<std::size_t>(components.of_triangle[f])];
    for (const std::int32_t v : triangles[f]) {
      const Point& p = points[static_cast<std::size_t>(v)];
      if (best < 0 || p.x > points[static_cast<std::size_t>(best)].x) best = v;
    }
  }
  const auto count = static_cast<std::int64_t>(shells.size());
#pragma omp parallel for schedule(dynamic, 16)
  for (std::int64_t i = 0; i < count; ++i) {
    Shell& shell = shells[static_cast<std::size_t>(i)];
    if (!shell.closed) continue;
    std::vector<std::pair<std::int32_t, int>> crossings;  // shell, sign
    for_each_crossing(points, triangles, tree,
                      points[static_cast<std::size_t>(extreme[static_cast<std::size_t>(i)])],
                      [&](std::int32_t f, int sign) {
                        const std::int32_t other =
                            components.of_triangle[static_cast<std::size_t>(f)];
                        if (other != i && shells[static_cast<std::size_t>(other)].closed) {
                          crossings.emplace_back(other, sign);
                        }
                      });
    std::sort(crossings.begin(), crossings.end());
    for (std::size_t k = 0; k < crossings.size();) {
      int winding = 0;
      const std::int32_t other = crossings[k].first;
      for (; k < crossings.size() && crossings[k].first == other; ++k) {
        winding += crossings[k].second;
      }
      shell.depth +=
          winding != 0 && !std::binary_search(meeting.begin(), meeting.end(),
                                              std::pair<std::int32_t, std::int32_t>(std::minmax(
                                                  static_cast<std::int32_t>(i), other)));
    }
  }
}

}  // namespace scanmesh
