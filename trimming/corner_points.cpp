#include "trimming/corner_points.h"

#include <algorithm>
#include <array>

#include "core/face_building.h"
#include "trimming/curve_frame.h"
#include "trimming/face_cut.h"
#include "trimming/face_entry.h"

namespace scanmesh {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

constexpr double kOnEdge = -1e-6;  // as a weight
constexpr double kSamePlace = 0.002;

struct SeenFace {
  std::array<Point2, 3> flat;
  std::array<double, 3> weight;  // of the rectangle's corner
};

// Whether the face has the rectangle's corner in it, its edges included, and no corner inside.
bool swallows(const _face& face, const CurveFrame& frame, const PlaneCurve& curve,
              const Point2& corner, SeenFace& seen) {
  if (face.state == Mesh_R::kStateDeleted || dot(widened(face.vector), frame.n) <= 0) return false;
  for (std::size_t k = 0; k < 3; ++k) {
    seen.flat[k] = frame.flat(widened(face.vert[k]->point));
    if (curve.sign(seen.flat[k]) < 0) return false;
  }
  return corner_weights(seen.flat[0], seen.flat[1], seen.flat[2], corner, seen.weight) &&
         *std::min_element(seen.weight.begin(), seen.weight.end()) > kOnEdge;
}

// The corner of the face that lies opposite the edge through which the way from the rectangle's
// corner to its centre leaves.
std::size_t apex_before_centre(const SeenFace& seen) {
  std::array<double, 3> at_centre{};
  std::size_t apex = 0;
  if (!corner_weights(seen.flat[0], seen.flat[1], seen.flat[2], {0, 0}, at_centre)) return apex;
  double nearest = 2;
  for (std::size_t k = 0; k < 3; ++k) {
    if (at_centre[k] >= 0) continue;
    const double part = seen.weight[k] / (seen.weight[k] - at_centre[k]);
    if (part >= nearest) continue;
    nearest = part;
    apex = k;
  }
  return apex;
}

_vert* opposite(const _face& face, const _edge& edge) {
  for (_vert* vert : face.vert) {
    if (!touches(&edge, vert)) return vert;
  }
  return nullptr;
}

// Puts a vertex at the rectangle's corner in place of the edge; false where the face beyond doesn't
// reach inside, or is folded back as seen along the axis.
bool pin(Mesh_M::Mesh& mesh, _face& face, const SeenFace& seen, const CurveFrame& frame,
         const PlaneCurve& curve) {
  const std::size_t apex = apex_before_centre(seen);
  _vert* const a = face.vert[(apex + 1) % 3];
  _vert* const b = face.vert[(apex + 2) % 3];
  const _edge* const edge = mesh.vertex.find_edge(a, b);
  if (edge == nullptr || edge->face_num != 2) return false;
  _face* const beyond = edge->face[edge->face[0] == &face ? 1 : 0];
  _vert* const inner = opposite(*beyond, *edge);
  if (inner == nullptr || inner == face.vert[apex]) return false;
  const Point2 inner_flat = frame.flat(widened(inner->point));
  std::array<double, 3> at_inner{};
  if (curve.sign(inner_flat) > 0 ||
      !corner_weights(seen.flat[0], seen.flat[1], seen.flat[2], inner_flat, at_inner) ||
      at_inner[apex] >= 0) {
    return false;
  }
  Vec3d place{0, 0, 0};
  for (std::size_t k = 0; k < 3; ++k) {
    place = place + widened(face.vert[k]->point) * seen.weight[k];
  }
  const auto meets = [&](const _vert* vert) {
    return length(widened(vert->point) - place) < kSamePlace;
  };
  if (std::any_of(face.vert, face.vert + 3, meets)) return false;
  _vert* const vert = new_vertex(mesh.vertex, narrowed(place));
  for (_vert* end : {a, b}) {
    enter_triangle(mesh, {end, vert, inner}, beyond->vector);
    enter_triangle(mesh, {end, vert, face.vert[apex]}, face.vector);
  }
  mesh.face.dele_face(&face);
  mesh.face.dele_face(beyond);
  return true;
}

}  // namespace

bool pin_corners(Mesh_M::Mesh& mesh, const qv::maac::xtirm_mesh::FRectangle3D& shape) {
  const PlaneCurve curve(shape);
  const CurveFrame frame(shape);
  if (curve.too_small() || !frame.valid()) return false;
  bool pinned = false;
  for (const Point2& corner : curve.fixed_points()) {
    for (_face* face : mesh.selected_faces) {
      SeenFace seen;
      if (!swallows(*face, frame, curve, corner, seen)) continue;
      if (pin(mesh, *face, seen, frame, curve)) {
        pinned = true;
        break;
      }
    }
  }
  return pinned;
}

}  // namespace scanmesh
