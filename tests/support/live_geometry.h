// A mesh as what is seen of it: for comparing it before a step and after its undoing.
#ifndef SCANMESH_TESTS_SUPPORT_LIVE_GEOMETRY_H
#define SCANMESH_TESTS_SUPPORT_LIVE_GEOMETRY_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "scanmesh/mesh.h"

namespace test_support {

// What undo must give back, in a form that doesn't depend on numbers or on the order of records:
// faces as corner positions from the least corner on, in order of turn, and the boundary likewise.
struct Geometry {
  std::vector<std::array<float, 9>> faces;
  std::vector<std::array<float, 6>> boundary;
  int vertices = 0;
  bool operator==(const Geometry& o) const {
    return faces == o.faces && boundary == o.boundary && vertices == o.vertices;
  }
};

inline std::array<float, 3> place(const Mesh_R::_vert* v) {
  return {v->point.x, v->point.y, v->point.z};
}

inline Geometry geometry(Mesh_M::Mesh& mesh) {
  Geometry result;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    const Mesh_R::_face* const f = mesh.face[i];
    if (f->state == Mesh_R::kStateDeleted) continue;
    std::array<std::array<float, 3>, 3> c = {place(f->vert[0]), place(f->vert[1]),
                                             place(f->vert[2])};
    std::rotate(c.begin(), std::min_element(c.begin(), c.end()), c.end());
    std::array<float, 9> flat{};
    for (std::size_t k = 0; k < 9; ++k) flat[k] = c[k / 3][k % 3];
    result.faces.push_back(flat);
  }
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    const Mesh_R::_edge* const e = mesh.edge[i];
    if (e->state == Mesh_R::kStateDeleted || e->face_num != 1) continue;
    std::array<float, 3> low = place(e->vert[0]);
    std::array<float, 3> high = place(e->vert[1]);
    if (high < low) std::swap(low, high);
    result.boundary.push_back({low[0], low[1], low[2], high[0], high[1], high[2]});
  }
  std::sort(result.faces.begin(), result.faces.end());
  std::sort(result.boundary.begin(), result.boundary.end());
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    result.vertices += mesh.vertex[i]->state != Mesh_R::kStateDeleted;
  }
  return result;
}

// The same for faces that may have been turned over.
inline Geometry unoriented(Geometry g) {
  for (std::array<float, 9>& face : g.faces) {
    std::array<std::array<float, 3>, 3> corners{};
    for (std::size_t k = 0; k < 9; ++k) corners[k / 3][k % 3] = face[k];
    std::sort(corners.begin(), corners.end());
    for (std::size_t k = 0; k < 9; ++k) face[k] = corners[k / 3][k % 3];
  }
  std::sort(g.faces.begin(), g.faces.end());
  return g;
}

inline std::vector<Mesh_R::_face*> live_faces(Mesh_M::Mesh& mesh) {
  std::vector<Mesh_R::_face*> faces;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    if (mesh.face[i]->state != Mesh_R::kStateDeleted) faces.push_back(mesh.face[i]);
  }
  return faces;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_LIVE_GEOMETRY_H
