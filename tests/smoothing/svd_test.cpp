#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "scanmesh/curvature.h"
#include "tests/support/shapes.h"

namespace {

using std::vector;
using test_support::Random;

// A matrix with the row pointers that the routine takes.
struct Rows {
  Rows(int rows, int columns)
      : values(static_cast<std::size_t>(rows * columns)), cols(static_cast<std::size_t>(columns)) {
    for (int r = 0; r < rows; ++r) {
      pointers.push_back(values.data() + static_cast<std::size_t>(r) * cols);
    }
  }
  Rows(const Rows&) = delete;
  double& at(int r, int c) {
    return values[static_cast<std::size_t>(r) * cols + static_cast<std::size_t>(c)];
  }
  vector<double> values;
  std::size_t cols;
  vector<double*> pointers;
};

// Decomposes a copy and checks the product, the lengths and right angles of the columns, and signs.
void expect_decomposition(const vector<double>& a, int rows, int cols, double scale = 1.0) {
  Rows u(rows, cols);
  std::copy(a.begin(), a.end(), u.values.begin());
  Rows v(cols, cols);
  vector<double> w(static_cast<std::size_t>(cols));
  ASSERT_EQ(Svd_Decompose(u.pointers.data(), rows, cols, w.data(), v.pointers.data()), 0);
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < cols; ++c) {
      double sum = 0;
      for (int k = 0; k < cols; ++k)
        sum += u.at(r, k) * w[static_cast<std::size_t>(k)] * v.at(c, k);
      EXPECT_NEAR(sum, a[static_cast<std::size_t>(r * cols + c)], 1e-12 * scale);
    }
  }
  for (int i = 0; i < cols; ++i) {
    EXPECT_GE(w[static_cast<std::size_t>(i)], 0);
    for (int j = 0; j < cols; ++j) {
      double in_v = 0;
      double in_u = 0;
      for (int r = 0; r < cols; ++r) in_v += v.at(r, i) * v.at(r, j);
      for (int r = 0; r < rows; ++r) in_u += u.at(r, i) * u.at(r, j);
      EXPECT_NEAR(in_v, i == j ? 1.0 : 0.0, 1e-13);
      if (rows < cols) continue;
      EXPECT_NEAR(in_u, i == j ? 1.0 : 0.0, 1e-13);
    }
  }
}

TEST(Svd, ReconstructsRandomMatricesOfEveryShape) {
  Random random(1);
  for (int rows = 1; rows < 9; ++rows) {
    for (int cols = 1; cols < 9; ++cols) {
      vector<double> a;
      for (int i = 0; i < rows * cols; ++i) a.push_back(random.signed_unit());
      expect_decomposition(a, rows, cols, 10);
    }
  }
}

TEST(Svd, ReconstructsRankDeficientMatrices) {
  Random random(2);
  for (int rank = 0; rank < 5; ++rank) {
    vector<double> a(36, 0.0);
    for (int k = 0; k < rank; ++k) {
      double x[6];
      double y[6];
      for (int i = 0; i < 6; ++i) {
        x[i] = random.signed_unit();
        y[i] = random.signed_unit();
      }
      for (int i = 0; i < 36; ++i) a[static_cast<std::size_t>(i)] += x[i / 6] * y[i % 6];
    }
    expect_decomposition(a, 6, 6, 10);
  }
}

TEST(Svd, ReconstructsAtEveryScale) {
  Random random(3);
  for (const double scale : {1e-12, 1e-3, 1e6, 1e12}) {
    vector<double> a;
    for (int i = 0; i < 16; ++i) a.push_back(scale * random.signed_unit());
    expect_decomposition(a, 4, 4, 10 * scale);
  }
}

TEST(Svd, GivesTheValuesOfADiagonalMatrix) {
  expect_decomposition({3, 0, 0, 0, -5, 0, 0, 0, 0}, 3, 3);
  Rows a(3, 3);
  a.at(0, 0) = 3;
  a.at(1, 1) = -5;
  Rows v(3, 3);
  double w[3];
  ASSERT_EQ(Svd_Decompose(a.pointers.data(), 3, 3, w, v.pointers.data()), 0);
  std::sort(w, w + 3);
  EXPECT_EQ(w[0], 0);
  EXPECT_DOUBLE_EQ(w[1], 3);
  EXPECT_DOUBLE_EQ(w[2], 5);
}

TEST(Svd, SplitsAtZerosOnTheDiagonal) {
  expect_decomposition({0, 1, 0, 0, 0, 2, 0, 0, 3}, 3, 3, 3);
  expect_decomposition({1, 2, 0, 0, 0, 0, 3, 0, 0, 0, 4, 5, 0, 0, 0, 0}, 4, 4, 5);
  expect_decomposition({2, 1, 0, 0, 0, 1, 0, 0, 0}, 3, 3, 3);
}

TEST(Svd, NonNumbersEndWithAStatus) {
  Rows a(4, 4);
  for (int i = 0; i < 16; ++i) a.values[static_cast<std::size_t>(i)] = i * i % 7;
  a.at(2, 1) = std::numeric_limits<double>::quiet_NaN();
  Rows v(4, 4);
  double w[4];
  EXPECT_NE(Svd_Decompose(a.pointers.data(), 4, 4, w, v.pointers.data()), 0);
  EXPECT_NE(Svd_Decompose(nullptr, 4, 4, w, v.pointers.data()), 0);
  EXPECT_NE(Svd_Decompose(a.pointers.data(), 0, 4, w, v.pointers.data()), 0);
}

}  // namespace
