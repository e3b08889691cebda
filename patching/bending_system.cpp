// Cotangent weights: U. Pinkall, K. Polthier, "Computing discrete minimal surfaces and their
// conjugates", Experimental Mathematics 2 (1993).
#include "patching/bending_system.h"

#include <cmath>

namespace cavity {
namespace {

// A weight outside this range comes from a sliver and would only spoil the conditioning.
constexpr double least_weight = 0.02;
constexpr double most_weight = 20.0;
constexpr double least_area = 1e-3;

// Row numbers of the region's vertices, counted from the ring; all far ones count as rows + 2.
std::vector<int> rows_from_ring(const Surroundings& around, int rows) {
  std::vector<int> row(around.points.size(), rows + 2);
  std::fill(row.begin(), row.begin() + around.ring_size, 0);
  for (int step = 0; step <= rows; ++step) {
    for (const Triangle& f : around.faces) {
      if (std::min({row[f[0]], row[f[1]], row[f[2]]}) != step) continue;
      for (const int v : f) row[v] = std::min(row[v], step + 1);
    }
  }
  return row;
}

// Adds region faces to a surface that has the ring already, numbering their vertices as they come.
class RegionFaces {
 public:
  RegionFaces(const Surroundings& around, JoinedSurface& surface)
      : around_(around), surface_(surface), number_(around.points.size(), -1) {
    for (int i = 0; i < around.ring_size; ++i) number_[i] = i;
  }

  void add(const Triangle& face) {
    Triangle mapped{};
    for (int k = 0; k < 3; ++k) {
      int& v = number_[face[k]];
      if (v < 0) {
        v = surface_.size();
        surface_.points.push_back(around_.points[face[k]]);
      }
      mapped[k] = v;
    }
    surface_.faces.push_back(mapped);
  }

 private:
  const Surroundings& around_;
  JoinedSurface& surface_;
  std::vector<int> number_;
};

}  // namespace

JoinedSurface join_to_region(const Surroundings& around, const PatchMesh& patch) {
  JoinedSurface whole;
  whole.ring_size = around.ring_size;
  whole.patch_size = patch.point_count();
  whole.points = patch.points();
  whole.faces = patch.triangles();
  RegionFaces region(around, whole);
  for (const Triangle& face : around.faces) {
    if (std::min({face[0], face[1], face[2]}) < around.ring_size) region.add(face);
  }
  return whole;
}

JoinedSurface rows_of_region(const Surroundings& around, int rows) {
  JoinedSurface result;
  result.ring_size = around.ring_size;
  result.patch_size = around.ring_size;
  result.points.assign(around.points.begin(), around.points.begin() + around.ring_size);
  const std::vector<int> row = rows_from_ring(around, rows);
  RegionFaces region(around, result);
  for (const Triangle& face : around.faces) {
    if (std::min({row[face[0]], row[face[1]], row[face[2]]}) <= rows) region.add(face);
  }
  return result;
}

Neighbourhoods::Neighbourhoods(const JoinedSurface& surface, int vertices)
    : closed_(static_cast<std::size_t>(vertices), 0),
      edge_slots_(3 * surface.faces.size(), std::array<int, 2>{-1, -1}) {
  // The corners at each vertex, grouped by counting.
  std::vector<int> first(static_cast<std::size_t>(vertices) + 1, 0);
  for (const Triangle& t : surface.faces) {
    for (const int v : t) first[v < vertices ? v : vertices] += 1;
  }
  int total = 0;
  for (int v = 0; v <= vertices; ++v) {
    const int count = first[v];
    first[v] = total;
    if (v < vertices) total += count;
  }
  std::vector<int> corners(static_cast<std::size_t>(total));
  std::vector<int> next(first.begin(), first.end() - 1);
  for (std::size_t f = 0; f < surface.faces.size(); ++f) {
    for (int k = 0; k < 3; ++k) {
      const int v = surface.faces[f][k];
      if (v < vertices) corners[next[v]++] = static_cast<int>(3 * f) + k;
    }
  }
  start_.reserve(static_cast<std::size_t>(vertices) + 1);
  to_.reserve(corners.size() + corners.size() / 8);
  for (int v = 0; v < vertices; ++v) link(surface, v, corners, first[v], first[v + 1]);
  start_.push_back(slots());
  reverse_.assign(to_.size(), -1);
  for (const std::array<int, 2>& ends : edge_slots_) {
    if (ends[0] < 0 || ends[1] < 0) continue;
    reverse_[ends[0]] = ends[1];
    reverse_[ends[1]] = ends[0];
  }
}

void Neighbourhoods::link(const JoinedSurface& surface, int v, const std::vector<int>& corners,
                          int first, int last) {
  start_.push_back(slots());
  for (int i = first; i < last; ++i) {
    const int f = corners[i] / 3;
    const int k = corners[i] % 3;
    const Triangle& t = surface.faces[f];
    edge_slots_[3 * f + previous_corner(k)][0] = slot_to(v, t[next_corner(k)]);
    edge_slots_[3 * f + next_corner(k)][1] = slot_to(v, t[previous_corner(k)]);
  }
  closed_[v] = slots() - start_[v] == last - first ? 1 : 0;
}

int Neighbourhoods::slot_to(int v, int other) {
  for (int s = start_[v]; s < slots(); ++s) {
    if (to_[s] == other) return s;
  }
  to_.push_back(other);
  return slots() - 1;
}

void weigh(const JoinedSurface& surface, const Neighbourhoods& near, Weights kind,
           Laplacian& result) {
  const auto rows = static_cast<std::size_t>(near.vertices());
  result.weights.assign(static_cast<std::size_t>(near.slots()), 0.0);
  result.area.assign(rows, 0.0);
  for (std::size_t f = 0; f < surface.faces.size(); ++f) {
    const Triangle& t = surface.faces[f];
    const std::array<Point, 3> p = {surface.points[t[0]], surface.points[t[1]],
                                    surface.points[t[2]]};
    const double doubled = area_vector(p[0], p[1], p[2]).norm();
    const double scale = 0.5 / std::max(doubled, 1e-9);
    for (int k = 0; k < 3; ++k) {
      const Point u = p[next_corner(k)] - p[k];
      const Point w = p[previous_corner(k)] - p[k];
      const double half_cotangent = kind == Weights::uniform ? 0.5 : scale * u.dot(w);
      for (const int slot : near.edge_slots(f, k)) {
        if (slot >= 0) result.weights[slot] += half_cotangent;
      }
      if (t[k] < near.vertices()) result.area[t[k]] += doubled / 6.0;
    }
  }
  for (double& w : result.weights) w = std::clamp(w, least_weight, most_weight);
  for (double& a : result.area) a = kind == Weights::uniform ? 1.0 : std::max(a, least_area);
}

Point integrated_laplacian(const JoinedSurface& surface, const Neighbourhoods& near,
                           const Laplacian& laplacian, int v) {
  Point sum = Point::Zero();
  for (int s = near.begin(v); s < near.end(v); ++s) {
    sum += laplacian.weights[s] * (surface.points[near.to(s)] - surface.points[v]);
  }
  return sum;
}

std::vector<Point> vertex_normals(const JoinedSurface& surface) {
  std::vector<Point> normals(surface.points.size(), Point::Zero());
  for (const Triangle& t : surface.faces) {
    const Point area =
        area_vector(surface.points[t[0]], surface.points[t[1]], surface.points[t[2]]);
    for (const int v : t) normals[v] += area;
  }
  for (Point& n : normals) {
    const double length = n.norm();
    if (length > 1e-12) {
      n /= length;
    } else {
      n.setZero();
    }
  }
  return normals;
}

}  // namespace cavity
