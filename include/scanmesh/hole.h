// Finding the rings of boundary edges of a mesh, and filling them.
#ifndef SCANMESH_HOLE_H
#define SCANMESH_HOLE_H

#include <cstdint>
#include <vector>

#include "scanmesh/export.h"
#include "scanmesh/mem_allo.h"
#include "scanmesh/stores.h"

namespace Mesh_M {
class Mesh;
}

namespace Mesh_R {

/// A ring of boundary edges, as found. Filling doesn't update it.
struct _hole {
  uint16_t state = 8;
  MemS::MemAllo<_edge*>* edges = nullptr;  // owned; the ring's edges in walking order
  _hole** slot = nullptr;                  // the ring's own cell in the hole list
};

/// Finds the rings of a mesh and fills them. Bound to three stores; a Mesh owns exactly one.
///
/// The hole list can hold empty cells, left by rings that were split or dropped: whoever reads it
/// tests for null. The lists of added records hold the last fill, which Revoked_last can undo until
/// the next fill commits it. Orientation repair of meanwhile stays as it is. Before inalize() and
/// after free() nothing is found or filled, and every cell is empty. One thread at a time; only
/// build_hole() runs threads of its own.
class SCANMESH_API Hole {
 public:
  MemS::MemAllo<_hole*> holes;
  int32_t edge_total = 0;  // edges pushed into any ring since the list was cleared
  Edge* edge_store = nullptr;
  Face* face_store = nullptr;
  Vertex* vert_store = nullptr;
  MemS::MemAllo<_vert*> added_verts;
  MemS::MemAllo<_edge*> added_edges;
  MemS::MemAllo<_face*> added_faces;
  _hole* last_hole = nullptr;  // the ring filled last; null when nothing can be revoked
  int32_t hole_count = 0;      // cells handed out, empty ones included

  Hole();
  ~Hole();
  Hole(const Hole&) = delete;
  Hole& operator=(const Hole&) = delete;

  /// Allocates the four lists. Frees nothing: call free() first on a used object.
  void inalize(int blockSize, int tableSize);
  /// Destroys all rings, frees the lists; the last fill can no longer be revoked.
  void free();
  /// Binds the finder to a store of edges.
  void getEdge(Edge* edges);
  /// Binds it to a store of faces.
  void getFace(Face* faces);
  /// Binds it to a store of vertices.
  void getVertex(Vertex* vertices);
  /// The ring of a cell; null for an empty one.
  _hole* operator[](int i) { return holes.block == nullptr ? nullptr : holes[i]; }

  /// All rings of the mesh. Scans the edges on as many threads as there are processors.
  void build_hole();
  /// The one ring through that edge.
  void build_hole(_edge* start);
  /// Rings of at most `limit` edges.
  void build_smallhole(int limit);
  /// The ring through the edge, walked over face fans. `reference` isn't read.
  void build_hole_temp(_edge* start, float* const reference);
  /// The same by another walk; `reference` isn't read either.
  void build_hole_temp_oval(_edge* start, float* const reference);
  /// The rim of a patch cut by selection, at most `maxEdges` long; `reference` is a point, x y z.
  void build_hole_trim(_edge* start, int maxEdges, float* const reference);

  /// One walk each; appends a new ring.
  _hole* gethole(_edge* start);
  /// The walk of build_smallhole.
  _hole* gethole_smallHole(_edge* start, int limit);
  /// A walk over face fans that ends at an edge beyond the reference, a point, x y z: the one walk
  /// of the fans that reads it. No builder uses it.
  _hole* gethole_temp(_edge* start, float* const reference);
  /// The walk of build_hole_temp and build_hole_temp_oval.
  _hole* gethole_temp_oval(_edge* start, float* const reference);
  /// The walk of build_hole_trim.
  _hole* gethole_trim(_edge* start, int maxEdges, float* const reference);

  /// Keeps a walked ring (true) or destroys it (false).
  bool check_hole_reasonable(_hole* hole);
  /// Cuts a ring at its junction vertices. `scratch` has room for the ring's edges.
  void check_hole_split(_edge** scratch, _hole* hole);
  /// Does nothing.
  void get_non_manifold(std::vector<_face*>& faces, _edge* edge);

  /// The vertices around a hole, `rings` deep, ring vertices first. The caller frees with delete[].
  _vert** getHoleVert(int& count, int hole, int rings);
  /// Every `stride`-th of them, from the first on.
  _vert** getHoleVert(int& count, int hole, int rings, int stride);
  /// Finds the edge of two vertices, or creates it and lists it under the added edges.
  void get_edge(_edge*& result, _vert* a, _vert* b);
  /// Writes the ring's boundary edges on the given faces to the front of its list.
  void remove_some_edge(int hole, _face** faces, int faceCount);

  /// Fills with a clipped wavefront, edge refinement and radial basis projection. `f`, half of the
  /// scan's spacing in mesh units, decides how many rows around the ring hold the projection and
  /// how much they are calmed before: rows near the ring move for good. `rings3` + 1 rows serve
  /// where that gives fewer than 120 vertices.
  void fill_Hole_No(float f, int hole, int rings3);
  /// Commits the last fill.
  void Determine_fill_hole();
  /// Undoes the last fill. Vertices that it moved around the hole go back to where they were.
  void Revoked_last();
  /// The added faces that aren't deleted: normal and three corners, 12 floats each. `n` counts
  /// floats; null, with `n` untouched, when nothing was added. The caller frees with delete[].
  float* return_add_face(int& n);
  /// The same as records; `n` counts faces; `faces` is untouched when nothing was added.
  void return_add_face(_face**& faces, int& n);
  /// Closes every ring of at most `limit` edges with a bare triangulation. A ring that visits a
  /// vertex twice stays open. It doesn't ask whether a face is there already: a triangle of three
  /// open edges can get a second one on its back.
  void auto_fill_small_hole(int limit);
  /// Triangulates one ring without new vertices; such a fill can't be revoked. Always 0, also where
  /// the ring was refused.
  int fillHolePolyline(MemS::MemAllo<_edge*>* ring);

  /// Adds a listed face; 1 when it did, 0 for a duplicate or a missing edge that mustn't be made.
  int add_face(_vert* a, _vert* b, _vert* c, int mayCreate);
  /// Adds an unlisted face.
  void add_new_face(_vert* a, _vert* b, _vert* c);
  /// Replaces `a` and `b` by `c`. `buffer` has a triple for every face of `a` and `b`.
  void MergeTwoV_One(_vert* a, _vert* b, _vert* c, _vert* (*buffer)[3]);
  /// Computes a relaxation and discards it.
  void adjustVertex(_vert** verts, int count, float lambda, int mu);
  /// One relaxation step of the first `n` added vertices; gives them and their new positions back.
  void laplacian_buffer(MemS::Point3v<float>* out, int& n, _vert** verts);

 private:
  friend class Mesh_M::Mesh;
  friend struct HoleAccess;  // tests of the private operations

  void fill_Hole_Num(float f, int hole, int rings3);
  void Minimum_angle_wavefront_method(_edge** edges, int n, bool checkAngleSum);
  int MinmumAngleWaveFront(_edge** edges, int n, float meanEdge, _vert** verts, int vertCount);
  void split_edge(double target);
  void calVertAngle(_vert* vert);
  double calMinAng(std::vector<_vert*>& list, int& index);
  bool calVertDistance(const MemS::Point3v<float>& point, int ignored,
                       const std::vector<_vert*>& list, double radius, int& index);
  MemS::Point3v<float> calNormal(const MemS::Point3v<float>& a, const MemS::Point3v<float>& b);

  // Where the last fill found the vertices around the hole that it moved.
  struct MovedVertex {
    _vert* vert;
    MemS::Point3v<float> from;
  };
  std::vector<MovedVertex> moved_;
};

}  // namespace Mesh_R

#endif  // SCANMESH_HOLE_H
