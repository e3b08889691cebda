// Quadric error of a vertex: the sum of squared distances to planes, as a symmetric 4 x 4 matrix
// (Garland and Heckbert 1997). Double throughout.
#ifndef SCANMESH_REFINEMENT_QUADRIC_H
#define SCANMESH_REFINEMENT_QUADRIC_H

#include "core/double_vector.h"

namespace scanmesh {

// Upper triangle in the order aa, ab, ac, ad, bb, bc, bd, cc, cd, dd.
struct Quadric {
  double m[10] = {};

  void add(const Quadric& other) {
    for (int i = 0; i < 10; ++i) m[i] += other.m[i];
  }

  // The plane through `point` with unit normal n.
  void add_plane(const Vec3d& n, const Vec3d& point) {
    const double d = -dot(n, point);
    const double plane[10] = {n.x * n.x, n.x * n.y, n.x * n.z, n.x * d, n.y * n.y,
                              n.y * n.z, n.y * d,   n.z * n.z, n.z * d, d * d};
    for (int i = 0; i < 10; ++i) m[i] += plane[i];
  }

  double at(const Vec3d& p) const {
    return m[0] * p.x * p.x + 2 * m[1] * p.x * p.y + 2 * m[2] * p.x * p.z + 2 * m[3] * p.x +
           m[4] * p.y * p.y + 2 * m[5] * p.y * p.z + 2 * m[6] * p.y + m[7] * p.z * p.z +
           2 * m[8] * p.z + m[9];
  }

  // Determinant of the rows and columns a, b, c.
  double determinant() const {
    return m[0] * (m[4] * m[7] - m[5] * m[5]) - m[1] * (m[1] * m[7] - m[5] * m[2]) +
           m[2] * (m[1] * m[5] - m[4] * m[2]);
  }

  // Where the gradient vanishes, by Cramer's rule.
  Vec3d minimum(double det) const {
    const double a = -m[3];
    const double b = -m[6];
    const double c = -m[8];
    const double dx = a * (m[4] * m[7] - m[5] * m[5]) - m[1] * (b * m[7] - m[5] * c) +
                      m[2] * (b * m[5] - m[4] * c);
    const double dy = m[0] * (b * m[7] - m[5] * c) - a * (m[1] * m[7] - m[5] * m[2]) +
                      m[2] * (m[1] * c - b * m[2]);
    const double dz = m[0] * (m[4] * c - b * m[5]) - m[1] * (m[1] * c - b * m[2]) +
                      a * (m[1] * m[5] - m[4] * m[2]);
    return {dx / det, dy / det, dz / det};
  }
};

}  // namespace scanmesh

#endif  // SCANMESH_REFINEMENT_QUADRIC_H
