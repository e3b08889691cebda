#include "refinement/edge_collapse.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <future>
#include <limits>

#include "core/messages.h"
#include "core/parallel.h"
#include "core/progress.h"
#include "core/vector_math.h"

namespace scanmesh {

namespace {

constexpr double kThresholdScale = 0.000000001;
constexpr double kMostAggression = 6.0;
constexpr double kAggressionStep = 0.1;
constexpr int kRefreshInterval = 5;
constexpr double kSingular = 0.000000001;
// Edges of a triangle this parallel, or a normal this far off the original, mean a fold.
constexpr double kParallel = 0.999;
constexpr double kLeastNormalDot = 0.2;
constexpr double kStale = -1.0;
constexpr double kNever = std::numeric_limits<double>::infinity();
// Below this many errors to compute, starting tasks costs more than it saves.
constexpr std::size_t kTaskSize = 8192;

double threshold_of(int iteration, double aggression) {
  return kThresholdScale * std::pow(static_cast<double>(iteration + 3), aggression);
}

// Whether the triangle p, p1, p2 is a needle or turns away from the normal. The tests are those of
// unit vectors, squared: |dot(d1, d2)| > 0.999 and dot(unit(d1 x d2), normal) < 0.2. A corner on p
// counts as a needle; a normal that isn't a number turns nothing away.
bool spoils(const Vec3d& p, const Vec3d& p1, const Vec3d& p2, const Vec3d& normal) {
  const Vec3d d1 = p1 - p;
  const Vec3d d2 = p2 - p;
  const double lengths = dot(d1, d1) * dot(d2, d2);
  const double along = dot(d1, d2);
  if (!(lengths > 0) || along * along > kParallel * kParallel * lengths) return true;
  const Vec3d c = cross(d1, d2);
  const double up = dot(c, normal);
  return up < 0 || up * up < kLeastNormalDot * kLeastNormalDot * dot(c, c);
}

// The rebuild drops a triangle with two corners that weld, which would tear the surface open; so no
// collapse may bring an edge there that wasn't there before.
bool newly_close(const Vec3d& p, const Vec3d& before, const Vec3d& corner) {
  constexpr double kNear = 3 * kWeldTolerance * kWeldTolerance;
  const Vec3d d = corner - p;
  if (dot(d, d) > 2 * kNear) return false;
  return welds(narrowed(p), narrowed(corner)) && !welds(narrowed(before), narrowed(corner));
}

// Calls body(first, last, i) for each of 1.5 x processors runs of the items, as tasks; in one run
// on this thread when `alone`.
template <typename Body>
void in_slices(std::size_t items, bool alone, Body body) {
  const auto count = static_cast<std::ptrdiff_t>(items);
  if (alone) {
    body(std::ptrdiff_t{0}, count, 0);
    return;
  }
  const int tasks = one_and_a_half_processors();
  std::vector<std::future<void>> running;
  for (int i = 0; i < tasks; ++i) {
    const auto range = slice(count, tasks, i);
    running.push_back(std::async(std::launch::async | std::launch::deferred,
                                 [=] { body(range.first, range.second, i); }));
  }
  for (std::future<void>& task : running) task.get();
}

double next_aggression(int iteration, double aggression) {
  const bool grows = iteration % kRefreshInterval == 0 && aggression < kMostAggression;
  return grows ? aggression + kAggressionStep : aggression;
}

}  // namespace

int iteration_cap(const double* limit) {
  if (limit == nullptr) return kMostIterations;
  const double goal = *limit / 0.01 * 0.000634375 + 0.00001;
  double aggression = 3.0;
  for (int i = 0; i < kMostIterations; ++i) {
    aggression = next_aggression(i, aggression);
    if (threshold_of(i, aggression) > goal) return i;
  }
  return kMostIterations;
}

void EdgeCollapse::run(int target, double aggression, const double* limit) {
  // Hosts' logs hold this line.
  char line[64];
  std::snprintf(line, sizeof(line), "%d %g\n", target, aggression);
  print_message(Channel::c_output, line);
  total_ = static_cast<int32_t>(tris.size());
  deleted_ = 0;
  const int cap = iteration_cap(limit);
  for (int iteration = 0; iteration < cap; ++iteration) {
    report_step(process_step, iteration + 1, cap);
    if (reached(target)) break;
    if (iteration % kRefreshInterval == 0) refresh(iteration);
    aggression = next_aggression(iteration, aggression);
    const double threshold = threshold_of(iteration, aggression);
    find_candidates(threshold);
    collapse_candidates(iteration, target, threshold);
  }
  compact();
}

bool EdgeCollapse::reached(int target) const {
  return total_ - deleted_ <= target;
}

double EdgeCollapse::edge_error(int a, int b, Vec3d& target_point) const {
  const sim_vert& va = verts[static_cast<std::size_t>(a)];
  const sim_vert& vb = verts[static_cast<std::size_t>(b)];
  Quadric q = va.quadric;
  q.add(vb.quadric);
  const double det = q.determinant();
  if (std::fabs(det) >= kSingular && (va.border & vb.border) == 0) {
    target_point = q.minimum(det);
    return q.at(target_point);
  }
  const Vec3d middle{(va.pos.x + vb.pos.x) / 2, (va.pos.y + vb.pos.y) / 2,
                     (va.pos.z + vb.pos.z) / 2};
  const double at_a = q.at(va.pos);
  const double at_b = q.at(vb.pos);
  const double at_middle = q.at(middle);
  const double least = std::min(at_a, std::min(at_b, at_middle));
  // On a tie the middle wins over b, and b over a.
  if (least == at_a) target_point = va.pos;
  if (least == at_b) target_point = vb.pos;
  if (least == at_middle) target_point = middle;
  return least;
}

// Fills the errors of a triangle and tells the least one among its edges that may ever collapse: an
// edge whose ends differ in `border` may not.
double EdgeCollapse::least_error(sim_tri& tri) const {
  double least = kNever;
  for (int j = 0; j < 3; ++j) {
    const int i0 = tri.vid[j];
    const int i1 = tri.vid[(j + 1) % 3];
    tri.err[j] = kNever;
    if (verts[static_cast<std::size_t>(i0)].border != verts[static_cast<std::size_t>(i1)].border) {
      continue;
    }
    Vec3d point{0, 0, 0};
    const double error = edge_error(i0, i1, point);
    // An error that isn't a number never lies below the threshold.
    if (!std::isnan(error)) tri.err[j] = error;
    least = std::min(least, tri.err[j]);
  }
  // Rounding can take an error below zero, where it must not look stale.
  return std::max(least, 0.0);
}

void EdgeCollapse::scan_range(std::ptrdiff_t first, std::ptrdiff_t last, double threshold,
                              std::vector<int32_t>& candidates) {
  for (std::ptrdiff_t i = first; i < last; ++i) {
    double& least = least_[static_cast<std::size_t>(i)];
    if (least < 0) least = least_error(tris[static_cast<std::size_t>(i)]);
    if (threshold > least) candidates.push_back(static_cast<int32_t>(i));
  }
}

void EdgeCollapse::find_candidates(double threshold) {
  const bool alone = stale_ < kTaskSize;
  stale_ = 0;
  std::vector<std::vector<int32_t>> found(static_cast<std::size_t>(one_and_a_half_processors()));
  in_slices(tris.size(), alone, [&](std::ptrdiff_t first, std::ptrdiff_t last, int i) {
    scan_range(first, last, threshold, found[static_cast<std::size_t>(i)]);
  });
  candidates_.clear();
  for (const auto& part : found) candidates_.insert(candidates_.end(), part.begin(), part.end());
}

void EdgeCollapse::collapse_candidates(int iteration, int target, double threshold) {
  for (const int32_t i : candidates_) {
    if (reached(target)) return;
    sim_tri& tri = tris[static_cast<std::size_t>(i)];
    for (int j = 0; j < 3; ++j) {
      // A triangle touched in this iteration waits until the next.
      if (tri.deleted || tri.dirty == iteration) break;
      if (threshold > tri.err[j] && try_collapse(tri, j, iteration)) break;
    }
  }
}

bool EdgeCollapse::try_collapse(sim_tri& tri, int j, int iteration) {
  const int i0 = tri.vid[j];
  const int i1 = tri.vid[(j + 1) % 3];
  Vec3d p{0, 0, 0};
  edge_error(i0, i1, p);
  if (folds(p, i0, i1, dies_[0]) || folds(p, i1, i0, dies_[1])) return false;
  sim_vert& kept = verts[static_cast<std::size_t>(i0)];
  const sim_vert& gone = verts[static_cast<std::size_t>(i1)];
  kept.pos = p;
  kept.quadric.add(gone.quadric);
  relinked_.clear();
  relink(i0, kept, dies_[0], iteration);
  relink(i0, gone, dies_[1], iteration);
  const auto count = static_cast<int32_t>(relinked_.size());
  if (count <= kept.tri_count) {
    std::copy(relinked_.begin(), relinked_.end(), refs_.begin() + kept.tri_start);
  } else {
    kept.tri_start = static_cast<int32_t>(refs_.size());
    refs_.insert(refs_.end(), relinked_.begin(), relinked_.end());
  }
  kept.tri_count = count;
  return true;
}

// Whether moving i0 to p would fold a triangle that survives; `dies` tells which don't.
bool EdgeCollapse::folds(const Vec3d& p, int i0, int i1, std::vector<char>& dies) const {
  const sim_vert& vert = verts[static_cast<std::size_t>(i0)];
  dies.assign(static_cast<std::size_t>(vert.tri_count), 0);
  for (int k = 0; k < vert.tri_count; ++k) {
    const sim_ref& ref = refs_[static_cast<std::size_t>(vert.tri_start + k)];
    const sim_tri& tri = tris[static_cast<std::size_t>(ref.tri)];
    if (tri.deleted) continue;
    const int id1 = tri.vid[(ref.corner + 1) % 3];
    const int id2 = tri.vid[(ref.corner + 2) % 3];
    if (id1 == i1 || id2 == i1) {
      dies[static_cast<std::size_t>(k)] = 1;
      continue;
    }
    const Vec3d& p1 = verts[static_cast<std::size_t>(id1)].pos;
    const Vec3d& p2 = verts[static_cast<std::size_t>(id2)].pos;
    if (spoils(p, p1, p2, tri.normal)) return true;
    if (newly_close(p, vert.pos, p1) || newly_close(p, vert.pos, p2)) return true;
  }
  return false;
}

void EdgeCollapse::relink(int i0, const sim_vert& from, const std::vector<char>& dies,
                          int iteration) {
  for (int k = 0; k < from.tri_count; ++k) {
    const sim_ref ref = refs_[static_cast<std::size_t>(from.tri_start + k)];
    sim_tri& tri = tris[static_cast<std::size_t>(ref.tri)];
    if (tri.deleted) continue;
    if (dies[static_cast<std::size_t>(k)] != 0) {
      tri.deleted = true;
      least_[static_cast<std::size_t>(ref.tri)] = kNever;
      ++deleted_;
      continue;
    }
    tri.vid[ref.corner] = i0;
    tri.dirty = iteration;
    least_[static_cast<std::size_t>(ref.tri)] = kStale;
    ++stale_;
    relinked_.push_back(ref);
  }
}

// Dropping the dead and renumbering the references changes no result, only the cost of what
// follows, so it waits until enough has died.
void EdgeCollapse::refresh(int iteration) {
  if (iteration > 0) {
    const std::size_t dead = tris.size() - static_cast<std::size_t>(total_ - deleted_);
    if (dead * 8 < tris.size()) return;
    drop_deleted();
  }
  count_references();
  if (iteration > 0) return;
  mark_borders();
  build_quadrics();
  least_.assign(tris.size(), kStale);
  stale_ = tris.size();
}

void EdgeCollapse::drop_deleted() {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < tris.size(); ++i) {
    if (tris[i].deleted) continue;
    if (kept != i) {
      tris[kept] = tris[i];
      if (i < least_.size()) least_[kept] = least_[i];
    }
    ++kept;
  }
  tris.resize(kept);
  least_.resize(std::min(least_.size(), kept));
}

void EdgeCollapse::count_references() {
  for (sim_vert& vert : verts) vert.tri_count = 0;
  for (const sim_tri& tri : tris) {
    for (const int id : tri.vid) ++verts[static_cast<std::size_t>(id)].tri_count;
  }
  int32_t start = 0;
  for (sim_vert& vert : verts) {
    vert.tri_start = start;
    start += vert.tri_count;
    vert.tri_count = 0;
  }
  // Room for what the collapses until the next refresh append.
  refs_.reserve(static_cast<std::size_t>(start) * 2);
  refs_.resize(static_cast<std::size_t>(start));
  for (std::size_t i = 0; i < tris.size(); ++i) {
    for (int corner = 0; corner < 3; ++corner) {
      sim_vert& vert = verts[static_cast<std::size_t>(tris[i].vid[corner])];
      refs_[static_cast<std::size_t>(vert.tri_start + vert.tri_count)] = {static_cast<int32_t>(i),
                                                                          corner};
      ++vert.tri_count;
    }
  }
}

// Across an open edge a neighbour occurs once among the corners around a vertex, otherwise twice.
void EdgeCollapse::mark_borders() {
  for (sim_vert& vert : verts) vert.border = 0;
  std::vector<int32_t> times(verts.size(), 0);
  const auto each_corner = [&](const sim_vert& vert, auto visit) {
    for (int k = 0; k < vert.tri_count; ++k) {
      const sim_ref& ref = refs_[static_cast<std::size_t>(vert.tri_start + k)];
      for (const int id : tris[static_cast<std::size_t>(ref.tri)].vid) {
        visit(static_cast<std::size_t>(id));
      }
    }
  };
  for (const sim_vert& vert : verts) {
    each_corner(vert, [&](std::size_t id) { ++times[id]; });
    each_corner(vert, [&](std::size_t id) {
      if (times[id] == 1) verts[id].border = 1;
      times[id] = 0;
    });
  }
}

// Each vertex gathers the planes around it in the order of the triangles, so that the sums round
// the same however the vertices are divided among tasks.
void EdgeCollapse::build_quadrics() {
  const bool alone = tris.size() < kTaskSize;
  in_slices(tris.size(), alone, [&](std::ptrdiff_t first, std::ptrdiff_t last, int) {
    for (std::ptrdiff_t i = first; i < last; ++i) {
      sim_tri& tri = tris[static_cast<std::size_t>(i)];
      const Vec3d& p0 = verts[static_cast<std::size_t>(tri.vid[0])].pos;
      const Vec3d& p1 = verts[static_cast<std::size_t>(tri.vid[1])].pos;
      const Vec3d& p2 = verts[static_cast<std::size_t>(tri.vid[2])].pos;
      tri.normal = unit(cross(p1 - p0, p2 - p0));
    }
  });
  in_slices(verts.size(), alone, [&](std::ptrdiff_t first, std::ptrdiff_t last, int) {
    for (std::ptrdiff_t i = first; i < last; ++i) {
      sim_vert& vert = verts[static_cast<std::size_t>(i)];
      vert.quadric = Quadric();
      for (int k = 0; k < vert.tri_count; ++k) {
        const sim_ref& ref = refs_[static_cast<std::size_t>(vert.tri_start + k)];
        const sim_tri& tri = tris[static_cast<std::size_t>(ref.tri)];
        // A triangle without area names no plane; it must not spoil those of its neighbours.
        if (std::isnan(tri.normal.x)) continue;
        vert.quadric.add_plane(tri.normal, verts[static_cast<std::size_t>(tri.vid[0])].pos);
      }
    }
  });
}

// Leaves the surviving triangles, and the vertices that they use, renumbered in order.
void EdgeCollapse::compact() {
  drop_deleted();
  std::vector<int32_t> number(verts.size(), -1);
  for (const sim_tri& tri : tris) {
    for (const int id : tri.vid) number[static_cast<std::size_t>(id)] = 0;
  }
  std::size_t used = 0;
  for (std::size_t i = 0; i < verts.size(); ++i) {
    if (number[i] < 0) continue;
    number[i] = static_cast<int32_t>(used);
    if (used != i) verts[used] = verts[i];
    ++used;
  }
  verts.resize(used);
  for (sim_tri& tri : tris) {
    for (int& id : tri.vid) id = number[static_cast<std::size_t>(id)];
  }
}

}  // namespace scanmesh
