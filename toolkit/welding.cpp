#include "toolkit/welding.h"

#include <cstring>

#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

std::uint64_t bits(double value) {
  const double positive_zero = value + 0.0;
  std::uint64_t word;
  std::memcpy(&word, &positive_zero, sizeof word);
  return word;
}

// Floats in doubles differ in their upper bits only: a multiplicative mix that carries them down.
std::uint64_t mixed(std::uint64_t h) {
  h ^= h >> 32;
  h *= 0x9e3779b97f4a7c15ULL;
  h ^= h >> 29;
  return h * 0xbf58476d1ce4e5b9ULL;
}

std::size_t hash(const Point& p) {
  return static_cast<std::size_t>(mixed(mixed(mixed(bits(p.x)) + bits(p.y)) + bits(p.z)) >> 7);
}

}  // namespace

// Open addressing at most half full: one look per point in the mean.
std::vector<std::int32_t> first_equal_points(const std::vector<Point>& points) {
  std::size_t slots = 16;
  while (slots < 2 * points.size()) slots *= 2;
  std::vector<std::int32_t> table(slots, -1);
  std::vector<std::int32_t> first(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    first[i] = static_cast<std::int32_t>(i);
    if (!finite(points[i])) continue;
    std::size_t slot = hash(points[i]) & (slots - 1);
    while (table[slot] >= 0 && points[static_cast<std::size_t>(table[slot])] != points[i]) {
      slot = (slot + 1) & (slots - 1);
    }
    if (table[slot] < 0) table[slot] = first[i];
    first[i] = table[slot];
  }
  return first;
}

void join_equal_points(TriangleMesh& mesh) {
  const std::vector<std::int32_t> first = first_equal_points(mesh.points);
  for (Triangle& t : mesh.triangles) {
    for (std::int32_t& v : t) v = first[static_cast<std::size_t>(v)];
  }
}

}  // namespace scanmesh
