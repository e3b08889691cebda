// Who fills holes, in one form: a surface in, the patches and what they took out.
#ifndef SCANMESH_BENCH_PEERS_HOLE_FILLERS_H
#define SCANMESH_BENCH_PEERS_HOLE_FILLERS_H

#include <string>
#include <vector>

#include "support/surface.h"

namespace peers {

struct FilledSurface {
  std::vector<std::vector<demo::Triangle>> patches;
  double seconds = 0;  // in the filling calls alone
  int rings = 0;
  int refused = 0;  // rings that got no face
  long long open_edges = 0;
  long long crowded_edges = 0;  // with more than two faces
};

/// A point of the surface is found again within this distance: the library narrows to float.
constexpr double same_point = 1e-4;

struct HoleFiller {
  std::string name;
  /// Fills all rings, or the one through `rim_point` where that isn't null.
  FilledSurface (*fill)(const demo::Surface& surface, const demo::Vec3* rim_point);
};

FilledSurface scanmesh_fill(const demo::Surface& surface, const demo::Vec3* rim_point);
FilledSurface cgal_fill(const demo::Surface& surface, const demo::Vec3* rim_point);

/// scanmesh first, then CGAL where it was found.
std::vector<HoleFiller> hole_fillers();

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_HOLE_FILLERS_H
