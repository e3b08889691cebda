// Holes in surfaces of known equation, so that a patch can be compared with what was there.
#ifndef SCANMESH_BENCH_PEERS_HOLE_CASES_H
#define SCANMESH_BENCH_PEERS_HOLE_CASES_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/surface.h"

namespace peers {

/// Zero on the surface, and about the distance from it nearby, negative inside or below.
using Implicit = std::function<double(const demo::Vec3&)>;

/// Distance to the zero set, to first order, and the unit normal there.
double signed_distance(const Implicit& surface, const demo::Vec3& p);
demo::Vec3 true_normal(const Implicit& surface, const demo::Vec3& p);

struct HoleCase {
  std::string name;
  Implicit truth;
  demo::Surface surface;  // with the hole; mean edge about 1
  demo::Vec3 rim_point;   // a point of the hole's ring, and of no other ring
};

/// Added to every coordinate: normally distributed, `size` its standard deviation in mean edges.
struct Noise {
  double size;
  std::uint64_t seed;
};

/// Discs, slots and shells cut out of height fields, cylinder, torus and spheres. The holes and
/// their order are the same for any noise.
std::vector<HoleCase> hole_cases(const Noise& noise);

/// A wavy strip, four rows wide, around a round hole of that many edges.
HoleCase round_strip(int ring_edges);

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_HOLE_CASES_H
