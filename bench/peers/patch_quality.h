// What can be measured on a patch, given as triangles alone.
#ifndef SCANMESH_BENCH_PEERS_PATCH_QUALITY_H
#define SCANMESH_BENCH_PEERS_PATCH_QUALITY_H

#include <vector>

#include "peers/hole_cases.h"
#include "support/surface.h"

namespace peers {

/// Lengths as shares of the hole's diameter, angles in degrees.
struct Deviation {
  double rms = 0;   // of the faces' centres, weighted by area
  double most = 0;  // of those and of the inner points
  double seam = 0;  // mean angle of the outermost faces to the true normal
  int ring_edges = 0;
};

Deviation deviation(const std::vector<demo::Triangle>& patch, const Implicit& truth);

/// Counts that add up over patches.
struct Shape {
  long long inner_edges = 0;
  long long fitting_edges = 0;  // 0.5 to 1.6 of the ring's mean edge
  long long faces = 0;
  long long round_faces = 0;  // no angle below 15 degrees
};

void add_shape(const std::vector<demo::Triangle>& patch, Shape& shape);

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_PATCH_QUALITY_H
