// How far points lie from a triangle surface.
#ifndef SCANMESH_EXAMPLES_SUPPORT_DISTANCE_H
#define SCANMESH_EXAMPLES_SUPPORT_DISTANCE_H

#include <cstddef>
#include <vector>

#include "support/surface.h"

namespace demo {

/// Distance of a point from a triangle, its inside included.
double distance_to_triangle(const Vec3& point, const Triangle& triangle);

/// Nearest-distance queries by a tree of boxes. Queries may run on several threads at once.
class NearestTriangle {
 public:
  explicit NearestTriangle(std::vector<Triangle> triangles);

  /// Infinite when there are no triangles.
  double distance_to(const Vec3& point) const;

 private:
  struct Box {
    Vec3 low;
    Vec3 high;
  };
  // An inner node's children are `first` and `first + 1`; a leaf holds triangles from `first` on.
  struct Node {
    Box box;
    std::size_t first;
    std::size_t count;  // 0 for an inner node
  };

  static Box box_of(const Triangle* begin, const Triangle* end);
  static double squared_distance(const Vec3& point, const Box& box);
  void build(std::size_t node, std::size_t first, std::size_t count);

  std::vector<Triangle> triangles_;
  std::vector<Node> nodes_;
};

/// Root mean square and largest of a list of distances; both 0 for an empty list.
struct Deviation {
  double rms = 0;
  double largest = 0;
  std::size_t samples = 0;
};

/// Of the corners and centroids of `faces` from `surface`.
Deviation deviation(const std::vector<Triangle>& faces, const NearestTriangle& surface);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_DISTANCE_H
