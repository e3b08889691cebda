// One triangle mesh and the operations on it: the library's chief interface.
#ifndef SCANMESH_MESH_H
#define SCANMESH_MESH_H

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/hole.h"
#include "scanmesh/mesh_records.h"
#include "scanmesh/process_step.h"
#include "scanmesh/stores.h"
#include "scanmesh/vertex_octree.h"

namespace Semap {
class Semaphore;
}
namespace qv {
namespace maac {
namespace xtirm_mesh {
class FBase;
}
}  // namespace maac
}  // namespace qv

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
  /// Computes vertex normals as means of the face normals as they stand, repairs the orientation,
  /// binds the hole finder. Keeps the octree. After a filter call refresh_normals() instead.
  void inlin_inalize_mesh();
  /// All normals anew, as after a filter that has moved vertices: those of the faces from their
  /// corners, then those of the vertices from the faces. The orientation stays as it is: no corners
  /// are exchanged, and a face whose corners run the other way gets the normal of that side. A face
  /// without area takes the normal of its second corner; one that isn't finite, and deleted
  /// records, keep theirs. As many threads as there are processors.
  void refresh_normals();
  /// Releases the three stores and the octree; the object can go through inalize() again.
  void free();
  /// Compaction of vertices, edges, faces: a last step before the mesh is read out. It can lose a
  /// live face when more than half is deleted, see Vertex::sort_out_mem().
  void sort_out_mem();
  /// Stores the centre of the bounding box.
  void set_Center(MemS::Point3v<float> center);
  /// Stores the spacing of the scan.
  void setResolutionParam(const mesh_resolution_param& param);
  /// Replaces the progress callback; empty for none.
  void setProcessStepCallback(ProcessStepCallback callback);
  /// A copy of the progress callback.
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
  /// freed object; triangles with an index out of range, and those of which two corners lie closer
  /// than 0.0005 on each axis, are skipped: in a mesh in metres that may be all.
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
  /// Position, x y z, per live vertex; `n` counts vertices; null when there are none.
  float* getvert_poision(int& n);
  /// The normals likewise.
  float* getvert_vector(int& n);
  /// `flags` of each live vertex.
  int* getvert_flags(int& n);
  /// Positions in live order of the vertices with kTagFine; null when there are none.
  int* getvert_fine(int& n);
  /// The same for kTagProtected.
  int* getvert_protected(int& n);
  /// Normal, x y z, per live face; `n` counts faces; null when there are none.
  float* getface_vector(int& n);
  /// Positions in live order of the faces with the tag on any corner; null when there are none.
  int* getface_fine(int& n);
  /// The same for kTagProtected.
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
  /// is closed; -1 not enough memory (the mesh is freed and can be loaded again; the stream is
  /// closed where the facets had been read by then); -2 no facet count; -3 a count below 1 (stream
  /// still open for these two). Follow with inalize_mesh().
  int input_data(FILE* stream);
  /// Reads ASCII STL; false on any fault, with the mesh untouched, or freed when memory ran out.
  /// The stream stays open.
  bool input_data_ASCII(FILE* stream);
  /// Reads a PLY file, see ply_reader_writer::PLY_Reader: every vertex in file order, nothing is
  /// welded; a face that names a vertex that isn't there is left out and counted in the reader's
  /// message. What the stores held is lost, not released. 0 read; -1 not enough memory; -2 out of
  /// memory on the way, the stores are freed; -3 refused, the mesh untouched. Follow with
  /// inalize_mesh() or inlin_inalize_mesh(). A narrow path is UTF-8.
  int input_ply_data(const wchar_t* path);
  int input_ply_data(const std::wstring& path);
  int input_ply_data(const char* path);
  /// The same, and returns the colours: red, green, blue from 0 to 1 per vertex, a new array of the
  /// caller's. Null for a file without colours and after any failure.
  float* input_ply(const wchar_t* path);
  float* input_ply(const std::wstring& path);
  float* input_ply(const char* path);

  /// Writes binary STL. The path is UTF-8; one that can't be opened writes "tex.stl" in the working
  /// directory.
  void output_STL(const char* path);

  // The text writers below report no failure. Numbers are printed as "%f" does, in every locale.
  // Hosts compare these files byte for byte, odd spacing included. All but output_XYZ overwrite
  // `index`, and leave the number of the record in it: call refresh_point_index() before the next
  // use.

  /// Writes Wavefront OBJ, indices from 1. Vertices that aren't finite are left out with their
  /// faces. A vertex normal that isn't finite becomes (0, 0, 1) in the mesh itself.
  void output_OBJ(const wchar_t* path);
  /// Writes ASCII PLY. Vertices that aren't finite are left out with their faces.
  void output_PLY(const wchar_t* path);
  /// Writes VRML 2.0 (the closing block twice), X3D 3.1, COLLADA 1.4.1, whatever the coordinates.
  void output_WRL(const char* path);
  void output_X3D(const char* path);
  void output_DAE(const char* path);
  /// Writes position and normal of the live vertices, one line each; leaves `index` alone.
  void output_XYZ(const char* path);
  /// Numbers the deleted vertices, then writes the format of the extension, which has the point in
  /// front and is all lower or all upper case: stl, dae, wrl, x3d, xyz. Nothing is written for
  /// another one, nor for obj and ply: call their writers. A null path does nothing at all.
  void output_data(const char* path, std::string& extension, bool);

  // ---- Curvature --------------------------------------------------------------------------------

  /// Marks live vertices whose mean or Gaussian curvature exceeds `limit` in magnitude, by state
  /// kStateHighCurvature; setting that to kStateLive takes a mark back. Always 0.
  int markHighCurvature(const float& limit);
  /// Three rounds of moving every vertex to the mean of itself and its neighbours.
  void GaussianCurvatureLimit_Lap_filter();

  // ---- Smoothing --------------------------------------------------------------------------------
  // Filters compute every new position from the old ones before they write any.

  /// Strength of the filters that know four of them; any other value makes them do nothing.
  enum smooth_level : int {
    smooth_weak = 0,
    smooth_medium = 1,
    smooth_strong = 2,
    smooth_strongest = 3
  };
  /// The kind of sanding; any other value does nothing.
  enum _sandpaper_method : int { sandpaper_average = 0 };

  /// Taubin smoothing with uniform weights, over all records: `iterations` pairs of steps 0.5 and
  /// -0.53 (Taubin 1995). Deleted edges pull too; a vertex without edges becomes NaN. Refreshes no
  /// normal, reports nothing, runs on the calling thread.
  void meshSmooth(int iterations);
  /// Taubin smoothing of the vertices on boundary and non-manifold edges, ten iterations with steps
  /// 0.5 and -0.515: a vertex with two such edges moves along them, one with any other number
  /// stays. Reports one step in two. One task per processor. Refreshes no normal.
  void Mesh_Taubin_Smooth_Border();
  /// One worker's share of a cotangent step: writes the new position of `(*verts)[i]` to
  /// `(*out)[i]` for i in [begin, end). Both arrays are the caller's and as long as that.
  void Taubin_Smooth_Border_Thread(std::vector<MemS::Point3v<float>>* out,
                                   std::vector<Mesh_R::_vert*>* verts, int begin, int end,
                                   double lambda);
  /// The same for the records [begin, end) of the vertex store, `out` being indexed by record.
  /// Raises std::out_of_range when the range goes past the end of `out`.
  void Taubin_Smooth_Thread(std::vector<MemS::Point3v<float>>* out, int begin, int end,
                            double lambda);
  /// Five rounds of averaging, with step 0.8, around the faces whose mean edge length lies strictly
  /// between lo = levels x size / 2^levels and (lo + size) / 2. `size` in mesh units; `levels`
  /// below 2 does nothing. Reports each round.
  void borderSmoothing(float size, int levels);
  /// Feature-preserving smoothing: filters the face normals, then moves the vertices to fit them;
  /// vertices of high curvature take a Taubin pair instead. `level` 1 to 6 picks a preset; with 0
  /// `value` does, weaker the larger it is; others take the defaults. `flag` makes it a pure Taubin
  /// smoother. Reports each iteration and the end, and refreshes all normals. 1.5 workers per
  /// processor. (After Taubin 1995, and normal filtering as in Sun, Rosin, Martin, Langbein 2007.)
  void Fast_Eletric_Filter(int level, float value, bool flag);
  /// The strongest preset of it that keeps edges sharp.
  void featureSharpening();
  /// Bilateral filtering of the face normals, then of the vertices to fit them (Zheng, Fu, Au, Tai
  /// 2011). Vertices of state kStateHighCurvature stay; a vertex that would get a position that
  /// isn't finite is deleted. Reports each iteration; refreshes no normal, so that the filtered
  /// ones can be seen. 1.5 workers per processor.
  void bilateralNormalde(smooth_level level);
  /// Several rounds of thresholded normal filtering and vertex moves (Sun, Rosin, Martin, Langbein
  /// 2007). A later round starts from the filtered normals. Otherwise as bilateralNormalde, but
  /// never deletes.
  void Two_Step_Smooth(smooth_level level);
  /// Sands down one vertex: `level` + 1 times, the live vertex whose `index` is `ids[0]` moves to
  /// the mean of itself and its neighbours; then its normals are refreshed, and its position and
  /// normal are written to the first entry of `result`, which has at least `slot` + 1 entries when
  /// it had fewer than `slot`. `done`, sized here when empty, remembers the ids; a second call with
  /// the same id does nothing. Call refresh_point_index() first.
  void sandpaper(_sandpaper_method method, smooth_level level, std::vector<int>& ids, int slot,
                 std::vector<std::pair<float[3], float[3]>>& result, std::vector<bool>& done);

  /// Levels small spikes and pits, by moves that make the curvature around calmer, and rebuilds the
  /// mesh: record pointers, vertex order and all that isn't position are lost. `level` from 0 to
  /// 100, the more aggressive the higher; above 100 nothing happens. Boundary vertices stay. One
  /// thread.
  void remove_spikes_new(int level);
  /// The same, beginning with the listed vertices only; their pointers are invalid afterwards.
  void remove_spikes_new(int level, std::vector<Mesh_R::_vert*>& verts);

  // ---- Holes ------------------------------------------------------------------------------------

  /// Finds all rings. Call destroy_hole() first when rings were built before.
  void build_hole();
  /// Finds the rings of at most `limit` edges.
  void build_smallhole(int limit);
  /// Frees the rings; the last fill can no longer be revoked.
  void destroy_hole();
  /// Fills a ring of the list; an empty cell does nothing. The patch takes its edge length from the
  /// ring; `f`, half of the scan's spacing, only decides how many rows around it get unit normals.
  /// A ring that visits a vertex twice is left open without a word: `face.real_num` stays.
  void fill_hole_No(int hole, float f);
  /// Undoes the last fill. Faces that orientation repair has turned meanwhile stay turned.
  void Revoked_fill_hole();
  /// The faces that the last fill added, 12 floats each; see Hole::return_add_face.
  float* return_add_face_data(int& n);
  /// Finds and closes every ring of at most `limit` edges; see Hole::auto_fill_small_hole().
  void auto_fill_small_hole(int limit);

  // ---- Resolution -------------------------------------------------------------------------------

  /// Collapses edges by quadric error (Garland and Heckbert 1997) until at most `target` faces are
  /// left, nothing more may collapse, or 10,000 iterations are over, and rebuilds the mesh: vertex
  /// order and all that isn't position are lost, and so are faces with two corners closer than
  /// 0.0005 on each axis, so that a closed mesh with such edges can open. Reports each iteration.
  void Mesh_simplify(int target, bool);
  /// The run itself. A null target means 0, a null limit none; with a limit the error rules.
  void Mesh_Queue_Simplify(double* limit, int* target);
  /// The numbers of the three edges of the faces [first, last), at 3 i of `out`; a deleted face
  /// gets -1 in its first place only.
  void cal_face_eno(int* out, int first, int last);
  /// Flips edges so that the surface bends less (Dyn, Hormann, Kim, Levin 2001), in 5 to 12 passes,
  /// more while the flips of a pass grow in number. Returns the number of flips; reports each pass.
  int Mesh_Optimization();
  /// What flipping the edge would gain; above 0 the surface bends less after it. -1 when it can't
  /// be flipped: not exactly two faces on it and on each of the four edges around, or an end with
  /// fewer than four edges.
  double Mesh_Swap_Value(const fmx::edge_area& area) const;
  /// The same, with the neighbourhood taken from the edge.
  double Mesh_Swap_Value(Mesh_R::_edge* edge) const;
  /// Flips the edge; false, with nothing done, for an `invalid` one.
  bool Mesh_Swap_Edge(const fmx::edge_area& area);
  /// How much the edge w1 - w2 bends between the triangles with w3 and with w4: its length times
  /// the angle between the normals, radians.
  double Mesh_V(Mesh_R::_vert* w1, Mesh_R::_vert* w2, Mesh_R::_vert* w3, Mesh_R::_vert* w4) const;
  /// Collapses edges shorter than 0.55 of the scan's resolution, of the fine one for edges with
  /// kTagFine where that is enabled, to their middle; then removes needles at tips and at vertices
  /// of three faces. Call setResolutionParam() first.
  void collapse_short_edges();
  /// The first half of one Loop subdivision: four facets for each face, on as many threads as there
  /// are processors, in an order that depends on timing. Vertices of state kStateHighCurvature
  /// stay. Facets that aren't finite are left out, of the box too. The caller frees `faces`. All
  /// zero when memory doesn't suffice, or without faces.
  fmx::sub_mid Mesh_loop_subdividion_step1();
  /// The second half: makes `target` of the facets; this mesh may have been freed. What the target
  /// held is lost, not released. 0; -1 or -2 when memory doesn't suffice, -3 without facets, -4
  /// when building failed. A box without bounds is taken anew from the facets that are finite. The
  /// facets stay with the caller.
  int Mesh_loop_subdividion_step2(Mesh*& target, fmx::sub_mid& soup);
  /// The same without any check; always 0.
  int Mesh_loop_subdividion_step3(Mesh*& target, fmx::sub_mid& soup);

  // ---- Undo -------------------------------------------------------------------------------------

  /// Copies the whole mesh into a new record. Doubled faces and those too small to weld are lost.
  void build_backup(_backup*& out);
  /// Restores the mesh and frees the record with its arrays. Tags, flags and numbers don't survive.
  void revoke_backup(_backup* record);
  /// Copies faces and their corners into a new record, before they are deleted.
  obj_triangle* storage_delFace(Mesh_R::_face** faces, int count);
  /// Deletes the faces.
  void _dele_triangle(Mesh_R::_face** faces, int count);
  /// Puts the faces of a record back and frees it. Corners that went come back as new vertices;
  /// call inlin_inalize_mesh() where orientation was repaired meanwhile.
  void Revoked_triangle(obj_triangle* record);
  /// Cuts the faces out and closes the rings that are left, where shorter than the selection.
  /// `added` receives the new faces, an array of the caller's; `half_spacing` is half of the scan's
  /// spacing. Null, with nothing changed, without faces or for more than a quarter of the mesh.
  obj_triangle* remove_feature(Mesh_R::_face** faces, int count, Mesh_R::_face**& added,
                               int& added_count, float half_spacing);
  /// Takes remove_feature back and frees the record; `added` stays the caller's. A null record does
  /// nothing.
  void Revoked_removefeature(obj_triangle* record, Mesh_R::_face** added, int added_count);

  // ---- Repair -----------------------------------------------------------------------------------

  /// The faces of all shells with fewer faces than half a percent of the records, shell by shell; a
  /// shell hangs together across edges with exactly two faces. `faces` is a new array of the
  /// caller's.
  void open_manifold(Mesh_R::_face**& faces, int& n);
  /// Appends the faces of the shells with fewer faces than that and than `limit`; returns how many
  /// `faces` holds then. Deleted records end in state -3: set them back to kStateDeleted before
  /// anything else, which would take them for live. One thread per processor at the end.
  int open_manifold_slider(std::vector<Mesh_R::_face*>& faces, const int& limit);
  /// Appends the shells within an array of n faces to `groups`, as indices into it, and arranges
  /// them. Returns the number of clusters. A neighbour outside the array counts as index 0 and
  /// keeps its mark.
  int open_manifold_slider(Mesh_R::_face** faces, const int& n, ClusterGroup<int>& groups);
  /// Multiplies the coordinates: all for axis 0, x, y or z alone for 1, 2, 3. Normals stay. One
  /// task per processor.
  void temperature_compensation_scaling(float factor, int axis);

  // ---- Selection --------------------------------------------------------------------------------

  /// How flat an area has to be for a selection to grow over it.
  enum choose_mode : int {
    choose_smooth = 0,  // normals of neighbours less than 3 degrees apart
    choose_flat = 1     // less than half a degree
  };

  /// Grows a selection over its neighbours across edges, as long as the normals of two neighbours
  /// are less than the mode's angle apart; a face that was rejected once stays out. `faces` (n
  /// faces, new[]) is freed and replaced by a new array of the caller's. Nothing happens for n < 1.
  void angle_mode(Mesh_R::_face**& faces, int& n, choose_mode mode);
  /// The length of the rim of a selection, mesh units: of edges with one face, and of those of
  /// whose first two faces one is selected. Lengths that aren't numbers are left out.
  void cal_choose_length(std::vector<Mesh_R::_face*> faces, double& length);

  // ---- Trimming ---------------------------------------------------------------------------------
  // Openings as a tool cuts them. First the faces on the tool are removed and the place is filled
  // anew, then the faces across the curve are cut exactly along it, as seen along the tool's axis.
  // Only vertices within 3 units of the tool's plane, and not facing away from it, belong to an
  // opening. Where the coarse cut leaves no closed rim (at the mesh's own border), it is taken back
  // and the opening is left out. `spacing` is that of the scan. `centres`, `normals`, `dirs`: 3
  // floats per opening, normals and dirs of unit length; sizes: one float per opening. `wall` adds
  // a wall of that `depth` against the normal; one that is negative or not finite is refused, and
  // the curve isn't cut. Openings are cut one after the other; the searches run 1.5 tasks per
  // processor, the cut along the curve eight. The list of rings is lost.

  /// One circle, cut at `radius` - 2.0; the search reaches `radius` around `tool`, a vertex of the
  /// caller's with the centre as its point and the axis as its vector. The curve is cut even where
  /// the coarse cut was refused.
  void trimWithCircle(const float& radius, const float& spacing, Mesh_R::_vert* tool);
  /// Circles of `trimRadii`, below 1.4 only the coarse cut; the searches reach `searchRadii`, which
  /// should be larger by an edge length at least. Prints a line for an opening that is left out.
  /// Without depth and wall: 1.0 and none.
  void trimWithCircle(const std::vector<float>& trimRadii, const std::vector<float>& searchRadii,
                      const float& spacing, const std::vector<float>& centres,
                      const std::vector<float>& normals);
  void trimWithCircle(const std::vector<float>& trimRadii, const std::vector<float>& searchRadii,
                      const float& spacing, const std::vector<float>& centres,
                      const std::vector<float>& normals, float depth, bool wall);
  /// Slots, 2 `a` long along their `dirs` and 2 `b` wide with round ends. The searches reach
  /// `b` + margin along `dirs` and `a` + margin across, with a margin of `c` - `a`, at least 0.1:
  /// take `c` = 2 `a` - `b` and an edge length. An `a` below 2.0 leaves it at the coarse cut.
  void trimWithOval(const std::vector<float>& a, const std::vector<float>& b,
                    const std::vector<float>& c, const float& spacing,
                    const std::vector<float>& centres, const std::vector<float>& normals,
                    const std::vector<float>& dirs);
  void trimWithOval(const std::vector<float>& a, const std::vector<float>& b,
                    const std::vector<float>& c, const float& spacing,
                    const std::vector<float>& centres, const std::vector<float>& normals,
                    const std::vector<float>& dirs, float depth, bool wall);
  /// Rectangles, 2 `a` along their `dirs` and 2 `b` across; the search as for slots. A `b`
  /// below 1.4 leaves it at the coarse cut.
  void trimWithRectangle(const std::vector<float>& a, const std::vector<float>& b,
                         const std::vector<float>& c, const float& spacing,
                         const std::vector<float>& centres, const std::vector<float>& normals,
                         const std::vector<float>& dirs, float depth, bool wall);

 private:
  friend struct MeshAccess;  // tests of the private operations

  void bind_hole();
  void Mesh_loop_subdividion_thread(fmx::stl_face* out, int* count, std::atomic_flag* flag,
                                    int first, int last, MemS::Bounding_Box* box);
  void temperature_compensation_scaling_thread(int first, int last, float factor, int axis);
  Mesh_R::_vert* NextVert(Mesh_R::_vert* v, Mesh_R::_edge*& edge, Mesh_R::_face*& face);
  Mesh_R::_edge* Mesh_Border_Add_Point(Mesh_R::_edge* edge, Mesh_R::_vert* v,
                                       MemS::Point3v<float> p);
  void laplace(std::vector<Mesh_R::_vert*>& verts, int iterations, double lambda);
  void Mesh_Taubin_Smooth_Area(std::vector<Mesh_R::_vert*>& verts, int iterations);
  void tabBorder(short value);
  MemS::Point3v<float> Swooth_Filt(Mesh_R::_edge*, Mesh_R::_edge*, Mesh_R::_vert* v);
  void flashNorm(std::vector<Mesh_R::_vert*>& verts);
  void func_Fast_Eletric_Filter(int* begin, int* end, Semap::Semaphore* toWorker,
                                Semap::Semaphore* toMain, int level, float value, bool flag);
  void remove_spikes_new_private(int level, std::vector<Mesh_R::_vert*>& verts);

  // Searches around a tool, a vertex outside the mesh: its point is the centre, its vector the
  // axis.
  void searchThread(Mesh_R::_vert* tool, float radius, int first, int last);
  void searchRausFaces(float radius, Mesh_R::_vert* tool);
  int searchRadiusFaces(float radius, float spacing, Mesh_R::_vert* tool);
  void searchOvalThread(const Mesh_R::_vert* tool, const float& a, const float& b, const float& c,
                        const float* dir, const int& first, const int& last, bool cut);
  int searchOvalFaces(float a, float b, float c, const float* dir, Mesh_R::_vert* tool,
                      const float& spacing, bool cut);
  void searchFaces(std::vector<float>& points, int& pointCount, std::vector<float>& normals,
                   std::vector<int>& triangles, int& triangleCount);
  void modifyFaces(const std::vector<float>& corners, const int& cornerCount,
                   const std::vector<int>& parents, const std::vector<float>& normals,
                   const std::vector<int>& deleted, const int& deletedCount);
  int replace_by_patch(float spacing, Mesh_R::_vert* tool);
  bool fill_rim(float spacing, Mesh_R::_vert* tool);
  bool select_slot(float a, float b, float c, const float* dir, Mesh_R::_vert* tool,
                   const float& spacing);
  void cut_selection(qv::maac::xtirm_mesh::FBase& shape, float depth, bool wall);
};

}  // namespace Mesh_M

#endif  // SCANMESH_MESH_H
