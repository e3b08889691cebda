// The front of the octree pipeline: oriented samples in, a triangle soup out.
#ifndef SCANMESH_MARCHING_H
#define SCANMESH_MARCHING_H

#include <cstdint>
#include <functional>

#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/octree.h"
#include "scanmesh/process_step.h"

/// One facet, laid out as an STL record without its attribute word.
struct T_F {
  Point3fv normal;
  Point3fv vertex[3];
};

static_assert(sizeof(T_F) == 12 * sizeof(float), "hosts copy runs of facets");

/// Reconstructs a surface from oriented samples of one or two resolutions, with round marker holes
/// closed on the way.
///
/// Order of calls: inalize, inalize_mark if markers will follow, insert_data per sample,
/// insert_marker per marker, Fill_marker, output_Point_data if the samples are wanted back,
/// mc_triangulation, mc_output_data. The tree is gone after mc_triangulation and the facets after
/// mc_output_data. Points and normals are three floats, in mesh units. Copies share the blocks of
/// the tree and of the facets. (Marching cubes: Lorensen and Cline 1987.)
class SCANMESH_API MC_Triangulation {
 public:
  T_F** facet_blocks = nullptr;  // 1000 blocks of 100000 facets at most
  int32_t facet_slot = 0;
  int32_t facet_block = 0;
  Oct_tree_Tri tree;

  /// The cube about `centre` with half edge `half`; `min_HalfEdge` is half of an ordinary cell's
  /// edge, `levels` says how many times it is halved down to the finest. `pointCount` sizes the
  /// lists.
  void inalize(float* centre, int pointCount, float half, int levels, float min_HalfEdge);
  /// Sets up the stores of markers.
  void inalize_mark();
  /// One sample; see Oct_tree_Tri::oct_insert. `tag` is cut to 16 bits. The normal is read from now
  /// until mc_triangulation has run, and Fill_marker may write it. A sample whose position or
  /// normal isn't finite is left out.
  void insert_data(float* point, float* normal, float half, int tag);
  /// One marker: sample spacing `half` around it, radius of the hole.
  void insert_marker(float* point, void* normal, float half, float radius);
  /// Closes the marker holes; see Oct_tree_Tri::Fill_marker.
  void Fill_marker();
  /// The samples as they are now. The caller frees the four arrays with delete[].
  void output_Point_data(float*& points, float*& normals, int& count, float*& halves, short*& tags);
  /// Builds the field (on 4 threads per processor), makes the facets and releases the tree.
  void mc_triangulation();
  /// Writes the facets as binary STL, coordinates cut to three decimals, and releases them. The
  /// count in the header stands below the number of facets by 1, or by 100001 where there is more
  /// than one block. Null for "Testdif.stl" in the working directory. A path that can't be opened
  /// leaves the facets where they are.
  void mc_output_data(const char* file);
  /// Rounds a point to three decimals, negative coordinates towards zero.
  void cut_off(float* point);
  /// One library-wide slot.
  void setProcessStepCallback(std::function<int(qv::alg::ProcessStepInfoType&)> callback);

  /// The facets of a list of voxels.
  void deal_Tri(M_point_arry<Oct_tree_Triangulation**>& list);
  /// Joins a coarse cell to its finer neighbours: a fan from its sample to the rim that they leave
  /// on a grid of `size` x `size` points, `step` apart. Room: `list` 10000 nodes, `loop` 5 x size.
  void deal_mesh_Split(Oct_tree_Triangulation* v, unsigned char its_case, int size, float step,
                       Point3fv** grid, Oct_tree_Triangulation** list, bool** used,
                       Point3fv** loop);
  /// Adds the triangle of three cell edges; -1 when a corner is missing, otherwise 0.
  int mc_add_triangle(int e0, int e1, int e2, Oct_tree_Triangulation* node);
  /// The same into `facet`, without pull and orientation.
  int mc_add_triangle(int e0, int e1, int e2, Oct_tree_Triangulation* node, T_F* facet);
  /// Adds a facet of three points; -1 when one is null, otherwise 0.
  int mc_add_triangle(Point3fv* a, Point3fv* b, Point3fv* c, Oct_tree_Triangulation* node);
  /// Adds the up to five triangles of a case, those with a missing corner left out.
  void mc_add_triangle_with_4_RealVoxel(unsigned char its_case, Oct_tree_Triangulation* node);

  /// The next facet of the pool; null beyond the last of 1000 blocks.
  T_F* allocate_mem();
  /// Releases all facets.
  void free_mem();

 private:
  void add_facet(const T_F& facet, const Oct_tree_Triangulation* node);
};

#endif  // SCANMESH_MARCHING_H
