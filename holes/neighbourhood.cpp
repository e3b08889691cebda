#include "holes/neighbourhood.h"

#include <algorithm>

#include "core/face_building.h"
#include "holes/ring_records.h"

namespace scanmesh {

namespace {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using Mesh_R::kStateLive;
using Mesh_R::kStateTaken;

template <typename Record>
void take(std::vector<Record*>& list, Record* record) {
  if (record->state == kStateTaken) return;
  record->state = kStateTaken;
  list.push_back(record);
}

}  // namespace

std::vector<_vert*> vertices_around(const Mesh_R::_hole* ring, int rings) {
  std::vector<_vert*> verts;
  std::vector<_face*> faces;
  if (ring == nullptr) return verts;
  for (int i = 0, n = ring->edges->size(); i < n; ++i) {
    const _edge* const edge = (*ring->edges)[i];
    take(verts, edge->vert[0]);
    take(verts, edge->vert[1]);
  }
  std::size_t next_vert = 0;
  std::size_t next_face = 0;
  for (int step = 1; step < rings && next_vert < verts.size(); ++step) {
    for (; next_vert < verts.size(); ++next_vert) {
      const _vert* const vert = verts[next_vert];
      for (int i = 0; i < vert->face_num; ++i) take(faces, vert->face[i]);
    }
    for (; next_face < faces.size(); ++next_face) {
      for (_vert* vert : faces[next_face]->vert) take(verts, vert);
    }
  }
  // Back to the default, whatever the state was before: a curvature or border mark is lost here.
  for (_vert* vert : verts) vert->state = kStateLive;
  for (_face* face : faces) face->state = kStateLive;
  return verts;
}

std::vector<_vert*> thinned(const std::vector<_vert*>& verts, int stride) {
  const auto step = static_cast<std::size_t>(std::max(stride, 1));
  std::vector<_vert*> some;
  some.reserve(verts.size() / step + 1);
  for (std::size_t i = 0; i < verts.size(); i += step) some.push_back(verts[i]);
  return some;
}

}  // namespace scanmesh

namespace Mesh_R {

_vert** Hole::getHoleVert(int& count, int hole, int rings) {
  return getHoleVert(count, hole, rings, 1);
}

_vert** Hole::getHoleVert(int& count, int hole, int rings, int stride) {
  const std::vector<_vert*> verts =
      scanmesh::thinned(scanmesh::vertices_around((*this)[hole], rings), stride);
  count = static_cast<int>(verts.size());
  _vert** const array = new _vert*[verts.size()];
  std::copy(verts.begin(), verts.end(), array);
  return array;
}

void Hole::get_edge(_edge*& result, _vert* a, _vert* b) {
  result = nullptr;
  if (!scanmesh::is_set_up(*this)) return;
  bool created = false;
  result = scanmesh::find_or_create_edge(*vert_store, *edge_store, a, b, &created);
  if (created && result != nullptr) added_edges.allocate_mem() = result;
}

void Hole::remove_some_edge(int hole, _face** faces, int faceCount) {
  if (!scanmesh::is_set_up(*this)) return;
  const auto flip_edges = [=] {
    for (int i = 0; i < faceCount; ++i) {
      for (_edge* edge : faces[i]->edge) scanmesh::flip_state(edge);
    }
  };
  flip_edges();
  MemS::MemAllo<_edge*>& ring = *holes[hole]->edges;
  std::vector<_edge*> kept;
  for (int i = 0, n = ring.size(); i < n; ++i) {
    if (ring[i]->state < 0 && ring[i]->face_num == 1) kept.push_back(ring[i]);
  }
  // The list keeps its length and its tail: readers take the front part only.
  if (static_cast<int>(kept.size()) < ring.size()) {
    for (std::size_t i = 0; i < kept.size(); ++i) ring[static_cast<int>(i)] = kept[i];
  }
  flip_edges();
}

}  // namespace Mesh_R
