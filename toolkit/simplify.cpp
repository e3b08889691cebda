// Edges collapsed in the order of their cost (Hoppe 1996; Garland and Heckbert 1997), costs brought
// up to date when their turn comes ("lazy": Cohen, Manocha, Olano 1997).
#include <algorithm>
#include <cmath>
#include <queue>

#include "scanmesh/toolkit/resolution.h"
#include "toolkit/collapse_cost.h"
#include "toolkit/collapse_guard.h"
#include "toolkit/collapse_mesh.h"
#include "toolkit/progress.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Faces that go between two looks at the edges that were refused, as a share of those left.
constexpr double kRoundShare = 0.1;
// Collapses between two reports.
constexpr std::int64_t kReportEvery = 1024;

struct Candidate {
  double cost;
  std::int32_t u;
  std::int32_t v;
  std::uint32_t moves;         // of both ends when it was put in line: later ones have their own
  std::uint32_t changes : 30;  // of the planes around both ends
  std::uint32_t attempt : 2;   // 0: the best place; then the others, where that was refused
};
// The cheapest on top, ties by number: the order is the same on every machine.
struct Later {
  bool operator()(const Candidate& a, const Candidate& b) const {
    if (a.cost != b.cost) return a.cost > b.cost;
    return a.u != b.u ? a.u > b.u : a.v > b.v;
  }
};

// What belongs to a point besides its place.
class Attributes {
 public:
  explicit Attributes(const TriangleMesh& mesh)
      : colors_(mesh.colors.size()), normals_(mesh.normals) {
    for (std::size_t v = 0; v < colors_.size(); ++v) {
      for (std::size_t c = 0; c < 4; ++c) colors_[v][c] = static_cast<float>(mesh.colors[v][c]);
    }
  }
  // `kept` becomes the mix of both: share 0 is its own, 1 the other's.
  void mix(std::int32_t kept, std::int32_t lost, double share) {
    if (share == 0) return;
    const auto a = static_cast<std::size_t>(kept);
    const auto b = static_cast<std::size_t>(lost);
    if (!colors_.empty()) {
      for (std::size_t c = 0; c < 4; ++c) {
        colors_[a][c] += static_cast<float>(share) * (colors_[b][c] - colors_[a][c]);
      }
    }
    if (!normals_.empty()) normals_[a] = unit(normals_[a] * (1 - share) + normals_[b] * share);
  }
  void put(std::size_t v, TriangleMesh& mesh) const {
    if (!colors_.empty()) {
      Color color;
      for (std::size_t c = 0; c < 4; ++c) {
        color[c] = static_cast<std::uint8_t>(std::lround(colors_[v][c]));
      }
      mesh.colors.push_back(color);
    }
    if (!normals_.empty()) mesh.normals.push_back(normals_[v]);
  }

 private:
  std::vector<std::array<float, 4>> colors_;
  std::vector<Point> normals_;
};

struct Limits {
  std::int64_t faces = 0;
  double deviation = std::numeric_limits<double>::infinity();
};

class Simplifier {
 public:
  Simplifier(const TriangleMesh& input, const SimplifyOptions& options, double scale,
             const Limits& limits)
      : input_(input),
        options_(options),
        scale_(scale),
        limits_(limits),
        mesh_(input, scale, options.lock_boundary),
        cost_(mesh_),
        guard_(mesh_, options.avoid_intersections),
        attributes_(input),
        deviation_(input.points.size(), 0),
        moves_(input.points.size(), 0),
        changes_(input.points.size(), 0) {}

  SimplifyResult run() {
    line_up_all();
    begin_ = mesh_.live();
    next_round_ = round_after(begin_);
    while (mesh_.live() > limits_.faces) {
      if (queue_.empty() && !try_refused_again()) break;
      if (mesh_.live() < next_round_) try_refused_again();
      take(pop());
      if (++taken_ % kReportEvery == 0) tell();
    }
    return result();
  }

 private:
  static std::int64_t round_after(std::int64_t live) {
    return live - std::max<std::int64_t>(
                      1, static_cast<std::int64_t>(kRoundShare * static_cast<double>(live)));
  }
  std::uint32_t sum(const std::vector<std::uint32_t>& of, const Candidate& c) const {
    return (of[static_cast<std::size_t>(c.u)] + of[static_cast<std::size_t>(c.v)]) & 0x3fffffffU;
  }
  void tell() const {
    const auto whole = static_cast<double>(std::max<std::int64_t>(1, begin_ - limits_.faces));
    report(options_.progress, static_cast<double>(begin_ - mesh_.live()) / whole, "simplify");
  }
  Candidate pop() {
    const Candidate top = queue_.top();
    queue_.pop();
    return top;
  }

  Candidate candidate(std::int32_t u, std::int32_t v) const {
    Candidate c{0, std::min(u, v), std::max(u, v), 0, 0, 0};
    c.cost = cost_.best(c.u, c.v).cost;
    c.moves = sum(moves_, c);
    c.changes = sum(changes_, c) & 0x3fffffffU;
    return c;
  }
  bool hopeless(std::int32_t u, std::int32_t v) const { return mesh_.locked(u) && mesh_.locked(v); }
  void line_up_all();
  bool try_refused_again();
  void take(Candidate c);
  bool collapse(const Candidate& c, const Placement& placement);
  Point final_place(const Point& at) const;
  SimplifyResult result() const;

  const TriangleMesh& input_;
  const SimplifyOptions& options_;
  const double scale_;
  const Limits limits_;
  CollapseMesh mesh_;
  CollapseCost cost_;
  CollapseGuard guard_;
  Attributes attributes_;
  std::vector<double> deviation_;
  std::vector<std::uint32_t> moves_;
  std::vector<std::uint32_t> changes_;
  std::priority_queue<Candidate, std::vector<Candidate>, Later> queue_;
  std::vector<Candidate> refused_;
  EdgeStar star_;
  std::int64_t begin_ = 0;
  std::int64_t next_round_ = 0;
  std::int64_t taken_ = 0;
  double error_ = 0;
  bool too_far_ = false;
};

void Simplifier::line_up_all() {
  std::vector<Candidate> all;
  all.reserve(2 * mesh_.points.size());
  for (std::size_t f = 0; f < mesh_.triangles.size(); ++f) {
    const Triangle& t = mesh_.triangles[f];
    if (t[0] < 0) continue;
    for (std::size_t k = 0; k < 3; ++k) {
      const std::int32_t u = t[k];
      const std::int32_t v = t[(k + 1) % 3];
      if (hopeless(u, v)) continue;
      // From both sides but for borders.
      if (u < v || (mesh_.border(u) && mesh_.border(v) && mesh_.edge_valence(u, v) == 1)) {
        all.push_back({0, std::min(u, v), std::max(u, v), 0, 0, 0});
      }
    }
  }
  report(options_.progress, 0, "simplify");
  const auto count = static_cast<std::int64_t>(all.size());
#pragma omp parallel for schedule(static)
  for (std::int64_t i = 0; i < count; ++i) {
    Candidate& c = all[static_cast<std::size_t>(i)];
    c.cost = cost_.best(c.u, c.v).cost;
  }
  queue_ = std::priority_queue<Candidate, std::vector<Candidate>, Later>(Later(), std::move(all));
}

// Those whose surroundings changed since. Whether there are any.
bool Simplifier::try_refused_again() {
  next_round_ = round_after(mesh_.live());
  std::vector<Candidate> waiting;
  waiting.swap(refused_);
  bool any = false;
  for (const Candidate& c : waiting) {
    if (mesh_.gone(c.u) || mesh_.gone(c.v) || sum(moves_, c) != c.moves) continue;
    if (sum(changes_, c) == c.changes) {
      refused_.push_back(c);
      continue;
    }
    queue_.push(candidate(c.u, c.v));
    any = true;
  }
  return any;
}

void Simplifier::take(Candidate c) {
  if (mesh_.gone(c.u) || mesh_.gone(c.v) || sum(moves_, c) != c.moves) return;
  if (sum(changes_, c) != c.changes) {
    c = candidate(c.u, c.v);
    if (!queue_.empty() && Later()(c, queue_.top())) {
      queue_.push(c);
      return;
    }
  }
  mesh_.gather(c.u, c.v, star_);
  if (!mesh_.keeps_topology(c.u, c.v, star_)) {
    refused_.push_back(c);
    return;
  }
  if (c.attempt == 0) {
    if (collapse(c, cost_.best(c.u, c.v))) return;
  } else if (collapse(c, cost_.others(c.u, c.v)[c.attempt - 1])) {
    return;
  }
  // Another place waits for its turn.
  const std::vector<Placement> others = cost_.others(c.u, c.v);
  if (c.attempt < others.size()) {
    c.cost = std::max(c.cost, others[c.attempt].cost);
    ++c.attempt;
    queue_.push(c);
  } else {
    refused_.push_back(c);
  }
}

// What a file of floats would make of it.
Point Simplifier::final_place(const Point& at) const {
  if (!options_.for_float_files) return at;
  const Point rounded = rounded_to_floats(at * (1 / scale_));
  return finite(rounded) ? rounded * scale_ : at;
}

bool Simplifier::collapse(const Candidate& c, const Placement& placement) {
  const Point& first = mesh_.point(c.u);
  const Point& second = mesh_.point(c.v);
  // An end that stays is what it was, to the bit.
  const bool stays = placement.at == first || placement.at == second;
  const Point to = stays ? placement.at : final_place(placement.at);
  const double before = std::max(deviation_[static_cast<std::size_t>(c.u)],
                                 deviation_[static_cast<std::size_t>(c.v)]);
  const double deviation = std::sqrt(before * before + placement.deviation * placement.deviation);
  if (deviation > limits_.deviation) {
    too_far_ = true;
    return false;
  }
  if (!guard_.admits(c.u, c.v, to, star_)) return false;
  const Point along = second - first;
  const double size = dot(along, along);
  const double share = size > 0 ? std::clamp(dot(to - first, along) / size, 0.0, 1.0) : 0.0;
  const bool keep_first = share <= 0.5;
  const std::int32_t kept = keep_first ? c.u : c.v;
  const std::int32_t lost = keep_first ? c.v : c.u;
  attributes_.mix(kept, lost, keep_first ? share : 1 - share);
  mesh_.collapse(kept, lost, to, star_);
  guard_.follow(star_);
  error_ = std::max(error_, deviation);
  deviation_[static_cast<std::size_t>(kept)] = deviation;
  ++moves_[static_cast<std::size_t>(kept)];
  cost_.renew(kept);
  std::vector<std::int32_t> ring;
  mesh_.for_each_neighbour(kept, [&](std::int32_t x) { ring.push_back(x); });
  for (const std::int32_t x : ring) {
    cost_.renew(x);
    ++changes_[static_cast<std::size_t>(x)];
  }
  for (const std::int32_t x : ring) {
    if (!hopeless(kept, x)) queue_.push(candidate(kept, x));
  }
  return true;
}

SimplifyResult Simplifier::result() const {
  SimplifyResult result;
  std::vector<std::int32_t> number(mesh_.points.size(), -1);
  for (const Triangle& t : mesh_.triangles) {
    if (t[0] < 0) continue;
    for (const std::int32_t v : t) number[static_cast<std::size_t>(v)] = 0;
  }
  for (std::size_t v = 0; v < number.size(); ++v) {
    if (number[v] < 0) continue;
    number[v] = static_cast<std::int32_t>(result.mesh.points.size());
    const bool untouched = moves_[v] == 0;
    result.mesh.points.push_back(untouched ? input_.points[v] : mesh_.points[v] * (1 / scale_));
    result.origin.points.push_back(static_cast<std::int32_t>(v));
    attributes_.put(v, result.mesh);
  }
  for (std::size_t f = 0; f < mesh_.triangles.size(); ++f) {
    Triangle t = mesh_.triangles[f];
    if (t[0] < 0) continue;
    for (std::int32_t& v : t) v = number[static_cast<std::size_t>(v)];
    result.mesh.triangles.push_back(t);
    result.origin.triangles.push_back(static_cast<std::int32_t>(f));
  }
  result.error = error_ / scale_;
  result.stop = mesh_.live() <= limits_.faces ? SimplifyStop::target
                : too_far_                    ? SimplifyStop::error
                                              : SimplifyStop::topology;
  return result;
}

Limits limits_of(const TriangleMesh& mesh, const SimplifyOptions& options, double scale) {
  const bool by_error = options.max_error < std::numeric_limits<double>::infinity();
  if (options.faces < -1 || !(options.max_error >= 0) ||
      (options.ratio != -1 && !(options.ratio >= 0 && options.ratio <= 1))) {
    throw Error(ErrorCode::invalid_argument,
                "faces are 0 or more, a ratio is 0 to 1, an error is 0 or more");
  }
  if (options.faces < 0 && options.ratio < 0 && !by_error) {
    throw Error(ErrorCode::invalid_argument,
                "simplify needs faces, a ratio or an error to stop at");
  }
  Limits limits;
  const auto count = static_cast<double>(mesh.triangles.size());
  limits.faces = std::max<std::int64_t>(options.faces, 0);
  if (options.ratio >= 0) {
    limits.faces =
        std::max(limits.faces, static_cast<std::int64_t>(std::ceil(options.ratio * count)));
  }
  limits.deviation = options.max_error * scale;
  return limits;
}

// The power of two that brings the size of the mesh to 1 or a little less: no threshold and no
// product of coordinates then depends on the unit.
double scale_of(const TriangleMesh& mesh) {
  const Box box = bounding_box(mesh);
  const Point size = box.max - box.min;
  const double longest = std::max({size.x, size.y, size.z});
  if (!(longest > 0) || !std::isfinite(longest)) return 1;
  int exponent = 0;
  std::frexp(longest, &exponent);
  return std::ldexp(1.0, std::clamp(-exponent, -1000, 1000));
}

}  // namespace

SimplifyResult simplify(const TriangleMesh& mesh, const SimplifyOptions& options) {
  require_valid(mesh);
  const double scale = scale_of(mesh);
  const Limits limits = limits_of(mesh, options, scale);
  SimplifyResult result = Simplifier(mesh, options, scale, limits).run();
  report(options.progress, 1, "simplify");
  return result;
}

}  // namespace scanmesh
