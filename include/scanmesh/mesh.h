// One triangle mesh and the operations on it: the library's chief interface.
#ifndef SCANMESH_MESH_H
#define SCANMESH_MESH_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/hole.h"
#include "scanmesh/process_step.h"
#include "scanmesh/stores.h"
#include "scanmesh/vertex_octree.h"

namespace Mesh_M {

/// The spacing of a scan, mesh units.
struct mesh_resolution_param {
  float resolution;
  float resolution_fine;
  bool enabled;
};

/// A triangle mesh.
///
/// Expected order: construct; load, or inalize_oct and insert; inalize_mesh; run any operation;
/// read out; free or destroy. A mesh belongs to one thread of the application at a time; operations
/// start threads of their own and join them before they return. Arrays handed out are new and
/// belong to the caller, who frees them with delete[].
class SCANMESH_API Mesh {
 public:
  Mesh_R::Face face;
  Mesh_R::Vertex vertex;
  Mesh_R::Edge edge;
  Mesh_R::Hole hole;
  VertexOctree oct;
  MemS::Point3v<float> center;       // of the bounding box; unset until a loader or set_Center
  mesh_resolution_param resolution;  // unset until setResolutionParam
  ProcessStepCallback process_step;
  std::mutex search_lock;                        // taken by the threads of the face searches
  std::vector<Mesh_R::_face*> selected_faces;    // of the last face search
  std::vector<Mesh_R::_vert*> rim_vertices;      // of the last face search
  std::vector<Mesh_R::_vert*> ordered_vertices;  // of the last face search, by sequence number
  int32_t search_order = 0;                      // next sequence number of the face searches

  // ---- Life cycle -------------------------------------------------------------------------------

  Mesh();
  ~Mesh();
  Mesh(const Mesh&) = delete;
  Mesh& operator=(const Mesh&) = delete;

  /// Sets up the stores for a scan. What they held is lost, not released: call free() first.
  void inalize();
  /// The same with small blocks, for meshes made in passing.
  void submeshinalize();
  /// inalize(), then the vertex octree over a cube; `half` is half its edge.
  void inalize_oct(MemS::Point3v<float>& center, float half);
  /// The same with blocks for a small mesh.
  void inalize_oct_hole(MemS::Point3v<float>& center, float half);
  /// Drops the octree, then inlin_inalize_mesh().
  void inalize_mesh();
  /// Computes vertex normals, repairs the orientation, binds the hole finder. Keeps the octree.
  void inlin_inalize_mesh();
  /// Releases the three stores; the object can go through inalize() again.
  void free();
  /// Compaction of vertices, edges, faces: a last step before the mesh is read out.
  void sort_out_mem();
  void set_Center(MemS::Point3v<float> center);
  void setResolutionParam(const mesh_resolution_param& param);
  void setProcessStepCallback(ProcessStepCallback callback);
  ProcessStepCallback getProcessStepCallback();
  /// Does nothing; it stands for hosts that call it.
  void Memory_optimization(double&, int&, int&);

  // ---- Filling ----------------------------------------------------------------------------------

  /// Adds a triangle by coordinates, welding its corners. `normal` is replaced by the unit normal
  /// of the corners. Returns the number of the face; -1 for a degenerate triangle or one that isn't
  /// finite; 0 for a duplicate.
  int insert(MemS::Point3v<float>& a, MemS::Point3v<float>& b, MemS::Point3v<float>& c,
             MemS::Point3v<float>& normal);
  /// `kind` 6 sets kTagProtected on the face and its corners.
  int insert(MemS::Point3v<float>& a, MemS::Point3v<float>& b, MemS::Point3v<float>& c,
             MemS::Point3v<float>& normal, int kind);
  /// `fine` sets kTagFine on the face and its corners.
  int insert(MemS::Point3v<float>& a, MemS::Point3v<float>& b, MemS::Point3v<float>& c,
             MemS::Point3v<float>& normal, bool fine);
  /// Adds a triangle between vertices of this mesh; null when a face with these three exists.
  Mesh_R::_face* insert_face(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                             MemS::Point3v<float>& normal);
  /// The same, and clears the mark of each edge that it makes.
  Mesh_R::_face* insert_face2(Mesh_R::_vert* a, Mesh_R::_vert* b, Mesh_R::_vert* c,
                              MemS::Point3v<float>& normal);
  /// Builds the mesh from point_count x 3 floats and triangle_count x 3 indices into a fresh or
  /// freed object; triangles with an index out of range, and those too small to weld, are skipped.
  void rebuild(float* points, int point_count, int* triangles, int triangle_count);
  /// The same with a tag per point; small triangles are kept.
  void rebuild(float* points, int point_count, unsigned char* tags, int* triangles,
               int triangle_count);
  /// Applies the upper three rows of a 4 x 4 matrix, by rows, to points and normals.
  void transform(double* const matrix);

  // ---- Reading out ------------------------------------------------------------------------------

  /// Numbers the live vertices.
  void refresh_point_index();
  /// Numbers the live vertices; returns 0 to n - 1. Never null.
  int* get_point_index(int& n);
  /// Two vertex numbers per live edge; `n` counts integers. Needs get_point_index first.
  int* get_edge_index(int& n);
  /// Two vertex numbers per edge record whose face count isn't 2, deleted ones included; `n` counts
  /// pairs.
  int* get_boundary_index(int& n);
  /// Three vertex numbers per live face among every `step`-th; `faces` gets their records, a second
  /// array of the caller's. `n` counts integers.
  int* get_face_index(Mesh_R::_face**& faces, int& n, int step);
  /// Both ends of each edge of a ring, 6 floats per edge; `n` counts floats. Null for an empty
  /// cell.
  float* get_hole_index(int hole, int& n);
  /// Cells of the hole list, empty ones included.
  int get_hole_num();
  /// Position, or normal, x y z per live vertex; `n` counts vertices; null when there are none.
  float* getvert_poision(int& n);
  float* getvert_vector(int& n);
  int* getvert_flags(int& n);
  /// Positions in live order of the vertices with kTagFine (kTagProtected); null when there are
  /// none.
  int* getvert_fine(int& n);
  int* getvert_protected(int& n);
  float* getface_vector(int& n);
  /// Positions in live order of the faces with the tag on any corner; null when there are none.
  int* getface_fine(int& n);
  int* getface_prtotectded(int& n);
  /// Fills memory that the caller's pointers name: `points[3 k]` and `vectors[3 k]` are cells of
  /// which the first twelve bytes receive position and normal of the k-th live vertex, `flags[k]`
  /// names the integer that receives its flags. Before that, `*points`, `*vectors` and `*flags`
  /// receive new arrays. -1 when a pointer is null, else 0; `n` counts live vertices.
  int getvert_info(float** points, float** vectors, int** flags, int& n);

  // ---- Files ------------------------------------------------------------------------------------

  /// Does nothing and returns null: the caller opens the file and picks a reader.
  float* input_data(const char* path, std::string& message, bool flag);
  /// Reads binary STL from a stream opened in binary mode, at any position. 0 read, and the stream
  /// is closed; -1 not enough memory; -2 no facet count; -3 a count below 1 (stream still open for
  /// these two). Follow with inalize_mesh().
  int input_data(FILE* stream);
  /// Reads ASCII STL; false on any fault, with the mesh untouched. The stream stays open.
  bool input_data_ASCII(FILE* stream);
  /// Writes binary STL. A path that can't be opened writes "tex.stl" in the working directory.
  void output_STL(const char* path);

  // ---- Curvature --------------------------------------------------------------------------------

  /// Marks live vertices whose mean or Gaussian curvature exceeds `limit` in magnitude. Always 0.
  int markHighCurvature(const float& limit);
  /// Three rounds of moving every vertex to the mean of itself and its neighbours.
  void GaussianCurvatureLimit_Lap_filter();

  // ---- Holes ------------------------------------------------------------------------------------

  /// Finds all rings. Call destroy_hole() first when rings were built before.
  void build_hole();
  /// Finds the rings of at most `limit` edges.
  void build_smallhole(int limit);
  void destroy_hole();
  /// Fills a ring of the list; its cell must not be empty. `f` is half of the scan's spacing.
  void fill_hole_No(int hole, float f);
  /// Undoes the last fill.
  void Revoked_fill_hole();
  /// The faces that the last fill added, 12 floats each; see Hole::return_add_face.
  float* return_add_face_data(int& n);
  /// Finds and closes every ring of at most `limit` edges.
  void auto_fill_small_hole(int limit);

  // ---- Resolution -------------------------------------------------------------------------------

  /// Collapses edges by quadric error (Garland and Heckbert 1997) until at most `target` faces are
  /// left, and rebuilds the mesh: vertex order and all that isn't position are lost. Only one
  /// simplification may run at a time in a process.
  void Mesh_simplify(int target, bool);
  /// The run itself. A null target means 0, a null limit none; with a limit the error rules.
  void Mesh_Queue_Simplify(double* limit, int* target);
  /// The numbers of the three edges of the faces [first, last), at 3 i of `out`; a deleted face
  /// gets -1 in its first place only.
  void cal_face_eno(int* out, int first, int last);

 private:
  void bind_hole();
};

}  // namespace Mesh_M

#endif  // SCANMESH_MESH_H
