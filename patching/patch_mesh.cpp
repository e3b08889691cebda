#include "patching/patch_mesh.h"

#include <utility>

namespace cavity {
namespace {

struct HalfEdge {
  int low;
  int high;
  int face;
  int corner;
  bool operator<(const HalfEdge& other) const {
    return std::array<int, 4>{low, high, face, corner} <
           std::array<int, 4>{other.low, other.high, other.face, other.corner};
  }
};

}  // namespace

PatchMesh::PatchMesh(std::vector<Point> points, int ring_size, std::vector<Triangle> triangles,
                     const ChordSet& chords)
    : points_(std::move(points)),
      triangles_(std::move(triangles)),
      neighbours_(triangles_.size(), Triangle{-1, -1, -1}),
      face_of_(points_.size(), -1),
      ring_size_(ring_size),
      chords_(chords) {
  std::vector<HalfEdge> half_edges;
  half_edges.reserve(3 * triangles_.size());
  for (int f = 0; f < triangle_count(); ++f) {
    for (int k = 0; k < 3; ++k) {
      const int a = triangles_[f][next_corner(k)];
      const int b = triangles_[f][previous_corner(k)];
      half_edges.push_back({std::min(a, b), std::max(a, b), f, k});
      face_of_[triangles_[f][k]] = f;
    }
  }
  std::sort(half_edges.begin(), half_edges.end());
  for (std::size_t i = 0; i + 1 < half_edges.size(); ++i) {
    const HalfEdge& a = half_edges[i];
    const HalfEdge& b = half_edges[i + 1];
    if (a.low != b.low || a.high != b.high) continue;
    neighbours_[a.face][a.corner] = b.face;
    neighbours_[b.face][b.corner] = a.face;
  }
}

int PatchMesh::corner_of(int f, int v) const {
  const Triangle& t = triangles_[f];
  return t[0] == v ? 0 : (t[1] == v ? 1 : 2);
}

int PatchMesh::opposite_corner(int f, int k) const {
  const int g = neighbours_[f][k];
  // The neighbour runs the shared edge backwards, so its far corner follows our start of the edge.
  return triangles_[g][next_corner(corner_of(g, triangles_[f][next_corner(k)]))];
}

Point PatchMesh::normal(int f) const {
  const Triangle& t = triangles_[f];
  return normal_or_zero(points_[t[0]], points_[t[1]], points_[t[2]]);
}

void PatchMesh::faces_of(int v, std::vector<int>& faces) const {
  faces.clear();
  const int start = face_of_[v];
  for (int f = start; f >= 0;) {
    faces.push_back(f);
    f = neighbours_[f][next_corner(corner_of(f, v))];
    if (f == start) return;
  }
  // The walk ended on the ring; what is left lies on the other side of the start.
  for (int f = neighbours_[start][previous_corner(corner_of(start, v))]; f >= 0;) {
    faces.push_back(f);
    f = neighbours_[f][previous_corner(corner_of(f, v))];
  }
}

void PatchMesh::link_of(int v, std::vector<int>& link) const {
  link.clear();
  const int start = face_of_[v];
  for (int f = start; f >= 0;) {
    const int k = corner_of(f, v);
    link.push_back(triangles_[f][next_corner(k)]);
    const int next = neighbours_[f][next_corner(k)];
    if (next < 0) link.push_back(triangles_[f][previous_corner(k)]);
    f = next;
    if (f == start) return;
  }
  for (int f = neighbours_[start][previous_corner(corner_of(start, v))]; f >= 0;) {
    const int k = corner_of(f, v);
    link.push_back(triangles_[f][next_corner(k)]);
    f = neighbours_[f][previous_corner(k)];
  }
}

bool PatchMesh::has_edge(int a, int b) const {
  // Walking round the free one of the two is a walk without ends, and a short one.
  const int v = is_free(b) ? b : a;
  const int other = v == a ? b : a;
  const int start = face_of_[v];
  for (int f = start; f >= 0;) {
    const int k = corner_of(f, v);
    if (triangles_[f][next_corner(k)] == other || triangles_[f][previous_corner(k)] == other) {
      return true;
    }
    f = neighbours_[f][next_corner(k)];
    if (f == start) return false;
  }
  for (int f = neighbours_[start][previous_corner(corner_of(start, v))]; f >= 0;) {
    const int k = corner_of(f, v);
    if (triangles_[f][next_corner(k)] == other || triangles_[f][previous_corner(k)] == other) {
      return true;
    }
    f = neighbours_[f][previous_corner(k)];
  }
  return false;
}

bool PatchMesh::may_join(int a, int b) const {
  if (!is_free(a) && !is_free(b) && chords_.contains(a, b)) return false;
  return !has_edge(a, b);
}

void PatchMesh::replace_neighbour(int f, int before, int after) {
  if (f < 0) return;
  for (int& g : neighbours_[f]) {
    if (g == before) {
      g = after;
      return;
    }
  }
}

bool PatchMesh::flip(int f, int k) {
  const int g = neighbours_[f][k];
  if (g < 0) return false;
  const int a = triangles_[f][k];
  const int b = triangles_[f][next_corner(k)];
  const int c = triangles_[f][previous_corner(k)];
  const int d = opposite_corner(f, k);
  if (a == d || !may_join(a, d)) return false;

  const int beyond_ab = neighbours_[f][previous_corner(k)];
  const int beyond_ca = neighbours_[f][next_corner(k)];
  const int at_b = corner_of(g, b);
  const int beyond_bd = neighbours_[g][previous_corner(at_b)];
  const int beyond_dc = neighbours_[g][at_b];
  triangles_[f] = {a, b, d};
  neighbours_[f] = {beyond_bd, g, beyond_ab};
  triangles_[g] = {a, d, c};
  neighbours_[g] = {beyond_dc, beyond_ca, f};
  replace_neighbour(beyond_bd, g, f);
  replace_neighbour(beyond_ca, f, g);
  face_of_[a] = face_of_[b] = face_of_[d] = f;
  face_of_[c] = g;
  return true;
}

int PatchMesh::split_edge(int f, int k, const Point& p) {
  const int g = neighbours_[f][k];
  const int a = triangles_[f][k];
  const int b = triangles_[f][next_corner(k)];
  const int c = triangles_[f][previous_corner(k)];
  const int d = opposite_corner(f, k);
  const int beyond_ca = neighbours_[f][next_corner(k)];
  const int beyond_ab = neighbours_[f][previous_corner(k)];
  const int at_b = corner_of(g, b);
  const int beyond_bd = neighbours_[g][previous_corner(at_b)];
  const int beyond_dc = neighbours_[g][at_b];

  const int m = point_count();
  const int f2 = triangle_count();
  const int g2 = f2 + 1;
  points_.push_back(p);
  triangles_[f] = {a, b, m};
  neighbours_[f] = {g, f2, beyond_ab};
  triangles_[g] = {d, m, b};
  neighbours_[g] = {f, beyond_bd, g2};
  triangles_.push_back({a, m, c});
  neighbours_.push_back({g2, beyond_ca, f});
  triangles_.push_back({d, c, m});
  neighbours_.push_back({f2, g, beyond_dc});
  replace_neighbour(beyond_ca, f, f2);
  replace_neighbour(beyond_dc, g, g2);
  face_of_.push_back(f);
  face_of_[a] = face_of_[b] = f;
  face_of_[c] = f2;
  face_of_[d] = g;
  return m;
}

int PatchMesh::split_triangle(int f, const Point& p) {
  const auto [a, b, c] = triangles_[f];
  const auto [beyond_bc, beyond_ca, beyond_ab] = neighbours_[f];
  const int m = point_count();
  const int f1 = triangle_count();
  const int f2 = f1 + 1;
  points_.push_back(p);
  triangles_[f] = {m, b, c};
  neighbours_[f] = {beyond_bc, f1, f2};
  triangles_.push_back({m, c, a});
  neighbours_.push_back({beyond_ca, f2, f});
  triangles_.push_back({m, a, b});
  neighbours_.push_back({beyond_ab, f, f1});
  replace_neighbour(beyond_ca, f, f1);
  replace_neighbour(beyond_ab, f, f2);
  face_of_.push_back(f);
  face_of_[b] = face_of_[c] = f;
  face_of_[a] = f1;
  return m;
}

}  // namespace cavity
