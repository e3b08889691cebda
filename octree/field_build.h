// How the voxel field is being built.
#ifndef SCANMESH_OCTREE_FIELD_BUILD_H
#define SCANMESH_OCTREE_FIELD_BUILD_H

#include <algorithm>
#include <limits>
#include <vector>

#include "core/platform.h"
#include "octree/cell_walk.h"

namespace scanmesh {

// More than processors, since a search waits for memory most of the time.
inline int field_workers() {
  return 4 * processor_count();
}

}  // namespace scanmesh

struct Oct_tree_Tri::FieldBuild {
  // A coarse sample that was told of a finer voxel in a slot.
  struct Misled {
    Oct_tree_Triangulation* cell;
    int slot;
  };

  int workers = 1;
  int real_chunk = 1;
  int virtual_chunk = 1;
  bool plainly = false;  // by searches only, for comparison
  // Set on the way.
  bool walks = false;       // cells are found by walking from one to the next
  bool uniform = false;     // besides, all samples are of one size, and none is at the cube's wall
  bool all_linked = false;  // virtual voxels got the corners of their neighbours as they were made
  float largest = 0;        // half edge of the coarsest samples
  std::vector<Misled> misled;

  void look_at_sizes(const Oct_tree_Tri& tree) {
    float smallest = std::numeric_limits<float>::infinity();
    bool clear = true;
    for (int i = 0; i < tree.leaves.count; ++i) {
      if (tree.leaves.data[i] == nullptr) continue;
      smallest = std::min(smallest, tree.leaves.data[i]->half);
      largest = std::max(largest, tree.leaves.data[i]->half);
      clear = clear && is_clear(tree.box, tree.leaves.data[i]);
    }
    // Cells below a marker aren't centred where their sizes say.
    walks = !plainly && !tree.cells_below_markers_ && scanmesh::walks_exactly(tree.box, smallest);
    all_linked = walks;
    uniform = walks && clear && smallest == largest;
  }

 private:
  // Whether all cells around a sample's are inside the cube.
  static bool is_clear(const Bounding_Box& box, const Oct_tree_Triangulation* leaf) {
    float centre[3];
    scanmesh::cell_centre(centre, leaf);
    const float reach = 2.5F * leaf->half;
    const float low[3] = {centre[0] - reach, centre[1] - reach, centre[2] - reach};
    const float high[3] = {centre[0] + reach, centre[1] + reach, centre[2] + reach};
    return scanmesh::inside(box, low) && scanmesh::inside(box, high);
  }
};

#endif  // SCANMESH_OCTREE_FIELD_BUILD_H
