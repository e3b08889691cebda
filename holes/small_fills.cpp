// Fills without a patch surface: bare triangulation of small rings, single faces, merging a pair of
// vertices.
#include <vector>

#include "core/face_building.h"
#include "holes/ring_records.h"
#include "scanmesh/cavity_patcher.h"
#include "scanmesh/hole.h"

namespace Mesh_R {

namespace {

using scanmesh::touches;

struct Triple {
  _vert* vert[3];
};

bool in_ring(int i, int n) {
  return i >= 0 && i < n;
}

// Small fills aren't listed, so they can't be revoked. The normal of the first corner stands in
// until the caller refreshes it.
void add_small_face(Hole& finder, _vert* a, _vert* b, _vert* c) {
  Vertex& verts = *finder.vert_store;
  Edge& edges = *finder.edge_store;
  _edge* const ab = scanmesh::find_or_create_edge(verts, edges, a, b);
  _edge* const ac = scanmesh::find_or_create_edge(verts, edges, a, c);
  _edge* const bc = scanmesh::find_or_create_edge(verts, edges, b, c);
  // AB, AC, BC, as in a patch: hosts read the records of fills in this order.
  _face* const face = finder.face_store->insert_face(a, b, c, ab, ac, bc, a->vector);
  scanmesh::link_face(verts, edges, face);
}

// Copies the corners of every face around a vertex, in list order, and deletes the faces.
_vert* (*take_faces(Face& store, const _vert* vert, _vert* (*out)[3]))[3] {
  const std::vector<_face*> faces(vert->face, vert->face + vert->face_num);
  for (_face* face : faces) {
    if (face->state == kStateDeleted) continue;
    for (int k = 0; k < 3; ++k) (*out)[k] = face->vert[k];
    ++out;
    store.dele_face(face);
  }
  return out;
}

bool is_deleted(const _vert* vert) {
  return vert->state == kStateDeleted;
}

// Every open edge across from the pair gets a face to the new vertex, before the old faces go: the
// rim keeps its vertices alive.
void tie_rim(Hole& finder, const _vert* around, const _vert* a, const _vert* b, _vert* c) {
  const std::vector<_face*> faces(around->face, around->face + around->face_num);
  for (const _face* face : faces) {
    for (const _edge* edge : face->edge) {
      if (edge == nullptr || edge->face_num != 1 || touches(edge, a) || touches(edge, b)) continue;
      finder.add_new_face(edge->vert[0], edge->vert[1], c);
    }
  }
}

}  // namespace

void Hole::auto_fill_small_hole(int limit) {
  if (!scanmesh::is_set_up(*this)) return;
  const int first = face_store->get_facenum();
  for (int i = 0, n = holes.size(); i < n; ++i) {
    if (holes[i] != nullptr && holes[i]->edges->size() <= limit) fillHolePolyline(holes[i]->edges);
  }
  for (int i = first; i < face_store->get_facenum(); ++i) {
    face_store->refresh_vector((*face_store)[i]);
  }
}

int Hole::fillHolePolyline(MemS::MemAllo<_edge*>* ring) {
  if (ring == nullptr || ring->size() < 3 || !scanmesh::is_set_up(*this)) return 0;
  const int n = ring->size();
  std::vector<_edge*> edges;
  for (int i = 0; i < n; ++i) edges.push_back((*ring)[i]);
  const std::vector<_vert*> verts = scanmesh::ring_vertices(edges.data(), n);
  std::vector<double> polyline;
  for (const _vert* vert : verts) {
    polyline.insert(polyline.end(), {vert->point.x, vert->point.y, vert->point.z});
  }
  std::vector<int> triangles;
  Mesh_M::CavityPatcher::fillHolePolyline(polyline, triangles);
  for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
    const int a = triangles[i];
    const int b = triangles[i + 1];
    const int c = triangles[i + 2];
    if (!in_ring(a, n) || !in_ring(b, n) || !in_ring(c, n)) continue;
    const auto at = [&verts](int k) { return verts[static_cast<std::size_t>(k)]; };
    // A ring that passes a vertex twice has two numbers for it.
    if (at(a) == at(b) || at(a) == at(c) || at(b) == at(c)) continue;
    add_small_face(*this, at(a), at(b), at(c));
  }
  return 0;
}

int Hole::add_face(_vert* a, _vert* b, _vert* c, int mayCreate) {
  if (!scanmesh::is_set_up(*this)) return 0;
  if (mayCreate == 0 && vert_store->find_edge(a, b) == nullptr) return 0;
  _edge* ab = nullptr;
  _edge* ac = nullptr;
  _edge* bc = nullptr;
  get_edge(ab, a, b);
  if (scanmesh::has_face(*edge_store, ab, a, b, c)) return 0;
  get_edge(ac, a, c);
  get_edge(bc, b, c);
  MemS::Point3v<float> normal = {0, 0, 0};
  _face* const face = face_store->insert_face(a, b, c, ac, bc, ab, normal);
  scanmesh::link_face(*vert_store, *edge_store, face);
  added_faces.allocate_mem() = face;
  return 1;
}

void Hole::add_new_face(_vert* a, _vert* b, _vert* c) {
  if (!scanmesh::is_set_up(*this)) return;
  _edge* const ab = scanmesh::find_or_create_edge(*vert_store, *edge_store, a, b);
  if (scanmesh::has_face(*edge_store, ab, a, b, c)) return;
  _edge* const ac = scanmesh::find_or_create_edge(*vert_store, *edge_store, a, c);
  _edge* const bc = scanmesh::find_or_create_edge(*vert_store, *edge_store, b, c);
  MemS::Point3v<float> normal = {0, 0, 0};
  _face* const face = face_store->insert_face(a, b, c, ac, bc, ab, normal);
  scanmesh::link_face(*vert_store, *edge_store, face);
}

void Hole::MergeTwoV_One(_vert* a, _vert* b, _vert* c, _vert* (*buffer)[3]) {
  if (!scanmesh::is_set_up(*this)) return;
  tie_rim(*this, a, a, b, c);
  tie_rim(*this, b, a, b, c);
  _vert*(*end)[3] = take_faces(*face_store, a, buffer);
  end = take_faces(*face_store, b, end);
  for (_vert*(*triple)[3] = buffer; triple != end; ++triple) {
    _vert** const corner = *triple;
    int first = 0;
    while (first < 3 && !is_deleted(corner[first])) ++first;
    // A triple without a deleted corner makes no face, nor does one with two of them.
    if (first == 3) continue;
    corner[first] = c;
    if (is_deleted(corner[0]) || is_deleted(corner[1]) || is_deleted(corner[2])) continue;
    add_new_face(corner[0], corner[1], corner[2]);
  }
}

}  // namespace Mesh_R
