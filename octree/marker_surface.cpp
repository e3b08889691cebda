#include "octree/marker_surface.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "core/dense_solver.h"
#include "core/plane_fit.h"
#include "octree/sample_smoothing.h"

namespace scanmesh {

namespace {

constexpr std::size_t kFewestAround = 121;
constexpr std::size_t kFewestKept = 81;
constexpr int kSmoothings = 3;
constexpr float kLeastAgreement = 0.9F;
constexpr double kRimMargin = 1.0;  // samples this near the rim are scanned badly
constexpr int kWantedConstraints = 350;
constexpr double kWantedOthers = 700.0;
constexpr float kOffset = 0.1F;
constexpr int kMostSteps = 30;
constexpr std::size_t kFewestForPlane = 9;
constexpr double kLargestGrid = 8192;

double component(const Vec3f& p, int axis) {
  return static_cast<double>(axis == 0 ? p.x : axis == 1 ? p.y : p.z);
}
float& component(Vec3f& p, int axis) {
  return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
}

// Takes an entry and skips `interval`, and so on.
class Thinning {
 public:
  explicit Thinning(int interval) : interval_(interval) {}
  bool takes() {
    if (counter_ == interval_) {
      counter_ = 0;
      return true;
    }
    ++counter_;
    return false;
  }

 private:
  int interval_;
  int counter_ = 0;
};

}  // namespace

MarkerPatch MarkerSurface::close(const OctNode* marker, float radius) {
  const float half = marker->half;
  MarkerPatch patch;
  take_plane(marker);
  if (!gather(marker, radius)) return patch;
  keep_near(band_width(half), radius + kRimMargin + 16.0 * half);
  if (around_.size() < kFewestKept) return patch;
  const std::vector<Vec3f> smoothed =
      smoothed_positions(tree_, around_.data(), static_cast<int>(around_.size()), kSmoothings);
  const GapGrid cells = grid(half);
  if (cells.size == 0) return patch;
  patch.seeds = grid_gap_seeds(cells, positions_, centre_, radius);
  patch.ring = around_;
  constrain(half, radius, smoothed);
  project(patch.seeds);
  return patch;
}

// A marker without a normal is laid into the plane of the one before.
void MarkerSurface::take_plane(const OctNode* marker) {
  const Vec3f n = normal_of(marker);
  centre_ = position_of(marker);
  if (!(dot_double(n, n) > 0)) return;
  normal_ = scaled(n, 1.0 / length(n));
  offset_ = -dot_double(normal_, centre_);
}

double MarkerSurface::height(const Vec3f& p) const {
  return std::fabs(dot_double(normal_, p) + offset_);
}

// The samples of the eight cells about the marker, of a size that surely holds what is needed.
bool MarkerSurface::gather(const OctNode* marker, float radius) {
  const double wanted = radius + kRimMargin + std::max(2.0, 10.0 * marker->half);
  OctNode* top = marker->parent;
  while (top != nullptr && !(top->half >= wanted)) top = top->parent;
  around_.clear();
  if (top == nullptr) return false;
  const OctreeLeaves2 side = tree_.oct_switch_direction(marker->coor, top->coor);
  OctNode* cells[kCellChildren] = {};
  tree_.oct_search(top, cells, side);
  for (OctNode* const cell : cells) {
    visit_leaves(cell, [this](OctNode* leaf) {
      around_.push_back(leaf);
      return true;
    });
  }
  for (int k = 0; k < 3; ++k) {
    const float sign = kOctantSign[static_cast<int>(side)][k];
    component(corner_, k) = top->coor[k] + sign * top->half - 2 * top->half;
  }
  return around_.size() >= kFewestAround;
}

// How far from the marker's plane samples may lie: more where the surface is curved.
double MarkerSurface::band_width(float half) const {
  double sum = 0;
  int count = 0;
  for (const OctNode* leaf : around_) {
    if (!(dot(normal_of(leaf), normal_) >= 0)) continue;
    const double d = height(position_of(leaf));
    if (!(d > 0.4 && d < 3.0)) continue;
    sum += d;
    ++count;
  }
  double band = 6.0 * half;
  if (count > 0 && sum / count > 0.5) band = std::max(band, 2.0);
  return std::clamp(band, 0.67, 3.0);
}

void MarkerSurface::keep_near(double band, double reach) {
  const auto is_far = [&](const OctNode* leaf) {
    const Vec3f p = position_of(leaf);
    return !(height(p) <= band && dot(normal_of(leaf), normal_) >= kLeastAgreement &&
             distance(p, centre_) <= reach);
  };
  around_.erase(std::remove_if(around_.begin(), around_.end(), is_far), around_.end());
  positions_.clear();
  for (const OctNode* leaf : around_) positions_.push_back(position_of(leaf));
}

// x wins ties, and z must be strictly the largest.
MarkerSurface::Axes MarkerSurface::flat_axes() const {
  const float x = std::fabs(normal_.x);
  const float y = std::fabs(normal_.y);
  const float z = std::fabs(normal_.z);
  if (z > x && z > y) return {0, 1};
  return x >= y ? Axes{1, 2} : Axes{0, 2};
}

// Snapped to steps from the lowest corner, over the box of the samples kept and the marker. Size 0
// where sizes are out of proportion.
GapGrid MarkerSurface::grid(float half) const {
  Vec3f low = centre_;
  Vec3f high = centre_;
  for (const Vec3f& p : positions_) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
  }
  GapGrid out;
  out.step = 3 * half;
  const Axes axes = flat_axes();
  out.a = axes.a;
  out.b = axes.b;
  double largest = 0;
  for (int k = 0; k < 3; ++k) {
    const double from = component(corner_, k);
    const auto step = static_cast<double>(out.step);
    const double origin = from + std::trunc((component(low, k) - from) / step) * step;
    component(out.origin, k) = static_cast<float>(origin);
    largest = std::max(largest, std::trunc((component(high, k) - component(out.origin, k)) / step));
  }
  if (largest < kLargestGrid) out.size = static_cast<int>(largest) + 1;
  return out;
}

// The surface is held by samples off the rim, about 350 of the marker's own resolution.
void MarkerSurface::constrain(float half, float radius, const std::vector<Vec3f>& smoothed) {
  std::vector<std::size_t> taken;
  int same = 0;
  for (std::size_t i = 0; i < around_.size(); ++i) {
    if (distance(smoothed[i], centre_) < radius + kRimMargin) continue;
    taken.push_back(i);
    if (around_[i]->half == half) ++same;
  }
  const int others = static_cast<int>(taken.size()) - same;
  const double wanted_others = tree_.min_HalfEdge * kWantedOthers / half;
  Thinning same_size(same / kWantedConstraints);
  Thinning other_size(wanted_others > 0 ? static_cast<int>(others / wanted_others) : 0);
  constraints_.clear();
  offsets_.clear();
  for (const std::size_t i : taken) {
    if (!(around_[i]->half == half ? same_size : other_size).takes()) continue;
    const Vec3f& p = smoothed[i];
    const Vec3f n = normal_of(around_[i]);
    constraints_.push_back(p);
    offsets_.push_back({p.x + kOffset * n.x, p.y + kOffset * n.y, p.z + kOffset * n.z});
  }
}

void MarkerSurface::project(std::vector<Vec3f>& seeds) {
  if (seeds.empty()) return;
  if (constraints_.empty()) {
    project_on_plane(seeds);
    return;
  }
  rbf_set_size(fit_, static_cast<int>(constraints_.size()));
  std::vector<Vec3f> points = constraints_;
  points.insert(points.end(), offsets_.begin(), offsets_.end());
  std::vector<double> weights = rbf_right_side(fit_);
  solve_dense_any(rbf_matrix(fit_, points.data(), RbfRounding::kDouble), weights);
  for (Vec3f& seed : seeds) {
    seed = rbf_settle(fit_, points.data(), weights.data(), seed, kMostSteps);
  }
}

void MarkerSurface::project_on_plane(std::vector<Vec3f>& seeds) const {
  if (seeds.size() < kFewestForPlane) return;
  const std::array<double, 4> plane =
      fit_moment_plane(seeds.data(), static_cast<int>(seeds.size()));
  for (Vec3f& p : seeds) {
    const double d = plane[0] * p.x + plane[1] * p.y + plane[2] * p.z + plane[3];
    p = {static_cast<float>(p.x - d * plane[0]), static_cast<float>(p.y - d * plane[1]),
         static_cast<float>(p.z - d * plane[2])};
  }
}

}  // namespace scanmesh
