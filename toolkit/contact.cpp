#include "toolkit/contact.h"

#include <array>

#include "toolkit/predicates.h"

namespace scanmesh {
namespace {

struct Corners {
  std::array<const Point*, 3> p;
  const Point& operator[](int i) const { return *p[static_cast<std::size_t>(i % 3)]; }
};

Corners corners_of(const std::vector<Point>& points, const Triangle& t) {
  return {{&points[static_cast<std::size_t>(t[0])], &points[static_cast<std::size_t>(t[1])],
           &points[static_cast<std::size_t>(t[2])]}};
}

Plane projection_of(const Corners& t) {
  return widest_projection(t[0], t[1], t[2]);
}

using Signs = std::array<int, 3>;

// On which side of the plane of `plane` each corner of t lies.
Signs sides(const Corners& plane, const Corners& t) {
  Signs signs;
  for (int i = 0; i < 3; ++i) {
    signs[static_cast<std::size_t>(i)] = orient3d(plane[0], plane[1], plane[2], t[i]);
  }
  return signs;
}

bool on_both_sides(const Signs& s) {
  return (s[0] > 0 || s[1] > 0 || s[2] > 0) && (s[0] < 0 || s[1] < 0 || s[2] < 0);
}
bool off_the_plane(const Signs& s) {
  return (s[0] > 0 && s[1] > 0 && s[2] > 0) || (s[0] < 0 && s[1] < 0 && s[2] < 0);
}
bool in_the_plane(const Signs& s) {
  return s[0] == 0 && s[1] == 0 && s[2] == 0;
}

// Whether the line through an edge of `t` has all of `points` strictly on the other side than t, or
// on that side and on the line.
template <int N>
bool edge_separates(const Corners& t, const std::array<const Point*, N>& points, Plane plane,
                    bool strictly) {
  const int turn = orient2d(t[0], t[1], t[2], plane);
  for (int i = 0; i < 3; ++i) {
    bool apart = true;
    for (const Point* point : points) {
      const int side = turn * orient2d(t[i], t[i + 1], *point, plane);
      if (side > 0 || (strictly && side == 0)) {
        apart = false;
        break;
      }
    }
    if (apart) return true;
  }
  return false;
}

// Two triangles of one plane: convex, so that an edge's line separates them where anything does.
bool share_area(const Corners& s, const Corners& t, Plane plane) {
  return !edge_separates<3>(s, t.p, plane, false) && !edge_separates<3>(t, s.p, plane, false);
}
bool meet_in_plane(const Corners& s, const Corners& t, Plane plane) {
  return !edge_separates<3>(s, t.p, plane, true) && !edge_separates<3>(t, s.p, plane, true);
}

// A segment in the plane of t: closed sets, separated by the line of an edge or of the segment.
bool segment_meets_in_plane(const Corners& t, const Point& p, const Point& q, Plane plane) {
  if (edge_separates<2>(t, {&p, &q}, plane, true)) return false;
  const int a = orient2d(p, q, t[0], plane);
  const int b = orient2d(p, q, t[1], plane);
  const int c = orient2d(p, q, t[2], plane);
  return !(a > 0 && b > 0 && c > 0) && !(a < 0 && b < 0 && c < 0);
}

// Whether the closed segment pq meets the closed triangle; `p_side` and `q_side` of its plane.
bool segment_meets(const Corners& t, const Point& p, const Point& q, int p_side, int q_side) {
  if (p_side * q_side > 0) return false;
  if (p_side == 0 && q_side == 0) return segment_meets_in_plane(t, p, q, projection_of(t));
  const int a = orient3d(p, q, t[0], t[1]);
  const int b = orient3d(p, q, t[1], t[2]);
  if (a * b < 0) return false;
  const int c = orient3d(p, q, t[2], t[0]);
  return a * c >= 0 && b * c >= 0;
}

bool any_edge_meets(const Corners& t, const Corners& edges, const Signs& side) {
  for (int i = 0; i < 3; ++i) {
    const auto here = static_cast<std::size_t>(i);
    const auto next = static_cast<std::size_t>((i + 1) % 3);
    if (segment_meets(t, edges[i], edges[i + 1], side[here], side[next])) return true;
  }
  return false;
}

Contact contact_in_plane(const Corners& s, const Corners& t) {
  const Plane plane = projection_of(s);
  if (share_area(s, t, plane)) return Contact::overlap;
  return meet_in_plane(s, t, plane) ? Contact::touch : Contact::none;
}

Contact contact_apart(const Corners& s, const Corners& t) {
  const Signs of_t = sides(s, t);
  if (off_the_plane(of_t)) return Contact::none;
  const Signs of_s = sides(t, s);
  if (off_the_plane(of_s)) return Contact::none;
  if (in_the_plane(of_t)) return contact_in_plane(s, t);
  if (!any_edge_meets(s, t, of_t) && !any_edge_meets(t, s, of_s)) return Contact::none;
  return on_both_sides(of_t) && on_both_sides(of_s) ? Contact::cross : Contact::touch;
}

// Both begin at the corner that they share. Seen in the projection in which s is widest, a line
// through that corner often has them on different sides: then nothing else meets.
bool apart_around_corner(const Corners& s, const Corners& t, Plane plane) {
  const int turn = orient2d(s[0], s[1], s[2], plane);
  const int first = orient2d(s[0], s[1], t[1], plane) * turn;
  const int second = orient2d(s[0], s[1], t[2], plane) * turn;
  if (first < 0 && second < 0) return true;
  const int third = orient2d(s[2], s[0], t[1], plane) * turn;
  const int fourth = orient2d(s[2], s[0], t[2], plane) * turn;
  return third < 0 && fourth < 0;
}

// What meets beyond a shared corner reaches the edge opposite to it in one of the two.
Contact contact_at_corner(const Corners& s, const Corners& t) {
  const Plane plane = projection_of(s);
  if (apart_around_corner(s, t, plane)) return Contact::none;
  const Signs of_t = sides(s, t);
  const Signs of_s = sides(t, s);
  if (!segment_meets(s, t[1], t[2], of_t[1], of_t[2]) &&
      !segment_meets(t, s[1], s[2], of_s[1], of_s[2])) {
    return Contact::none;
  }
  if (in_the_plane(of_t)) return share_area(s, t, plane) ? Contact::overlap : Contact::touch;
  return on_both_sides(of_t) && on_both_sides(of_s) ? Contact::cross : Contact::touch;
}

// Both begin with the edge that they share: they overlap where they are folded flat on one another.
Contact contact_at_edge(const Corners& s, const Corners& t) {
  const Plane plane = projection_of(s);
  const int side_s = orient2d(s[0], s[1], s[2], plane);
  const int side_t = orient2d(s[0], s[1], t[2], plane);
  if (side_s * side_t < 0) return Contact::none;
  return orient3d(s[0], s[1], s[2], t[2]) == 0 ? Contact::overlap : Contact::none;
}

// Where the corners of s stand in t, -1 where they don't.
std::array<int, 3> shared_corners(const Triangle& s, const Triangle& t) {
  std::array<int, 3> at;
  for (std::size_t i = 0; i < 3; ++i) {
    at[i] = s[i] == t[0] ? 0 : s[i] == t[1] ? 1 : s[i] == t[2] ? 2 : -1;
  }
  return at;
}

Corners turned(const Corners& t, int first) {
  return {{&t[first], &t[first + 1], &t[first + 2]}};
}

}  // namespace

bool degenerate(const std::vector<Point>& points, const Triangle& t) {
  if (t[0] == t[1] || t[1] == t[2] || t[2] == t[0]) return true;
  const Corners c = corners_of(points, t);
  return collinear(c[0], c[1], c[2]);
}

Contact contact_of(const std::vector<Point>& points, const Triangle& s, const Triangle& t) {
  const std::array<int, 3> at = shared_corners(s, t);
  const int shared = (at[0] >= 0) + (at[1] >= 0) + (at[2] >= 0);
  const Corners a = corners_of(points, s);
  const Corners b = corners_of(points, t);
  if (shared == 0) return contact_apart(a, b);
  if (shared == 3) return Contact::doubled;
  if (shared == 1) {
    const int i = at[0] >= 0 ? 0 : at[1] >= 0 ? 1 : 2;
    return contact_at_corner(turned(a, i), turned(b, at[static_cast<std::size_t>(i)]));
  }
  const int lone_s = at[0] < 0 ? 0 : at[1] < 0 ? 1 : 2;
  const int lone_t = 3 - at[static_cast<std::size_t>((lone_s + 1) % 3)] -
                     at[static_cast<std::size_t>((lone_s + 2) % 3)];
  const Corners from_edge = turned(a, lone_s + 1);
  return contact_at_edge(from_edge, {{&from_edge[0], &from_edge[1], &b[lone_t]}});
}

}  // namespace scanmesh
