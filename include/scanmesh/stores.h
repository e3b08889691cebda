// The topological mesh: records of vertices, edges and faces that point at one another by raw
// address, and the stores that own them. Algorithms read and write the fields directly.
#ifndef SCANMESH_STORES_H
#define SCANMESH_STORES_H

#include <cstdint>
#include <cstdio>

#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/mem_allo.h"

namespace Mesh_R {

struct _edge;
struct _face;

/// Values of `state`. Its sign is a visit mark that every pass takes back before it ends.
enum : int16_t {
  kStateOnePass = 1,         // edge: walked into a ring; vertex: closed by faces all round
  kStateTaken = 2,           // collected by a neighbourhood search, or taken by a split-off ring
  kStateDeleted = 3,         // deleted: the one value that every loop over a store tests
  kStateLive = 8,            // default: live, untouched
  kStateHighCurvature = 12,  // vertex: stays fixed in smoothing and subdivision
};

/// Bits of `tag`, set by the application and carried by the library.
enum : uint8_t { kTagFine = 0x20, kTagProtected = 0x40 };

enum : int16_t { kVertexListCapacity = 8, kEdgeListCapacity = 2 };

/// A vertex. Its lists hold live records only and have no order that a caller may rely on.
/// A list lies on the heap if and only if its capacity exceeds the default; the destructor frees
/// exactly those. Copies are memberwise and share the lists.
struct _vert {
  MemS::Point3v<float> point;            // position, mesh units
  MemS::Point3v<float> vector{0, 0, 0};  // unit normal; zero until first computed
  _edge** edge = nullptr;                // the edges that touch this vertex
  _face** face = nullptr;                // the faces that touch this vertex
  float angle = 0;                       // 2 pi less the sum of the corner angles, radians
  int32_t index = 0;                     // number among the live vertices; stale after any change
  int32_t order = -1;                    // working number of the face searches
  bool searched = false;                 // working mark: within the radius of a search
  bool reached = false;                  // working mark: on the rim of a search
  uint8_t tag = 0;                       // kTagFine, kTagProtected, or the application's own bits
  int16_t edge_num = 0;
  int16_t face_num = 0;
  int16_t face_cap = kVertexListCapacity;
  int16_t edge_cap = kVertexListCapacity;
  int16_t state = kStateLive;
  int32_t flags = 0;  // a value for the caller

  _vert() {}
  _vert(const _vert&) = default;
  _vert& operator=(const _vert&) = default;
  ~_vert() {
    if (edge_cap > kVertexListCapacity) delete[] edge;
    if (face_cap > kVertexListCapacity) delete[] face;
  }
};

/// An edge. It has no direction: `vert` is the order in which it was first asked for. `face_num`
/// tells its kind: 1 boundary, 2 interior, 3 and more non-manifold.
struct _edge {
  _vert* vert[2] = {nullptr, nullptr};
  _face** face = nullptr;  // the faces on this edge
  int16_t face_num = 0;
  int16_t face_cap = kEdgeListCapacity;
  int16_t state = kStateLive;
  uint8_t mark = 0;  // cleared on some new edges; nothing reads it

  _edge() {}
  _edge(const _edge&) = default;
  _edge& operator=(const _edge&) = default;
  ~_edge() {
    if (face_cap > kEdgeListCapacity) delete[] face;
  }
};

/// A face with corners A, B, C, counter-clockwise seen from outside: (A - B) x (B - C) points the
/// way of `vector`. Which slot an edge stands in depends on what made the face: loaded, inserted
/// and cut faces have edge[i] opposite vert[i]; a patch and a small fill have AB, AC, BC; a
/// wavefront has AB, BC, AC. Orientation repair exchanges corners without the edges. So code that
/// needs the opposite edge compares ends.
struct _face {
  _vert* vert[3] = {nullptr, nullptr, nullptr};
  _edge* edge[3] = {nullptr, nullptr, nullptr};
  MemS::Point3v<float> vector{0, 0, 0};  // unit normal
  bool searched = false;                 // working mark of the radius searches
  uint8_t tag = 0;                       // as on the vertex; the library never reads it
  int16_t state = kStateLive;
};

class Face;

/// The vertices of a mesh, with the pools of their lists. Deleted records stay in the store, and in
/// get_vertnum(), until sort_out_mem().
class SCANMESH_API Vertex {
 public:
  MemS::MemAllo<_vert> records;
  double growth = 2.0;  // factor of a full list; the new capacity is truncated to 16 bits
  MemS::MemAllo<_edge*> edge_mem;
  MemS::MemAllo<_face*> face_mem;

  /// Sets up records and both pools, all with these sizes (the pools count list entries).
  void inalize(int block_size, int block_capacity);
  /// Destroys the records with their heap lists, then the pools.
  void free();

  /// A new vertex at the point, in no list yet.
  _vert* insert_vert(MemS::Point3v<float>& point);
  /// Appends the edge to both its ends.
  void insert_edge(_edge* edge);
  /// Appends the edge to one vertex; nothing happens for null arguments or a deleted vertex.
  void insert_edge(_vert* vert, _edge* edge);
  /// Appends the face to its three corners.
  void insert_face(_face* face);
  /// Appends the face to one vertex.
  void insert_face(_vert* vert, _face* face);
  /// First edge in the list of `a` that ends at `b`; null when there is none or `a` is null.
  _edge* find_edge(_vert* a, _vert* b);
  /// Number of the record in the store; 0 for null and for a pointer from elsewhere.
  int get_vert_no(_vert* vert);

  /// Marks the vertex deleted and nothing else.
  void dele_vert(_vert* vert);
  /// Removes the face from the vertex, and deletes the vertex when that was its last face.
  void dele_vert(_vert* vert, _face* face);
  /// Removes every entry of the face; the vertex stays live whatever is left.
  void dele_vert_nonmanifold(_vert* vert, _face* face);
  /// Drops the lists of a vertex and marks it deleted.
  void recover_mem(_vert* vert);
  /// Compaction: moves live records into the places of deleted ones. Invalidates numbers and may
  /// move any record; a last step before the mesh is read out. When more than half of the records
  /// are deleted, a live one can end up beyond the count, where no loop finds it: rebuild the mesh
  /// from its arrays instead.
  void sort_out_mem();

  /// Recomputes one vertex normal: the plain mean of the normals of its faces, normalised.
  void R_cal_vector(_vert* vert);
  /// Recomputes all of them on as many threads as there are processors.
  void R_cal_vector();
  /// Gaussian curvature by angle deficit over mixed area (Meyer, Desbrun, Schroeder, Barr 2003), or
  /// the bare deficit when `raw`. Null gives 0.
  double Cal_v_Gaussian_curvature(_vert* vert, bool raw);
  /// Writes to `out` the mean of the positions of the neighbours over edges that aren't deleted,
  /// and of the vertex itself when `self`. Nothing to average, or a null argument, leaves `out` as
  /// it is.
  void Lap_filter(_vert* vert, MemS::Point3v<float>* out, bool self);

  /// Writes position and normal of the live vertices as text, one line each, and closes the stream.
  /// A null stream is replaced by "tex.asc" in the working directory.
  void output(FILE* stream);

  /// A record by its number.
  _vert* operator[](int i) { return &records[i]; }
  /// Records, deleted ones included.
  int get_vertnum() { return records.size(); }
};

/// The edges of a mesh.
class SCANMESH_API Edge {
 public:
  MemS::MemAllo<_edge> records;
  double growth = 2.0;
  MemS::MemAllo<_face*> face_mem;

  /// Sets up records and pool, both with these sizes.
  void inalize(int block_size, int block_capacity);
  /// Destroys the records with their heap lists, then the pool.
  void free();

  /// A new edge between the two vertices, null when either is null. The vertices aren't touched:
  /// the caller calls Vertex::insert_edge next.
  _edge* insert_edge(_vert* a, _vert* b);
  /// Appends the face to one edge; nothing happens for null arguments or a deleted edge.
  void insert_face(_edge* edge, _face* face);
  /// Appends the face to its three edges, if it has all three.
  void insert_face(_face* face);
  /// The probe itself when some face on the edge has all its corners among the probe's three, null
  /// otherwise. Only `vert` of the probe counts; the face that was found is never returned.
  _face* find_face(_edge* edge, _face* probe);
  /// Number of the record in the store; 0 for null and for a pointer from elsewhere.
  int get_edge_no(_edge* edge);

  /// Removes the face from the edge; the last one deletes the edge and takes it out of its ends.
  void dele_edge(_edge* edge, _face* face);
  /// Removes the edge from the vertex's list.
  void dele_vert(_vert* vert, _edge* edge);
  /// Deletes every face on the edge.
  void delete_edge(_edge* edge, Face* faces);
  /// Drops the list of an edge and marks it deleted.
  void recover_mem(_edge* edge);
  /// Compaction, as of the vertices.
  void sort_out_mem();

  /// A record by its number.
  _edge* operator[](int i) { return &records[i]; }
  /// Records, deleted ones included.
  int get_edgenum() { return records.size(); }
};

/// The faces of a mesh, bound to the stores of their vertices and edges.
class SCANMESH_API Face {
 public:
  MemS::MemAllo<_face> records;
  Edge* edge_store = nullptr;
  Vertex* vert_store = nullptr;
  int32_t real_num = 0;  // live faces, counted along

  /// Sets up the records; real_num is left as it is.
  void inalize(Vertex* vertices, Edge* edges, int block_size, int block_capacity);
  /// Destroys the records.
  void free();

  /// A new face. No list is touched: the caller calls Vertex::insert_face and Edge::insert_face
  /// next.
  _face* insert_face(_vert* a, _vert* b, _vert* c, _edge* bc, _edge* ac, _edge* ab,
                     MemS::Point3v<float>& normal);
  /// The same with corners and edges in arrays, stored in the given order.
  _face* insert_face(_vert* const vert[3], _edge* const edge[3], MemS::Point3v<float>& normal);

  /// Deletes a face; the last face of an edge takes the edge along, the last of a vertex the
  /// vertex, with those of its edges that have no face.
  void dele_face(_face* face);
  /// The same, but the corners stay live.
  void dele_face_nonmanifoldvert(_face* face);
  /// Number of the record in the store; 0 for null and for a pointer from elsewhere.
  int get_face_no(_face* face);
  /// Counts the records that aren't deleted.
  int get_real_facenum();

  /// Recomputes one normal, and turns the face to the side of its vertex normals: `vector` and the
  /// corners, of which the first and the third change places. A face without area takes the normal
  /// of its second corner.
  void refresh_vector(_face* face);
  /// Makes the orientation consistent with the vertex normals, in at most six rounds after the
  /// first. Recomputes no face normal. The judges are the vertex normals, not the neighbours: at
  /// sharp features and thin walls, where these cancel, it turns faces of a mesh that was
  /// consistent.
  void check_vector();
  /// Compaction, as of the vertices.
  void sort_out_mem();

  /// Writes the live finite faces as binary STL and closes the stream. A null stream is replaced by
  /// "tex.stl" in the working directory.
  void output(FILE* stream);

  /// A record by its number.
  _face* operator[](int i) { return &records[i]; }
  /// Records, deleted ones included.
  int get_facenum() { return records.size(); }
};

}  // namespace Mesh_R

#endif  // SCANMESH_STORES_H
