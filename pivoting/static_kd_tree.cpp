#include "scanmesh/static_kd_tree.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "pivoting/search_index.h"

namespace flann_kdtree {

namespace {

using scanmesh::Vec3f;

// The k nearest in two arrays of the caller, kept sorted; what lies behind them isn't touched.
class Nearest {
 public:
  Nearest(std::size_t k, std::size_t* positions, float* distances)
      : k_(k), positions_(positions), distances_(distances) {}

  float worst() const { return worst_; }
  std::size_t count() const { return count_; }

  bool add(float distance, std::size_t position) {
    std::size_t i = count_;
    if (count_ < k_) {
      ++count_;
    } else {
      --i;
    }
    for (; i > 0 && distances_[i - 1] > distance; --i) {
      distances_[i] = distances_[i - 1];
      positions_[i] = positions_[i - 1];
    }
    distances_[i] = distance;
    positions_[i] = position;
    if (count_ == k_) worst_ = distances_[k_ - 1];
    return worst_ > 0;  // nothing is nearer than that
  }

 private:
  const std::size_t k_;
  std::size_t count_ = 0;
  float worst_ = std::numeric_limits<float>::max();
  std::size_t* const positions_;
  float* const distances_;
};

class WithinRadius {
 public:
  explicit WithinRadius(float radius_sq) : radius_sq_(radius_sq) {}

  float worst() const { return radius_sq_; }
  bool add(float distance, std::size_t position) {
    found.emplace_back(distance, position);
    return true;
  }

  std::vector<std::pair<float, std::size_t>> found;

 private:
  const float radius_sq_;
};

class AlikeNormal {
 public:
  AlikeNormal(const XCloud& cloud, const std::vector<uint64_t>& vind, const Vec3f& normal,
              float radius_sq, float min_dot)
      : cloud_(cloud), vind_(vind), normal_(normal), radius_sq_(radius_sq), min_dot_(min_dot) {}

  float worst() const { return radius_sq_; }
  // The first one settles it.
  bool add(float, std::size_t position) {
    const uint64_t i = vind_[position];
    if (!(scanmesh::dot(normal_, XPoint::normal(cloud_.points[i])) > min_dot_)) return true;
    found = true;
    number = i;
    return false;
  }

  bool found = false;
  uint64_t number = 0;

 private:
  const XCloud& cloud_;
  const std::vector<uint64_t>& vind_;
  const Vec3f normal_;
  const float radius_sq_;
  const float min_dot_;
};

// Whether there is anything to search.
bool searchable(const SearchIndex& index, const char* message) {
  if (index.size == 0) return false;
  if (index.nodes.empty()) throw std::runtime_error(message);
  return true;
}

constexpr const char* kNotBuilt =
    "[flann_kdtree] findNeighbors() called before building the index.";
constexpr const char* kNotBuiltForNormals =
    "[flann_kdtree] findNeighbors_N() called before building the index.";

}  // namespace

KdTreeX::KdTreeX() : cloud(std::make_unique<XCloud>()), index(std::make_unique<SearchIndex>()) {}
KdTreeX::KdTreeX(const KdTreeX& other)
    : cloud(std::make_unique<XCloud>(*other.cloud)),
      checks(other.checks),
      eps(other.eps),
      sorted(other.sorted),
      index(std::make_unique<SearchIndex>(*other.index)) {}
KdTreeX& KdTreeX::operator=(const KdTreeX& other) {
  cloud = std::make_unique<XCloud>(*other.cloud);
  checks = other.checks;
  eps = other.eps;
  sorted = other.sorted;
  index = std::make_unique<SearchIndex>(*other.index);
  return *this;
}
// NOLINTBEGIN(performance-noexcept-move-constructor): see the header
KdTreeX::KdTreeX(KdTreeX&& other) : KdTreeX() {
  *this = std::move(other);
}
KdTreeX& KdTreeX::operator=(KdTreeX&& other) {
  if (this == &other) return *this;
  auto no_cloud = std::make_unique<XCloud>();
  auto no_index = std::make_unique<SearchIndex>();
  cloud = std::exchange(other.cloud, std::move(no_cloud));
  index = std::exchange(other.index, std::move(no_index));
  checks = other.checks;
  eps = other.eps;
  sorted = other.sorted;
  return *this;
}
// NOLINTEND(performance-noexcept-move-constructor)
KdTreeX::~KdTreeX() = default;

KdTreeX_Static::KdTreeX_Static() = default;
KdTreeX_Static::~KdTreeX_Static() = default;

void KdTreeX_Static::clear() {
  cloud->clear();
  index = std::make_unique<SearchIndex>();
}

void KdTreeX_Static::rebuild(const XNode* points, std::size_t count) {
  cloud->set(points, count);
  index->build(*cloud);
}

std::size_t KdTreeX_Static::knnSearch(const XNode& query, std::size_t k,
                                      std::vector<std::size_t>& indices,
                                      std::vector<float>& distances_sq) const {
  indices.resize(k);
  distances_sq.resize(k);
  if (!searchable(*index, kNotBuilt) || k == 0) return 0;
  Nearest nearest(k, indices.data(), distances_sq.data());
  index->search(query.vert->point, eps, nearest);
  for (std::size_t i = 0; i < nearest.count(); ++i) indices[i] = index->vind[indices[i]];
  return nearest.count();
}

std::size_t KdTreeX_Static::radiusSearch(const XNode& query, float radius,
                                         std::vector<std::size_t>& indices,
                                         std::vector<float>& distances_sq) const {
  return radiusSearchSq(query, radius * radius, indices, distances_sq);
}

std::size_t KdTreeX_Static::radiusSearchSq(const XNode& query, float radius_sq,
                                           std::vector<std::size_t>& indices,
                                           std::vector<float>& distances_sq) const {
  WithinRadius within(radius_sq);
  if (searchable(*index, kNotBuilt)) index->search(query.vert->point, eps, within);
  if (sorted != 0) {
    // Those at equal distance stay in the order in which they were met.
    std::stable_sort(within.found.begin(), within.found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
  }
  indices.clear();
  distances_sq.clear();
  for (const auto& [distance, position] : within.found) {
    indices.push_back(index->vind[position]);
    distances_sq.push_back(distance);
  }
  return within.found.size();
}

std::size_t KdTreeX_Static::findNeighbors_N(const XNode& query, float radius,
                                            std::vector<std::size_t>& indices, const void*,
                                            const float* min_dot) const {
  indices.clear();
  if (!searchable(*index, kNotBuiltForNormals)) return 0;
  AlikeNormal alike(*cloud, index->vind, XPoint::normal(query), radius * radius, *min_dot);
  index->search(query.vert->point, eps, alike);
  if (!alike.found) return 0;
  indices.push_back(alike.number);
  return 1;
}

}  // namespace flann_kdtree
