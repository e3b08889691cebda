// Reaches the private operations of a mesh.
#ifndef SCANMESH_TESTS_SUPPORT_MESH_ACCESS_H
#define SCANMESH_TESTS_SUPPORT_MESH_ACCESS_H

#include <vector>

#include "scanmesh/mesh.h"

namespace Mesh_M {

struct MeshAccess {
  using Verts = std::vector<Mesh_R::_vert*>;
  static void laplace(Mesh& mesh, Verts& verts, int iterations, double lambda) {
    mesh.laplace(verts, iterations, lambda);
  }
  static void taubin_area(Mesh& mesh, Verts& verts, int iterations) {
    mesh.Mesh_Taubin_Smooth_Area(verts, iterations);
  }
  static void tab_border(Mesh& mesh, short value) { mesh.tabBorder(value); }
  static MemS::Point3v<float> swooth(Mesh& mesh, Mesh_R::_vert* v) {
    return mesh.Swooth_Filt(nullptr, nullptr, v);
  }
  static void flash_norm(Mesh& mesh, Verts& verts) { mesh.flashNorm(verts); }
  static void remove_spikes(Mesh& mesh, int level, Verts& verts) {
    mesh.remove_spikes_new_private(level, verts);
  }
  static Mesh_R::_vert* next_vert(Mesh& mesh, Mesh_R::_vert* v, Mesh_R::_edge*& edge,
                                  Mesh_R::_face*& face) {
    return mesh.NextVert(v, edge, face);
  }
  static Mesh_R::_edge* border_add_point(Mesh& mesh, Mesh_R::_edge* edge, Mesh_R::_vert* v) {
    return mesh.Mesh_Border_Add_Point(edge, v, v->point);
  }
};

}  // namespace Mesh_M

#endif  // SCANMESH_TESTS_SUPPORT_MESH_ACCESS_H
