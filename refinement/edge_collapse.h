// Edge collapse on flat arrays under a rising error threshold: the engine behind Mesh_simplify.
#ifndef SCANMESH_REFINEMENT_EDGE_COLLAPSE_H
#define SCANMESH_REFINEMENT_EDGE_COLLAPSE_H

#include <cstdint>
#include <vector>

#include "refinement/quadric.h"
#include "scanmesh/process_step.h"

namespace scanmesh {

struct sim_vert {
  Vec3d pos;
  int32_t tri_start = 0;  // the vertex's run among the references
  int32_t tri_count = 0;
  Quadric quadric;
  int32_t border = 0;  // 1 on an open edge
};

struct sim_tri {
  int32_t vid[3];
  int32_t dirty = -1;  // the iteration that last touched it: it waits for the next one
  bool deleted = false;
  double err[3];  // of the edges first-second, second-third, third-first
  Vec3d normal;   // of the input mesh, never refreshed; not a number for a zero area
};

struct sim_ref {
  int32_t tri;
  int32_t corner;
};

// Unlimited iterations end here.
constexpr int kMostIterations = 10000;

// Iterations until the threshold passes what an error limit (mesh units) allows.
int iteration_cap(const double* limit);

// One run. The owner fills `verts` and `tris`, calls run(), and reads both back compacted.
//
// The error of an edge depends on its two vertices only, and a vertex that moves marks every
// triangle around it. So errors are computed once and kept until a mark, by tasks over ranges of
// the triangles; the collapses then go through the triangles in their order on one thread, which
// makes the result the same on every machine.
class EdgeCollapse {
 public:
  std::vector<sim_vert> verts;
  std::vector<sim_tri> tris;
  Mesh_M::ProcessStepCallback process_step;

  // Collapses until at most `target` triangles are left or the iterations end.
  void run(int target, double aggression, const double* limit);

  // Steps of run(), for their own tests.
  double edge_error(int a, int b, Vec3d& target_point) const;
  void refresh(int iteration);

 private:
  bool reached(int target) const;
  void find_candidates(double threshold);
  void scan_range(std::ptrdiff_t first, std::ptrdiff_t last, double threshold,
                  std::vector<int32_t>& candidates);
  double least_error(sim_tri& tri) const;
  void collapse_candidates(int iteration, int target, double threshold);
  bool try_collapse(sim_tri& tri, int j, int iteration);
  bool folds(const Vec3d& p, int i0, int i1, std::vector<char>& dies) const;
  void relink(int i0, const sim_vert& from, const std::vector<char>& dies, int iteration);
  void count_references();
  void mark_borders();
  void build_quadrics();
  void drop_deleted();
  void compact();

  std::vector<sim_ref> refs_;
  std::vector<double> least_;  // per triangle: least error of an edge that may collapse; < 0 stale
  std::size_t stale_ = 0;      // how many of them are, or more
  std::vector<int32_t> candidates_;
  std::vector<sim_ref> relinked_;
  std::vector<char> dies_[2];
  int32_t total_ = 0;
  int32_t deleted_ = 0;
};

}  // namespace scanmesh

#endif  // SCANMESH_REFINEMENT_EDGE_COLLAPSE_H
