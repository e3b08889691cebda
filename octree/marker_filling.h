// Closing the holes of all markers: stages, workers and what they hand on.
#ifndef SCANMESH_OCTREE_MARKER_FILLING_H
#define SCANMESH_OCTREE_MARKER_FILLING_H

#include <vector>

#include "octree/octree_cells.h"

namespace scanmesh {

// One worker. `begin` and `end` are its markers at first, and its new samples later.
struct Fill_marker_Param {
  Oct_tree_Tri* tree = nullptr;
  int32_t marker_total = 0;
  int32_t begin = 0;
  int32_t end = 0;
  Oct_Pool<Point3fv> seeds;       // new positions, marker after marker
  std::vector<int32_t> seed_end;  // per marker, 0 when it made none
  Oct_Pool<OctNode*> ring;        // the samples kept for some marker
  Oct_Pool<Point3fv> ring_normals;
  Oct_Pool<Point3fv> ring_positions;
};

// Two threads per processor and one, at most 64.
int marker_workers();

class MarkerFilling {
 public:
  explicit MarkerFilling(Oct_tree_Tri& tree) : tree_(tree) {}

  // Shares the markers among at most `workers`.
  void run(int workers);

 private:
  void set_up_workers(int markers, int workers);
  void insert_seeds();
  void reserve_normals();
  void renew_normals(Fill_marker_Param& worker) const;
  void refit_ring(Fill_marker_Param& worker) const;
  void replace_ring();
  void replace(OctNode* leaf, const Point3fv& normal, const Point3fv& position);
  void release();

  Oct_tree_Tri& tree_;
  std::vector<Fill_marker_Param> workers_;
  std::vector<void*> marker_normals_;  // per new sample, as it was inserted
  int first_normal_ = 0;               // where the new samples' normals begin in their pool
};

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_MARKER_FILLING_H
