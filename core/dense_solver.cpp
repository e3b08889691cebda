#include "core/dense_solver.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace scanmesh {

namespace {

// Pivots chosen by columns say surely that a system is regular when none of them comes near the
// bound.
constexpr double kDoubtfulPivot = 1000 * kSingularPivot;
// Full pivoting decides in doubt, but takes minutes for the largest systems. Those of thinned
// anchors have fewer rows than this.
constexpr std::size_t kLargestInverse = 1204;

struct Pivot {
  std::size_t row;
  std::size_t column;
};

double* row_of(double* a, std::size_t n, std::size_t row) {
  return a + row * n;
}

// The largest entry in the rows and columns from k on, the first found winning.
Pivot find_pivot(double* a, std::size_t n, std::size_t k, double& magnitude) {
  Pivot pivot = {k, k};
  magnitude = 0;
  for (std::size_t i = k; i < n; ++i) {
    const double* const row = row_of(a, n, i);
    // Two passes: the first vectorises, and few rows need the second.
    double largest = 0;
    for (std::size_t j = k; j < n; ++j) {
      const double value = std::fabs(row[j]);
      largest = value > largest ? value : largest;
    }
    if (!(largest > magnitude)) continue;
    std::size_t column = k;
    while (std::fabs(row[column]) != largest) ++column;
    magnitude = largest;
    pivot = {i, column};
  }
  return pivot;
}

void swap_rows(double* a, std::size_t n, std::size_t i, std::size_t k) {
  if (i == k) return;
  double* const first = row_of(a, n, i);
  double* const second = row_of(a, n, k);
  for (std::size_t j = 0; j < n; ++j) std::swap(first[j], second[j]);
}

void swap_columns(double* a, std::size_t n, std::size_t j, std::size_t k) {
  if (j == k) return;
  for (std::size_t i = 0; i < n; ++i) std::swap(a[i * n + j], a[i * n + k]);
}

// Eliminates with the pivot in place at (k, k). The entry at column k of each row turns from the
// matrix's into the inverse's, so the update runs over the whole row and column k is set after it.
void eliminate(double* a, std::size_t n, std::size_t k) {
  double* const pivot_row = row_of(a, n, k);
  const double reciprocal = 1.0 / pivot_row[k];
  for (std::size_t j = 0; j < n; ++j) {
    if (j != k) pivot_row[j] *= reciprocal;
  }
  pivot_row[k] = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (i == k) continue;
    double* const row = row_of(a, n, i);
    const double factor = row[k];
    for (std::size_t j = 0; j < n; ++j) row[j] -= factor * pivot_row[j];
    row[k] = -factor * reciprocal;
  }
  pivot_row[k] = reciprocal;
}

bool solve_by_inverse(std::vector<double>& matrix, std::vector<double>& side) {
  const std::size_t n = side.size();
  if (!invert_matrix(matrix.data(), static_cast<int>(n))) return false;
  std::vector<double> product(n, 0.0);
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) product[i] += matrix[i * n + j] * side[j];
  }
  side = std::move(product);
  return true;
}

using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic>;

// Works in place: the largest systems fill 290 MB. Rows are read as columns, so the transpose is
// what is factorised.
class Factors {
 public:
  Factors(std::vector<double>& matrix, std::size_t n)
      : map_(matrix.data(), static_cast<Eigen::Index>(n), static_cast<Eigen::Index>(n)),
        in_place_(map_),
        factors_(in_place_) {}

  double least_pivot() const { return factors_.matrixLU().diagonal().cwiseAbs().minCoeff(); }

  void solve(std::vector<double>& side) const {
    Eigen::Map<Eigen::VectorXd> x(side.data(), map_.rows());
    x = factors_.transpose().solve(x).eval();
  }

 private:
  Eigen::Map<Matrix> map_;
  Eigen::Ref<Matrix> in_place_;
  Eigen::PartialPivLU<Eigen::Ref<Matrix>> factors_;
};

}  // namespace

bool invert_matrix(double* a, int size) {
  const auto n = static_cast<std::size_t>(size);
  std::vector<Pivot> pivots;
  pivots.reserve(n);
  for (std::size_t k = 0; k < n; ++k) {
    double magnitude = 0;
    const Pivot pivot = find_pivot(a, n, k, magnitude);
    if (!(magnitude >= kSingularPivot)) return false;
    swap_rows(a, n, k, pivot.row);
    swap_columns(a, n, k, pivot.column);
    pivots.push_back(pivot);
    eliminate(a, n, k);
  }
  for (std::size_t k = n; k-- > 0;) {
    swap_rows(a, n, k, pivots[k].column);
    swap_columns(a, n, k, pivots[k].row);
  }
  return true;
}

bool solve_dense(std::vector<double> matrix, std::vector<double>& side) {
  const std::size_t n = side.size();
  const bool small = n <= kLargestInverse;
  std::vector<double> kept;
  if (small) kept = matrix;
  const Factors factors(matrix, n);
  const double least = factors.least_pivot();
  if (small && !(least >= kDoubtfulPivot)) return solve_by_inverse(kept, side);
  if (!(least >= kSingularPivot)) return false;
  factors.solve(side);
  return true;
}

// Elimination is several times as fast as orthogonal factors; the residual tells where it went
// wrong. Points that nearly coincide give large unknowns, for which rounding alone leaves 1e-5.
void solve_dense_any(const std::vector<double>& matrix, std::vector<double>& side) {
  constexpr double kTolerance = 1e-4;
  const auto n = static_cast<Eigen::Index>(side.size());
  if (n == 0) return;
  using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
  const Eigen::Map<const RowMajor> a(matrix.data(), n, n);
  Eigen::Map<Eigen::VectorXd> b(side.data(), n);
  Eigen::VectorXd x = Eigen::PartialPivLU<Matrix>(a).solve(b);
  const double off = (a * x - b).cwiseAbs().maxCoeff();
  const double scale = std::max(1.0, b.cwiseAbs().maxCoeff());
  if (!(off <= kTolerance * scale)) x = Eigen::ColPivHouseholderQR<Matrix>(a).solve(b);
  b = x;
}

}  // namespace scanmesh
