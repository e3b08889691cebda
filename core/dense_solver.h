// Dense linear systems.
#ifndef SCANMESH_CORE_DENSE_SOLVER_H
#define SCANMESH_CORE_DENSE_SOLVER_H

#include <vector>

namespace scanmesh {

// A pivot below this magnitude makes a system singular.
constexpr double kSingularPivot = 1e-9;

// Replaces `side` by the solution of matrix x = side; false when the matrix is singular. The matrix
// is square, by rows, and is used up.
bool solve_dense(std::vector<double> matrix, std::vector<double>& side);

// Replaces `side` by a solution of matrix x = side whatever the matrix: where columns depend on one
// another, some of the unknowns are 0. The matrix is square, by rows.
void solve_dense_any(const std::vector<double>& matrix, std::vector<double>& side);

// Inverts a size x size matrix by rows in place: Gauss-Jordan with full pivoting. False, with the
// matrix spoilt, when it is singular.
bool invert_matrix(double* a, int size);

}  // namespace scanmesh

#endif  // SCANMESH_CORE_DENSE_SOLVER_H
