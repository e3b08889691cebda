#include "toolkit/intersection_rounds.h"

#include <algorithm>

#include "toolkit/cleaning.h"
#include "toolkit/outward.h"
#include "toolkit/progress.h"
#include "toolkit/self_union.h"
#include "toolkit/topology.h"
#include "toolkit/untangling.h"

namespace scanmesh {
namespace {

// New points closer than this to another, by the box's diagonal, are joined to it.
constexpr double kThinnest = 1e-5;
// So many rounds may pass without fewer pairs than all before them.
constexpr int kPatience = 3;
// Parting comes first and in every third round; what it leaves is small.
constexpr int kRoundsOfPart = 3;

}  // namespace

bool IntersectionRounds::round(const Progress& progress) {
  const std::vector<Intersection> pairs = pairs_that_meet();
  turned_shells_ += turn_outward(mesh_, pairs).turned_shells;
  now_ = static_cast<std::int64_t>(pairs.size());
  looked_ = true;
  if (round_ == 0) at_first_ = now_;
  if (pairs.empty() || !progresses(pairs.size())) return false;
  const int round = round_++;
  report(progress, 0, "self-intersections");
  if (round % kRoundsOfPart == 0 && part()) return true;
  untangle(mesh_, pairs, 1 + round, ground_, progress);
  return true;
}

std::int64_t IntersectionRounds::turn(bool changed) {
  if (!changed && looked_ && now_ == 0) return 0;
  const std::vector<Intersection> pairs = pairs_that_meet();
  now_ = static_cast<std::int64_t>(pairs.size());
  return turn_outward(mesh_, pairs).turned_shells;
}

std::vector<Intersection> IntersectionRounds::pairs_that_meet() {
  TriangleMesh look;
  look.points.swap(mesh_.points);
  look.triangles.swap(mesh_.triangles);
  std::vector<Intersection> pairs = find_self_intersections(look);
  look.points.swap(mesh_.points);
  look.triangles.swap(mesh_.triangles);
  return pairs;
}

bool IntersectionRounds::progresses(std::size_t pairs) {
  if (pairs < fewest_pairs_) {
    fewest_pairs_ = pairs;
    rounds_without_ = 0;
  }
  return ++rounds_without_ <= kPatience;
}

// Copies of vertices that a junction was cut into are one again for it: the union knows no
// difference, and cuts anew what is left of the junction.
bool IntersectionRounds::part() {
  if (!closed()) return false;
  weld_equal_points(mesh_);
  remove_without_area(mesh_);
  drop_doubles(mesh_);
  const std::vector<Intersection> pairs = pairs_that_meet();
  if (pairs.empty()) return false;
  inside_faces_ += unite(mesh_, pairs, ground_).inside;
  weld_equal_points(mesh_);
  weld_new_points(mesh_, kThinnest * ground_.diagonal);
  weld_close_points(mesh_, weld_);
  remove_without_area(mesh_);
  drop_doubles(mesh_);
  return true;
}

bool IntersectionRounds::closed() const {
  const EdgeTable edges(mesh_.triangles, mesh_.points.size());
  for (std::size_t e = 0; e < edges.count(); ++e) {
    if (edges.valence(e) == 1) return false;
  }
  return true;
}

}  // namespace scanmesh
