#include "patching/harmonic_spread.h"

#include <algorithm>
#include <cmath>

namespace cavity {
namespace {

// The region's curvature was measured a row or so beyond the ring, so that is where it is held:
// each ring vertex hangs on its value by a strip of about this length, and as wide as the mean
// edge.
constexpr double strip_length = 1.25;
constexpr double strip_weight = 1.0 / strip_length;
constexpr double spread_tolerance = 1e-3;
constexpr int most_steps_per_root = 40;

// Conjugate gradients with the diagonal as preconditioner. The
// matrix is never stored: it is the weights.
class Spread {
 public:
  Spread(const JoinedSurface& surface, const Neighbourhoods& near, const Laplacian& laplacian)
      : surface_(surface), near_(near), laplacian_(laplacian) {
    diagonal_.assign(static_cast<std::size_t>(surface.patch_size), 0.0);
    std::fill_n(diagonal_.begin(), surface.ring_size, strip_weight);
    for (int v = 0; v < surface.patch_size; ++v) {
      for (int s = near.begin(v); s < near.end(v); ++s) {
        if (near.to(s) < surface.patch_size) diagonal_[v] += laplacian.weights[s];
      }
    }
  }

  // values: what is given for the ring, and a guess for the free vertices; becomes the solution.
  bool solve(std::vector<double>& values) const {
    const std::size_t size = values.size();
    std::vector<double> residual(size, 0.0);
    std::vector<double> direction(size, 0.0);
    std::vector<double> image(size, 0.0);
    const std::vector<double> given(values.begin(), values.begin() + surface_.ring_size);
    apply(values, residual);
    double scale = 0.0;
    double progress = 0.0;
    for (int v = 0; v < surface_.patch_size; ++v) {
      residual[v] = -residual[v];
      if (v < surface_.ring_size) residual[v] += strip_weight * given[v];
      direction[v] = residual[v] / diagonal_[v];
      progress += residual[v] * direction[v];
      scale += diagonal_[v] * values[v] * values[v];
    }
    const double enough = spread_tolerance * spread_tolerance * scale;
    const int most_steps = 100 + most_steps_per_root * static_cast<int>(std::sqrt(size));
    for (int step = 0; step < most_steps && progress > enough; ++step) {
      apply(direction, image);
      progress = advance(progress, direction, image, residual, values);
    }
    return std::all_of(values.begin(), values.end(), [](double x) { return std::isfinite(x); });
  }

 private:
  void apply(const std::vector<double>& x, std::vector<double>& result) const {
    for (int v = 0; v < surface_.patch_size; ++v) {
      double sum = diagonal_[v] * x[v];
      for (int s = near_.begin(v); s < near_.end(v); ++s) {
        const int other = near_.to(s);
        if (other < surface_.patch_size) sum -= laplacian_.weights[s] * x[other];
      }
      result[v] = sum;
    }
  }

  // One step; direction becomes the next one. What is left to do comes back.
  double advance(double progress, std::vector<double>& direction, const std::vector<double>& image,
                 std::vector<double>& residual, std::vector<double>& values) const {
    double slope = 0.0;
    for (int v = 0; v < surface_.patch_size; ++v) slope += direction[v] * image[v];
    const double length = progress / slope;
    double next = 0.0;
    for (int v = 0; v < surface_.patch_size; ++v) {
      values[v] += length * direction[v];
      residual[v] -= length * image[v];
      next += residual[v] * residual[v] / diagonal_[v];
    }
    for (int v = 0; v < surface_.patch_size; ++v) {
      direction[v] = residual[v] / diagonal_[v] + next / progress * direction[v];
    }
    return next;
  }

  const JoinedSurface& surface_;
  const Neighbourhoods& near_;
  const Laplacian& laplacian_;
  std::vector<double> diagonal_;
};

}  // namespace

std::vector<double> spread_from_ring(const JoinedSurface& surface, const Neighbourhoods& near,
                                     const Laplacian& laplacian,
                                     const std::vector<double>& beyond_ring) {
  double mean = 0.0;
  for (const double value : beyond_ring) mean += value / static_cast<double>(beyond_ring.size());
  std::vector<double> values = beyond_ring;
  values.resize(static_cast<std::size_t>(surface.patch_size), mean);
  if (!Spread(surface, near, laplacian).solve(values)) return {};
  return values;
}

}  // namespace cavity
