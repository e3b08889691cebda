#include "trimming/corner_points.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "core/face_building.h"
#include "trimming/curve_frame.h"
#include "trimming/face_cut.h"
#include "trimming/face_entry.h"

namespace scanmesh {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

// A vertex or an edge nearer to a corner counts as being there, for the cut would take one place
// for the other.
constexpr double kSamePlace = 0.002;
// A shorter stretch of an edge inside the rectangle is less than what welds.
constexpr double kLeastStretch = kWeldTolerance;

double distance(const Point2& p, const Point2& q) {
  return std::hypot(p.x - q.x, p.y - q.y);
}

// Narrows [from, to] down to where p + t (q - p) is at most `limit` on one axis.
void clip(double p, double q, double limit, double& from, double& to) {
  const double way = q - p;
  if (way == 0) {
    if (p > limit) to = from - 1;
    return;
  }
  const double at = (limit - p) / way;
  if (way > 0) {
    to = std::min(to, at);
  } else {
    from = std::max(from, at);
  }
}

class EdgeSplitter {
 public:
  EdgeSplitter(Mesh_M::Mesh& mesh, const qv::maac::xtirm_mesh::FRectangle3D& shape)
      : mesh_(mesh),
        curve_(shape),
        frame_(shape),
        half_along_(shape.size_1),
        half_across_(shape.size_2),
        corners_(curve_.fixed_points()),
        faces_(mesh.selected_faces) {}

  // What a split makes is looked at in its turn.
  bool run() {
    if (curve_.too_small() || !frame_.valid()) return false;
    bool split = false;
    for (const _face* face : faces_) {
      if (!is_seen(*face)) continue;
      for (_vert* vert : face->vert) move_to_corner(vert);
    }
    for (std::size_t i = 0; i < faces_.size(); ++i) {
      for (std::size_t k = 0; k < 3; ++k) {
        const _face& face = *faces_[i];
        if (!is_seen(face)) break;
        split = split_edge(face.vert[k], face.vert[(k + 1) % 3]) || split;
      }
    }
    return split;
  }

 private:
  // A fold of the mesh below the opening isn't.
  bool is_seen(const _face& face) const {
    return face.state != Mesh_R::kStateDeleted && dot(widened(face.vector), frame_.n) > 0;
  }

  void move_to_corner(_vert* vert) {
    const Point2 p = frame_.flat(widened(vert->point));
    for (auto corner = corners_.begin(); corner != corners_.end(); ++corner) {
      if (!(distance(p, *corner) < kSamePlace)) continue;
      const Point2 aside{corner->x - p.x, corner->y - p.y};
      vert->point = narrowed(widened(vert->point) + frame_.in_space(aside));
      corners_.erase(corner);
      return;
    }
  }

  bool split_edge(_vert* a, _vert* b) {
    const Point2 p = frame_.flat(widened(a->point));
    const Point2 q = frame_.flat(widened(b->point));
    if (!std::isfinite(p.x + p.y + q.x + q.y)) return false;
    Vec3f place{0, 0, 0};
    if (!corner_on_edge(a, b, p, q, place) && !stretch_inside(a, b, p, q, place)) return false;
    const _edge* const edge = mesh_.vertex.find_edge(a, b);
    if (edge == nullptr) return false;
    put_vertex(edge, place);
    return true;
  }

  static Vec3d on_edge(const _vert* a, const _vert* b, double t) {
    const Vec3d p = widened(a->point);
    return p + (widened(b->point) - p) * t;
  }

  // A corner of the rectangle that lies on the edge. Which side its ends are on is a matter of
  // rounding where the edge runs along a side, so that its crossing would be anywhere. One vertex
  // is enough for a corner.
  bool corner_on_edge(const _vert* a, const _vert* b, const Point2& p, const Point2& q,
                      Vec3f& place) {
    const Point2 way{q.x - p.x, q.y - p.y};
    const double length2 = way.x * way.x + way.y * way.y;
    if (!(length2 > 0)) return false;
    for (auto corner = corners_.begin(); corner != corners_.end(); ++corner) {
      if (distance(p, *corner) < kSamePlace || distance(q, *corner) < kSamePlace) continue;
      const double t = ((corner->x - p.x) * way.x + (corner->y - p.y) * way.y) / length2;
      const Point2 nearest = between(p, q, t);
      if (!(t > 0 && t < 1) || distance(nearest, *corner) > kSamePlace) continue;
      const Point2 aside{corner->x - nearest.x, corner->y - nearest.y};
      place = narrowed(on_edge(a, b, t) + frame_.in_space(aside));
      corners_.erase(corner);
      return true;
    }
    return false;
  }

  // An edge that goes in and comes out again.
  bool stretch_inside(const _vert* a, const _vert* b, const Point2& p, const Point2& q,
                      Vec3f& place) const {
    if (curve_.sign(p) < 0 || curve_.sign(q) < 0) return false;
    double from = 0;
    double to = 1;
    clip(p.x, q.x, half_along_, from, to);
    clip(-p.x, -q.x, half_along_, from, to);
    clip(p.y, q.y, half_across_, from, to);
    clip(-p.y, -q.y, half_across_, from, to);
    if (!((to - from) * distance(p, q) >= kLeastStretch)) return false;
    place = narrowed(on_edge(a, b, (from + to) / 2));
    return curve_.sign(frame_.flat(widened(place))) < 0;
  }

  // In place of the edge: two triangles for each of its faces.
  void put_vertex(const _edge* edge, const Vec3f& place) {
    _vert* const ends[2] = {edge->vert[0], edge->vert[1]};
    const std::vector<_face*> old(edge->face, edge->face + edge->face_num);
    _vert* const vert = new_vertex(mesh_.vertex, place);
    for (_face* face : old) {
      for (const _vert* end : ends) {
        std::array<_vert*, 3> corner = {face->vert[0], face->vert[1], face->vert[2]};
        std::replace(corner.begin(), corner.end(), const_cast<_vert*>(end), vert);
        enter_triangle(mesh_, corner, face->vector);
        faces_.push_back(mesh_.face[mesh_.face.get_facenum() - 1]);
      }
    }
    for (_face* face : old) mesh_.face.dele_face(face);
  }

  Mesh_M::Mesh& mesh_;
  const PlaneCurve curve_;
  const CurveFrame frame_;
  const double half_along_;
  const double half_across_;
  std::vector<Point2> corners_;  // those without a vertex of their own
  std::vector<_face*> faces_;
};

}  // namespace

bool pin_corners(Mesh_M::Mesh& mesh, const qv::maac::xtirm_mesh::FRectangle3D& shape) {
  return EdgeSplitter(mesh, shape).run();
}

}  // namespace scanmesh
