#include "toolkit/flat_triangulation.h"

#include <algorithm>
#include <deque>

namespace scanmesh {
namespace {

FlatTriangulation::Edge undirected(std::int32_t a, std::int32_t b) {
  return std::minmax(a, b);
}

}  // namespace

FlatTriangulation::FlatTriangulation(const std::vector<ExactPoint>& points, const Corners& corners,
                                     const Flattening& flat)
    : points_(points), flat_(flat) {
  add(corners);
}

int FlatTriangulation::turn_of(std::int32_t a, std::int32_t b, std::int32_t c) const {
  return turn(points_[static_cast<std::size_t>(a)], points_[static_cast<std::size_t>(b)],
              points_[static_cast<std::size_t>(c)], flat_);
}

void FlatTriangulation::add(const Corners& t) {
  for (std::size_t k = 0; k < 3; ++k) of_side_[{t[k], t[(k + 1) % 3]}] = triangles_.size();
  triangles_.push_back(t);
}

void FlatTriangulation::remove(std::size_t i) {
  const Corners t = triangles_[i];
  for (std::size_t k = 0; k < 3; ++k) of_side_.erase({t[k], t[(k + 1) % 3]});
  triangles_[i] = {-1, -1, -1};
}

std::int32_t FlatTriangulation::across(std::int32_t a, std::int32_t b) const {
  const auto side = of_side_.find({a, b});
  if (side == of_side_.end()) return -1;
  const Corners& t = triangles_[side->second];
  return t[0] != a && t[0] != b ? t[0] : t[1] != a && t[1] != b ? t[1] : t[2];
}

void FlatTriangulation::insert(std::int32_t point) {
  for (std::size_t i = 0; i < triangles_.size(); ++i) {
    const Corners t = triangles_[i];
    if (t[0] < 0) continue;
    std::array<int, 3> side;
    bool outside = false;
    for (std::size_t k = 0; k < 3 && !outside; ++k) {
      side[k] = turn_of(t[k], t[(k + 1) % 3], point);
      outside = side[k] < 0;
    }
    if (outside) continue;
    const auto zeros = std::count(side.begin(), side.end(), 0);
    if (zeros >= 2) return;  // stands there already
    const std::size_t k =
        static_cast<std::size_t>(std::find(side.begin(), side.end(), 0) - side.begin());
    remove(i);
    if (zeros == 0) {
      for (std::size_t j = 0; j < 3; ++j) add({t[j], t[(j + 1) % 3], point});
      return;
    }
    const std::int32_t a = t[k];
    const std::int32_t b = t[(k + 1) % 3];
    const std::int32_t c = t[(k + 2) % 3];
    const std::int32_t d = across(b, a);
    if (d >= 0) {
      remove(of_side_.at({b, a}));
      add({b, point, d});
      add({point, a, d});
    }
    add({a, point, c});
    add({point, b, c});
    return;
  }
}

bool FlatTriangulation::crosses(const Edge& edge, std::int32_t a, std::int32_t b) const {
  if (edge.first == a || edge.first == b || edge.second == a || edge.second == b) return false;
  return turn_of(a, b, edge.first) * turn_of(a, b, edge.second) < 0 &&
         turn_of(edge.first, edge.second, a) * turn_of(edge.first, edge.second, b) < 0;
}

// Turns the edge into the other diagonal of the four corners around it, where those are convex.
bool FlatTriangulation::flip(const Edge& edge, Edge& made) {
  const auto [a, b] = edge;
  const std::int32_t c = across(a, b);
  const std::int32_t d = across(b, a);
  if (c < 0 || d < 0) return false;
  if (turn_of(d, c, b) >= 0 || turn_of(d, c, a) <= 0) return false;
  remove(of_side_.at({a, b}));
  remove(of_side_.at({b, a}));
  add({a, d, c});
  add({d, b, c});
  made = undirected(c, d);
  return true;
}

// Sloan 1993: what crosses the segment is flipped until nothing does.
void FlatTriangulation::constrain(std::int32_t a, std::int32_t b) {
  constrained_[undirected(a, b)] = true;
  if (of_side_.count({a, b}) != 0 || of_side_.count({b, a}) != 0) return;
  std::deque<Edge> crossing;
  for (const auto& [side, triangle] : of_side_) {
    if (side.first < side.second && crosses(side, a, b)) crossing.push_back(side);
  }
  // Each pass over the queue flips one edge at least; the bound holds against what can't be.
  std::size_t patience = crossing.size() * crossing.size() * 4 + 64;
  while (!crossing.empty() && patience-- > 0) {
    const Edge edge = crossing.front();
    crossing.pop_front();
    Edge made;
    if (!flip(edge, made)) {
      crossing.push_back(edge);
    } else if (crosses(made, a, b)) {
      crossing.push_back(made);
    }
  }
}

bool FlatTriangulation::better_flipped(const Edge& edge) const {
  const auto [a, b] = edge;
  const std::int32_t c = across(a, b);
  const std::int32_t d = across(b, a);
  if (c < 0 || d < 0) return false;
  const auto at = [&](std::int32_t i) -> const ExactPoint& {
    return points_[static_cast<std::size_t>(i)];
  };
  const int inside = in_circle(at(a), at(b), at(c), at(d), flat_);
  if (inside != 0) return inside > 0;
  return std::min(c, d) < std::min(a, b);
}

void FlatTriangulation::settle() {
  std::deque<Edge> open;
  for (const auto& [side, triangle] : of_side_) {
    if (side.first < side.second) open.push_back(side);
  }
  while (!open.empty()) {
    const Edge edge = open.front();
    open.pop_front();
    if (constrained_.count(edge) != 0 || of_side_.count(edge) == 0 || !better_flipped(edge))
      continue;
    Edge made;
    if (!flip(edge, made)) continue;
    for (const std::int32_t end : {edge.first, edge.second}) {
      open.push_back(undirected(end, made.first));
      open.push_back(undirected(end, made.second));
    }
  }
}

std::vector<std::array<std::int32_t, 3>> FlatTriangulation::triangles() const {
  std::vector<Corners> live;
  for (const Corners& t : triangles_) {
    if (t[0] >= 0) live.push_back(t);
  }
  return live;
}

}  // namespace scanmesh
