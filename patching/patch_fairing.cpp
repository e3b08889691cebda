// Least bending energy with the region's first rows as constraints: M. Botsch, L. Kobbelt, "An
// intuitive framework for real-time freeform modeling", SIGGRAPH 2004. Cotangent weights: U.
// Pinkall, K. Polthier, "Computing discrete minimal surfaces and their conjugates", Exp. Math. 2
// (1993).
#include "patching/patch_fairing.h"

#include <Eigen/Sparse>
#include <Eigen/SparseCholesky>
#include <cmath>

namespace cavity {
namespace {

using SparseMatrix = Eigen::SparseMatrix<double>;
using Coordinates = Eigen::Matrix<double, Eigen::Dynamic, 3>;

// A weight outside this range comes from a sliver and would only spoil the conditioning.
constexpr double least_weight = 0.02;
constexpr double most_weight = 20.0;
constexpr double least_area = 1e-3;
// A solution further out than this many sizes of the ring is no surface any more.
constexpr double most_reach = 3.0;

// The patch and the faces that touch the ring, as one mesh. Patch points come first.
struct Union {
  std::vector<Point> points;
  std::vector<Triangle> faces;
  std::vector<char> has_row;  // vertices whose whole neighbourhood is in the union
};

Union join_to_region(const Surroundings& around, const PatchMesh& patch) {
  const int n = around.ring_size;
  Union whole;
  whole.points = patch.points();
  whole.faces = patch.triangles();
  whole.has_row.assign(whole.points.size(), 1);
  for (int i = 0; i < n; ++i) {
    const bool open = around.rim_faces[i] < 0 || around.rim_faces[(i + n - 1) % n] < 0;
    if (open) whole.has_row[i] = 0;
  }
  std::vector<int> number(around.points.size(), -1);
  for (const Triangle& face : around.faces) {
    if (face[0] >= n && face[1] >= n && face[2] >= n) continue;
    Triangle mapped{};
    for (int k = 0; k < 3; ++k) {
      const int v = face[k];
      if (v >= n && number[v] < 0) {
        number[v] = static_cast<int>(whole.points.size());
        whole.points.push_back(around.points[v]);
      }
      mapped[k] = v < n ? v : number[v];
    }
    whole.faces.push_back(mapped);
  }
  whole.has_row.resize(whole.points.size(), 0);
  return whole;
}

double half_cotangent(const Point& apex, const Point& a, const Point& b) {
  const Point u = a - apex;
  const Point v = b - apex;
  return 0.5 * u.dot(v) / std::max(u.cross(v).norm(), 1e-9);
}

// One row per vertex with a whole neighbourhood: sum of w_vj (x_j - x_v), divided by the root of
// the vertex' share of the area. Columns are all vertices.
SparseMatrix bending_rows(const Union& whole, bool uniform) {
  const auto size = static_cast<int>(whole.points.size());
  std::vector<Eigen::Triplet<double>> entries;
  entries.reserve(whole.faces.size() * 6);
  std::vector<double> area(whole.points.size(), 0.0);
  for (const Triangle& t : whole.faces) {
    const double share =
        area_vector(whole.points[t[0]], whole.points[t[1]], whole.points[t[2]]).norm() / 6.0;
    for (int k = 0; k < 3; ++k) {
      const int a = t[next_corner(k)];
      const int b = t[previous_corner(k)];
      const double w =
          uniform ? 0.5 : half_cotangent(whole.points[t[k]], whole.points[a], whole.points[b]);
      entries.emplace_back(a, b, w);
      entries.emplace_back(b, a, w);
      area[t[k]] += share;
    }
  }
  SparseMatrix weights(size, size);
  weights.setFromTriplets(entries.begin(), entries.end());
  entries.clear();
  // Symmetric, so a column is as good as a row.
  for (int v = 0; v < size; ++v) {
    if (whole.has_row[v] == 0) continue;
    const double root = uniform ? 1.0 : std::sqrt(std::max(area[v], least_area));
    double sum = 0.0;
    for (SparseMatrix::InnerIterator it(weights, v); it; ++it) {
      const double w = std::clamp(it.value(), least_weight, most_weight);
      entries.emplace_back(v, static_cast<int>(it.row()), w / root);
      sum += w;
    }
    entries.emplace_back(v, v, -sum / root);
  }
  SparseMatrix rows(size, size);
  rows.setFromTriplets(entries.begin(), entries.end());
  return rows;
}

bool within_reach(const Surroundings& around, const Coordinates& solution) {
  double ring_reach = 0.0;
  for (int i = 0; i < around.ring_size; ++i) {
    ring_reach = std::max(ring_reach, around.points[i].cwiseAbs().maxCoeff());
  }
  return solution.allFinite() && solution.cwiseAbs().maxCoeff() <= most_reach * ring_reach;
}

bool solve_for_free(const Surroundings& around, const Union& whole, bool uniform,
                    PatchMesh& patch) {
  const int n = patch.ring_size();
  const int free = patch.point_count() - n;
  const auto size = static_cast<int>(whole.points.size());
  const SparseMatrix rows = bending_rows(whole, uniform);
  const SparseMatrix free_columns = rows.middleCols(n, free);
  Coordinates fixed(size, 3);
  for (int v = 0; v < size; ++v) fixed.row(v) = whole.points[v].transpose();
  fixed.middleRows(n, free).setZero();
  const Coordinates load = rows * fixed;
  const SparseMatrix system = free_columns.transpose() * free_columns;
  const Coordinates right = -(free_columns.transpose() * load);
  Eigen::SimplicialLDLT<SparseMatrix> solver(system);
  if (solver.info() != Eigen::Success) return false;
  const Coordinates solution = solver.solve(right);
  if (solver.info() != Eigen::Success || !within_reach(around, solution)) return false;
  for (int i = 0; i < free; ++i) patch.move_point(n + i, solution.row(i).transpose());
  return true;
}

}  // namespace

bool fair_patch(const Surroundings& around, PatchMesh& patch) {
  if (patch.point_count() == patch.ring_size()) return true;
  const Union whole = join_to_region(around, patch);
  return solve_for_free(around, whole, false, patch) || solve_for_free(around, whole, true, patch);
}

}  // namespace cavity
