#include "scanmesh/vertex_octree.h"

#include <algorithm>

#include "core/point_hash.h"
#include "core/vector_math.h"

namespace Mesh_M {

using scanmesh::same_point;
using scanmesh::Vec3f;

namespace {

#if defined(FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION)
constexpr int kNodeBlock = 1000;  // a fuzzer makes hundreds of trees a second
constexpr int kRecentBits = 8;
#else
constexpr int kNodeBlock = 100000;
constexpr int kRecentBits = 16;
#endif
constexpr int kNodeTable = 1000;
constexpr int kCells = 8;

// Slot of a child by which side of the centre a point lies on: z below 4, y below 2, x below 1.
constexpr int kSlot[kCells] = {0, 1, 4, 5, 3, 2, 7, 6};
// Where the centre of the child in a slot lies.
constexpr float kSign[kCells][3] = {{1, 1, 1},  {-1, 1, 1},  {-1, 1, -1},  {1, 1, -1},
                                    {1, -1, 1}, {-1, -1, 1}, {-1, -1, -1}, {1, -1, -1}};

// A point on the plane counts as the upper side.
int slot_of(const Vec3f& point, const Vec3f& center) {
  const int bits =
      (point.z >= center.z ? 0 : 4) | (point.y >= center.y ? 0 : 2) | (point.x >= center.x ? 0 : 1);
  return kSlot[bits];
}

Vec3f child_center(const Vec3f& center, int slot, float half) {
  return {center.x + kSign[slot][0] * half, center.y + kSign[slot][1] * half,
          center.z + kSign[slot][2] * half};
}

// A point of which the way down is that of the node.
const Vec3f& guide_of(const oct_node* node) {
  return node->inner ? node->child[kCells]->center : node->center;
}

}  // namespace

// A cell on the way down, stored or not.
struct VertexOctree::Cell {
  Vec3f center;
  float half;
  int level;

  Cell child(int slot) const {
    const float smaller = half * 0.5F;
    return {child_center(center, slot, smaller), smaller, level + 1};
  }
  // Below the resolution of the coordinates the centre no longer moves: every further level would
  // sort all points the same way.
  bool frozen_from(const Cell& parent) const { return same_point(center, parent.center); }
};

VertexOctree::~VertexOctree() {
  free();
}

void VertexOctree::free() {
  nodes.free();
  children.free();
  root = nullptr;
  recent_.clear();
  recent_.shrink_to_fit();
}

void VertexOctree::inalize(const MemS::Point3v<float>& center, float half) {
  free();
  nodes.inalize(kNodeBlock, kNodeTable);
  children.inalize(kNodeBlock, kNodeTable);
  root = &nodes.allocate_mem();
  root->inner = true;
  root->center = center;
  root->half = half;
  root->child = new_children();
  box = {center.x + half, center.x - half, center.y + half,
         center.y - half, center.z + half, center.z - half};
  recent_.assign(std::size_t{1} << kRecentBits, nullptr);
}

oct_node** VertexOctree::new_children() {
  oct_node** const cells = children.allocate_mem(kCells + 1);
  std::fill_n(cells, kCells + 1, nullptr);
  return cells;
}

oct_node* VertexOctree::new_leaf(oct_node* parent, float half, const MemS::Point3v<float>& point) {
  oct_node* const leaf = &nodes.allocate_mem();
  leaf->center = point;
  leaf->half = half;
  leaf->parent = parent;
  return leaf;
}

oct_node*& VertexOctree::recent(const MemS::Point3v<float>& point) {
  return recent_[scanmesh::point_hash(point) >> (64 - kRecentBits)];
}

oct_node* VertexOctree::insert(const MemS::Point3v<float>& point, OctreeMode mode) {
  if (root == nullptr) return nullptr;
  oct_node*& known = recent(point);
  if (known != nullptr && same_point(known->center, point)) return known;
  if (!scanmesh::finite(point)) return nullptr;
  oct_node* const leaf = descend(point, mode);
  // Only a leaf that stores exactly this point answers for it: the way down is the same then.
  if (same_point(leaf->center, point)) known = leaf;
  return leaf;
}

// The cell is too small to split: up to eight points live in it side by side, further ones in the
// first of them, and so on.
oct_node* VertexOctree::add_to_bucket(oct_node* leaf, const MemS::Point3v<float>& point) {
  for (;; leaf = leaf->child[0]) {
    if (leaf->child == nullptr) leaf->child = new_children();
    for (int i = 0; i < kCells; ++i) {
      oct_node*& cell = leaf->child[i];
      if (cell == nullptr) return cell = new_leaf(leaf, leaf->half * 0.5F, point);
      if (scanmesh::welds(cell->center, point)) return cell;
    }
  }
}

// Makes the inner node at which the point parts from what lives in the slot, a leaf or a deeper
// inner node, and puts both into it.
oct_node* VertexOctree::part(oct_node* parent, int slot, const Cell& cell, oct_node* resident,
                             const MemS::Point3v<float>& point) {
  oct_node* const leaf_of_resident = resident->inner ? resident->child[kCells] : resident;
  oct_node* const node = &nodes.allocate_mem();
  node->inner = true;
  node->center = cell.center;
  node->half = cell.half;
  node->parent = parent;
  node->child = new_children();
  node->child[kCells] = leaf_of_resident;
  node->child[slot_of(leaf_of_resident->center, cell.center)] = resident;
  depth = std::max(depth, cell.level + 1);
  resident->parent = node;
  parent->child[slot] = node;
  return node->child[slot_of(point, cell.center)] = new_leaf(node, cell.half * 0.5F, point);
}

oct_node* VertexOctree::descend(const MemS::Point3v<float>& point, OctreeMode mode) {
  oct_node* node = root;
  Cell parent{root->center, root->half, 0};
  Cell cell = parent;
  const auto step_down = [&](int slot) {
    parent = cell;
    cell = cell.child(slot);
    depth = std::max(depth, cell.level);
  };
  for (;;) {
    const int slot = slot_of(point, cell.center);
    step_down(slot);
    oct_node* const resident = node->child[slot];
    if (resident == nullptr) {
      oct_node* const leaf = new_leaf(node, cell.half, point);
      if (node->child[kCells] == nullptr) node->child[kCells] = leaf;
      return node->child[slot] = leaf;
    }
    // The levels above the resident's own cell hold nothing else, so they aren't stored.
    while (cell.half > resident->half) {
      const int side = slot_of(point, cell.center);
      if (side != slot_of(guide_of(resident), cell.center)) {
        return part(node, slot, cell, resident, point);
      }
      step_down(side);
    }
    if (resident->inner) {
      node = resident;
      continue;
    }
    if (scanmesh::welds(resident->center, point)) return resident;
    // Splits the leaf's cell until the two points part or the cell is too small.
    while (!(cell.half < min_half) && !cell.frozen_from(parent)) {
      const int side = slot_of(point, cell.center);
      if (side != slot_of(resident->center, cell.center)) {
        resident->half = cell.half * 0.5F;
        return part(node, slot, cell, resident, point);
      }
      step_down(side);
    }
    resident->half = cell.half;
    if (mode == OctreeMode::kBucket) return add_to_bucket(resident, point);
    resident->center = scanmesh::scaled(scanmesh::add(resident->center, point), 0.5);
    return resident;
  }
}

}  // namespace Mesh_M
