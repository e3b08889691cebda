// The octree over oriented samples: two resolutions in one tree, markers, and the voxel field.
#ifndef SCANMESH_OCTREE_H
#define SCANMESH_OCTREE_H

#include <cstdint>
#include <functional>
#include <vector>

#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/octree_pool.h"
#include "scanmesh/process_step.h"

/// The eight octants of a cell; the letters are the signs of x, y, z of the child's centre against
/// the parent's (P at or above, N below).
enum class OctreeLeaves2 : int32_t { PPP, NPP, NPN, PPN, PNP, NNP, NNN, PNN };

namespace Mesh_Oct {

/// The eight corners of a cell, by the signs of x, y, z against its centre.
enum class OctTreeVoxel : int32_t { NPP, NPN, NNN, NNP, PPP, PPN, PNN, PNP };

/// A cell (slot 17) and its 26 neighbours of the same size, by the signs of their offsets (O none).
enum class OctreeLeaves_27_brother : int32_t {
  PPP,
  OPP,
  NPP,
  NPO,
  NPN,
  OPN,
  PPN,
  PPO,
  OPO,
  POP,
  OOP,
  NOP,
  NOO,
  NON,
  OON,
  PON,
  POO,
  OOO,
  PNP,
  ONP,
  NNP,
  NNO,
  NNN,
  ONN,
  PNN,
  PNO,
  ONO
};

}  // namespace Mesh_Oct

/// One node of any kind: interior node, sample leaf, marker, virtual voxel, or voxel vertex.
struct Oct_tree_Triangulation {
  uint8_t flag = 0;           // 1: a leaf with a sample, or a virtual voxel
  float coor[3] = {0, 0, 0};  // centre of an interior node's cube; a leaf's own sample position
  float half = 0;             // half edge of the cube; on a voxel vertex the field value
  void* data = nullptr;       // leaf, marker: normal, three floats that the caller keeps alive
  int16_t tag = 0;            // the caller's value
  int32_t status = -1;        // see OctreeStatus
  int32_t index = -1;         // place in the leaf list; -1 virtual voxel, -2 voxel vertex
  Oct_tree_Triangulation* link[8] = {};  // children by octant; a leaf's voxel vertices by corner;
                                         // the cells for which a vertex is that corner
  Oct_tree_Triangulation* parent = nullptr;
};

/// Values of Oct_tree_Triangulation::status.
enum OctreeStatus : int32_t {
  kOctOrdinary = -1,
  kOctBordersFiner = 3,
  kOctFineLeaf = 4,
  kOctFineInterior = 6,
  kOctMarker = 7
};

class Oct_tree_Tri;

namespace scanmesh {
class MarkerSurface;
}

/// What one worker of the voxel build works on. All blocks of a chunk share `planes` and
/// `brothers`; a place in them is a list position less the first block's `begin`.
struct Paralledl {
  Oct_tree_Tri* tree = nullptr;
  int32_t thread_count = 0;
  int32_t thread_id = 0;
  int32_t begin = 0;
  int32_t end = 0;
  float* planes = nullptr;                      // nx, ny, nz, d per voxel
  Oct_tree_Triangulation** brothers = nullptr;  // 27 per voxel
};

/// A pointer octree over oriented samples, made for reconstruction. The cube is fixed from the
/// start; each sample names the cell size that it wants.
///
/// Order of calls: oct_set_min_HalfEdge, oct_initialize, inalize_mark if there will be markers, any
/// mix of oct_insert and oct_insert_marker, Fill_marker, the readers, and then
/// oct_build_voxel_Architecture, after which the tree takes no more samples.
///
/// Points are three floats, in mesh units. Insertion is for one thread; searches and traversals may
/// run on many threads while nobody inserts. Copies are memberwise and share the blocks; no
/// destructor frees them, so oct_free and free_mark are explicit.
class SCANMESH_API Oct_tree_Tri {
 public:
  Oct_tree_Triangulation** node_blocks = nullptr;  // node pool
  int32_t depth = 0;       // deepest level that an insertion reached; the root's children are 2
  float min_HalfEdge = 0;  // ordinary cell half edge; requests below it are fine
  int32_t block_table_size = 1000;
  int32_t block_capacity = 100000;  // nodes per block
  int32_t block_slot = 0;
  int32_t block_index = 0;
  Bounding_Box box{0, 0, 0, 0, 0, 0};  // root cube
  float* counter_array = nullptr;      // contributions per voxel vertex, while the field is built
  int32_t counter_used = 0;
  int32_t counter_capacity = 0;
  int32_t fill_start = 0;  // leaf count when the marker filler began to add samples
  Oct_Pool<Point3fv> fill_normals;
  Oct_Pool<float> marker_radius;
  std::vector<float> marker_half;
  Oct_Pool<Oct_tree_Triangulation*> marker_nodes;
  int32_t levels = 0;                             // between the ordinary and the finest cells
  float fine_HalfEdge = 0;                        // min_HalfEdge over 2 to the power levels
  M_point_arry<Oct_tree_Triangulation**> leaves;  // sample leaves
  M_point_arry<Oct_tree_Triangulation**> voxels;  // virtual voxels

  /// Sets the ordinary cell size and the number of finer levels.
  void oct_set_min_HalfEdge(float half, int levels_between);
  /// Makes the root cube and the lists. `pointCount` sizes them; more samples are taken too.
  /// Releases nothing.
  void oct_initialize(float* centre, int pointCount, float half);
  /// Sets up the stores of markers.
  void inalize_mark();
  /// Releases node blocks, both lists and the counters.
  void oct_free();
  /// Releases the stores of markers.
  void free_mark();

  /// Adds a sample in the first cell on its way down whose half edge is at most `half`. The first
  /// sample of a cell wins; one that meets a marker's node takes it over, with the node's tag. A
  /// point outside the cube goes to the outermost cell on its side. `normal` (three floats) must
  /// outlive the tree. Always null.
  Oct_tree_Triangulation* oct_insert(float* point, void* normal, float half, short tag);
  /// Adds a marker, unless a sample or a cell of exactly this half edge is in its way.
  void oct_insert_marker(float* point, void* normal, float half, float radius);

  /// Closes the holes that markers left, after all samples and markers are in: new samples with tag
  /// 1 across each, on a surface fitted to the samples around it. Those are regularised with them:
  /// they move, and the normals in the caller's array are overwritten. A marker with too few
  /// samples around stays open. Runs on 2 threads per processor and one, at most 64; reports
  /// progress from them. (Carr et al. 2001.)
  void Fill_marker();
  /// Moves each sample of a list to the mean of its neighbourhood, in `iterations` rounds; only
  /// neighbours whose normals agree count. Null entries are passed over.
  void oct_Laplacian_Smooth(Oct_tree_Triangulation** list, int count, int iterations);
  /// Turns the tree into a signed field at the corners of its cells. Every sample leaf becomes a
  /// voxel, virtual voxels are added in the empty cells around each, and each corner gets the mean
  /// signed distance from the tangent planes of the samples whose cells touch it. Runs once; the
  /// tree takes no samples afterwards. Searches run on 4 threads per processor.
  void oct_build_voxel_Architecture();
  /// Finds the vertex at a corner of voxel `i` (a list position) among its neighbours and links it
  /// in; null if none of them has it. `block` is one of a chunk's blocks, with `brothers` filled.
  Oct_tree_Triangulation* oct_allocate_voxel_mem(Paralledl* block, int i,
                                                 Mesh_Oct::OctTreeVoxel corner);
  /// Makes the vertex at a corner of voxel `i`, whose cell is centred at `centre`, and links it to
  /// the cells around it. Null once the field is finished.
  Oct_tree_Triangulation* oct_allocate_voxel_mem(Paralledl* block, int i,
                                                 Mesh_Oct::OctTreeVoxel corner, float* centre);
  /// A node of the pool, in its default state.
  Oct_tree_Triangulation* oct_allocate_node();

  /// The sample leaf that holds the point, or the interior node or virtual voxel centred there
  /// (within 0.0005 on each axis). Null outside the cube, in empty cells and at markers.
  Oct_tree_Triangulation* oct_search(float* point);
  /// The 27 cells of the node's size around it, by OctreeLeaves_27_brother; a coarser leaf stands
  /// for each of the cells that it covers. Empty slots are null.
  void oct_search(Oct_tree_Triangulation* node, Oct_tree_Triangulation** out27);
  /// Appends the sample leaves below `node`, depth first in link order. With `reset` the count
  /// starts at 0. With `capacity` a full list is replaced by one twice as long (delete[], new[]);
  /// without it the list must be long enough.
  void oct_Traversal(Oct_tree_Triangulation* node, Oct_tree_Triangulation**& list, int& count,
                     bool reset, int* capacity);
  /// Position, normal, half edge and tag of every sample, in list order. The caller frees the four
  /// arrays with delete[].
  void oct_output_PointCloud(float*& points, float*& normals, int& count, float*& halves,
                             short*& tags);

  /// Which octant of a cube with this centre the point is in. On a plane it is on the upper side.
  OctreeLeaves2 oct_switch_direction(const float* point, const float* centre) const;
  /// The same by the numbering of corners.
  Mesh_Oct::OctTreeVoxel oct_switch_Voxel(const float* point, const float* centre) const;
  /// Which of the 27 cells around a cell the point is in. The lower walls belong to the cell.
  Mesh_Oct::OctreeLeaves_27_brother oct_swithc_bro_direct(const float* point, const float* centre,
                                                          float half) const;
  /// Position of a corner of a cell of the node's size about `centre`.
  void oct_calculate_voxel_locatioin(const Oct_tree_Triangulation* node,
                                     Mesh_Oct::OctTreeVoxel corner, float* out,
                                     const float* centre) const;
  /// Centre of the node's cell; a leaf's `coor` is elsewhere.
  void get_cor(float* out, const Oct_tree_Triangulation* node) const;
  /// Centre of the child cell with half edge `half`.
  void oct_add_CenterPoint(float* out, const float* parentCentre, OctreeLeaves2 octant,
                           float half) const;

  /// Replaced by one library-wide slot: all trees report through the callback set last.
  void setProcessStepCallback(std::function<int(qv::alg::ProcessStepInfoType&)> callback);

 private:
  friend struct OctreeAccess;  // tests of the private operations
  friend class scanmesh::MarkerSurface;

  struct FieldBuild;
  class Surroundings;
  enum class Ended { kNew, kExisting };
  struct Place {
    Oct_tree_Triangulation* node;
    Ended ended;
  };

  Oct_tree_Triangulation* oct_insert(float* point, void* normal, bool unused, float half);
  void oct_search(Oct_tree_Triangulation* node, Oct_tree_Triangulation** out8, OctreeLeaves2 side);
  void oct_cut(const Oct_tree_Triangulation* node, Bounding_Box& out, int kind) const;

  Oct_tree_Triangulation* root() const { return node_blocks[0]; }
  bool takes(float half) const;
  template <typename Stops>
  Place descend(const float* point, float half, int32_t interior_status, Stops stops);
  void become_sample(Oct_tree_Triangulation* node, const float* point, void* normal,
                     int32_t status);
  int verify_voxel() const;

  float* next_counter();
  Oct_tree_Triangulation* vertex_of(Oct_tree_Triangulation** cells, int corner);
  Oct_tree_Triangulation* new_vertex(Oct_tree_Triangulation** cells, int corner,
                                     const float* centre);
  void add_distances(const std::vector<Paralledl>& blocks);
  void finish_field(int first_block, int first_slot);
  void link_virtual_voxels(const FieldBuild& build);
  void build_field(FieldBuild& build);
  void become_virtual_voxel(Oct_tree_Triangulation* node, const float* point, void* normal,
                            float half);
  Oct_tree_Triangulation* insert_below(Oct_tree_Triangulation* parent, int octant,
                                       const float* point, void* normal, float half);

  bool cells_below_markers_ = false;  // something was inserted into a marker's cell
};

extern template class F_OctTree<Oct_tree_Triangulation*>;

#endif  // SCANMESH_OCTREE_H
