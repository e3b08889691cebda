#include "trimming/tool_search.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace scanmesh {

namespace {

constexpr double kLeastMargin = 0.1;
// The faces that are cut along the curve are looked for in a wider reach than those on the tool.
constexpr double kCurveMargin = 1.0;

double margin(float a, float c, bool cut) {
  return std::max(kLeastMargin, static_cast<double>(c) - a) + (cut ? 0.0 : kCurveMargin);
}

}  // namespace

OvalTool::OvalTool(const Mesh_R::_vert& tool, float a, float b, float c, const float* dir, bool cut)
    : plane_(tool),
      along_{dir[0], dir[1], dir[2]},
      across_(cross(along_, tool.vector)),
      ball_(std::hypot(a, static_cast<double>(c)) + margin(a, c, cut)),
      reach_along_(b + margin(a, c, cut)),
      reach_across_(a + margin(a, c, cut)) {}

void select_around(Mesh_M::Mesh& mesh, const std::vector<Mesh_R::_vert*>& kept) {
  if (kept.empty()) return;
  const std::lock_guard<std::mutex> lock(mesh.search_lock);
  for (Mesh_R::_vert* vert : kept) {
    // Marks are taken back by way of the faces: on a vertex without one it would stay.
    if (vert->face_num == 0) continue;
    vert->searched = true;
    for (int i = 0; i < vert->face_num; ++i) {
      Mesh_R::_face* const face = vert->face[i];
      if (face->searched) continue;
      face->searched = true;
      mesh.selected_faces.push_back(face);
    }
  }
}

void clear_search(Mesh_M::Mesh& mesh) {
  mesh.selected_faces.clear();
  mesh.rim_vertices.clear();
  mesh.ordered_vertices.clear();
  mesh.search_order = 0;
}

void clear_marks(Mesh_M::Mesh& mesh) {
  const auto clear = [](Mesh_R::_vert* vert) {
    vert->order = -1;
    vert->searched = false;
    vert->reached = false;
  };
  std::for_each(mesh.rim_vertices.begin(), mesh.rim_vertices.end(), clear);
  for (Mesh_R::_face* face : mesh.selected_faces) {
    std::for_each_n(face->vert, 3, clear);
    face->searched = false;
  }
}

}  // namespace scanmesh

namespace Mesh_M {

using Mesh_R::_vert;

void Mesh::searchThread(_vert* tool, float radius, int first, int last) {
  scanmesh::select_around(
      *this, scanmesh::vertices_within(vertex, scanmesh::RadiusTool(*tool, radius), first, last));
}

void Mesh::searchOvalThread(const _vert* tool, const float& a, const float& b, const float& c,
                            const float* dir, const int& first, const int& last, bool cut) {
  const scanmesh::OvalTool shape(*tool, a, b, c, dir, cut);
  scanmesh::select_around(*this, scanmesh::vertices_within(vertex, shape, first, last));
}

void Mesh::searchRausFaces(float radius, _vert* tool) {
  scanmesh::clear_search(*this);
  scanmesh::select_within(*this, scanmesh::RadiusTool(*tool, radius));
  for (Mesh_R::_face* selected : selected_faces) selected->searched = false;
}

}  // namespace Mesh_M
