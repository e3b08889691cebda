// Angles and the plane of a ring, as the clipping uses them.
#ifndef SCANMESH_HOLES_WAVEFRONT_H
#define SCANMESH_HOLES_WAVEFRONT_H

#include <cstddef>
#include <vector>

#include "core/vector_math.h"
#include "scanmesh/stores.h"

namespace scanmesh {

// The plane out . p + d = 0 of least squares through n points, where d is the result, 0 or 1. `out`
// has unit length only with d = 0, that is for a plane through the origin.
int fit_hole_plane(const double (*points)[3], int n, double out[3]);

// The angle at `apex` between two points, radians; 0 where one of them coincides with it.
double corner_angle(const Vec3f& apex, const Vec3f& p, const Vec3f& q);

// 2 pi less the corner angles of the vertex's faces, 0 when they fill the circle.
double opening_angle(const Mesh_R::_vert* vert);

// The smallest of a shrinking list of values, the first of equals, in logarithmic time per change.
// Removing an entry moves the last one into its place.
class SmallestValue {
 public:
  explicit SmallestValue(const std::vector<double>& values);
  int size() const { return size_; }
  int smallest() const;
  double at(int i) const { return tree_[static_cast<std::size_t>(i) + leaves_].value; }
  void set(int i, double value);
  void remove(int i);

 private:
  struct Entry {
    double value;
    int place;
  };
  void pull_up(std::size_t node);

  std::size_t leaves_;
  int size_;
  std::vector<Entry> tree_;
};

}  // namespace scanmesh

#endif  // SCANMESH_HOLES_WAVEFRONT_H
