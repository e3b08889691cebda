// The terms that the curvature at a vertex is made of, one per face and one per edge around it.
#ifndef SCANMESH_SMOOTHING_CURVATURE_TERMS_H
#define SCANMESH_SMOOTHING_CURVATURE_TERMS_H

#include <cmath>
#include <utility>

#include "core/vector_math.h"
#include "scanmesh/stores.h"

namespace scanmesh {

constexpr double kFullCircle = 6.283185307179586;

// Written out, so that a NaN stays one.
inline double clamped(double cosine) {
  if (cosine > 1.0) return 1.0;
  if (cosine < -1.0) return -1.0;
  return cosine;
}

// Double cosine, float arc cosine.
inline float angle_between(const Vec3f& a, const Vec3f& b) {
  const double lengths = length(a) * length(b);
  return std::acos(static_cast<float>(clamped(dot_double(a, b) / lengths)));
}

// Where the vertices are, with one of them possibly moved.
struct Places {
  const Mesh_R::_vert* moved;  // null when nothing is moved
  const Vec3f* place;
  const Vec3f& of(const Mesh_R::_vert* vert) const { return vert == moved ? *place : vert->point; }
};

// The part of one face, or the sum over several.
struct CornerTerm {
  double angle = 0;
  double area = 0;
};

// The share of the face's corner i. A NaN angle adds nothing.
inline CornerTerm corner_term(const Mesh_R::_face* face, int i, const Places& places) {
  const Vec3f& corner = places.of(face->vert[i]);
  const Vec3f a = sub(places.of(face->vert[(i + 1) % 3]), corner);
  const Vec3f b = sub(places.of(face->vert[(i + 2) % 3]), corner);
  const float angle = angle_between(a, b);
  if (std::isnan(angle)) return {};
  return {angle, 0.5 * length(cross(a, b))};
}

// The first corner of the face that the vertex is; -1 when it is none.
inline int corner_of(const Mesh_R::_face* face, const Mesh_R::_vert* v) {
  for (int i = 0; i < 3; ++i) {
    if (face->vert[i] == v) return i;
  }
  return -1;
}

inline Vec3f normal_of(const Mesh_R::_face* face, bool stored, const Places& places) {
  if (stored) return face->vector;
  return unit_normal(places.of(face->vert[0]), places.of(face->vert[1]), places.of(face->vert[2]));
}

// Edges that bend: those with two faces at least.
inline bool bends(const Mesh_R::_edge* edge) {
  return edge->state != Mesh_R::kStateDeleted && edge->face_num >= 2;
}

// Dihedral angle times length. A face without a direction has no dihedral angle, and one such face
// must not spoil the sum.
inline double bending_term(const Mesh_R::_edge* edge, bool stored, const Places& places) {
  const float angle = angle_between(normal_of(edge->face[0], stored, places),
                                    normal_of(edge->face[1], stored, places));
  if (std::isnan(angle)) return 0;
  return angle * distance(places.of(edge->vert[0]), places.of(edge->vert[1]));
}

// (H, K) from the sums around a vertex.
inline std::pair<double, double> curvature_of(const CornerTerm& corners, double bending, bool raw) {
  constexpr double kPerCorner = 3.0;  // a third of each face's area belongs to each of its corners
  double k = kFullCircle - corners.angle;
  double h = 0.25 * bending;
  if (!raw) {
    const double area = corners.area / kPerCorner;
    k /= area;
    // No area without faces, and then nothing bends.
    if (h != 0) h /= area;
  }
  return {h, k};
}

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_CURVATURE_TERMS_H
