// Brings the patch to the edge density of the ring and the region.
#ifndef SCANMESH_PATCHING_PATCH_REFINEMENT_H
#define SCANMESH_PATCHING_PATCH_REFINEMENT_H

#include <vector>

#include "patching/patch_mesh.h"
#include "patching/surroundings.h"

namespace cavity {

// Splits every edge between ring vertices that the surroundings already have, and the triangle of a
// ring that is a face of its own region. After this the patch repeats nothing of the region.
void split_taken_chords(const Surroundings& around, PatchMesh& patch);

// The edge length wanted at each vertex: carried inwards from the ring, plus a growth with the
// distance from the ring.
class EdgeLengths {
 public:
  EdgeLengths(const Surroundings& around, const PatchMesh& patch);

  // The least growth that keeps the number of points in bounds, 0 for any but very large holes.
  double bounded_growth() const { return bounded_growth_; }
  // About the number of free points that a patch without growth has.
  double dense_count() const { return dense_count_; }
  void set_growth(double growth) { growth_ = growth; }

  double at(int v) const { return carried_[v] + growth_ * distance_[v]; }
  double of_edge(int a, int b) const { return 0.5 * (at(a) + at(b)); }
  // To be called for each new point of the patch, in order.
  void add_midpoint(int a, int b, double length);
  // Corrects the distances, and evens out the carried lengths, over the edges of the patch as it
  // is.
  void settle(const PatchMesh& patch);

 private:
  void read_ring(const Surroundings& around);
  void measure(const PatchMesh& patch);

  int ring_size_;
  std::vector<double> carried_;
  std::vector<double> distance_;
  double growth_ = 0.0;
  double bounded_growth_ = 0.0;
  double dense_count_ = 0.0;
};

// Splits edges that are too long, then evens out the triangles by flips and tangential moves.
void refine_patch(PatchMesh& patch, EdgeLengths& lengths);

// Flips edges until none fails the Delaunay test, as far as the shape of the patch allows.
void flip_to_delaunay(PatchMesh& patch);
// The same where only the edges of these faces, each listed once, can fail.
void flip_to_delaunay(PatchMesh& patch, std::vector<int> open);

// Moves free vertices along the surface towards the middle of their neighbours.
void even_out(PatchMesh& patch, int rounds);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_PATCH_REFINEMENT_H
