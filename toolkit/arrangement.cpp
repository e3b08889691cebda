#include "toolkit/arrangement.h"

#include <algorithm>

#include "toolkit/flat_triangulation.h"
#include "toolkit/topology.h"

namespace scanmesh {
namespace {

constexpr std::size_t next(std::size_t k) {
  return (k + 1) % 3;
}

// The axis along which the normal is longest: exactly, so that all triangles of a plane agree.
int longest_axis(const ExactPlane& plane) {
  namespace mp = boost::multiprecision;
  int longest = 0;
  for (int axis = 1; axis < 3; ++axis) {
    if (mp::abs(plane.normal[static_cast<std::size_t>(axis)]) >
        mp::abs(plane.normal[static_cast<std::size_t>(longest)])) {
      longest = axis;
    }
  }
  return longest;
}

}  // namespace

Arrangement::Arrangement(const WorkMesh& mesh) : mesh_(mesh), grid_(mesh.points) {}

std::int32_t Arrangement::number(const ExactPoint& p) {
  const auto [at, fresh] = numbers_.emplace(p, point_count());
  if (fresh) {
    points_.push_back(p);
    vertex_.push_back(-1);
  }
  return at->second;
}

std::int32_t Arrangement::of_vertex(std::int32_t v) {
  const auto known = of_vertex_.find(v);
  if (known != of_vertex_.end()) return known->second;
  const std::int32_t i = number(grid_.on_grid(mesh_.point(v)));
  vertex_[static_cast<std::size_t>(i)] = v;
  of_vertex_.emplace(v, i);
  return i;
}

const ExactTriangle& Arrangement::exact(std::int32_t f) {
  std::unique_ptr<ExactTriangle>& slot = exact_[f];
  if (slot != nullptr) return *slot;
  const Triangle& t = mesh_.triangle(f);
  std::array<std::int32_t, 3> corners{of_vertex(t[0]), of_vertex(t[1]), of_vertex(t[2])};
  const ExactPlane plane(point(corners[0]), point(corners[1]), point(corners[2]));
  const int axis = longest_axis(plane);
  const bool mirrored = plane.normal[static_cast<std::size_t>(axis)] < 0;
  if (mirrored) std::swap(corners[1], corners[2]);
  slot = std::make_unique<ExactTriangle>(ExactTriangle{corners, Flattening(axis), mirrored, plane});
  return *slot;
}

bool Arrangement::within(std::int32_t p, const ExactTriangle& t) const {
  for (std::size_t k = 0; k < 3; ++k) {
    if (turn(point(t.corners[k]), point(t.corners[next(k)]), point(p), t.flat) < 0) return false;
  }
  return true;
}

// Notes a point of a triangle; one on its rim is noted at the edge, for all triangles there.
void Arrangement::mark(std::int32_t f, std::int32_t p) {
  const ExactTriangle& t = exact(f);
  for (std::size_t k = 0; k < 3; ++k) {
    if (t.corners[k] == p) return;
  }
  for (std::size_t k = 0; k < 3; ++k) {
    const std::int32_t a = t.corners[k];
    const std::int32_t b = t.corners[next(k)];
    if (turn(point(a), point(b), point(p), t.flat) == 0) on_edge_[std::minmax(a, b)].insert(p);
  }
  cuts_[f].points.insert(p);
}

// Points where edges of f meet g.
void Arrangement::cross_edges(std::int32_t f, std::int32_t g, std::vector<std::int32_t>& common) {
  const ExactTriangle& t = exact(f);
  const ExactTriangle& other = exact(g);
  std::array<Whole, 3> value;
  for (std::size_t k = 0; k < 3; ++k) value[k] = other.plane.value(point(t.corners[k]));
  for (std::size_t k = 0; k < 3; ++k) {
    const Whole& here = value[k];
    const Whole& there = value[next(k)];
    if (here == 0 && within(t.corners[k], other)) common.push_back(t.corners[k]);
    if (sign_of(here) * sign_of(there) >= 0) continue;
    const ExactPoint p = zero_between(point(t.corners[k]), point(t.corners[next(k)]), here, there);
    const std::int32_t i = number(p);
    if (within(i, other)) common.push_back(i);
  }
}

void Arrangement::meet(std::int32_t f, std::int32_t g) {
  const ExactTriangle& s = exact(f);
  const ExactTriangle& t = exact(g);
  const bool in_plane = std::all_of(t.corners.begin(), t.corners.end(),
                                    [&](std::int32_t c) { return s.plane.value(point(c)) == 0; });
  if (in_plane) {
    meet_in_plane(f, g);
    meet_in_plane(g, f);
    return;
  }
  std::vector<std::int32_t> common;
  cross_edges(f, g, common);
  cross_edges(g, f, common);
  for (const std::int32_t face : {f, g}) {
    for (const std::int32_t p : common) mark(face, p);
    add_line(face, common);
  }
}

void Arrangement::sort_along(std::vector<std::int32_t>& line) const {
  std::sort(line.begin(), line.end());
  line.erase(std::unique(line.begin(), line.end()), line.end());
  // Points of one line: an axis along which any two differ orders all of them.
  int axis = 0;
  while (axis < 2 && line.size() > 1 && compare(point(line[0]), point(line[1]), axis) == 0) ++axis;
  std::sort(line.begin(), line.end(),
            [&](std::int32_t a, std::int32_t b) { return compare(point(a), point(b), axis) < 0; });
}

// Points on a line within f become segments from one to the next.
void Arrangement::add_line(std::int32_t f, std::vector<std::int32_t> on_line) {
  sort_along(on_line);
  for (std::size_t i = 1; i < on_line.size(); ++i) {
    cuts_[f].segments.insert(std::minmax(on_line[i - 1], on_line[i]));
  }
}

// The part of each edge of g within f, both in one plane.
void Arrangement::meet_in_plane(std::int32_t f, std::int32_t g) {
  const ExactTriangle& s = exact(f);
  const ExactTriangle& t = exact(g);
  for (std::size_t k = 0; k < 3; ++k) {
    const std::int32_t a = t.corners[k];
    const std::int32_t b = t.corners[next(k)];
    std::vector<std::int32_t> line;
    for (const std::int32_t end : {a, b}) {
      if (within(end, s)) line.push_back(end);
    }
    for (std::size_t j = 0; j < 3; ++j) {
      const std::int32_t c = s.corners[j];
      const std::int32_t d = s.corners[next(j)];
      if (on_segment(c, {a, b}, s.flat)) line.push_back(c);
      const Whole at_a = line_value(point(c), point(d), point(a), s.flat);
      const Whole at_b = line_value(point(c), point(d), point(b), s.flat);
      if (sign_of(at_a) * sign_of(at_b) >= 0) continue;
      const std::int32_t p = number(zero_between(point(a), point(b), at_a, at_b));
      if (within(p, s)) line.push_back(p);
    }
    for (const std::int32_t p : line) {
      mark(f, p);
      mark(g, p);
    }
    add_line(f, line);
  }
}

bool Arrangement::on_segment(std::int32_t p, const Edge& segment, const Flattening& flat) const {
  if (p == segment.first || p == segment.second) return true;
  const ExactPoint& a = point(segment.first);
  const ExactPoint& b = point(segment.second);
  if (turn(a, b, point(p), flat) != 0) return false;
  for (const int axis : {flat.u, flat.v}) {
    const int from = compare(a, point(p), axis);
    const int to = compare(b, point(p), axis);
    if (from * to > 0) return false;
  }
  return true;
}

// Where segments of one triangle cross, both get a point.
void Arrangement::cut_crossing_segments(std::int32_t f) {
  const ExactTriangle& t = exact(f);
  const std::vector<Edge> segments(cuts_[f].segments.begin(), cuts_[f].segments.end());
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const auto [a, b] = segments[i];
    for (std::size_t j = i + 1; j < segments.size(); ++j) {
      const auto [c, d] = segments[j];
      if (turn(point(a), point(b), point(c), t.flat) * turn(point(a), point(b), point(d), t.flat) >=
          0) {
        continue;
      }
      if (turn(point(c), point(d), point(a), t.flat) * turn(point(c), point(d), point(b), t.flat) >=
          0) {
        continue;
      }
      mark(f,
           number(zero_between(point(a), point(b), line_value(point(c), point(d), point(a), t.flat),
                               line_value(point(c), point(d), point(b), t.flat))));
    }
  }
}

std::vector<std::int32_t> Arrangement::cut_triangles() {
  std::vector<std::int32_t> cut;
  for (const auto& entry : cuts_) cut.push_back(entry.first);
  for (const std::int32_t f : cut) cut_crossing_segments(f);
  // Whoever has an edge with points on it is cut there too.
  const VertexSides at(mesh_.triangles, mesh_.points.size());
  std::set<std::int32_t> all(cut.begin(), cut.end());
  for (const auto& entry : on_edge_) {
    const std::int32_t a = vertex(entry.first.first);
    const std::int32_t b = vertex(entry.first.second);
    for (const std::int32_t* side = at.begin(a); side != at.end(a); ++side) {
      const Triangle& t = mesh_.triangle(*side / 3);
      if (std::find(t.begin(), t.end(), b) != t.end()) all.insert(*side / 3);
    }
  }
  return {all.begin(), all.end()};
}

std::vector<Arrangement::Edge> Arrangement::split_segments(std::int32_t f) const {
  std::vector<Edge> split;
  const auto cuts = cuts_.find(f);
  if (cuts == cuts_.end()) return split;
  const ExactTriangle& t = *exact_.at(f);
  for (const Edge& segment : cuts->second.segments) {
    std::vector<std::int32_t> line{segment.first, segment.second};
    for (const std::int32_t p : cuts->second.points) {
      if (on_segment(p, segment, t.flat)) line.push_back(p);
    }
    sort_along(line);
    for (std::size_t i = 1; i < line.size(); ++i) {
      split.push_back(std::minmax(line[i - 1], line[i]));
    }
  }
  return split;
}

std::vector<std::array<std::int32_t, 3>> Arrangement::pieces(std::int32_t f) {
  const ExactTriangle& t = exact(f);
  FlatTriangulation flat(points_, t.corners, t.flat);
  std::set<std::int32_t> inside = cuts_[f].points;
  for (std::size_t k = 0; k < 3; ++k) {
    const auto edge = on_edge_.find(std::minmax(t.corners[k], t.corners[next(k)]));
    if (edge == on_edge_.end()) continue;
    for (const std::int32_t p : edge->second) {
      inside.insert(p);
      cuts_[f].points.insert(p);  // a segment may pass over it
    }
  }
  for (const std::int32_t p : inside) flat.insert(p);
  for (const Edge& segment : split_segments(f)) flat.constrain(segment.first, segment.second);
  flat.settle();
  std::vector<std::array<std::int32_t, 3>> pieces = flat.triangles();
  if (t.mirrored) {
    for (auto& piece : pieces) std::swap(piece[1], piece[2]);
  }
  return pieces;
}

}  // namespace scanmesh
