#include "scanmesh/curvature.h"

#include <cmath>

#include "core/vector_math.h"
#include "smoothing/curvature_terms.h"

namespace {

using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateDeleted;
using scanmesh::Vec3f;

constexpr double kStraight = 3.141592653589793;
constexpr double kRightAngle = 1.5707963267948966;

using scanmesh::clamped;
using scanmesh::CornerTerm;
using scanmesh::kFullCircle;
using scanmesh::Places;

CornerTerm sum_corners(const _vert* v, const Places& places) {
  CornerTerm sums;
  for (int i = 0; i < v->face_num; ++i) {
    const _face* const face = v->face[i];
    const int at = scanmesh::corner_of(face, v);
    if (face->state == kStateDeleted || at < 0) continue;
    const CornerTerm term = scanmesh::corner_term(face, at, places);
    sums.angle += term.angle;
    sums.area += term.area;
  }
  return sums;
}

double sum_bending(const _vert* v, bool stored, const Places& places) {
  double sum = 0;
  for (int i = 0; i < v->edge_num; ++i) {
    if (scanmesh::bends(v->edge[i])) sum += scanmesh::bending_term(v->edge[i], stored, places);
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
  // Stored normals can't know of a replacement.
  const double bending = sum_bending(v, stored_normals && !replace, places);
  return scanmesh::curvature_of(sum_corners(v, places), bending, raw);
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
