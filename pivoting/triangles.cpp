#include "pivoting/triangles.h"

#include <vector>

#include "core/adjacency.h"
#include "core/face_building.h"

namespace scanmesh {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

namespace {

// The edge, or null when it can't take a further face.
_edge* free_edge(const StoreSet& stores, _vert* a, _vert* b) {
  _edge* const edge = find_or_create_edge(stores.vertices, stores.edges, a, b);
  return edge->face_num < 2 ? edge : nullptr;
}

// Takes the edges that failed triangles left at a vertex out of its list, so that they aren't
// deleted along with it.
std::vector<_edge*> set_faceless_apart(_vert* vert) {
  std::vector<_edge*> out;
  for (int i = 0; i < vert->edge_num; ++i) {
    if (vert->edge[i]->face_num == 0) out.push_back(vert->edge[i]);
  }
  for (const _edge* edge : out) remove_first(vert->edge, vert->edge_num, edge);
  return out;
}

// A deleted vertex has no lists any more; without new ones it would take no face.
void revive(const StoreSet& stores, _vert* vert, const std::vector<_edge*>& edges) {
  vert->state = Mesh_R::kStateLive;
  give_list(vert->edge, vert->edge_cap, Mesh_R::kVertexListCapacity, stores.vertices.edge_mem);
  give_list(vert->face, vert->face_cap, Mesh_R::kVertexListCapacity, stores.vertices.face_mem);
  for (_edge* edge : edges) stores.vertices.insert_edge(vert, edge);
}

// The vertex shared by the first two open edges of a face; null when there are fewer.
_vert* spur_corner(const _face& face) {
  const _edge* first = nullptr;
  for (const _edge* edge : face.edge) {
    if (edge->face_num != 1) continue;
    if (first == nullptr) {
      first = edge;
      continue;
    }
    return touches(first, edge->vert[0]) ? edge->vert[0] : edge->vert[1];
  }
  return nullptr;
}

}  // namespace

_face* make_triangle(const StoreSet& stores, _vert* a, _vert* b, _vert* c, Vec3f normal) {
  _edge* const bc = free_edge(stores, b, c);
  if (bc == nullptr) return nullptr;
  _edge* const ac = free_edge(stores, a, c);
  if (ac == nullptr) return nullptr;
  _edge* const ab = free_edge(stores, a, b);
  if (ab == nullptr || has_face(stores.edges, bc, a, b, c)) return nullptr;
  _face* const face = stores.faces.insert_face(a, b, c, bc, ac, ab, normal);
  link_face(stores.vertices, stores.edges, face);
  return face;
}

void reject_face(const StoreSet& stores, _face* face, _vert* candidate) {
  std::vector<_edge*> faceless;
  if (candidate->face_num == 1) faceless = set_faceless_apart(candidate);
  stores.faces.dele_face(face);
  if (candidate->state == Mesh_R::kStateDeleted) revive(stores, candidate, faceless);
}

void delete_spurs(const StoreSet& stores, int first_face) {
  for (int i = first_face, n = stores.faces.get_facenum(); i < n; ++i) {
    _face* const face = stores.faces[i];
    if (face->state == Mesh_R::kStateDeleted) continue;
    const _vert* const corner = spur_corner(*face);
    if (corner != nullptr && corner->face_num > 1) stores.faces.dele_face(face);
  }
}

void refresh_normals(const StoreSet& stores, int first_face) {
  for (int i = first_face, n = stores.faces.get_facenum(); i < n; ++i) {
    _face* const face = stores.faces[i];
    if (face->state != Mesh_R::kStateDeleted) stores.faces.refresh_vector(face);
  }
}

}  // namespace scanmesh
