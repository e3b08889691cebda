// One step around a vertex, and a place kept for hosts.
#include "core/face_building.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

_edge* other_edge_at(const _face& face, const _vert* vert, const _edge* edge) {
  for (_edge* candidate : face.edge) {
    if (candidate != edge && scanmesh::touches(candidate, vert)) return candidate;
  }
  return nullptr;
}

// Of the first two faces of an edge, the one that isn't `face`.
_face* face_beyond(const _edge& edge, const _face* face) {
  for (int i = 0; i < edge.face_num && i < 2; ++i) {
    if (edge.face[i] != face) return edge.face[i];
  }
  return nullptr;
}

}  // namespace

_vert* Mesh::NextVert(_vert* v, _edge*& step, _face*& at) {
  _edge* const crossed = other_edge_at(*at, v, step);
  if (crossed == nullptr) return nullptr;
  step = crossed;
  _face* const beyond = face_beyond(*crossed, at);
  if (beyond == nullptr) return nullptr;
  at = beyond;
  const _edge* const further = other_edge_at(*beyond, v, crossed);
  return further == nullptr ? nullptr : scanmesh::far_end(further, v);
}

// A vertex was meant to go in here; the mesh stays as it is.
_edge* Mesh::Mesh_Border_Add_Point(_edge* border, _vert*, MemS::Point3v<float>) {
  return border;
}

}  // namespace Mesh_M
