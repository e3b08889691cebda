#include "core/adjacency.h"
#include "core/compaction.h"
#include "scanmesh/stores.h"

namespace Mesh_R {

namespace {

// `stands` tells of an end whether it may be followed.
template <typename Stands>
void compact(Edge& edges, Stands stands) {
  const auto vacate = [](_edge* place) {
    scanmesh::drop_list(place->face, place->face_cap, kEdgeListCapacity);
  };
  const auto settle = [&](_edge* place, _edge* from) {
    scanmesh::own_list(place->face, place->face_num, place->face_cap, kEdgeListCapacity);
    for (int i = 0; i < place->face_num; ++i) {
      _face* const face = place->face[i];
      std::replace(std::begin(face->edge), std::end(face->edge), from, place);
    }
    for (_vert* vert : place->vert) {
      if (stands(vert)) scanmesh::replace_all(vert->edge, vert->edge_num, from, place);
    }
  };
  scanmesh::compact(edges.records, vacate, settle);
}

}  // namespace

void Edge::inalize(int block_size, int block_capacity) {
  records.inalize(block_size, block_capacity);
  face_mem.inalize(block_size, block_capacity);
}

void Edge::free() {
  records.free();
  face_mem.free();
}

_edge* Edge::insert_edge(_vert* a, _vert* b) {
  if (a == nullptr || b == nullptr) return nullptr;
  _edge* const edge = &records.allocate_mem();
  edge->vert[0] = a;
  edge->vert[1] = b;
  edge->face_num = 0;  // a record that comes back after a compaction may have been a live one
  scanmesh::give_list(edge->face, edge->face_cap, kEdgeListCapacity, face_mem);
  return edge;
}

void Edge::insert_face(_edge* edge, _face* face) {
  if (edge == nullptr || face == nullptr) return;
  scanmesh::append(edge->face, edge->face_num, edge->face_cap, kEdgeListCapacity, growth, face);
}

void Edge::insert_face(_face* face) {
  if (face == nullptr) return;
  for (const _edge* edge : face->edge) {
    if (edge == nullptr) return;
  }
  for (_edge* edge : face->edge) insert_face(edge, face);
}

_face* Edge::find_face(_edge* edge, _face* probe) {
  if (edge == nullptr || probe == nullptr) return nullptr;
  const auto among_probe = [probe](const _vert* vert) {
    return vert == probe->vert[0] || vert == probe->vert[1] || vert == probe->vert[2];
  };
  for (int i = 0; i < edge->face_num; ++i) {
    const _face* const face = edge->face[i];
    if (among_probe(face->vert[0]) && among_probe(face->vert[1]) && among_probe(face->vert[2])) {
      return probe;
    }
  }
  return nullptr;
}

int Edge::get_edge_no(_edge* edge) {
  return scanmesh::record_number(records, edge);
}

void Edge::dele_edge(_edge* edge, _face* face) {
  if (edge == nullptr || face == nullptr) return;
  if (!scanmesh::remove_first(edge->face, edge->face_num, face)) return;
  if (edge->face_num != 0) return;
  recover_mem(edge);
  dele_vert(edge->vert[0], edge);
  dele_vert(edge->vert[1], edge);
}

void Edge::dele_vert(_vert* vert, _edge* edge) {
  if (vert == nullptr || edge == nullptr) return;
  scanmesh::remove_first(vert->edge, vert->edge_num, edge);
}

void Edge::delete_edge(_edge* edge, Face* faces) {
  if (edge == nullptr || faces == nullptr) return;
  while (edge->face_num > 0) {
    _face* const face = edge->face[0];
    const int16_t before = edge->face_num;
    faces->dele_face(face);
    // An entry that isn't a live face on this edge has no business here, and would never go away.
    if (edge->face_num == before) edge->face[0] = edge->face[--edge->face_num];
  }
}

void Edge::recover_mem(_edge* edge) {
  if (edge == nullptr) return;
  scanmesh::drop_list(edge->face, edge->face_cap, kEdgeListCapacity);
  edge->face_num = 0;
  edge->state = kStateDeleted;
}

void Edge::sort_out_mem() {
  compact(*this, [](const _vert* end) { return end != nullptr; });
}

}  // namespace Mesh_R

namespace scanmesh {

void compact_edges(Mesh_R::Edge& edges, const Mesh_R::Vertex& vertices) {
  const RecordMemory<Mesh_R::_vert> ends(vertices.records);
  Mesh_R::compact(edges, [&](const Mesh_R::_vert* end) { return ends.holds(end); });
}

}  // namespace scanmesh
