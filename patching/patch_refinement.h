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

// The edge length wanted at each vertex, and how fast it may grow away from the ring.
class EdgeLengths {
 public:
  EdgeLengths(const Surroundings& around, const PatchMesh& patch);

  double at(int v) const { return wanted_[v]; }
  double of_edge(int a, int b) const { return 0.5 * (wanted_[a] + wanted_[b]); }
  // To be called for each new point of the patch, in order.
  void add_midpoint(int a, int b, double length);
  // Lets no vertex ask for more than its neighbours plus the allowed growth.
  void settle(const PatchMesh& patch);

 private:
  std::vector<double> wanted_;
  double growth_ = 0.0;
};

// Splits edges that are too long, then evens out the triangles by flips and tangential moves.
void refine_patch(PatchMesh& patch, EdgeLengths& lengths);

// Flips edges until none fails the Delaunay test, as far as the shape of the patch allows.
void flip_to_delaunay(PatchMesh& patch);

// Moves free vertices along the surface towards the middle of their neighbours.
void even_out(PatchMesh& patch, int rounds);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_PATCH_REFINEMENT_H
