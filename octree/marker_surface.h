// New samples across the hole that one marker left.
#ifndef SCANMESH_OCTREE_MARKER_SURFACE_H
#define SCANMESH_OCTREE_MARKER_SURFACE_H

#include <vector>

#include "core/rbf_surface.h"
#include "octree/grid_gaps.h"
#include "octree/octree_cells.h"

namespace scanmesh {

// What a marker yields. Both lists are empty where there are too few samples around it.
struct MarkerPatch {
  std::vector<Vec3f> seeds;    // new positions, on the fitted surface
  std::vector<OctNode*> ring;  // the samples that were kept for it
};

// Closes the holes of a run of markers, one after the other. It reads the tree and changes nothing
// in it, so that several threads may work at once.
class MarkerSurface {
 public:
  explicit MarkerSurface(Oct_tree_Tri& tree) : tree_(tree) {}

  MarkerPatch close(const OctNode* marker, float radius);

 private:
  struct Axes {
    int a;
    int b;
  };

  void take_plane(const OctNode* marker);
  double height(const Vec3f& p) const;
  bool gather(const OctNode* marker, float radius);
  double band_width(float half) const;
  void keep_near(double band, double reach);
  GapGrid grid(float half) const;
  void constrain(float half, float radius, const std::vector<Vec3f>& smoothed);
  void project(std::vector<Vec3f>& seeds);
  void project_on_plane(std::vector<Vec3f>& seeds) const;
  Axes flat_axes() const;

  Oct_tree_Tri& tree_;
  RbfContext fit_;
  // The plane of the last marker that had a normal.
  Vec3f normal_{0, 0, 0};
  double offset_ = 0;
  // The marker at hand.
  Vec3f centre_{0, 0, 0};
  Vec3f corner_{0, 0, 0};  // lowest corner of the cells gathered from
  std::vector<OctNode*> around_;
  std::vector<Vec3f> positions_;    // of those kept
  std::vector<Vec3f> constraints_;  // on the surface
  std::vector<Vec3f> offsets_;      // off it
};

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_MARKER_SURFACE_H
