// The small vocabulary that every step of the patch maker shares.
#ifndef SCANMESH_PATCHING_PATCH_TYPES_H
#define SCANMESH_PATCHING_PATCH_TYPES_H

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace cavity {

using Point = Eigen::Vector3d;
using Triangle = std::array<int, 3>;

// The corner after / before corner k of a triangle.
inline int next_corner(int k) {
  return k == 2 ? 0 : k + 1;
}
inline int previous_corner(int k) {
  return k == 0 ? 2 : k - 1;
}

// Twice the area, along the normal of the corners in order.
inline Point area_vector(const Point& a, const Point& b, const Point& c) {
  return (b - a).cross(c - b);
}

// A triangle thinner than this (height over longest edge) has no normal worth comparing.
constexpr double flat_height_ratio = 1e-4;

// The unit normal, or zero where the triangle is too flat to have one.
inline Point normal_or_zero(const Point& a, const Point& b, const Point& c) {
  const Point area = area_vector(a, b, c);
  const double longest =
      std::max({(b - a).squaredNorm(), (c - b).squaredNorm(), (a - c).squaredNorm()});
  const double length = area.norm();
  if (!(length > flat_height_ratio * longest)) return Point::Zero();
  return area / length;
}

// Pairs of ring positions that the surroundings already join by an edge.
class ChordSet {
 public:
  void add(int a, int b) { keys_.push_back(key(a, b)); }

  // To be called once, after the last add and before the first contains.
  void close() {
    std::sort(keys_.begin(), keys_.end());
    keys_.erase(std::unique(keys_.begin(), keys_.end()), keys_.end());
  }

  bool contains(int a, int b) const {
    return !keys_.empty() && std::binary_search(keys_.begin(), keys_.end(), key(a, b));
  }

 private:
  static std::uint64_t key(int a, int b) {
    const auto low = static_cast<std::uint64_t>(std::min(a, b));
    return (low << 32) | static_cast<std::uint64_t>(std::max(a, b));
  }

  std::vector<std::uint64_t> keys_;
};

}  // namespace cavity

#endif  // SCANMESH_PATCHING_PATCH_TYPES_H
