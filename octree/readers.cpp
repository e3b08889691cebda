// Reading samples out of the tree, and boxes around a node.
#include <algorithm>
#include <cstddef>
#include <limits>

#include "octree/octree_cells.h"
#include "scanmesh/octree.h"

namespace {

using scanmesh::OctNode;

// A list that the caller owns, grown as the caller asked for.
class CallersList {
 public:
  CallersList(OctNode**& list, int& count, int* capacity)
      : list_(list), count_(count), capacity_(capacity) {}

  void append(OctNode* node) {
    if (capacity_ != nullptr && count_ >= *capacity_) grow();
    list_[count_++] = node;
    if (capacity_ != nullptr && count_ == *capacity_) grow();
  }

 private:
  void grow() {
    const long long doubled = 2LL * std::max(*capacity_, 1);
    const auto capacity =
        static_cast<int>(std::min<long long>(doubled, std::numeric_limits<int>::max()));
    OctNode** const longer = new OctNode*[static_cast<std::size_t>(capacity)];
    std::copy_n(list_, count_, longer);
    delete[] list_;
    list_ = longer;
    *capacity_ = capacity;
  }

  OctNode**& list_;
  int& count_;
  int* const capacity_;
};

void box_around(Bounding_Box& out, const float* centre, float reach) {
  out = {centre[0] + reach, centre[0] - reach, centre[1] + reach,
         centre[1] - reach, centre[2] + reach, centre[2] - reach};
}

}  // namespace

void Oct_tree_Tri::oct_Traversal(Oct_tree_Triangulation* node, Oct_tree_Triangulation**& list,
                                 int& count, bool reset, int* capacity) {
  if (reset) count = 0;
  CallersList out(list, count, capacity);
  scanmesh::visit_leaves(node, [&out](OctNode* leaf) {
    out.append(leaf);
    return true;
  });
}

void Oct_tree_Tri::oct_output_PointCloud(float*& points, float*& normals, int& count,
                                         float*& halves, short*& tags) {
  const auto room = static_cast<std::size_t>(leaves.count);
  points = new float[3 * room];
  normals = new float[3 * room];
  halves = new float[room];
  tags = new short[room];
  count = 0;
  for (int i = 0; i < leaves.count; ++i) {
    const OctNode* const leaf = leaves.data[i];
    if (leaf == nullptr) continue;
    const auto at = static_cast<std::size_t>(count++);
    const scanmesh::Vec3f normal = scanmesh::normal_of(leaf);
    std::copy_n(leaf->coor, 3, points + 3 * at);
    normals[3 * at] = normal.x;
    normals[3 * at + 1] = normal.y;
    normals[3 * at + 2] = normal.z;
    halves[at] = leaf->half;
    tags[at] = leaf->tag;
  }
}

void Oct_tree_Tri::oct_cut(const Oct_tree_Triangulation* node, Bounding_Box& out, int kind) const {
  const float h = node->half;
  const OctNode* const parent = node->parent;
  const float p = parent->half;
  // Levels are consecutive, so a missing grandparent is as large as it would be.
  const float g = parent->parent != nullptr ? parent->parent->half : 2 * p;
  float centre[3];
  scanmesh::cell_centre(centre, node);
  switch (kind) {
    case 3:
      box_around(out, centre, h + p);
      break;
    case 4:
      box_around(out, parent->coor, g);
      break;
    case 5:
      box_around(out, centre, h + g);
      break;
    case 6:
      box_around(out, parent->coor, g + p + h);
      break;
    case 7:
      box_around(out, centre, g + p + h);
      break;
    default:
      break;
  }
}
