// Quadrics of the current planes, the volume kept by a linear constraint:
// Lindstrom and Turk, Fast and memory efficient polygonal simplification, 1998, and Evaluation of
// memoryless simplification, 1999. Solved as one regularised system, as with quadrics of uncertain
// planes (Trettner and Kobbelt 2020), so that flat places need no case of their own.
#include "toolkit/collapse_cost.h"

#include <algorithm>
#include <cmath>

#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Pull towards the edge's middle, as a share of the quadric's trace: decides along what is flat or
// straight.
constexpr double kPull = 1e-8;
// Weight of squared distances from both ends in the order: where the surface is flat or straight
// all collapses cost nothing, and short edges go first.
constexpr double kSpread = 1e-10;
// Further from the edge's middle than this many of its lengths the system was all but singular.
constexpr double kFarthest = 5;

// A + pull I, by Cholesky.
class Solver {
 public:
  Solver(const Quadric& q, double pull) {
    a_ = q.xx + pull;
    b_ = q.xy / a_;
    c_ = q.xz / a_;
    d_ = q.yy + pull - b_ * q.xy;
    e_ = (q.yz - b_ * q.xz) / d_;
    f_ = q.zz + pull - c_ * q.xz - e_ * e_ * d_;
  }
  bool regular() const { return a_ > 0 && d_ > 0 && f_ > 0; }
  Point solve(const Point& r) const {
    const double y = r.y - b_ * r.x;
    const double z = r.z - c_ * r.x - e_ * y;
    const double sz = z / f_;
    const double sy = y / d_ - e_ * sz;
    return {r.x / a_ - b_ * sy - c_ * sz, sy, sz};
  }

 private:
  double a_, b_, c_, d_, e_, f_;
};

}  // namespace

// The quadric of an edge, about its first end.
struct CollapseCost::Frame {
  Quadric quadric;
  Point linear;         // half the gradient at the first end
  double constant = 0;  // the value there
  Point areas;          // of all triangles around
  double volume = 0;    // what areas * place has to be for the volume to stay
  Point other;          // the second end

  Placement at(const Point& origin, const Point& p) const {
    Placement placement;
    placement.at = origin + p;
    const double trace = quadric.trace();
    const double value = std::max(0.0, dot(p, quadric.times(p)) + 2 * dot(linear, p) + constant);
    placement.deviation = trace > 0 ? std::sqrt(value / trace) : 0;
    const Point from_second = p - other;
    placement.cost = value + kSpread * trace * (dot(p, p) + dot(from_second, from_second));
    return placement;
  }
};

CollapseCost::CollapseCost(const CollapseMesh& mesh)
    : mesh_(mesh), quadrics_(mesh.points.size()), areas_(mesh.points.size()) {
  const auto count = static_cast<std::int64_t>(mesh.points.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t v = 0; v < count; ++v) renew(static_cast<std::int32_t>(v));
}

namespace {

// Squared distance from the line of a border's edge: weighted as a triangle over it would be.
void add_border(Quadric& quadric, const Point& side) {
  const double size = dot(side, side);
  const double weight = std::sqrt(size);
  quadric.add(side * std::sqrt(weight), -1);
  quadric.xx += weight * size;
  quadric.yy += weight * size;
  quadric.zz += weight * size;
}

}  // namespace

void CollapseCost::renew(std::int32_t v) {
  Quadric quadric;
  Point areas;
  const bool border = mesh_.border(v);
  mesh_.for_each_at(v, [&](std::int32_t f, std::size_t k) {
    const Point& area = mesh_.area(f);
    quadric.add(mesh_.weighted(f));
    areas = areas + area;
    if (!border) return;
    for (const std::size_t step : {1, 2}) {
      const std::int32_t x = mesh_.triangle(f)[(k + step) % 3];
      if (mesh_.border(x) && mesh_.edge_valence(v, x) == 1) {
        add_border(quadric, mesh_.point(x) - mesh_.point(v));
      }
    }
  });
  quadrics_[static_cast<std::size_t>(v)] = quadric;
  areas_[static_cast<std::size_t>(v)] = areas;
}

CollapseCost::Frame CollapseCost::frame_of(std::int32_t u, std::int32_t v) const {
  const Quadric& a = quadrics_[static_cast<std::size_t>(u)];
  const Quadric& b = quadrics_[static_cast<std::size_t>(v)];
  Quadric shared;
  Point shared_areas;
  int valence = 0;
  mesh_.for_each_at(u, [&](std::int32_t f, std::size_t) {
    const Triangle& t = mesh_.triangle(f);
    if (t[0] != v && t[1] != v && t[2] != v) return;
    shared.add(mesh_.weighted(f));
    shared_areas = shared_areas + mesh_.area(f);
    ++valence;
  });
  Frame frame;
  frame.other = mesh_.point(v) - mesh_.point(u);
  if (valence == 1) add_border(shared, frame.other);
  // What both ends have passes through both: it adds nothing to the linear terms.
  const Point by_second = b.times(frame.other);
  frame.linear = by_second * -1.0;
  frame.constant = dot(by_second, frame.other);
  const Point& at_second = areas_[static_cast<std::size_t>(v)];
  frame.volume = dot(at_second, frame.other);
  frame.areas = areas_[static_cast<std::size_t>(u)] + at_second - shared_areas;
  frame.quadric = {a.xx + b.xx - shared.xx, a.xy + b.xy - shared.xy, a.xz + b.xz - shared.xz,
                   a.yy + b.yy - shared.yy, a.yz + b.yz - shared.yz, a.zz + b.zz - shared.zz};
  return frame;
}

Placement CollapseCost::best(std::int32_t u, std::int32_t v) const {
  const Frame frame = frame_of(u, v);
  const Point& origin = mesh_.point(u);
  const bool tied_u = mesh_.locked(u) || (mesh_.border(u) && !mesh_.border(v));
  const bool tied_v = mesh_.locked(v) || (mesh_.border(v) && !mesh_.border(u));
  const auto at_second = [&] {
    Placement placement = frame.at(origin, frame.other);
    placement.at = mesh_.point(v);
    return placement;
  };
  if (tied_u) return frame.at(origin, {});
  if (tied_v) return at_second();
  const double pull = kPull * frame.quadric.trace();
  const Solver solver(frame.quadric, pull);
  const Point middle = frame.other * 0.5;
  if (!solver.regular()) return frame.at(origin, middle);
  Point p = solver.solve(middle * pull - frame.linear);
  if (!mesh_.border(u)) {
    const Point along = solver.solve(frame.areas);
    const double slope = dot(frame.areas, along);
    if (slope > 0) p = p + along * ((frame.volume - dot(frame.areas, p)) / slope);
  }
  const Point off = p - middle;
  const bool sane = dot(off, off) <= kFarthest * kFarthest * dot(frame.other, frame.other);
  return frame.at(origin, sane ? p : middle);
}

std::vector<Placement> CollapseCost::others(std::int32_t u, std::int32_t v) const {
  if (mesh_.locked(u) || mesh_.locked(v) || mesh_.border(u) != mesh_.border(v)) return {};
  const Frame frame = frame_of(u, v);
  const Point& origin = mesh_.point(u);
  std::vector<Placement> found{frame.at(origin, {}), frame.at(origin, frame.other),
                               frame.at(origin, frame.other * 0.5)};
  found[1].at = mesh_.point(v);
  std::stable_sort(found.begin(), found.end(),
                   [](const Placement& a, const Placement& b) { return a.cost < b.cost; });
  return found;
}

}  // namespace scanmesh
