// Small arithmetic of the plain references, written out once more: floats that round at every
// operation, doubles where the filters take them.
#ifndef SCANMESH_TESTS_SUPPORT_PLAIN_FILTERS_H
#define SCANMESH_TESTS_SUPPORT_PLAIN_FILTERS_H

#include <algorithm>
#include <vector>

#include "scanmesh/mesh.h"

namespace test_support {

inline MemS::Point3v<float> plus(const MemS::Point3v<float>& a, const MemS::Point3v<float>& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline MemS::Point3v<float> minus(const MemS::Point3v<float>& a, const MemS::Point3v<float>& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline MemS::Point3v<float> times(const MemS::Point3v<float>& a, double s) {
  return {static_cast<float>(a.x * s), static_cast<float>(a.y * s), static_cast<float>(a.z * s)};
}
inline MemS::Point3v<float> divided(const MemS::Point3v<float>& a, double s) {
  return {static_cast<float>(a.x / s), static_cast<float>(a.y / s), static_cast<float>(a.z / s)};
}
inline double wide_dot(const MemS::Point3v<float>& a, const MemS::Point3v<float>& b) {
  return static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y +
         static_cast<double>(a.z) * b.z;
}

inline const Mesh_R::_vert* other_end(const Mesh_R::_edge* edge, const Mesh_R::_vert* v) {
  return edge->vert[0] == v ? edge->vert[1] : edge->vert[0];
}

// The faces that share a corner with a face, in the order in which they are met.
inline std::vector<const Mesh_R::_face*> faces_around(const Mesh_R::_face& face) {
  std::vector<const Mesh_R::_face*> found;
  for (const Mesh_R::_vert* corner : face.vert) {
    for (int i = 0; i < corner->face_num; ++i) {
      const Mesh_R::_face* const near = corner->face[i];
      if (std::find(found.begin(), found.end(), near) == found.end()) found.push_back(near);
    }
  }
  return found;
}

// v + s x mean(n - v) over all edges.
inline MemS::Point3v<float> uniform_step(const Mesh_R::_vert& v, double s) {
  MemS::Point3v<float> sum{0, 0, 0};
  for (int i = 0; i < v.edge_num; ++i) {
    sum = plus(sum, minus(other_end(v.edge[i], &v)->point, v.point));
  }
  return plus(v.point, times(divided(sum, v.edge_num), s));
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_PLAIN_FILTERS_H
