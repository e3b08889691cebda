#include "scanmesh/curvature.h"

#include <cmath>

#include "core/face_building.h"
#include "core/vector_math.h"

namespace {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateDeleted;
using scanmesh::Vec3f;

constexpr double kFullCircle = 6.283185307179586;
constexpr double kStraight = 3.141592653589793;
constexpr double kRightAngle = 1.5707963267948966;
constexpr double kPerCorner = 3.0;  // a third of each face's area belongs to each of its corners

// Written out, so that a NaN stays one.
double clamped(double cosine) {
  if (cosine > 1.0) return 1.0;
  if (cosine < -1.0) return -1.0;
  return cosine;
}

// Double cosine, float arc cosine.
float angle_between(const Vec3f& a, const Vec3f& b) {
  const double lengths = scanmesh::length(a) * scanmesh::length(b);
  return std::acos(static_cast<float>(clamped(scanmesh::dot_double(a, b) / lengths)));
}

// Where the vertices are, with one of them possibly moved.
struct Places {
  const _vert* moved;  // null when nothing is moved
  const Vec3f* place;
  const Vec3f& of(const _vert* vert) const { return vert == moved ? *place : vert->point; }
};

struct CornerSums {
  double angle = 0;
  double area = 0;
};

// The other two corners in cyclic order; false when the face doesn't hold the vertex.
bool next_corners(const _face* face, const _vert* v, const _vert*& first, const _vert*& second) {
  for (int i = 0; i < 3; ++i) {
    if (face->vert[i] != v) continue;
    first = face->vert[(i + 1) % 3];
    second = face->vert[(i + 2) % 3];
    return true;
  }
  return false;
}

CornerSums sum_corners(const _vert* v, const Places& places) {
  CornerSums sums;
  for (int i = 0; i < v->face_num; ++i) {
    const _face* const face = v->face[i];
    const _vert* first = nullptr;
    const _vert* second = nullptr;
    if (face->state == kStateDeleted || !next_corners(face, v, first, second)) continue;
    const Vec3f a = scanmesh::sub(places.of(first), places.of(v));
    const Vec3f b = scanmesh::sub(places.of(second), places.of(v));
    const float angle = angle_between(a, b);
    if (std::isnan(angle)) continue;
    sums.angle += angle;
    sums.area += 0.5 * scanmesh::length(scanmesh::cross(a, b));
  }
  return sums;
}

Vec3f normal_of(const _face* face, bool stored, const Places& places) {
  if (stored) return face->vector;
  return scanmesh::unit_normal(places.of(face->vert[0]), places.of(face->vert[1]),
                               places.of(face->vert[2]));
}

// Dihedral angle times length over the edges with two faces. A face without a direction has no
// dihedral angle, and one such face must not spoil the sum.
double sum_bending(const _vert* v, bool stored, const Places& places) {
  double sum = 0;
  for (int i = 0; i < v->edge_num; ++i) {
    const _edge* const edge = v->edge[i];
    if (edge->state == kStateDeleted || edge->face_num < 2) continue;
    const float angle = angle_between(normal_of(edge->face[0], stored, places),
                                      normal_of(edge->face[1], stored, places));
    if (std::isnan(angle)) continue;
    sum += angle * scanmesh::distance(places.of(edge->vert[0]), places.of(edge->vert[1]));
  }
  return sum;
}

// Double angle at a corner; 0 where a side has no length.
double corner(const Vec3f& a, const Vec3f& b) {
  const double lengths = scanmesh::length(a) * scanmesh::length(b);
  if (lengths == 0) return 0;
  return std::acos(clamped(scanmesh::dot_double(a, b) / lengths));
}

double tangent_of_rest(double angle) {
  const double rest = kRightAngle - angle;
  return rest == kRightAngle ? 0.0 : std::tan(rest);
}

// The share of a face in the area around its corner between a and b: the Voronoi area, or what
// stands for it at an obtuse corner. Obtuse corners elsewhere in the face aren't told apart.
double mixed_area(const Vec3f& a, const Vec3f& b, double at_corner, double at_first) {
  const double at_second = kStraight - at_first - at_corner;
  const double aa = scanmesh::dot_double(a, a);
  const double bb = scanmesh::dot_double(b, b);
  if (at_corner >= kRightAngle) {
    // Twice the face's area, less the parts at the other corners.
    return scanmesh::length(scanmesh::cross(a, b)) -
           (std::tan(at_second) * bb + std::tan(at_first) * aa) * 0.125;
  }
  return (bb * tangent_of_rest(at_first) + aa * tangent_of_rest(at_second)) * 0.125;
}

// The first two corners that aren't v; false for a face that repeats v.
bool other_corners(const _face* face, const _vert* v, const _vert* (&others)[2]) {
  int count = 0;
  for (const _vert* vert : face->vert) {
    if (vert != v && count < 2) others[count++] = vert;
  }
  return count == 2;
}

}  // namespace

std::pair<double, double> GetHK(Mesh_R::_vert* v, bool stored_normals, bool raw, bool replace,
                                Mesh_R::_vert* moved, MemS::Point3v<float>* moved_position) {
  const Places places = {replace ? moved : nullptr, replace ? moved_position : nullptr};
  const CornerSums sums = sum_corners(v, places);
  double k = kFullCircle - sums.angle;
  // Stored normals can't know of a replacement.
  double h = 0.25 * sum_bending(v, stored_normals && !replace, places);
  if (!raw) {
    const double area = sums.area / kPerCorner;
    k /= area;
    // No area without faces, and then nothing bends.
    if (h != 0) h /= area;
  }
  return {h, k};
}

double Mesh_R::Vertex::Cal_v_Gaussian_curvature(_vert* vert, bool raw) {
  if (vert == nullptr) return 0.0;
  double angles = 0;
  double area = 0;
  for (int i = 0; i < vert->face_num; ++i) {
    const _vert* others[2] = {nullptr, nullptr};
    if (!other_corners(vert->face[i], vert, others)) continue;
    const Vec3f a = scanmesh::sub(others[0]->point, vert->point);
    const Vec3f b = scanmesh::sub(others[1]->point, vert->point);
    const double at_vert = corner(a, b);
    const double at_first =
        corner(scanmesh::negated(a), scanmesh::sub(others[1]->point, others[0]->point));
    angles += at_vert;
    area += mixed_area(a, b, at_vert, at_first);
  }
  const double deficit = kFullCircle - angles;
  return raw ? deficit : deficit / area;
}
