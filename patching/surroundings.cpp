#include "patching/surroundings.h"

#include <cmath>
#include <cstring>
#include <utility>

namespace cavity {
namespace {

constexpr std::size_t doubles_per_face = 12;
constexpr std::size_t doubles_before_corners = 3;
constexpr std::size_t largest_ring = 1U << 28;

bool all_finite(const std::vector<double>& values) {
  return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

// Numbers points by exact coordinates. Open addressing: the table is only ever asked, never walked,
// so the numbering depends on the order of the points alone.
class PointNumbering {
 public:
  explicit PointNumbering(std::size_t expected) {
    std::size_t size = 16;
    while (size < 2 * expected) size *= 2;
    slots_.assign(size, -1);
  }

  // The number of p in `points`; p is appended when it is new.
  int number(const Point& p, std::vector<Point>& points) {
    std::size_t slot = hash(p) & (slots_.size() - 1);
    while (slots_[slot] >= 0) {
      if (points[static_cast<std::size_t>(slots_[slot])] == p) return slots_[slot];
      slot = (slot + 1) & (slots_.size() - 1);
    }
    slots_[slot] = static_cast<int>(points.size());
    points.push_back(p);
    return slots_[slot];
  }

 private:
  static std::size_t hash(const Point& p) {
    std::uint64_t h = 0x9e3779b97f4a7c15ULL;
    for (int axis = 0; axis < 3; ++axis) {
      const double value = p[axis] + 0.0;  // both zeros are the same place
      std::uint64_t bits = 0;
      std::memcpy(&bits, &value, sizeof bits);
      h = (h ^ bits) * 0xff51afd7ed558ccdULL;
      h ^= h >> 32;
    }
    return static_cast<std::size_t>(h);
  }

  std::vector<int> slots_;
};

Point point_at(const std::vector<double>& values, std::size_t offset) {
  return {values[offset], values[offset + 1], values[offset + 2]};
}

bool number_ring(const std::vector<double>& ring_points, PointNumbering& numbering,
                 Surroundings& out) {
  for (std::size_t i = 0; i < ring_points.size(); i += 3) {
    const std::size_t before = out.points.size();
    numbering.number(point_at(ring_points, i), out.points);
    if (out.points.size() == before) return false;
  }
  out.ring_size = static_cast<int>(out.points.size());
  return true;
}

// Corners that coincide say nothing about normals or chords, but the edge that is left does.
void number_faces(const std::vector<double>& region_faces, PointNumbering& numbering,
                  Surroundings& out) {
  out.faces.reserve(region_faces.size() / doubles_per_face);
  for (std::size_t i = 0; i < region_faces.size(); i += doubles_per_face) {
    Triangle face{};
    for (std::size_t k = 0; k < 3; ++k) {
      face[k] =
          numbering.number(point_at(region_faces, i + doubles_before_corners + 3 * k), out.points);
    }
    out.faces.push_back(face);
  }
}

void note_edge(int a, int b, int face, std::vector<bool>& runs_against, Surroundings& out) {
  const int n = out.ring_size;
  if (a == b || a >= n || b >= n) return;
  const bool along = (a + 1) % n == b;
  if (!along && (b + 1) % n != a) {
    out.chords.add(a, b);
    return;
  }
  // A face that runs against the ring is the true neighbour of a patch that runs along it.
  const auto edge = static_cast<std::size_t>(along ? a : b);
  if (out.rim_faces[edge] >= 0 && (along || runs_against[edge])) return;
  out.rim_faces[edge] = face;
  runs_against[edge] = !along;
}

void note_edges(std::vector<bool>& runs_against, Surroundings& out) {
  std::size_t kept = 0;
  for (const Triangle face : out.faces) {
    const bool proper = face[0] != face[1] && face[1] != face[2] && face[2] != face[0];
    for (int k = 0; k < 3; ++k) {
      const int a = face[k];
      const int b = face[next_corner(k)];
      if (proper) {
        note_edge(a, b, static_cast<int>(kept), runs_against, out);
      } else if (a != b && a < out.ring_size && b < out.ring_size) {
        out.chords.add(a, b);
      }
    }
    if (!proper) continue;
    out.faces[kept++] = face;
    if (out.ring_size == 3 && std::max({face[0], face[1], face[2]}) == 2) out.ring_is_a_face = true;
  }
  out.faces.resize(kept);
  out.chords.close();
}

void note_rim_normals(const std::vector<bool>& runs_against, Surroundings& out) {
  const auto n = static_cast<std::size_t>(out.ring_size);
  out.rim_normals.assign(n, Point::Zero());
  int balance = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (out.rim_faces[i] < 0) continue;
    const Triangle& f = out.faces[out.rim_faces[i]];
    const Point normal = normal_or_zero(out.points[f[0]], out.points[f[1]], out.points[f[2]]);
    out.rim_normals[i] = runs_against[i] ? normal : Point(-normal);
    balance += runs_against[i] ? 1 : -1;
  }
  if (balance >= 0) return;
  for (Triangle& f : out.faces) std::swap(f[1], f[2]);
}

bool bring_to_unit_scale(Surroundings& out) {
  const auto n = static_cast<std::size_t>(out.ring_size);
  Point low = out.points[0];
  Point high = out.points[0];
  double length = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    low = low.cwiseMin(out.points[i]);
    high = high.cwiseMax(out.points[i]);
    length += (out.points[(i + 1) % n] - out.points[i]).stableNorm() / static_cast<double>(n);
  }
  out.origin = 0.5 * low + 0.5 * high;
  out.scale = length;
  if (!std::isfinite(length) || !(length > 0.0) || !std::isfinite(1.0 / length)) return false;
  for (Point& p : out.points) {
    p = (p - out.origin) / out.scale;
    if (!p.allFinite()) return false;
  }
  return true;
}

}  // namespace

bool read_surroundings(const std::vector<double>& region_faces,
                       const std::vector<double>& ring_points, Surroundings& out) {
  if (ring_points.size() % 3 != 0 || ring_points.size() < 9) return false;
  if (ring_points.size() / 3 > largest_ring) return false;
  if (region_faces.size() % doubles_per_face != 0) return false;
  if (!all_finite(ring_points) || !all_finite(region_faces)) return false;

  out = Surroundings();
  PointNumbering numbering(ring_points.size() / 3 + region_faces.size() / doubles_per_face * 2);
  if (!number_ring(ring_points, numbering, out)) return false;
  number_faces(region_faces, numbering, out);
  if (!bring_to_unit_scale(out)) return false;
  std::vector<bool> runs_against(static_cast<std::size_t>(out.ring_size), false);
  out.rim_faces.assign(static_cast<std::size_t>(out.ring_size), -1);
  note_edges(runs_against, out);
  note_rim_normals(runs_against, out);
  return true;
}

}  // namespace cavity
