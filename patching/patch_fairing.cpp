// Least bending energy with the region's first rows as constraints: M. Botsch, L. Kobbelt, "An
// intuitive framework for real-time freeform modeling", SIGGRAPH 2004. Mean curvature that is
// harmonic over the patch, solved for by alternating curvature and position: R. Schneider,
// L. Kobbelt, "Geometric fairing of irregular meshes for free-form surface design", CAGD 18 (2001).
#include "patching/patch_fairing.h"

#include <Eigen/IterativeLinearSolvers>
#include <Eigen/SparseCholesky>
#include <cmath>
#include <utility>

#include "patching/bending_system.h"

namespace cavity {
namespace {

using SparseByRow = Eigen::SparseMatrix<double, Eigen::RowMajor>;
using Solver = Eigen::SimplicialLDLT<SparseMatrix>;

// A solution further out than this many sizes of the ring is no surface any more.
constexpr double most_reach = 3.0;
// Steps shorter than this share of the way aren't worth taking.
constexpr double least_step = 0.2;
// A round that leaves more than this share of the bending is the last.
constexpr double settled_ratio = 0.8;
// A guide for the fairing, not a result: a rough solution does.
constexpr double spread_tolerance = 1e-4;
// Rows of the region beyond the ring whose curvature counts.
constexpr int curvature_rows = 2;
// Passes of (1/4, 1/2, 1/4) along the ring that calm the curvature of a noisy region.
constexpr int curvature_passes = 8;
// On a clean region the tangent at the ring is worth this much more than least bending inside; from
// this roughness on (curvature against its neighbours', per mean edge) it's no better.
constexpr double clean_ring_gain = 0.6;
constexpr double most_roughness = 0.06;

// One row per vertex that the energy counts: the Laplacian times the root of the area, so that the
// squared rows add up to an integral. Columns are all vertices.
SparseByRow bending_rows(const JoinedSurface& surface, const Laplacian& laplacian) {
  // By rows, with a slot for the diagonal: no sorting, and the transpose comes for free.
  SparseByRow rows(surface.patch_size, surface.size());
  rows.reserve(laplacian.weights.nonZeros() + surface.patch_size);
  for (int v = 0; v < surface.patch_size; ++v) {
    rows.startVec(v);
    if (laplacian.closed[v] == 0) continue;
    const double root = std::sqrt(laplacian.area[v]) / surface.weight(v);
    double sum = 0.0;
    for (SparseMatrix::InnerIterator it(laplacian.weights, v); it; ++it) sum += it.value();
    bool diagonal_done = false;
    for (SparseMatrix::InnerIterator it(laplacian.weights, v); it; ++it) {
      if (!diagonal_done && it.row() > v) {
        rows.insertBack(v, v) = -sum / root;
        diagonal_done = true;
      }
      rows.insertBack(v, it.row()) = it.value() / root;
    }
    if (!diagonal_done) rows.insertBack(v, v) = -sum / root;
  }
  rows.finalize();
  return rows;
}

Coordinates coordinates_of(const std::vector<Point>& points) {
  Coordinates result(static_cast<Eigen::Index>(points.size()), 3);
  for (std::size_t v = 0; v < points.size(); ++v) {
    result.row(static_cast<Eigen::Index>(v)) = points[v].transpose();
  }
  return result;
}

// The free vertices as unknowns of: rows * all vertices = target, in least squares.
class BendingProblem {
 public:
  // The faces of the surface must stay the same from call to call: the elimination order is kept.
  bool set_up(const JoinedSurface& surface, const Laplacian& laplacian) {
    const int free = surface.patch_size - surface.ring_size;
    const SparseByRow rows = bending_rows(surface, laplacian);
    columns_ = SparseMatrix(rows).middleCols(surface.ring_size, free);
    transposed_ = columns_.transpose();
    Coordinates fixed = coordinates_of(surface.points);
    fixed.middleRows(surface.ring_size, free).setZero();
    load_ = rows * fixed;
    const SparseMatrix system = transposed_ * columns_;
    if (!analysed_) solver_.analyzePattern(system);
    analysed_ = true;
    solver_.factorize(system);
    return solver_.info() == Eigen::Success;
  }

  // target: one row per patch vertex.
  Coordinates solve(const Coordinates& target) const {
    const Coordinates right = transposed_ * (target - load_);
    return solver_.solve(right);
  }

 private:
  SparseMatrix columns_;
  SparseMatrix transposed_;
  Coordinates load_;
  Solver solver_;
  bool analysed_ = false;
};

bool within_reach(const Surroundings& around, const Coordinates& solution) {
  double ring_reach = 0.0;
  for (int i = 0; i < around.ring_size; ++i) {
    ring_reach = std::max(ring_reach, around.points[i].cwiseAbs().maxCoeff());
  }
  return solution.allFinite() && solution.cwiseAbs().maxCoeff() <= most_reach * ring_reach;
}

// Length of the Laplacian along the normal, integrated, and the area it was integrated over. Noise
// in the Laplacian of neighbouring vertices cancels in the sum.
struct Curvature {
  double integral = 0.0;
  double area = 0.0;
  void add(const Curvature& other, double weight) {
    integral += weight * other.integral;
    area += weight * other.area;
  }
  double mean() const { return area > 0.0 ? integral / area : 0.0; }
};

std::vector<Curvature> region_curvature(const JoinedSurface& surface, const Laplacian& laplacian,
                                        const std::vector<Point>& normals) {
  std::vector<Curvature> result(surface.points.size());
  for (int v = surface.patch_size; v < surface.size(); ++v) {
    if (laplacian.closed[v] == 0) continue;
    Point sum = Point::Zero();
    for (SparseMatrix::InnerIterator it(laplacian.weights, v); it; ++it) {
      sum += it.value() * (surface.points[it.row()] - surface.points[v]);
    }
    result[v] = {sum.dot(normals[v]), laplacian.area[v]};
  }
  return result;
}

// How far the curvature of the region's vertices lies from the mean of their neighbours', root mean
// square: what noise adds, for a smooth surface has next to none.
double roughness(const JoinedSurface& surface, const Laplacian& laplacian,
                 const std::vector<Curvature>& own) {
  double squares = 0.0;
  int count = 0;
  for (int v = surface.patch_size; v < surface.size(); ++v) {
    if (laplacian.closed[v] == 0) continue;
    Curvature around;
    for (SparseMatrix::InnerIterator it(laplacian.weights, v); it; ++it) {
      around.add(own[it.row()], 1.0);
    }
    if (!(around.area > 0.0)) continue;
    const double off = own[v].mean() - around.mean();
    squares += off * off;
    ++count;
  }
  return count > 0 ? std::sqrt(squares / count) : most_roughness;
}

// Mean curvature per ring vertex, from the rows of the region next to it. Empty without a region.
std::vector<double> ring_curvature(const JoinedSurface& surface, const Laplacian& laplacian,
                                   const std::vector<Curvature>& own) {
  const int n = surface.ring_size;
  std::vector<Curvature> at_ring(static_cast<std::size_t>(n));
  double total_area = 0.0;
  for (int i = 0; i < n; ++i) {
    for (SparseMatrix::InnerIterator near(laplacian.weights, i); near; ++near) {
      const int v = static_cast<int>(near.row());
      if (v < surface.patch_size) continue;
      at_ring[i].add(own[v], 1.0);
      for (SparseMatrix::InnerIterator next(laplacian.weights, v); next; ++next) {
        at_ring[i].add(own[next.row()], 0.5);
      }
    }
    total_area += at_ring[i].area;
  }
  if (!(total_area > 0.0)) return {};
  for (int pass = 0; pass < curvature_passes; ++pass) {
    const std::vector<Curvature> before = at_ring;
    for (int i = 0; i < n; ++i) {
      at_ring[i] = Curvature();
      at_ring[i].add(before[i], 0.5);
      at_ring[i].add(before[(i + 1) % n], 0.25);
      at_ring[i].add(before[(i + n - 1) % n], 0.25);
    }
  }
  std::vector<double> result;
  for (const Curvature& c : at_ring) result.push_back(c.mean());
  return result;
}

// The harmonic function on the patch with the given values on the ring; empty where that fails.
std::vector<double> spread_from_ring(const JoinedSurface& surface, const Laplacian& laplacian,
                                     const std::vector<double>& on_ring) {
  const int n = surface.ring_size;
  const int free = surface.patch_size - n;
  std::vector<Eigen::Triplet<double>> entries;
  Eigen::VectorXd right = Eigen::VectorXd::Zero(free);
  for (int v = n; v < surface.patch_size; ++v) {
    double sum = 0.0;
    for (SparseMatrix::InnerIterator it(laplacian.weights, v); it; ++it) {
      const int j = static_cast<int>(it.row());
      sum += it.value();
      if (j < n) {
        right[v - n] += it.value() * on_ring[j];
      } else {
        entries.emplace_back(v - n, j - n, -it.value());
      }
    }
    entries.emplace_back(v - n, v - n, sum);
  }
  SparseMatrix system(free, free);
  system.setFromTriplets(entries.begin(), entries.end());
  Eigen::ConjugateGradient<SparseMatrix, Eigen::Lower | Eigen::Upper> solver(system);
  solver.setTolerance(spread_tolerance);
  double mean = 0.0;
  for (const double value : on_ring) mean += value / n;
  const Eigen::VectorXd solution =
      solver.solveWithGuess(right, Eigen::VectorXd::Constant(free, mean));
  if (!solution.allFinite()) return {};
  std::vector<double> result = on_ring;
  result.insert(result.end(), solution.data(), solution.data() + free);
  return result;
}

Coordinates curvature_target(const JoinedSurface& surface, const Laplacian& laplacian,
                             const std::vector<double>& curvature) {
  const std::vector<Point> normals = vertex_normals(surface);
  Coordinates target(surface.patch_size, 3);
  for (int v = 0; v < surface.patch_size; ++v) {
    if (laplacian.closed[v] == 0) {
      target.row(v).setZero();
      continue;
    }
    const double scale = surface.weight(v) * std::sqrt(laplacian.area[v]) * curvature[v];
    target.row(v) = scale * normals[v].transpose();
  }
  return target;
}

// What the bending problem would bring to zero, measured on the surface as it is now.
double bending_left(const JoinedSurface& surface, const Laplacian& laplacian,
                    const std::vector<double>& curvature) {
  const std::vector<Point> normals = vertex_normals(surface);
  double energy = 0.0;
  for (int v = 0; v < surface.patch_size; ++v) {
    if (laplacian.closed[v] == 0) continue;
    Point sum = Point::Zero();
    for (SparseMatrix::InnerIterator it(laplacian.weights, v); it; ++it) {
      sum += it.value() * (surface.points[it.row()] - surface.points[v]);
    }
    sum -= laplacian.area[v] * curvature[v] * normals[v];
    energy += surface.weight(v) * surface.weight(v) * sum.squaredNorm() / laplacian.area[v];
  }
  return energy;
}

// One surface under way, with what was computed on it.
struct State {
  JoinedSurface surface;
  Laplacian laplacian;
  double left = 0.0;
};

State state_of(JoinedSurface surface, const std::vector<double>& curvature) {
  State state;
  state.surface = std::move(surface);
  state.laplacian = build_laplacian(state.surface, Weights::cotangent);
  state.left = bending_left(state.surface, state.laplacian, curvature);
  return state;
}

// Normals and weights belong to the surface before the step, so a full step may overshoot: it is
// shortened until less bending is left. False where no step helps.
bool step_towards(const Coordinates& solution, const std::vector<double>& curvature, State& state) {
  for (double length = 1.0; length > least_step; length *= 0.5) {
    JoinedSurface moved = state.surface;
    for (int i = 0; i < solution.rows(); ++i) {
      Point& p = moved.points[moved.ring_size + i];
      p += length * (solution.row(i).transpose() - p);
    }
    State next = state_of(std::move(moved), curvature);
    if (!(next.left < state.left)) continue;
    state = std::move(next);
    return true;
  }
  return false;
}

void move_free_points(const Coordinates& solution, JoinedSurface& surface) {
  for (int i = 0; i < solution.rows(); ++i) {
    surface.points[surface.ring_size + i] = solution.row(i).transpose();
  }
}

// Mean curvature wanted at each patch vertex; empty where the region doesn't say.
struct Wanted {
  std::vector<double> curvature;
  double ring_weight = 1.0;
};

Wanted wanted_curvature(const Surroundings& around, const PatchMesh& patch) {
  const JoinedSurface surface = join_to_region(around, patch, curvature_rows);
  const Laplacian laplacian = build_laplacian(surface, Weights::cotangent);
  const std::vector<Curvature> own = region_curvature(surface, laplacian, vertex_normals(surface));
  const std::vector<double> on_ring = ring_curvature(surface, laplacian, own);
  if (on_ring.empty()) return {};
  const double calm = 1.0 - roughness(surface, laplacian, own) / most_roughness;
  return {spread_from_ring(surface, laplacian, on_ring),
          1.0 + clean_ring_gain * std::clamp(calm, 0.0, 1.0)};
}

// Solves for least bending and forgets where the free vertices were.
bool start_flat(const Surroundings& around, Weights kind, BendingProblem& problem, State& state) {
  state.laplacian = build_laplacian(state.surface, kind);
  if (!problem.set_up(state.surface, state.laplacian)) return false;
  const Coordinates solution = problem.solve(Coordinates::Zero(state.surface.patch_size, 3));
  if (!within_reach(around, solution)) return false;
  move_free_points(solution, state.surface);
  return true;
}

void carry_curvature(const Surroundings& around, const std::vector<double>& curvature, int rounds,
                     BendingProblem& problem, State& state) {
  if (rounds > 1) state.left = bending_left(state.surface, state.laplacian, curvature);
  for (int round = 0; round < rounds; ++round) {
    if (!problem.set_up(state.surface, state.laplacian)) return;
    const Coordinates solution =
        problem.solve(curvature_target(state.surface, state.laplacian, curvature));
    if (!within_reach(around, solution)) return;
    if (rounds == 1) {
      // A patch that has the shape already can't overshoot by much.
      move_free_points(solution, state.surface);
      return;
    }
    const double before = state.left;
    if (!step_towards(solution, curvature, state)) return;
    if (state.left > settled_ratio * before) return;
  }
}

void take_points(const JoinedSurface& surface, PatchMesh& patch) {
  for (int v = patch.ring_size(); v < patch.point_count(); ++v) {
    patch.move_point(v, surface.points[v]);
  }
}

}  // namespace

void fair_patch(const Surroundings& around, Start start, int rounds, PatchMesh& patch) {
  if (patch.point_count() == patch.ring_size()) return;
  BendingProblem problem;
  State state;
  state.surface = join_to_region(around, patch, 0);
  Wanted wanted;
  if (start == Start::from_shape) wanted = wanted_curvature(around, patch);
  if (wanted.curvature.empty()) {
    if (!start_flat(around, Weights::cotangent, problem, state) &&
        !start_flat(around, Weights::uniform, problem, state)) {
      return;
    }
    take_points(state.surface, patch);
  }
  if (start == Start::from_nothing) wanted = wanted_curvature(around, patch);
  if (wanted.curvature.empty()) return;
  state.surface.ring_weight = wanted.ring_weight;
  state.laplacian = build_laplacian(state.surface, Weights::cotangent);
  carry_curvature(around, wanted.curvature, rounds, problem, state);
  take_points(state.surface, patch);
}

}  // namespace cavity
