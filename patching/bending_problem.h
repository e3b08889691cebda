// Least squares over the free vertices of a patch: the bending energy, and its sparse solution.
#ifndef SCANMESH_PATCHING_BENDING_PROBLEM_H
#define SCANMESH_PATCHING_BENDING_PROBLEM_H

#include <Eigen/SparseCholesky>
#include <vector>

#include "patching/bending_system.h"

namespace cavity {

// One row per closed patch vertex: its Laplacian times the root of its area, so that the squared
// rows add up to an integral. The unknowns are the free vertices; ring and region stay.
class BendingProblem {
 public:
  // The faces of the surface are those that `near` was made of; both must outlive the problem.
  BendingProblem(const JoinedSurface& surface, const Neighbourhoods& near);

  // ring_weights: how much a row counts, per ring vertex; those of the free vertices count 1. False
  // where the matrix can't be factored.
  bool set_up(const Laplacian& laplacian, const std::vector<double>& ring_weights);
  // target: the wanted Laplacian (not integrated) per patch vertex, nothing for all zero. One
  // position per free vertex.
  std::vector<Point> solve(const std::vector<Point>& target) const;

 private:
  using Matrix = Eigen::SparseMatrix<double>;
  using Solver = Eigen::SimplicialLDLT<Matrix, Eigen::Upper, Eigen::NaturalOrdering<int>>;

  Matrix edge_matrix() const;
  void order_unknowns(const Matrix& pattern);
  void lay_out_matrix();
  void scale_rows(const Laplacian& laplacian, const std::vector<double>& ring_weights);
  void fill_matrix();
  // Calls visit(row, coefficient) for each row in which free vertex v takes part.
  template <typename Visit>
  void for_each_row_of(int v, Visit visit) const;

  const JoinedSurface& surface_;
  const Neighbourhoods& near_;
  std::vector<int> place_;            // in the elimination order, per free vertex
  std::vector<int> vertex_;           // the other way round
  std::vector<double> coefficients_;  // per slot
  std::vector<double> diagonal_;      // per patch vertex; zero for a row that doesn't count
  std::vector<double> root_;          // what a row's target is multiplied with
  Matrix matrix_;
  Solver solver_;
};

}  // namespace cavity

#endif  // SCANMESH_PATCHING_BENDING_PROBLEM_H
