// Building blocks of topology that several subsystems share.
#ifndef SCANMESH_CORE_FACE_BUILDING_H
#define SCANMESH_CORE_FACE_BUILDING_H

#include "scanmesh/stores.h"

namespace scanmesh {

// The edge of two vertices, made and entered at both ends where there is none. `created` (may be
// null) tells which.
Mesh_R::_edge* find_or_create_edge(Mesh_R::Vertex& vertices, Mesh_R::Edge& edges, Mesh_R::_vert* a,
                                   Mesh_R::_vert* b, bool* created = nullptr);

// Whether a face on the edge has exactly these corners, in any order.
bool has_face(Mesh_R::Edge& edges, Mesh_R::_edge* edge, Mesh_R::_vert* a, Mesh_R::_vert* b,
              Mesh_R::_vert* c);

// Enters a face in the lists of its corners and edges.
void link_face(Mesh_R::Vertex& vertices, Mesh_R::Edge& edges, Mesh_R::_face* face);

// The end of the edge that isn't `vert`; its first end when neither is.
inline Mesh_R::_vert* far_end(const Mesh_R::_edge* edge, const Mesh_R::_vert* vert) {
  return edge->vert[0] == vert ? edge->vert[1] : edge->vert[0];
}

inline bool touches(const Mesh_R::_edge* edge, const Mesh_R::_vert* vert) {
  return edge->vert[0] == vert || edge->vert[1] == vert;
}

// Negates the visit mark.
template <typename Record>
inline void flip_state(Record* record) {
  record->state = static_cast<int16_t>(-record->state);
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_FACE_BUILDING_H
