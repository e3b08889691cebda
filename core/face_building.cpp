#include "core/face_building.h"

namespace scanmesh {

Mesh_R::_edge* find_or_create_edge(Mesh_R::Vertex& vertices, Mesh_R::Edge& edges, Mesh_R::_vert* a,
                                   Mesh_R::_vert* b, bool* created) {
  Mesh_R::_edge* edge = vertices.find_edge(a, b);
  if (created != nullptr) *created = edge == nullptr;
  if (edge == nullptr) {
    edge = edges.insert_edge(a, b);
    vertices.insert_edge(edge);
  }
  return edge;
}

bool has_face(Mesh_R::Edge& edges, Mesh_R::_edge* edge, Mesh_R::_vert* a, Mesh_R::_vert* b,
              Mesh_R::_vert* c) {
  Mesh_R::_face probe;
  probe.vert[0] = a;
  probe.vert[1] = b;
  probe.vert[2] = c;
  return edges.find_face(edge, &probe) != nullptr;
}

void link_face(Mesh_R::Vertex& vertices, Mesh_R::Edge& edges, Mesh_R::_face* face) {
  vertices.insert_face(face);
  edges.insert_face(face);
}

}  // namespace scanmesh
