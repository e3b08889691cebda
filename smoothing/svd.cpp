// Singular values of small dense matrices: Householder reduction to bidiagonal form, then
// implicitly shifted QR (Golub and Kahan 1965, Golub and Reinsch 1970).
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "scanmesh/curvature.h"

namespace {

// An entry of the bidiagonal below this magnitude counts as zero.
constexpr double kZero = 1e-30;
constexpr int kPatience = 30;    // sweeps after which rounding noise counts as zero too
constexpr int kMostSweeps = 90;  // for one singular value

class Matrix {
 public:
  Matrix(int rows, int cols)
      : rows_(rows), cols_(cols), data_(static_cast<std::size_t>(rows * cols), 0.0) {}
  int rows() const { return rows_; }
  int cols() const { return cols_; }
  double& operator()(int r, int c) { return data_[static_cast<std::size_t>(r * cols_ + c)]; }
  void set_identity() {
    for (int i = 0; i < std::min(rows_, cols_); ++i) (*this)(i, i) = 1.0;
  }
  // Turns two columns into one another.
  void rotate_columns(int i, int j, double c, double s) {
    for (int r = 0; r < rows_; ++r) {
      const double x = (*this)(r, i);
      const double y = (*this)(r, j);
      (*this)(r, i) = c * x + s * y;
      (*this)(r, j) = c * y - s * x;
    }
  }

 private:
  int rows_;
  int cols_;
  std::vector<double> data_;
};

// I - scale v v^T, acting on entries from `first` on; scale 0 is the identity.
struct Reflector {
  int first = 0;
  double scale = 0;
  std::vector<double> v;

  // Takes x to a multiple of its first axis and returns that multiple.
  double make(int start, std::vector<double> x) {
    first = start;
    double rest = 0;
    for (std::size_t i = 1; i < x.size(); ++i) rest = std::hypot(rest, x[i]);
    if (rest == 0) return x[0];
    const double length = std::hypot(x[0], rest);
    const double image = x[0] > 0 ? -length : length;
    const double head = x[0] - image;
    x[0] = head;
    // With a leading 1 nothing overflows that didn't overflow in the length.
    for (double& value : x) value /= head;
    scale = -head / image;
    v = std::move(x);
    return image;
  }

  void apply_to_rows(Matrix& a, int first_col) const {
    if (scale == 0) return;
    const int n = static_cast<int>(v.size());
    for (int c = first_col; c < a.cols(); ++c) {
      double sum = 0;
      for (int i = 0; i < n; ++i) sum += v[static_cast<std::size_t>(i)] * a(first + i, c);
      for (int i = 0; i < n; ++i) a(first + i, c) -= scale * sum * v[static_cast<std::size_t>(i)];
    }
  }

  void apply_to_columns(Matrix& a, int first_row) const {
    if (scale == 0) return;
    const int n = static_cast<int>(v.size());
    for (int r = first_row; r < a.rows(); ++r) {
      double sum = 0;
      for (int i = 0; i < n; ++i) sum += v[static_cast<std::size_t>(i)] * a(r, first + i);
      for (int i = 0; i < n; ++i) a(r, first + i) -= scale * sum * v[static_cast<std::size_t>(i)];
    }
  }
};

class Decomposition {
 public:
  // `a` has at least as many rows as columns.
  explicit Decomposition(Matrix a)
      : n_(a.cols()),
        u(a.rows(), a.cols()),
        v(a.cols(), a.cols()),
        d(static_cast<std::size_t>(a.cols())),
        e(static_cast<std::size_t>(a.cols())) {
    bidiagonalise(a);
  }

  // False when a value doesn't settle, which only non-finite input brings about.
  bool diagonalise() {
    for (int last = n_ - 1; last >= 0; --last) {
      int sweeps = 0;
      for (;; ++sweeps) {
        const int start = block_start(last, sweeps >= kPatience);
        if (start == last) break;
        if (sweeps == kMostSweeps) return false;
        sweep(start, last);
      }
    }
    for (int i = 0; i < n_; ++i) make_positive(i);
    return true;
  }

 private:
  const int n_;

 public:
  Matrix u;
  Matrix v;
  std::vector<double> d;  // the diagonal
  std::vector<double> e;  // e[i] stands above d[i]; e[0] is unused

 private:
  double& diag(int i) { return d[static_cast<std::size_t>(i)]; }
  double& above(int i) { return e[static_cast<std::size_t>(i)]; }

  void bidiagonalise(Matrix& a) {
    std::vector<Reflector> left(static_cast<std::size_t>(n_));
    std::vector<Reflector> right(static_cast<std::size_t>(n_));
    for (int k = 0; k < n_; ++k) {
      std::vector<double> column;
      for (int r = k; r < a.rows(); ++r) column.push_back(a(r, k));
      Reflector& from_left = left[static_cast<std::size_t>(k)];
      diag(k) = from_left.make(k, column);
      from_left.apply_to_rows(a, k + 1);
      if (k + 1 == n_) break;
      std::vector<double> row;
      for (int c = k + 1; c < n_; ++c) row.push_back(a(k, c));
      Reflector& from_right = right[static_cast<std::size_t>(k)];
      above(k + 1) = from_right.make(k + 1, row);
      from_right.apply_to_columns(a, k + 1);
    }
    u.set_identity();
    v.set_identity();
    for (int k = n_ - 1; k >= 0; --k) {
      left[static_cast<std::size_t>(k)].apply_to_rows(u, 0);
      right[static_cast<std::size_t>(k)].apply_to_rows(v, 0);
    }
  }

  bool negligible(double value, double scale, bool noise_counts) const {
    const double size = std::fabs(value);
    if (size < kZero) return true;
    return noise_counts && size <= std::numeric_limits<double>::epsilon() * scale;
  }

  // Where the unreduced block that ends at `last` begins. A zero on the diagonal splits the block:
  // the entry beside it is rotated away.
  int block_start(int last, bool noise_counts) {
    for (int i = last; i > 0; --i) {
      const double scale = std::fabs(diag(i)) + std::fabs(diag(i - 1));
      if (negligible(above(i), scale, noise_counts)) {
        above(i) = 0;
        return i;
      }
      if (negligible(diag(i - 1), std::fabs(above(i)), noise_counts)) {
        diag(i - 1) = 0;
        cancel_row(i - 1, last);
        return i;
      }
    }
    return 0;
  }

  // Rotates the entry beside the zero at d[k] along its row and out of the block.
  void cancel_row(int k, int last) {
    double spill = above(k + 1);
    above(k + 1) = 0;
    for (int i = k + 1; i <= last && spill != 0; ++i) {
      const double length = std::hypot(diag(i), spill);
      const double c = diag(i) / length;
      const double s = -spill / length;
      diag(i) = length;
      u.rotate_columns(k, i, c, s);
      if (i < last) {
        spill = s * above(i + 1);
        above(i + 1) *= c;
      }
    }
  }

  // The eigenvalue of the lower corner of the square that is nearer its last entry, relative to the
  // first diagonal entry of the block.
  double shifted_start(int start, int last) {
    const double x = diag(start);
    const double z = diag(last);
    const double y = diag(last - 1);
    const double g = last - 1 > start ? above(last - 1) : 0.0;
    const double h = above(last);
    double f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
    const double root = std::hypot(f, 1.0);
    f = ((x - z) * (x + z) + h * (y / (f + std::copysign(root, f)) - h)) / x;
    return std::isfinite(f) ? f : x;
  }

  // One implicit QR sweep: a bulge made by the shift is chased down the block.
  void sweep(int start, int last) {
    double f = shifted_start(start, last);
    double g = above(start + 1);
    for (int i = start; i < last; ++i) {
      double length = std::hypot(f, g);
      double c = length == 0 ? 1.0 : f / length;
      double s = length == 0 ? 0.0 : g / length;
      if (i > start) above(i) = length;
      f = c * diag(i) + s * above(i + 1);
      above(i + 1) = c * above(i + 1) - s * diag(i);
      g = s * diag(i + 1);
      diag(i + 1) *= c;
      v.rotate_columns(i, i + 1, c, s);
      length = std::hypot(f, g);
      c = length == 0 ? 1.0 : f / length;
      s = length == 0 ? 0.0 : g / length;
      diag(i) = length;
      f = c * above(i + 1) + s * diag(i + 1);
      diag(i + 1) = c * diag(i + 1) - s * above(i + 1);
      u.rotate_columns(i, i + 1, c, s);
      if (i + 1 < last) {
        g = s * above(i + 2);
        above(i + 2) *= c;
      }
    }
    above(last) = f;
  }

  void make_positive(int i) {
    if (!(diag(i) < 0)) return;
    diag(i) = -diag(i);
    for (int r = 0; r < n_; ++r) v(r, i) = -v(r, i);
  }
};

}  // namespace

int Svd_Decompose(double** a, int rows, int cols, double* w, double** v) {
  if (a == nullptr || w == nullptr || v == nullptr || rows < 1 || cols < 1) return -1;
  // Rows of zeros make a wide matrix tall; they belong to no row of the result.
  Matrix tall(std::max(rows, cols), cols);
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < cols; ++c) tall(r, c) = a[r][c];
  }
  Decomposition result(std::move(tall));
  const bool settled = result.diagonalise();
  for (int c = 0; c < cols; ++c) {
    w[c] = result.d[static_cast<std::size_t>(c)];
    for (int r = 0; r < rows; ++r) a[r][c] = result.u(r, c);
    for (int r = 0; r < cols; ++r) v[r][c] = result.v(r, c);
  }
  return settled ? 0 : -1;
}
