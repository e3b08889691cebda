// The octree that merges coincident corners while triangles are inserted.
#ifndef SCANMESH_VERTEX_OCTREE_H
#define SCANMESH_VERTEX_OCTREE_H

#include <cstdint>
#include <vector>

#include "scanmesh/export.h"
#include "scanmesh/geometry.h"
#include "scanmesh/mem_allo.h"
#include "scanmesh/stores.h"

namespace Mesh_M {

/// A cell. In a leaf `center` is the stored point itself.
struct oct_node {
  bool inner = false;
  bool unused = false;  // nothing reads it
  MemS::Point3v<float> center{0, 0, 0};
  float half = 0;  // half edge of the cell
  oct_node* parent = nullptr;
  oct_node** child = nullptr;     // eight cells, null in a leaf
  Mesh_R::_vert* vert = nullptr;  // the vertex of this point, null until it is made
};

/// What to do with a second point in a cell that is too small to split.
enum class OctreeMode : int { kAverage = 3, kBucket = 4 };

/// Welds points that differ by less than 0.0005 on each axis and reach the same cell. Near points
/// on two sides of a cell plane stay apart.
///
/// Cells with a single inner child aren't stored: `child` of an inner cell may lie several levels
/// below it, and the levels between are walked by arithmetic. What welds, and the order of cells in
/// a bucket, is as if every level were stored, but a file of wild coordinates can't make the tree
/// deep at the cost of memory. Behind the eight cells of an inner node stands a ninth: one of its
/// leaves.
class SCANMESH_API VertexOctree {
 public:
  MemS::Bounding_Box box{0, 0, 0, 0, 0, 0};
  MemS::MemAllo<oct_node> nodes;
  MemS::MemAllo<oct_node*> children;
  oct_node* root = nullptr;
  int32_t depth = 0;        // deepest level reached; never reset
  float min_half = 0.005f;  // cells with a smaller half edge aren't split

  VertexOctree() = default;
  ~VertexOctree();
  VertexOctree(const VertexOctree&) = delete;
  VertexOctree& operator=(const VertexOctree&) = delete;

  /// An empty root cell. What the octree held before is released.
  void inalize(const MemS::Point3v<float>& center, float half);
  /// Releases nodes and children.
  void free();
  /// The leaf that stands for the point: a new one, or the one it merges with. Null for a point
  /// that isn't finite, and before inalize.
  oct_node* insert(const MemS::Point3v<float>& point, OctreeMode mode);

 private:
  struct Cell;

  oct_node* descend(const MemS::Point3v<float>& point, OctreeMode mode);
  oct_node* new_leaf(oct_node* parent, float half, const MemS::Point3v<float>& point);
  oct_node** new_children();
  oct_node* add_to_bucket(oct_node* leaf, const MemS::Point3v<float>& point);
  oct_node* part(oct_node* parent, int slot, const Cell& cell, oct_node* resident,
                 const MemS::Point3v<float>& point);
  oct_node*& recent(const MemS::Point3v<float>& point);

  std::vector<oct_node*> recent_;  // leaves by a hash of their exact coordinates; a cache
};

}  // namespace Mesh_M

#endif  // SCANMESH_VERTEX_OCTREE_H
