// The static k-d index that an xbpa::XBallPivoting holds.
#ifndef SCANMESH_STATIC_KD_TREE_H
#define SCANMESH_STATIC_KD_TREE_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "scanmesh/stores.h"

namespace xbpa {

/// An element of the index: a vertex record that belongs to someone else.
struct XPointNode {
  Mesh_R::_vert* vert = nullptr;
  uint64_t zero = 0;
};

}  // namespace xbpa

namespace point3d_type {

/// How an index reads its elements.
template <typename T>
struct XYZPoint3T {
  using Element = T;
  /// x, y, z for 0, 1, 2; 0 for any other dimension.
  static float coordinate(const T& element, int dimension) {
    const MemS::Point3v<float>& p = element.vert->point;
    return dimension == 0 ? p.x : dimension == 1 ? p.y : dimension == 2 ? p.z : 0.0F;
  }
  static const MemS::Point3v<float>& normal(const T& element) { return element.vert->vector; }
};

}  // namespace point3d_type

namespace point_cloud {

/// A view of elements that belong to someone else.
template <typename Point>
class PointCloudPtr {
 public:
  using Element = typename Point::Element;

  PointCloudPtr() = default;
  virtual ~PointCloudPtr() = default;
  virtual void set(const Element* first, std::size_t n) {
    points = first;
    count = n;
  }
  virtual void clear() { set(nullptr, 0); }

  const Element* points = nullptr;
  std::size_t count = 0;
};

}  // namespace point_cloud

namespace flann_kdtree {

using XNode = xbpa::XPointNode;
using XPoint = point3d_type::XYZPoint3T<XNode>;
using XCloud = point_cloud::PointCloudPtr<XPoint>;

class SearchIndex;

/// What a search over elements offers. A query is an element like those of the cloud.
class KdTreeX {
 public:
  std::unique_ptr<XCloud> cloud;
  int32_t checks = 32;
  float eps = 0;       // a far side is searched while worst >= (1 + eps) x its distance
  uint8_t sorted = 1;  // radius searches sort by distance
  std::unique_ptr<SearchIndex> index;

  virtual ~KdTreeX();
  /// Empties the cloud and makes a new, empty index.
  virtual void clear() = 0;
  /// The k nearest, nearest first; those at equal distance in the order in which they are met.
  /// `indices` are positions in the cloud. Both vectors get the size k, and when there are fewer
  /// elements their ends keep what they held. Returns the number found.
  virtual std::size_t knnSearch(const XNode& query, std::size_t k,
                                std::vector<std::size_t>& indices,
                                std::vector<float>& distances_sq) const = 0;
  /// All elements closer than the radius.
  virtual std::size_t radiusSearch(const XNode& query, float radius,
                                   std::vector<std::size_t>& indices,
                                   std::vector<float>& distances_sq) const = 0;
  /// All elements of a squared distance strictly below the given one, nearest first when `sorted`.
  virtual std::size_t radiusSearchSq(const XNode& query, float radius_sq,
                                     std::vector<std::size_t>& indices,
                                     std::vector<float>& distances_sq) const = 0;
  /// Whether an element within the radius has a normal whose dot product with the query's exceeds
  /// `*min_dot`: 1 and the first such element met, or 0. `reserved` isn't read.
  virtual std::size_t findNeighbors_N(const XNode& query, float radius,
                                      std::vector<std::size_t>& indices, const void* reserved,
                                      const float* min_dot) const = 0;

 protected:
  KdTreeX();
  /// A copy looks at the same elements; what was moved from is left without any.
  KdTreeX(const KdTreeX& other);
  KdTreeX& operator=(const KdTreeX& other);
  // It gets an empty index, which takes memory.
  // NOLINTBEGIN(performance-noexcept-move-constructor)
  KdTreeX(KdTreeX&& other);
  KdTreeX& operator=(KdTreeX&& other);
  // NOLINTEND(performance-noexcept-move-constructor)
};

/// Bounding-box tree with up to ten points in a leaf (Friedman, Bentley, Finkel 1977), built by
/// one thread; a built one may be searched by many at once. An index without points answers 0; one
/// that has points and wasn't built raises std::runtime_error. Only finite points are found.
class KdTreeX_Static : public KdTreeX {
 public:
  KdTreeX_Static();
  KdTreeX_Static(const KdTreeX_Static&) = default;
  KdTreeX_Static(KdTreeX_Static&&) = default;
  KdTreeX_Static& operator=(const KdTreeX_Static&) = default;
  KdTreeX_Static& operator=(KdTreeX_Static&&) = default;
  ~KdTreeX_Static() override;

  /// Builds the index over `count` elements, which must stay where they are.
  void rebuild(const XNode* points, std::size_t count);

  void clear() override;
  std::size_t knnSearch(const XNode& query, std::size_t k, std::vector<std::size_t>& indices,
                        std::vector<float>& distances_sq) const override;
  std::size_t radiusSearch(const XNode& query, float radius, std::vector<std::size_t>& indices,
                           std::vector<float>& distances_sq) const override;
  std::size_t radiusSearchSq(const XNode& query, float radius_sq, std::vector<std::size_t>& indices,
                             std::vector<float>& distances_sq) const override;
  std::size_t findNeighbors_N(const XNode& query, float radius, std::vector<std::size_t>& indices,
                              const void* reserved, const float* min_dot) const override;
};

}  // namespace flann_kdtree

#endif  // SCANMESH_STATIC_KD_TREE_H
