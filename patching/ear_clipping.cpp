// Ear clipping: G. H. Meisters, "Polygons have ears", American Mathematical Monthly 82 (1975).
#include "patching/ear_clipping.h"

#include <cmath>
#include <queue>

namespace cavity {
namespace {

using Point2 = Eigen::Vector2d;

// A mean normal shorter than this share of what a flat ring of that size has says nothing.
constexpr double least_shadow = 1e-3;
// Ears thinner than this (height over longest side) wait for better company.
constexpr double thin_ear = 1e-6;

double turn(const Point2& a, const Point2& b, const Point2& c) {
  return (b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x());
}

std::vector<Point2> shadow_of(const std::vector<Point>& ring) {
  Point normal = Point::Zero();
  double reach = 0.0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    normal += ring[i].cross(ring[(i + 1) % ring.size()]);
    reach = std::max(reach, ring[i].norm());
  }
  const double length = normal.norm();
  if (!(length > least_shadow * reach)) return {};
  normal /= length;
  const Point u = normal.unitOrthogonal();
  const Point v = normal.cross(u);
  std::vector<Point2> shadow;
  shadow.reserve(ring.size());
  for (const Point& p : ring) shadow.emplace_back(p.dot(u), p.dot(v));
  return shadow;
}

// The live inward corners, by place: nothing else can lie in an ear.
class CornerGrid {
 public:
  explicit CornerGrid(const std::vector<Point2>& points) : low_(points[0]) {
    Point2 high = points[0];
    for (const Point2& p : points) {
      low_ = low_.cwiseMin(p);
      high = high.cwiseMax(p);
    }
    const Point2 extent = high - low_;
    const double count = static_cast<double>(points.size());
    cell_ = std::max({std::sqrt(extent.x() * extent.y() / count), extent.x() / count,
                      extent.y() / count, 1e-12});
    columns_ = static_cast<int>(extent.x() / cell_) + 1;
    rows_ = static_cast<int>(extent.y() / cell_) + 1;
    cells_.resize(static_cast<std::size_t>(columns_) * rows_);
  }

  void add(int i, const Point2& p) { cells_[cell_of(p)].push_back(i); }

  void remove(int i, const Point2& p) {
    std::vector<int>& cell = cells_[cell_of(p)];
    cell.erase(std::remove(cell.begin(), cell.end(), i), cell.end());
  }

  template <typename Test>
  bool any_in_box(const Point2& low, const Point2& high, const Test& test) const {
    for (int y = row_of(low.y()); y <= row_of(high.y()); ++y) {
      for (int x = column_of(low.x()); x <= column_of(high.x()); ++x) {
        const std::vector<int>& cell = cells_[static_cast<std::size_t>(y) * columns_ + x];
        if (std::any_of(cell.begin(), cell.end(), test)) return true;
      }
    }
    return false;
  }

 private:
  int column_of(double x) const {
    return std::clamp(static_cast<int>((x - low_.x()) / cell_), 0, columns_ - 1);
  }
  int row_of(double y) const {
    return std::clamp(static_cast<int>((y - low_.y()) / cell_), 0, rows_ - 1);
  }
  std::size_t cell_of(const Point2& p) const {
    return static_cast<std::size_t>(row_of(p.y())) * columns_ + column_of(p.x());
  }

  Point2 low_;
  double cell_ = 1.0;
  int columns_ = 1;
  int rows_ = 1;
  std::vector<std::vector<int>> cells_;
};

class Clipper {
 public:
  Clipper(const std::vector<Point2>& points, const std::vector<Point>& ring, const ChordSet& chords)
      : points_(points), ring_(ring), chords_(chords), grid_(points) {
    const int n = static_cast<int>(points.size());
    next_.resize(points.size());
    previous_.resize(points.size());
    version_.assign(points.size(), 0);
    inward_.assign(points.size(), 0);
    for (int i = 0; i < n; ++i) {
      next_[i] = (i + 1) % n;
      previous_[i] = (i + n - 1) % n;
    }
    for (int i = 0; i < n; ++i) classify(i);
  }

  std::vector<Triangle> run() {
    int live = static_cast<int>(points_.size());
    std::vector<Triangle> triangles;
    while (live > 2) {
      // An ear that was blocked may be free by now without any of its corners having changed.
      queue_all(live);
      const int before = live;
      while (live > 2 && !queue_.empty()) {
        const Ear ear = queue_.top();
        queue_.pop();
        if (ear.version != version_[ear.tip] || !is_ear(ear.tip, live)) continue;
        triangles.push_back({previous_[ear.tip], ear.tip, next_[ear.tip]});
        cut(ear.tip);
        first_ = next_[ear.tip];
        --live;
      }
      if (live == before) return {};
    }
    return triangles;
  }

 private:
  struct Ear {
    double chord;
    int tip;
    int version;
    bool operator<(const Ear& other) const {  // the queue's top is the shortest
      return chord != other.chord ? chord > other.chord : tip > other.tip;
    }
  };

  void queue_all(int live) {
    queue_ = {};
    for (int i = first_, count = 0; count < live; ++count, i = next_[i]) push(i);
  }

  void push(int i) {
    const double chord = (ring_[next_[i]] - ring_[previous_[i]]).squaredNorm();
    queue_.push({chord, i, version_[i]});
  }

  void classify(int i) {
    const bool inward = turn(points_[previous_[i]], points_[i], points_[next_[i]]) <= 0.0;
    if (inward == (inward_[i] != 0)) return;
    inward_[i] = inward ? 1 : 0;
    if (inward) {
      grid_.add(i, points_[i]);
    } else {
      grid_.remove(i, points_[i]);
    }
  }

  bool is_ear(int i, int live) const {
    const int before = previous_[i];
    const int after = next_[i];
    const Point2& a = points_[before];
    const Point2& b = points_[i];
    const Point2& c = points_[after];
    const double longest =
        std::max({(b - a).squaredNorm(), (c - b).squaredNorm(), (a - c).squaredNorm()});
    if (!(turn(a, b, c) > thin_ear * longest)) return false;
    if (live > 3 && chords_.contains(before, after)) return false;
    const Point2 low = a.cwiseMin(b).cwiseMin(c);
    const Point2 high = a.cwiseMax(b).cwiseMax(c);
    return !grid_.any_in_box(low, high, [&](int v) {
      if (v == before || v == i || v == after) return false;
      const Point2& p = points_[v];
      return turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0;
    });
  }

  void cut(int i) {
    const int before = previous_[i];
    const int after = next_[i];
    next_[before] = after;
    previous_[after] = before;
    if (inward_[i] != 0) grid_.remove(i, points_[i]);
    ++version_[i];
    for (const int v : {before, after}) {
      ++version_[v];
      classify(v);
      push(v);
    }
  }

  const std::vector<Point2>& points_;
  const std::vector<Point>& ring_;
  const ChordSet& chords_;
  CornerGrid grid_;
  std::vector<int> next_;
  std::vector<int> previous_;
  std::vector<int> version_;
  std::vector<char> inward_;
  std::priority_queue<Ear> queue_;
  int first_ = 0;
};

}  // namespace

std::vector<Triangle> clip_ears(const std::vector<Point>& ring, const ChordSet& chords) {
  const std::vector<Point2> shadow = shadow_of(ring);
  if (shadow.empty()) return {};
  return Clipper(shadow, ring, chords).run();
}

}  // namespace cavity
