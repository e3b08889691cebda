// Making, extending and destroying the records of found rings.
#ifndef SCANMESH_HOLES_RING_RECORDS_H
#define SCANMESH_HOLES_RING_RECORDS_H

#include <vector>

#include "core/face_building.h"
#include "scanmesh/hole.h"

namespace scanmesh {

// Whether the finder has its lists: without them there is nowhere to put what it finds or adds.
inline bool is_set_up(const Mesh_R::Hole& finder) {
  return finder.holes.block != nullptr;
}

// A new empty ring in a new cell of the list.
Mesh_R::_hole* append_ring(Mesh_R::Hole& finder);

// Pushes an edge and counts it; the edge's mark is the caller's business.
void push_ring_edge(Mesh_R::Hole& finder, Mesh_R::_hole* ring, Mesh_R::_edge* edge);

// Empties the ring's cell and frees the record. The cell stays in the list and in the hole count,
// so that the numbers of later rings hold.
void destroy_ring(Mesh_R::_hole* ring);

std::vector<Mesh_R::_edge*> ring_edges(const Mesh_R::_hole* ring);

inline bool ends_meet(const Mesh_R::_edge* a, const Mesh_R::_edge* b) {
  return touches(b, a->vert[0]) || touches(b, a->vert[1]);
}

// Where the walk over a ring begins: the end of edge 0 that edge 1 doesn't have.
inline Mesh_R::_vert* ring_start(Mesh_R::_edge* const* edges, int n) {
  return n > 1 && touches(edges[1], edges[0]->vert[0]) ? edges[0]->vert[1] : edges[0]->vert[0];
}

// The vertices of a ring in walking order, one per edge: vertex i + 1 is the far end of edge i.
std::vector<Mesh_R::_vert*> ring_vertices(Mesh_R::_edge* const* edges, int n);

}  // namespace scanmesh

#endif  // SCANMESH_HOLES_RING_RECORDS_H
