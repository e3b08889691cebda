#include "support/distance.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace demo {
namespace {

constexpr std::size_t kLeafSize = 4;

double clamp01(double t) {
  return t < 0 ? 0 : t > 1 ? 1 : t;
}

double squared_distance_to_edge(const Vec3& p, const Vec3& a, const Vec3& b) {
  const Vec3 along = b - a;
  const double size = dot(along, along);
  const double t = size > 0 ? clamp01(dot(p - a, along) / size) : 0;
  const Vec3 off = p - (a + along * t);
  return dot(off, off);
}

double squared_distance_to_triangle(const Vec3& p, const Triangle& t) {
  const Vec3 normal = cross(t[1] - t[0], t[2] - t[0]);
  const double area = dot(normal, normal);
  double least =
      std::min({squared_distance_to_edge(p, t[0], t[1]), squared_distance_to_edge(p, t[1], t[2]),
                squared_distance_to_edge(p, t[2], t[0])});
  // The plane counts only where the foot of the perpendicular falls inside all three edges.
  bool inside = area > 0;
  for (std::size_t k = 0; inside && k < 3; ++k) {
    const Vec3& a = t[k];
    const Vec3& b = t[(k + 1) % 3];
    inside = dot(cross(b - a, p - a), normal) >= 0;
  }
  if (inside) {
    const double height = dot(p - t[0], normal);
    least = std::min(least, height * height / area);
  }
  return least;
}

Vec3 lower(const Vec3& a, const Vec3& b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
}

Vec3 upper(const Vec3& a, const Vec3& b) {
  return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}

}  // namespace

double distance_to_triangle(const Vec3& point, const Triangle& triangle) {
  return std::sqrt(squared_distance_to_triangle(point, triangle));
}

NearestTriangle::NearestTriangle(std::vector<Triangle> triangles)
    : triangles_(std::move(triangles)) {
  if (triangles_.empty()) return;
  nodes_.reserve(triangles_.size());
  nodes_.emplace_back();
  build(0, 0, triangles_.size());
}

NearestTriangle::Box NearestTriangle::box_of(const Triangle* begin, const Triangle* end) {
  Box box{(*begin)[0], (*begin)[0]};
  for (const Triangle* t = begin; t != end; ++t) {
    for (const Vec3& p : *t) box = {lower(box.low, p), upper(box.high, p)};
  }
  return box;
}

double NearestTriangle::squared_distance(const Vec3& p, const Box& box) {
  const Vec3 zero;
  const Vec3 off = upper(upper(box.low - p, p - box.high), zero);
  return dot(off, off);
}

// Halves the triangles at the median along the longest side of their box.
void NearestTriangle::build(std::size_t node, std::size_t first, std::size_t count) {
  Triangle* const begin = triangles_.data() + first;
  const Box box = box_of(begin, begin + count);
  if (count <= kLeafSize) {
    nodes_[node] = {box, first, count};
    return;
  }
  const Vec3 size = box.high - box.low;
  const int axis = size.x >= size.y && size.x >= size.z ? 0 : size.y >= size.z ? 1 : 2;
  const std::size_t half = count / 2;
  std::nth_element(begin, begin + half, begin + count, [axis](const auto& a, const auto& b) {
    return a[0][axis] + a[1][axis] + a[2][axis] < b[0][axis] + b[1][axis] + b[2][axis];
  });
  const std::size_t children = nodes_.size();
  nodes_.resize(children + 2);
  nodes_[node] = {box, children, 0};
  build(children, first, half);
  build(children + 1, first + half, count - half);
}

double NearestTriangle::distance_to(const Vec3& point) const {
  double least = std::numeric_limits<double>::infinity();
  std::vector<std::pair<double, std::size_t>> stack;
  if (!nodes_.empty()) stack.emplace_back(squared_distance(point, nodes_[0].box), 0);
  while (!stack.empty()) {
    const auto [bound, index] = stack.back();
    stack.pop_back();
    if (bound >= least) continue;
    const Node& node = nodes_[index];
    for (std::size_t i = node.first; i < node.first + node.count; ++i) {
      least = std::min(least, squared_distance_to_triangle(point, triangles_[i]));
    }
    if (node.count > 0) continue;
    std::pair<double, std::size_t> near{squared_distance(point, nodes_[node.first].box),
                                        node.first};
    std::pair<double, std::size_t> far{squared_distance(point, nodes_[node.first + 1].box),
                                       node.first + 1};
    if (far < near) std::swap(near, far);
    stack.push_back(far);
    stack.push_back(near);
  }
  return std::sqrt(least);
}

Deviation deviation(const std::vector<Triangle>& faces, const NearestTriangle& surface) {
  Deviation result;
  double sum = 0;
  const auto sample = [&](const Vec3& p) {
    const double d = surface.distance_to(p);
    sum += d * d;
    result.largest = std::max(result.largest, d);
    ++result.samples;
  };
  for (const Triangle& t : faces) {
    for (const Vec3& corner : t) sample(corner);
    sample((t[0] + t[1] + t[2]) * (1.0 / 3));
  }
  if (result.samples > 0) result.rms = std::sqrt(sum / static_cast<double>(result.samples));
  return result;
}

}  // namespace demo
