#include "trimming/face_entry.h"

#include <cstdint>
#include <utility>

#include "core/face_building.h"

namespace scanmesh {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {
constexpr int32_t kNewVertexFlags = -65528;
}  // namespace

_vert* new_vertex(Mesh_R::Vertex& vertices, Vec3f point) {
  _vert* const vert = vertices.insert_vert(point);
  vert->order = -1;
  vert->searched = false;
  vert->reached = false;
  vert->flags = kNewVertexFlags;
  return vert;
}

void enter_triangle(Mesh_M::Mesh& mesh, std::array<_vert*, 3> corner, Vec3f normal) {
  for (_vert* vert : corner) vert->vector = normal;
  const Vec3f turn =
      cross(sub(corner[1]->point, corner[0]->point), sub(corner[2]->point, corner[0]->point));
  if (dot(turn, normal) < 0) std::swap(corner[1], corner[2]);
  const auto [a, b, c] = corner;
  if (a == b || b == c || c == a) return;
  _edge* const ab = find_or_create_edge(mesh.vertex, mesh.edge, a, b);
  _edge* const bc = find_or_create_edge(mesh.vertex, mesh.edge, b, c);
  _edge* const ca = find_or_create_edge(mesh.vertex, mesh.edge, c, a);
  _face* const face = mesh.face.insert_face(a, b, c, bc, ca, ab, normal);
  face->searched = false;
  link_face(mesh.vertex, mesh.edge, face);
}

}  // namespace scanmesh
