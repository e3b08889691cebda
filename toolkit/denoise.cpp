// Denoising: normals first, then points.
#include <algorithm>
#include <cmath>

#include "scanmesh/toolkit/filters.h"
#include "toolkit/engine_mesh.h"
#include "toolkit/face_graph.h"
#include "toolkit/guided_normals.h"
#include "toolkit/noise_estimate.h"
#include "toolkit/progress.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Below this share of the mean edge what is seen may be the shape's own detail: left alone.
constexpr double kNoNoise = 0.005;
constexpr double kReachOfNoise = 3;  // deviations that a point may be off by
constexpr int kPointRounds = 10;     // after each round of normals
constexpr double kVolumeKept = 5e-4;

// How a strength is turned into rounds and a range of normals.
struct Plan {
  int rounds = 0;
  double range = 0;
};

Plan plan_for(double noise, double edge, double strength) {
  const double relative = noise / edge;
  Plan plan;
  plan.rounds = std::max(1, static_cast<int>(std::lround(2 * strength * (8 + 60 * relative))));
  plan.range = 0.35;
  return plan;
}

class Denoiser {
 public:
  Denoiser(const TriangleMesh& mesh, const DenoiseOptions& options)
      : options_(options),
        start_(mesh.points),
        points_(mesh.points),
        triangles_(usable_triangles(mesh)),
        graph_(triangles_, points_.size()),
        edge_(mean_side(mesh)) {
    for (Point& p : points_) {
      if (!finite(p)) p = {};
    }
    start_ = points_;
    faces_.update(points_, triangles_);
    noise_ = estimate_noise(points_, triangles_, graph_, faces_);
    limit_ = options.max_displacement > 0 ? options.max_displacement : kReachOfNoise * noise_;
  }

  double noise() const { return noise_; }
  bool noisy() const { return noise_ > kNoNoise * edge_; }
  const std::vector<Point>& points() const { return points_; }

  void run();
  double noise_now() const { return estimate_noise(points_, triangles_, graph_, faces_); }
  double volume_change() const;

 private:
  void follow(const std::vector<Point>& normals);
  void keep_volume();
  void undo_turned(const std::vector<Point>& normals);
  Point within_limit(std::size_t v, const Point& p) const;

  const DenoiseOptions& options_;
  std::vector<Point> start_;
  std::vector<Point> points_;
  std::vector<Triangle> triangles_;
  FaceGraph graph_;
  FaceMeasures faces_;
  double edge_ = 0;
  double noise_ = 0;
  double limit_ = 0;
};

Point Denoiser::within_limit(std::size_t v, const Point& p) const {
  const Point off = p - start_[v];
  const double size = length(off);
  return size <= limit_ ? p : start_[v] + off * (limit_ / size);
}

// Points move until the faces stand at a right angle to their normals (Sun, Rosin, Martin, Langbein
// 2007); all from the old positions, so that the order of points doesn't matter.
void Denoiser::follow(const std::vector<Point>& normals) {
  std::vector<Point> next(points_.size());
  const auto count = static_cast<std::int64_t>(points_.size());
  for (int round = 0; round < kPointRounds; ++round) {
#pragma omp parallel for schedule(static)
    for (std::int64_t i = 0; i < count; ++i) {
      const auto v = static_cast<std::size_t>(i);
      const auto at = static_cast<std::int32_t>(i);
      next[v] = points_[v];
      if (graph_.fixed[v]) continue;
      Point sum;
      double fan = 0;
      for (const std::int32_t* side = graph_.around.begin(at); side != graph_.around.end(at);
           ++side) {
        const auto f = static_cast<std::size_t>(*side / 3);
        const Point& normal = normals[f];
        sum = sum + normal * dot(normal, faces_.centroids[f] - points_[v]);
        fan += 1;
      }
      next[v] = within_limit(v, points_[v] + sum * (1 / fan));
    }
    points_.swap(next);
    faces_.update(points_, triangles_);
  }
}

void Denoiser::run() {
  const Plan plan = plan_for(noise_, edge_, options_.strength);
  const GuidedNormals filter(triangles_, graph_, faces_);
  std::vector<Point> normals;
  for (int round = 0; round < plan.rounds; ++round) {
    report(options_.progress, 0.1 + 0.8 * round / plan.rounds, "denoise");
    normals = filter.filtered(faces_, plan.range);
    follow(normals);
  }
  keep_volume();
  undo_turned(normals);
}

// Six times the volume between the origin and the faces.
double volume_of(const std::vector<Point>& points, const std::vector<Triangle>& triangles,
                 const Point& origin) {
  double sum = 0;
  for (const Triangle& t : triangles) {
    const Point a = points[static_cast<std::size_t>(t[0])] - origin;
    const Point b = points[static_cast<std::size_t>(t[1])] - origin;
    const Point c = points[static_cast<std::size_t>(t[2])] - origin;
    sum += dot(a, cross(b, c));
  }
  return sum / 6;
}

bool closed(const FaceGraph& graph) {
  return std::all_of(graph.opposite.begin(), graph.opposite.end(),
                     [](std::int32_t side) { return side >= 0; });
}

double Denoiser::volume_change() const {
  if (!closed(graph_) || triangles_.empty()) return 0;
  const Point origin = start_[static_cast<std::size_t>(triangles_[0][0])];
  const double before = volume_of(start_, triangles_, origin);
  return before == 0 ? 0 : volume_of(points_, triangles_, origin) / before - 1;
}

// All points along their normals by the same length, where the volume has changed by more than
// half of what is promised.
void Denoiser::keep_volume() {
  constexpr int kRounds = 3;
  const Point origin = start_[static_cast<std::size_t>(triangles_[0][0])];
  for (int round = 0; round < kRounds && std::abs(volume_change()) > kVolumeKept; ++round) {
    const double missing =
        volume_of(start_, triangles_, origin) - volume_of(points_, triangles_, origin);
    double area = 0;
    for (const double a : faces_.areas) area += a;
    std::vector<Point> normals(points_.size());
    for (std::size_t f = 0; f < triangles_.size(); ++f) {
      for (const std::int32_t v : triangles_[f]) {
        Point& sum = normals[static_cast<std::size_t>(v)];
        sum = sum + faces_.normals[f] * faces_.areas[f];
      }
    }
    for (std::size_t v = 0; v < points_.size(); ++v) {
      if (!graph_.fixed[v]) points_[v] = points_[v] + unit(normals[v]) * (missing / area);
    }
    faces_.update(points_, triangles_);
  }
}

// A face that went along with its surroundings and now goes against them takes its points back, by
// half and then altogether; so it ends no worse than it began.
void Denoiser::undo_turned(const std::vector<Point>& normals) {
  FaceMeasures before;
  before.update(start_, triangles_);
  std::vector<int> steps(points_.size(), 0);
  for (bool again = true; again;) {
    again = false;
    std::vector<bool> back(points_.size(), false);
    for (std::size_t f = 0; f < triangles_.size(); ++f) {
      if (dot(faces_.normals[f], normals[f]) > 0 || dot(before.normals[f], normals[f]) <= 0)
        continue;
      for (const std::int32_t v : triangles_[f]) back[static_cast<std::size_t>(v)] = true;
    }
    for (std::size_t v = 0; v < points_.size(); ++v) {
      if (!back[v] || steps[v] >= 2) continue;
      points_[v] = ++steps[v] == 1 ? start_[v] + (points_[v] - start_[v]) * 0.5 : start_[v];
      again = true;
    }
    faces_.update(points_, triangles_);
  }
}

void require_options(const DenoiseOptions& options) {
  if (!(options.strength >= 0 && options.strength <= 1)) {
    throw Error(ErrorCode::invalid_argument, "the strength goes from 0 to 1");
  }
  if (!(options.max_displacement >= 0) || !std::isfinite(options.max_displacement)) {
    throw Error(ErrorCode::invalid_argument,
                "the largest displacement must be finite and not negative");
  }
}

}  // namespace

DenoiseResult denoise(const TriangleMesh& mesh, const DenoiseOptions& options) {
  require_valid(mesh);
  require_options(options);
  report(options.progress, 0, "denoise");
  DenoiseResult result;
  result.mesh = mesh;
  if (usable_triangles(mesh).empty()) return result;
  Denoiser denoiser(mesh, options);
  result.noise_before = denoiser.noise();
  result.noise_after = result.noise_before;
  if (options.strength == 0 || !denoiser.noisy()) return result;
  denoiser.run();
  for (std::size_t v = 0; v < mesh.points.size(); ++v) {
    if (!finite(mesh.points[v])) continue;
    result.mesh.points[v] = denoiser.points()[v];
    result.largest_move =
        std::max(result.largest_move, distance(mesh.points[v], result.mesh.points[v]));
  }
  result.noise_after = denoiser.noise_now();
  result.volume_change = denoiser.volume_change();
  renew_normals(mesh, result.mesh);
  report(options.progress, 1, "denoise");
  return result;
}

}  // namespace scanmesh
