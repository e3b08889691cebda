#include "patching/bending_problem.h"

#include <Eigen/OrderingMethods>
#include <cmath>
#include <numeric>

namespace cavity {

namespace {

// Up to this many unknowns, an elimination order found on the edges of the patch alone is good
// enough: it takes a third of the time that the whole matrix would, and fills in little more.
// Beyond, fill-in is what counts.
constexpr int most_ordered_by_edges = 500;

}  // namespace

BendingProblem::BendingProblem(const JoinedSurface& surface, const Neighbourhoods& near)
    : surface_(surface), near_(near) {
  vertex_.resize(static_cast<std::size_t>(surface.free_count()));
  place_.resize(vertex_.size());
  std::iota(vertex_.begin(), vertex_.end(), 0);
  place_ = vertex_;
  if (surface.free_count() > most_ordered_by_edges) {
    lay_out_matrix();
    order_unknowns(matrix_);
  } else {
    order_unknowns(edge_matrix());
  }
  lay_out_matrix();
  solver_.analyzePattern(matrix_);
}

BendingProblem::Matrix BendingProblem::edge_matrix() const {
  const int free = surface_.free_count();
  const int ring = surface_.ring_size;
  Matrix edges(free, free);
  edges.reserve(near_.slots());
  for (int c = 0; c < free; ++c) {
    edges.startVec(c);
    edges.insertBackByOuterInnerUnordered(c, c) = 1.0;
    for (int s = near_.begin(ring + c); s < near_.end(ring + c); ++s) {
      const int other = near_.to(s) - ring;
      if (other >= 0 && other < c) edges.insertBackByOuterInnerUnordered(c, other) = 1.0;
    }
  }
  edges.finalize();
  return edges;
}

// By minimum degree. Takes the upper half of a matrix.
void BendingProblem::order_unknowns(const Matrix& pattern) {
  Eigen::AMDOrdering<int>::PermutationType permutation;
  Eigen::AMDOrdering<int>()(pattern.selfadjointView<Eigen::Upper>(), permutation);
  for (int i = 0; i < surface_.free_count(); ++i) {
    vertex_[i] = permutation.indices()[i];
    place_[vertex_[i]] = i;
  }
}

template <typename Visit>
void BendingProblem::for_each_row_of(int v, Visit visit) const {
  visit(v, diagonal_.empty() ? 1.0 : diagonal_[v]);
  for (int s = near_.begin(v); s < near_.end(v); ++s) {
    const int row = near_.to(s);
    if (row >= surface_.patch_size || !near_.is_closed(row)) continue;
    visit(row, coefficients_.empty() ? 1.0 : coefficients_[near_.reverse(s)]);
  }
}

void BendingProblem::lay_out_matrix() {
  const int free = surface_.free_count();
  const int ring = surface_.ring_size;
  matrix_.resize(free, free);
  matrix_.reserve(10L * free);
  std::vector<int> seen(static_cast<std::size_t>(free), -1);
  for (int column = 0; column < free; ++column) {
    matrix_.startVec(column);
    const auto add = [&](int v) {
      if (!surface_.is_free(v)) return;
      const int place = place_[v - ring];
      if (place > column || seen[place] == column) return;
      seen[place] = column;
      matrix_.insertBackByOuterInnerUnordered(column, place) = 0.0;
    };
    for_each_row_of(ring + vertex_[column], [&](int row, double) {
      add(row);
      for (int s = near_.begin(row); s < near_.end(row); ++s) add(near_.to(s));
    });
  }
  matrix_.finalize();
}

void BendingProblem::scale_rows(const Laplacian& laplacian,
                                const std::vector<double>& ring_weights) {
  const auto rows = static_cast<std::size_t>(surface_.patch_size);
  coefficients_.assign(laplacian.weights.size(), 0.0);
  diagonal_.assign(rows, 0.0);
  root_.assign(rows, 0.0);
  for (int v = 0; v < surface_.patch_size; ++v) {
    if (!near_.is_closed(v)) continue;
    const double weight = surface_.is_free(v) ? 1.0 : ring_weights[v];
    const double root = std::sqrt(laplacian.area[v]);
    double sum = 0.0;
    for (int s = near_.begin(v); s < near_.end(v); ++s) {
      coefficients_[s] = laplacian.weights[s] * weight / root;
      sum += coefficients_[s];
    }
    diagonal_[v] = -sum;
    root_[v] = root * weight;
  }
}

void BendingProblem::fill_matrix() {
  const int ring = surface_.ring_size;
  std::vector<double> column_sum(static_cast<std::size_t>(surface_.free_count()), 0.0);
  for (int column = 0; column < surface_.free_count(); ++column) {
    const auto add = [&](int v, double value) {
      if (!surface_.is_free(v)) return;
      const int place = place_[v - ring];
      if (place <= column) column_sum[place] += value;
    };
    for_each_row_of(ring + vertex_[column], [&](int row, double coefficient) {
      add(row, coefficient * diagonal_[row]);
      for (int s = near_.begin(row); s < near_.end(row); ++s) {
        add(near_.to(s), coefficient * coefficients_[s]);
      }
    });
    for (Matrix::InnerIterator it(matrix_, column); it; ++it) {
      it.valueRef() = column_sum[it.row()];
      column_sum[it.row()] = 0.0;
    }
  }
}

bool BendingProblem::set_up(const Laplacian& laplacian, const std::vector<double>& ring_weights) {
  scale_rows(laplacian, ring_weights);
  fill_matrix();
  solver_.factorize(matrix_);
  return solver_.info() == Eigen::Success;
}

std::vector<Point> BendingProblem::solve(const std::vector<Point>& target) const {
  const int ring = surface_.ring_size;
  // What is wanted of each row, less what the fixed vertices bring.
  std::vector<Point> wanted(static_cast<std::size_t>(surface_.patch_size), Point::Zero());
  for (int v = 0; v < surface_.patch_size; ++v) {
    if (!near_.is_closed(v)) continue;
    if (!target.empty()) wanted[v] = root_[v] * target[v];
    if (!surface_.is_free(v)) wanted[v] -= diagonal_[v] * surface_.points[v];
    for (int s = near_.begin(v); s < near_.end(v); ++s) {
      const int other = near_.to(s);
      if (!surface_.is_free(other)) wanted[v] -= coefficients_[s] * surface_.points[other];
    }
  }
  Eigen::Matrix<double, Eigen::Dynamic, 3> right(surface_.free_count(), 3);
  for (int column = 0; column < surface_.free_count(); ++column) {
    Point sum = Point::Zero();
    for_each_row_of(ring + vertex_[column],
                    [&](int row, double coefficient) { sum += coefficient * wanted[row]; });
    right.row(column) = sum.transpose();
  }
  const Eigen::Matrix<double, Eigen::Dynamic, 3> solution = solver_.solve(right);
  std::vector<Point> result(static_cast<std::size_t>(surface_.free_count()));
  for (int column = 0; column < surface_.free_count(); ++column) {
    result[vertex_[column]] = solution.row(column).transpose();
  }
  return result;
}

}  // namespace cavity
