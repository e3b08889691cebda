#include "toolkit/collapse_mesh.h"

#include <algorithm>
#include <cmath>

#include "toolkit/contact.h"
#include "toolkit/topology.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

bool has(const Triangle& t, std::int32_t v) {
  return t[0] == v || t[1] == v || t[2] == v;
}

std::int32_t third_corner(const Triangle& t, std::int32_t u, std::int32_t v) {
  for (const std::int32_t x : t) {
    if (x != u && x != v) return x;
  }
  return -1;
}

// Whether f's corners are v, a and b.
bool is(const Triangle& t, std::int32_t a, std::int32_t b) {
  return has(t, a) && has(t, b);
}

}  // namespace

CollapseMesh::CollapseMesh(const TriangleMesh& mesh, double scale, bool lock_borders)
    : points(mesh.points),
      triangles(mesh.triangles),
      areas(mesh.triangles.size()),
      head_(mesh.points.size(), -1),
      next_(3 * mesh.triangles.size(), -1),
      tail_(mesh.points.size(), -1),
      flags_(mesh.points.size(), 0),
      flat_(mesh.triangles.size(), 0),
      weighted_(mesh.triangles.size()),
      mark_(mesh.points.size(), 0) {
  for (Point& p : points) p = p * scale;
  const auto count = static_cast<std::int64_t>(triangles.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t f = 0; f < count; ++f) measure(static_cast<std::int32_t>(f));
  classify(lock_borders);
  link_corners();
}

void CollapseMesh::measure(std::int32_t f) {
  const Triangle& t = triangle(f);
  const auto at = static_cast<std::size_t>(f);
  areas[at] = {};
  if (!finite_corners(points, t)) return;
  areas[at] = area_vector(point(t[0]), point(t[1]), point(t[2]));
  const double size = dot(areas[at], areas[at]);
  weighted_[at] = size > 0 ? areas[at] * (1 / std::sqrt(std::sqrt(std::sqrt(size)))) : Point{};
  const Point side = point(t[1]) - point(t[0]);
  const Point other = point(t[2]) - point(t[0]);
  // Below this rounding may have hidden the sign.
  const bool small = !(size > 1e-24 * dot(side, side) * dot(other, other));
  flat_[at] = small && degenerate(points, t);
}

// A triangle with a corner twice has no surface and goes; one that isn't finite stays and is
// locked.
void CollapseMesh::link_corners() {
  for (std::size_t f = 0; f < triangles.size(); ++f) {
    Triangle& t = triangles[f];
    if (t[0] == t[1] || t[1] == t[2] || t[2] == t[0]) {
      t = {-1, -1, -1};
      continue;
    }
    ++live_;
    for (std::size_t k = 0; k < 3; ++k) {
      const auto v = static_cast<std::size_t>(t[k]);
      const auto side = static_cast<std::int32_t>(3 * f + k);
      if (tail_[v] < 0) {
        head_[v] = side;
      } else {
        next_[static_cast<std::size_t>(tail_[v])] = side;
      }
      tail_[v] = side;
      if (!finite_corners(points, t)) set(t[k], kLocked);
    }
  }
}

void CollapseMesh::classify(bool lock_borders) {
  const EdgeTable edges(triangles, points.size());
  for (std::size_t e = 0; e < edges.count(); ++e) {
    const std::int32_t side = edges.side(edges.begin(e));
    const std::int32_t a = side_start(triangles, side);
    const std::int32_t b = side_end(triangles, side);
    const bool twisted =
        edges.valence(e) == 2 && side_start(triangles, edges.side(edges.begin(e) + 1)) == a;
    std::uint8_t flag = 0;
    if (edges.valence(e) == 1) flag = lock_borders ? kBorder | kLocked : kBorder;
    if (edges.valence(e) > 2 || twisted) flag = kLocked;
    set(a, flag);
    set(b, flag);
  }
  lock_split_fans(opposite_sides(triangles, edges));
}

// Where the triangles of a vertex don't hang together by edges.
void CollapseMesh::lock_split_fans(const std::vector<std::int32_t>& opposite) {
  const VertexSides around(triangles, points.size());
  const auto turned = [&](std::int32_t side) {  // to the next triangle, against the clock
    const std::int32_t before = side - side % 3 + (side + 2) % 3;
    return opposite[static_cast<std::size_t>(before)];
  };
  const auto turned_back = [&](std::int32_t side) {
    const std::int32_t across = opposite[static_cast<std::size_t>(side)];
    return across < 0 ? across : across - across % 3 + (across + 1) % 3;
  };
  for (std::size_t i = 0; i < points.size(); ++i) {
    const auto v = static_cast<std::int32_t>(i);
    const std::ptrdiff_t count = around.end(v) - around.begin(v);
    if (count == 0 || locked(v)) continue;
    const std::int32_t first = *around.begin(v);
    std::ptrdiff_t met = 0;
    std::int32_t side = first;
    for (; side >= 0 && (met == 0 || side != first) && met <= count; side = turned(side)) ++met;
    if (side < 0) {
      for (side = turned_back(first); side >= 0 && met <= count; side = turned_back(side)) ++met;
    }
    if (met != count) set(v, kLocked);
  }
}

void CollapseMesh::gather(std::int32_t u, std::int32_t v, EdgeStar& star) const {
  star.shared.clear();
  star.at_first.clear();
  star.at_second.clear();
  for_each_at(u, [&](std::int32_t f, std::size_t) {
    (has(triangle(f), v) ? star.shared : star.at_first).push_back(f);
  });
  for_each_at(v, [&](std::int32_t f, std::size_t) {
    if (!has(triangle(f), u)) star.at_second.push_back(f);
  });
}

int CollapseMesh::edge_valence(std::int32_t a, std::int32_t b) const {
  int valence = 0;
  for_each_at(a, [&](std::int32_t f, std::size_t) { valence += has(triangle(f), b); });
  return valence;
}

// Two sides of a triangle at u and v become one edge. Where one is open, it is the other's border
// from then on: that has to have one more triangle, and no more than that.
bool CollapseMesh::keeps_sides(std::int32_t u, std::int32_t v, std::int32_t third) const {
  if (!border(third)) return true;
  const int at_u = edge_valence(u, third);
  const int at_v = edge_valence(v, third);
  return (at_u != 1 || at_v == 2) && (at_v != 1 || at_u == 2);
}

bool CollapseMesh::keeps_topology(std::int32_t u, std::int32_t v, const EdgeStar& star) {
  const bool at_border = star.shared.size() == 1;
  if (star.shared.empty() || star.shared.size() > 2) return false;
  if (border(u) && border(v) && !at_border) return false;
  const std::uint32_t mark = ++epoch_;
  for_each_at(u, [&](std::int32_t f, std::size_t) {
    for (const std::int32_t x : triangle(f)) mark_[static_cast<std::size_t>(x)] = mark;
  });
  std::size_t common = 0;
  const std::uint32_t met = ++epoch_;
  for_each_at(v, [&](std::int32_t f, std::size_t) {
    for (const std::int32_t x : triangle(f)) {
      if (x == u || x == v || mark_[static_cast<std::size_t>(x)] != mark) continue;
      mark_[static_cast<std::size_t>(x)] = met;
      ++common;
    }
  });
  if (common != star.shared.size()) return false;
  const std::int32_t a = third_corner(triangle(star.shared[0]), u, v);
  if (!keeps_sides(u, v, a)) return false;
  if (at_border) return true;
  const std::int32_t b = third_corner(triangle(star.shared[1]), u, v);
  if (!keeps_sides(u, v, b)) return false;
  const auto across = [&](const std::vector<std::int32_t>& faces) {
    return std::any_of(faces.begin(), faces.end(),
                       [&](std::int32_t f) { return is(triangle(f), a, b); });
  };
  return !across(star.at_first) || !across(star.at_second);  // both: a tetrahedron
}

Triangle CollapseMesh::moved_triangle(std::int32_t f, std::int32_t u, std::int32_t v,
                                      std::int32_t w) const {
  Triangle t = triangle(f);
  for (std::int32_t& x : t) {
    if (x == u || x == v) x = w;
  }
  return t;
}

void CollapseMesh::collapse(std::int32_t kept, std::int32_t lost, const Point& to,
                            const EdgeStar& star) {
  for (const std::int32_t f : star.shared) {
    triangles[static_cast<std::size_t>(f)] = {-1, -1, -1};
    --live_;
  }
  const auto from = static_cast<std::size_t>(lost);
  const auto into = static_cast<std::size_t>(kept);
  points[into] = to;
  for_each_at(lost, [&](std::int32_t f, std::size_t k) {
    triangles[static_cast<std::size_t>(f)][k] = kept;
  });
  next_[static_cast<std::size_t>(tail_[into])] = head_[from];
  tail_[into] = tail_[from];
  // The dead ones leave the list, so that it doesn't get longer with every collapse.
  std::int32_t* link = &head_[into];
  std::int32_t last = -1;
  for (std::int32_t side = *link; side >= 0; side = next_[static_cast<std::size_t>(side)]) {
    if (!alive(side / 3)) continue;
    *link = side;
    link = &next_[static_cast<std::size_t>(side)];
    last = side;
  }
  *link = -1;
  tail_[into] = last;
  flags_[into] = static_cast<std::uint8_t>(flags_[into] | (flags_[from] & (kBorder | kLocked)));
  set(lost, kGone);
  for_each_at(kept, [&](std::int32_t f, std::size_t) { measure(f); });
}

}  // namespace scanmesh
