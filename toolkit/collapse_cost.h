// Where an edge is best collapsed to, and at what cost.
#ifndef SCANMESH_TOOLKIT_COLLAPSE_COST_H
#define SCANMESH_TOOLKIT_COLLAPSE_COST_H

#include <cstdint>
#include <vector>

#include "toolkit/collapse_mesh.h"
#include "toolkit/vector_math.h"

namespace scanmesh {

struct Placement {
  Point at;
  double cost = 0;       // what the order goes by
  double deviation = 0;  // a distance: of `at` from the planes around
};

// Sum of squared distances from planes through one point, weighted: symmetric, relative to it.
struct Quadric {
  double xx = 0, xy = 0, xz = 0, yy = 0, yz = 0, zz = 0;

  void add(const Point& n, double sign = 1) {
    const Point s = n * sign;
    xx += s.x * n.x;
    xy += s.x * n.y;
    xz += s.x * n.z;
    yy += s.y * n.y;
    yz += s.y * n.z;
    zz += s.z * n.z;
  }
  Point times(const Point& p) const {
    return {xx * p.x + xy * p.y + xz * p.z, xy * p.x + yy * p.y + yz * p.z,
            xz * p.x + yz * p.y + zz * p.z};
  }
  double trace() const { return xx + yy + zz; }
};

// Costs that remember nothing (Lindstrom and Turk 1999): the planes are those of the mesh as it is
// now, through the vertex that they meet in.
class CollapseCost {
 public:
  explicit CollapseCost(const CollapseMesh& mesh);

  // Anew from the triangles around it.
  void renew(std::int32_t v);
  // The best place of the edge's collapse; of what is tied, the place that it is tied to.
  Placement best(std::int32_t u, std::int32_t v) const;
  // The ends and the middle, for where the best place won't do; the cheapest first.
  std::vector<Placement> others(std::int32_t u, std::int32_t v) const;

 private:
  struct Frame;
  Frame frame_of(std::int32_t u, std::int32_t v) const;

  const CollapseMesh& mesh_;
  std::vector<Quadric> quadrics_;
  std::vector<Point> areas_;  // per vertex the sum of its triangles' area vectors
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_COLLAPSE_COST_H
