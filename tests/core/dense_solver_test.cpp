#include "core/dense_solver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

#include "tests/support/shapes.h"

namespace {

using std::vector;
using test_support::Random;

vector<double> random_matrix(std::size_t n, uint64_t seed) {
  Random random(seed);
  vector<double> a(n * n);
  for (double& x : a) x = random.signed_unit();
  return a;
}

TEST(InvertMatrix, gives_the_inverse_whatever_the_order_of_pivots) {
  for (std::size_t n = 1; n <= 12; ++n) {
    for (uint64_t seed = 0; seed < 20; ++seed) {
      const vector<double> a = random_matrix(n, 100 * n + seed);
      vector<double> b = a;
      ASSERT_TRUE(scanmesh::invert_matrix(b.data(), static_cast<int>(n)));
      for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < n; ++j) {
          double sum = 0;
          for (std::size_t k = 0; k < n; ++k) sum += a[i * n + k] * b[k * n + j];
          EXPECT_NEAR(sum, i == j ? 1 : 0, 1e-9) << n << " " << seed;
        }
      }
    }
  }
}

TEST(InvertMatrix, takes_rows_and_columns_out_of_order_exactly) {
  vector<double> a = {0, 2, 0, 0, 0, 4, 8, 0, 0};
  ASSERT_TRUE(scanmesh::invert_matrix(a.data(), 3));
  EXPECT_EQ(a, (vector<double>{0, 0, 0.125, 0.5, 0, 0, 0, 0.25, 0}));
}

TEST(InvertMatrix, refuses_a_pivot_below_its_limit) {
  vector<double> at = {1e-9};
  EXPECT_TRUE(scanmesh::invert_matrix(at.data(), 1));
  EXPECT_EQ(at[0], 1.0 / 1e-9);
  vector<double> below = {0.99e-9};
  EXPECT_FALSE(scanmesh::invert_matrix(below.data(), 1));
  vector<double> dependent = {1, 2, 2, 4};
  EXPECT_FALSE(scanmesh::invert_matrix(dependent.data(), 2));
}

TEST(SolveDense, solves_small_and_large_systems) {
  for (const std::size_t n : {1U, 2U, 7U, 60U, 300U}) {
    const vector<double> a = random_matrix(n, n);
    vector<double> wanted(n);
    vector<double> side(n, 0.0);
    for (std::size_t i = 0; i < n; ++i) wanted[i] = std::sin(static_cast<double>(i + 1));
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t j = 0; j < n; ++j) side[i] += a[i * n + j] * wanted[j];
    }
    vector<double> any = side;
    ASSERT_TRUE(scanmesh::solve_dense(a, side));
    scanmesh::solve_dense_any(a, any);
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_NEAR(side[i], wanted[i], 1e-8) << n;
      EXPECT_NEAR(any[i], wanted[i], 1e-8) << n;
    }
  }
}

}  // namespace
