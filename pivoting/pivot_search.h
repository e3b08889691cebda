// Looking for a triangle among the neighbours of a point or of an edge, the same for both
// reconstructors. They differ in the tree that finds the neighbours; here these stand in a table,
// farthest first, of elements with a vertex record each.
#ifndef SCANMESH_PIVOTING_PIVOT_SEARCH_H
#define SCANMESH_PIVOTING_PIVOT_SEARCH_H

#include <vector>

#include "core/face_building.h"
#include "pivoting/pivot_geometry.h"
#include "pivoting/small_buffer.h"
#include "pivoting/triangles.h"

namespace scanmesh {

// How far a point may reach into the ball, squared lengths whatever the scale. That of a pivot is
// a thousand times that of a seed; hosts' meshes depend on both.
constexpr double kSeedTolerance = 0.00001;
constexpr double kPivotTolerance = 0.01;
// A triangle with a larger squared circumradius is none.
constexpr double kMostCircumradiusSq = 1e12;

// Neighbours of the usual number fit without an allocation.
constexpr int kUsualTable = 64;

inline Vec3f middle_of(const Mesh_R::_edge& edge) {
  const Vec3f& a = edge.vert[0]->point;
  const Vec3f& b = edge.vert[1]->point;
  return {static_cast<float>((static_cast<double>(a.x) + b.x) / 2),
          static_cast<float>((static_cast<double>(a.y) + b.y) / 2),
          static_cast<float>((static_cast<double>(a.z) + b.z) / 2)};
}

// The search for a starting triangle at `p` among k + 1 neighbours, of which the last is p itself.
template <typename Node>
class SeedSearch {
 public:
  SeedSearch(const BallLimits& limits, const StoreSet& stores, Node* const* table, int k,
             Mesh_R::_vert* p)
      : limits_(limits), stores_(stores), table_(table), k_(k), p_(p) {}

  Mesh_R::_face* run() const {
    const int limit = beyond_reach();
    // Nearest first. A seed never holds p's normal against that of the third corner.
    for (int i = k_ - 1; i > limit; --i) {
      if (vert(i)->state == kVertInner || dot_double(p_->vector, vert(i)->vector) < 0) continue;
      for (int j = i - 1; j > limit; --j) {
        if (Mesh_R::_face* const face = try_triangle(i, j)) return face;
      }
    }
    return nullptr;
  }

 private:
  Mesh_R::_vert* vert(int i) const { return table_[i]->vert; }

  // The nearest that isn't inner and is out of reach, -1 when all are within.
  int beyond_reach() const {
    int i = k_ - 1;
    while (i >= 0 && (vert(i)->state == kVertInner ||
                      distance(vert(i)->point, p_->point) <= limits_.max_dist)) {
      --i;
    }
    return i;
  }

  Mesh_R::_face* try_triangle(int i, int j) const {
    Mesh_R::_vert* const q = vert(i);
    Mesh_R::_vert* const r = vert(j);
    if (r->state == kVertInner || dot_double(q->vector, r->vector) < 0) return nullptr;
    if (!(distance(q->point, r->point) <= limits_.max_dist)) return nullptr;
    Ball ball;
    ball.r_sq = limits_.radius_sq[0];
    if (!find_sphere(limits_, *p_, *q, *r, ball)) return nullptr;
    for (int k = k_ - 1; k >= 0; --k) {
      if (k != i && k != j && !outside(ball, vert(k)->point, kSeedTolerance)) return nullptr;
    }
    return make_triangle(stores_, p_, q, r, ball.normal);
  }

  const BallLimits& limits_;
  const StoreSet& stores_;
  Node* const* const table_;
  const int k_;
  Mesh_R::_vert* const p_;
};

// The search for the vertex that the ball reaches from an open edge, among `count` neighbours of
// the edge's midpoint.
template <typename Node>
class PlaceSearch {
 public:
  PlaceSearch(const BallLimits& limits, const Mesh_R::_edge& edge, const Vec3f& middle,
              Node* const* table, int count)
      : limits_(limits),
        edge_(edge),
        middle_(middle),
        count_(count),
        verts_(count),
        points_(count) {
    // All are read, whoever the candidate is: fetched at once, they don't wait for one another.
    for (int i = 0; i < count; ++i) verts_[i] = table[i]->vert;
    for (int i = 0; i < count; ++i) points_[i] = verts_[i]->point;
  }

  // The first candidate that passes wins, nearest first; angles aren't compared.
  Mesh_R::_vert* run(Vec3f& normal) const {
    const Mesh_R::_vert* const opposite = far_corner(*edge_.face[0], edge_);
    const double reach_sq = limits_.max_dist * limits_.max_dist;
    for (int i = count_ - 1; i >= 0; --i) {
      Mesh_R::_vert* const vert = verts_[i];
      if (vert->state == kVertInner || touches(&edge_, vert) || vert == opposite) continue;
      const Vec3f off = sub(points_[i], middle_);
      // Every other one is farther.
      if (!(dot_double(off, off) <= reach_sq)) return nullptr;
      if (fits(*vert, normal)) return vert;
    }
    return nullptr;
  }

 private:
  bool fits(const Mesh_R::_vert& vert, Vec3f& normal) const {
    if (dot_double(edge_.vert[0]->vector, vert.vector) < 0) return false;
    if (!lies_beyond(edge_, vert)) return false;
    Ball ball;
    ball.r_sq = limits_.radius_sq[0];
    if (!find_sphere(limits_, vert, *edge_.vert[0], *edge_.vert[1], ball)) return false;
    if (!(dot_double(ball.normal, edge_.face[0]->vector) >= limits_.cos_75)) return false;
    if (!empty(ball, &vert) || !(ball.circ_sq < kMostCircumradiusSq)) return false;
    normal = ball.normal;
    return true;
  }

  // The opposite corner counts, too.
  bool empty(const Ball& ball, const Mesh_R::_vert* vert) const {
    for (int i = count_ - 1; i >= 0; --i) {
      if (outside(ball, points_[i], kPivotTolerance)) continue;
      if (verts_[i] != vert && !touches(&edge_, verts_[i])) return false;
    }
    return true;
  }

  const BallLimits& limits_;
  const Mesh_R::_edge& edge_;
  const Vec3f middle_;
  const int count_;
  SmallBuffer<Mesh_R::_vert*, kUsualTable> verts_;
  SmallBuffer<Vec3f, kUsualTable> points_;
};

// One task's share of a batch: place(edge, i) for each open edge of [start, end); an edge without
// an answer is marked. Bad bounds do nothing.
template <typename Place>
void search_places(const std::vector<Mesh_R::_edge*>& edges, int start, int end, Place place) {
  if (start < 0 || end < 0) return;
  for (int i = start; i < end; ++i) {
    Mesh_R::_edge* const edge = edges[static_cast<std::size_t>(i)];
    if (edge->face_num != 1) continue;
    if (!place(edge, static_cast<std::size_t>(i))) edge->state = kEdgeGivenUp;
  }
}

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_PIVOT_SEARCH_H
