// Least bending energy with the region's first rows as constraints: M. Botsch, L. Kobbelt, "An
// intuitive framework for real-time freeform modeling", SIGGRAPH 2004. Mean curvature that is
// harmonic over the patch, solved for by alternating curvature and position: R. Schneider,
// L. Kobbelt, "Geometric fairing of irregular meshes for free-form surface design", CAGD 18 (2001).
#include "patching/patch_fairing.h"

#include <cmath>
#include <utility>

#include "patching/bending_problem.h"
#include "patching/harmonic_spread.h"

namespace cavity {
namespace {

// A solution further out than this many sizes of the ring is no surface any more.
constexpr double most_reach = 3.0;
// Steps shorter than this share of the way aren't worth taking.
constexpr double least_step = 0.2;
// A round that leaves more than this share of the bending is the last.
constexpr double settled_ratio = 0.8;
// Neighbouring triangles at more than a right angle are a fold; no tame patch has one.
constexpr double folded_cosine = 0.0;
// How far from a fold the ring lets go: some rows more than to its nearest vertex.
constexpr int most_fold_rows = 12;
constexpr int rows_beyond_nearest = 3;
// On a clean region the tangent at the ring is worth this much more than least bending inside; from
// this roughness on (curvature against its neighbours', per mean edge) it's no better.
constexpr double clean_ring_gain = 0.6;
constexpr double most_roughness = 0.06;

// The patch on its way to its shape, with what was computed on it.
class Fairing {
 public:
  Fairing(const Surroundings& around, const std::vector<double>& hold, const PatchMesh& patch)
      : around_(around),
        hold_(hold),
        surface_(join_to_region(around, patch)),
        near_(surface_, surface_.patch_size),
        problem_(surface_, near_) {}

  bool start_flat(Weights kind);
  void carry_curvature(const RimCurvature& rim, int rounds);
  const std::vector<Point>& points() const { return surface_.points; }

 private:
  bool within_reach(const std::vector<Point>& solution) const;
  double bending_left(const std::vector<double>& curvature) const;
  std::vector<Point> target(const std::vector<double>& curvature) const;
  bool step_towards(const std::vector<Point>& solution, const std::vector<double>& curvature);
  void take(const std::vector<Point>& solution);

  const Surroundings& around_;
  const std::vector<double>& hold_;
  JoinedSurface surface_;
  const Neighbourhoods near_;
  Laplacian laplacian_;
  double left_ = 0.0;
  BendingProblem problem_;
};

bool Fairing::within_reach(const std::vector<Point>& solution) const {
  double ring_reach = 0.0;
  for (int i = 0; i < around_.ring_size; ++i) {
    ring_reach = std::max(ring_reach, around_.points[i].cwiseAbs().maxCoeff());
  }
  return std::all_of(solution.begin(), solution.end(), [&](const Point& p) {
    return p.allFinite() && p.cwiseAbs().maxCoeff() <= most_reach * ring_reach;
  });
}

void Fairing::take(const std::vector<Point>& solution) {
  std::copy(solution.begin(), solution.end(), surface_.points.begin() + surface_.ring_size);
}

// Solves for least bending and forgets where the free vertices were.
bool Fairing::start_flat(Weights kind) {
  weigh(surface_, near_, kind, laplacian_);
  if (!problem_.set_up(laplacian_, hold_)) return false;
  const std::vector<Point> solution = problem_.solve({});
  if (!within_reach(solution)) return false;
  take(solution);
  return true;
}

std::vector<Point> Fairing::target(const std::vector<double>& curvature) const {
  std::vector<Point> result = vertex_normals(surface_);
  result.resize(static_cast<std::size_t>(surface_.patch_size));
  for (int v = 0; v < surface_.patch_size; ++v) result[v] *= curvature[v];
  return result;
}

// What the bending problem would bring to zero, measured on the surface as it is now.
double Fairing::bending_left(const std::vector<double>& curvature) const {
  const std::vector<Point> wanted = target(curvature);
  double energy = 0.0;
  for (int v = 0; v < surface_.patch_size; ++v) {
    if (!near_.is_closed(v)) continue;
    const double area = laplacian_.area[v];
    const Point off = integrated_laplacian(surface_, near_, laplacian_, v) - area * wanted[v];
    energy += (v < surface_.ring_size ? hold_[v] : 1.0) * off.squaredNorm() / area;
  }
  return energy;
}

// Normals and weights belong to the surface before the step, so a full step may overshoot: it is
// shortened until less bending is left. False where no step helps.
bool Fairing::step_towards(const std::vector<Point>& solution,
                           const std::vector<double>& curvature) {
  const std::vector<Point> before = surface_.points;
  for (double length = 1.0; length > least_step; length *= 0.5) {
    for (std::size_t i = 0; i < solution.size(); ++i) {
      const Point& from = before[surface_.ring_size + i];
      surface_.points[surface_.ring_size + i] = from + length * (solution[i] - from);
    }
    weigh(surface_, near_, Weights::cotangent, laplacian_);
    const double left = bending_left(curvature);
    if (!(left < left_)) continue;
    left_ = left;
    return true;
  }
  surface_.points = before;
  return false;
}

void Fairing::carry_curvature(const RimCurvature& rim, int rounds) {
  weigh(surface_, near_, Weights::cotangent, laplacian_);
  std::vector<double> at_ring = rim.mean;
  for (std::size_t i = 0; i < at_ring.size(); ++i) at_ring[i] *= hold_[i];
  const std::vector<double> curvature = spread_from_ring(surface_, near_, laplacian_, at_ring);
  if (curvature.empty()) return;
  const double calm = std::clamp(1.0 - rim.roughness / most_roughness, 0.0, 1.0);
  std::vector<double> ring_weights = hold_;
  for (double& weight : ring_weights) weight *= 1.0 + clean_ring_gain * calm;
  if (rounds > 1) left_ = bending_left(curvature);
  for (int round = 0; round < rounds; ++round) {
    if (!problem_.set_up(laplacian_, ring_weights)) return;
    const std::vector<Point> solution = problem_.solve(target(curvature));
    if (!within_reach(solution)) return;
    if (rounds == 1) {
      // A patch that has the shape already can't overshoot by much.
      take(solution);
      return;
    }
    const double before = left_;
    if (!step_towards(solution, curvature)) return;
    if (left_ > settled_ratio * before) return;
  }
}

bool can_unfold(const PatchMesh& patch, int f) {
  const Triangle& t = patch.triangle(f);
  return patch.is_free(t[0]) || patch.is_free(t[1]) || patch.is_free(t[2]);
}

}  // namespace

void fair_patch(const Surroundings& around, const RimCurvature& rim,
                const std::vector<double>& hold, Start start, int rounds, PatchMesh& patch) {
  if (patch.point_count() == patch.ring_size()) return;
  Fairing fairing(around, hold, patch);
  if (start == Start::from_nothing || rim.mean.empty()) {
    if (!fairing.start_flat(Weights::cotangent) && !fairing.start_flat(Weights::uniform)) return;
  }
  if (!rim.mean.empty()) fairing.carry_curvature(rim, rounds);
  for (int v = patch.ring_size(); v < patch.point_count(); ++v) {
    patch.move_point(v, fairing.points()[v]);
  }
}

std::vector<int> vertices_at_folds(const PatchMesh& patch) {
  std::vector<int> found;
  for (int f = 0; f < patch.triangle_count(); ++f) {
    const Point normal = patch.normal(f);
    for (int k = 0; k < 3; ++k) {
      const int g = patch.neighbour(f, k);
      if (g < f || !(normal.dot(patch.normal(g)) < folded_cosine)) continue;
      if (!can_unfold(patch, f) && !can_unfold(patch, g)) continue;
      found.push_back(patch.triangle(f)[next_corner(k)]);
      found.push_back(patch.triangle(f)[previous_corner(k)]);
    }
  }
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

bool let_go_near(const std::vector<int>& folds, const PatchMesh& patch, std::vector<double>& hold) {
  std::vector<int> row(static_cast<std::size_t>(patch.point_count()), -1);
  std::vector<int> front = folds;
  for (const int v : front) row[v] = 0;
  bool changed = false;
  int last_row = most_fold_rows;
  std::vector<int> link;
  for (std::size_t i = 0; i < front.size(); ++i) {
    const int v = front[i];
    if (row[v] > last_row) break;
    if (!patch.is_free(v)) {
      // From the nearest stretch of the ring on, a little to either side.
      last_row = std::min(last_row, row[v] + rows_beyond_nearest);
      changed = changed || hold[v] > 0.0;
      hold[v] = 0.0;
    }
    patch.link_of(v, link);
    for (const int other : link) {
      if (row[other] >= 0) continue;
      row[other] = row[v] + 1;
      front.push_back(other);
    }
  }
  return changed;
}

}  // namespace cavity
