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

double half_cotangent(const Point& apex, const Point& a, const Point& b) {
  const Point u = a - apex;
  const Point v = b - apex;
  return 0.5 * u.dot(v) / std::max(u.cross(v).norm(), 1e-9);
}

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

}  // namespace

JoinedSurface join_to_region(const Surroundings& around, const PatchMesh& patch, int rows) {
  JoinedSurface whole;
  whole.ring_size = around.ring_size;
  whole.patch_size = patch.point_count();
  whole.points = patch.points();
  whole.faces = patch.triangles();
  whole.patch_faces = whole.faces.size();
  const std::vector<int> row = rows_from_ring(around, rows);
  std::vector<int> number(around.points.size(), -1);
  for (int i = 0; i < around.ring_size; ++i) number[i] = i;
  for (const Triangle& face : around.faces) {
    if (std::min({row[face[0]], row[face[1]], row[face[2]]}) > rows) continue;
    Triangle mapped{};
    for (int k = 0; k < 3; ++k) {
      int& v = number[face[k]];
      if (v < 0) {
        v = whole.size();
        whole.points.push_back(around.points[face[k]]);
      }
      mapped[k] = v;
    }
    whole.faces.push_back(mapped);
  }
  return whole;
}

Laplacian build_laplacian(const JoinedSurface& surface, Weights kind) {
  const int size = surface.size();
  Laplacian result;
  result.area.assign(surface.points.size(), 0.0);
  std::vector<int> face_count(surface.points.size(), 0);
  std::vector<Eigen::Triplet<double>> entries;
  entries.reserve(surface.faces.size() * 6);
  const std::vector<Point>& at = surface.points;
  for (const Triangle& t : surface.faces) {
    const double share = area_vector(at[t[0]], at[t[1]], at[t[2]]).norm() / 6.0;
    for (int k = 0; k < 3; ++k) {
      const int a = t[next_corner(k)];
      const int b = t[previous_corner(k)];
      const double w = kind == Weights::uniform ? 0.5 : half_cotangent(at[t[k]], at[a], at[b]);
      entries.emplace_back(a, b, w);
      entries.emplace_back(b, a, w);
      result.area[t[k]] += share;
      ++face_count[t[k]];
    }
  }
  result.weights.resize(size, size);
  result.weights.setFromTriplets(entries.begin(), entries.end());
  result.closed.assign(surface.points.size(), 0);
  for (int v = 0; v < size; ++v) {
    int neighbours = 0;
    for (SparseMatrix::InnerIterator it(result.weights, v); it; ++it) {
      it.valueRef() = std::clamp(it.value(), least_weight, most_weight);
      ++neighbours;
    }
    result.closed[v] = neighbours == face_count[v] ? 1 : 0;
    result.area[v] = kind == Weights::uniform ? 1.0 : std::max(result.area[v], least_area);
  }
  return result;
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
