// Making triangles on the stores of a reconstruction, and taking them away again.
#ifndef SCANMESH_PIVOTING_TRIANGLES_H
#define SCANMESH_PIVOTING_TRIANGLES_H

#include "core/vector_math.h"
#include "scanmesh/stores.h"

namespace scanmesh {

// `state` during a reconstruction.
enum : int16_t {
  kVertInner = 1,       // closed by faces all round: never a candidate again
  kVertFront = 9,       // an end of an edge with one face
  kVertLostFaces = 13,  // its faces went, its point is still wanted
  kEdgeGivenUp = 10,    // no ball found a vertex from this edge
};

// The stores that a reconstructor works on.
struct StoreSet {
  Mesh_R::Vertex& vertices;
  Mesh_R::Edge& edges;
  Mesh_R::Face& faces;
};

// The triangle of three vertices, entered everywhere. Null when an edge has two faces already or
// the triangle exists; edges are looked up or made in the order b-c, a-c, a-b until then, and those
// that were made stay, without a face.
Mesh_R::_face* make_triangle(const StoreSet& stores, Mesh_R::_vert* a, Mesh_R::_vert* b,
                             Mesh_R::_vert* c, Vec3f normal);

// Deletes a face that was just made on `candidate`, which stays or becomes available again.
void reject_face(const StoreSet& stores, Mesh_R::_face* face, Mesh_R::_vert* candidate);

// Deletes spurs from that number on: faces with two or three open edges, of which the first two
// meet at a vertex that other faces touch. One pass: a face that becomes a spur behind it stays.
void delete_spurs(const StoreSet& stores, int first_face);

// Final normals and orientation of the faces from that number on.
void refresh_normals(const StoreSet& stores, int first_face);

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_TRIANGLES_H
