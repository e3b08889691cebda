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
  static void search_thread(Mesh& mesh, Mesh_R::_vert* tool, float radius, int first, int last) {
    mesh.searchThread(tool, radius, first, last);
  }
  static void search_raus(Mesh& mesh, float radius, Mesh_R::_vert* tool) {
    mesh.searchRausFaces(radius, tool);
  }
  static int search_radius(Mesh& mesh, float radius, float spacing, Mesh_R::_vert* tool) {
    return mesh.searchRadiusFaces(radius, spacing, tool);
  }
  static void search_oval_thread(Mesh& mesh, const Mesh_R::_vert* tool, const float (&size)[3],
                                 const float* dir, int first, int last, bool cut) {
    mesh.searchOvalThread(tool, size[0], size[1], size[2], dir, first, last, cut);
  }
  static int search_oval(Mesh& mesh, const float (&size)[3], const float* dir, Mesh_R::_vert* tool,
                         float spacing, bool cut) {
    return mesh.searchOvalFaces(size[0], size[1], size[2], dir, tool, spacing, cut);
  }
  static void search_faces(Mesh& mesh, std::vector<float>& points, int& point_count,
                           std::vector<float>& normals, std::vector<int>& triangles,
                           int& triangle_count) {
    mesh.searchFaces(points, point_count, normals, triangles, triangle_count);
  }
  static void modify_faces(Mesh& mesh, const std::vector<float>& corners,
                           const std::vector<int>& parents, const std::vector<float>& normals,
                           const std::vector<int>& deleted) {
    mesh.modifyFaces(corners, static_cast<int>(corners.size() / 3), parents, normals, deleted,
                     static_cast<int>(deleted.size()));
  }
};

}  // namespace Mesh_M

#endif  // SCANMESH_TESTS_SUPPORT_MESH_ACCESS_H
