#include "support/scan_damage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <numeric>
#include <unordered_map>
#include <utility>
#include <vector>

namespace demo {
namespace {

constexpr double kTwoPi = 6.283185307179586;

using Edge = std::pair<int, int>;

Edge edge_of(int a, int b) {
  return {std::min(a, b), std::max(a, b)};
}

struct EdgeHash {
  std::size_t operator()(const Edge& e) const {
    const std::uint64_t key =
        (static_cast<std::uint64_t>(e.first) << 32) | static_cast<std::uint32_t>(e.second);
    return static_cast<std::size_t>((key * 0x9e3779b97f4a7c15u) >> 16);
  }
};

std::size_t at(int i) {
  return static_cast<std::size_t>(i);
}

// ---- Round holes
// ---------------------------------------------------------------------------------

// Clips faces at a sphere. A point is inside (-1), on (0) or outside (1) of it.
class SphereCut {
 public:
  SphereCut(Surface& surface, const Vec3& centre, double radius)
      : surface_(surface), centre_(centre), radius_(radius) {}

  void run(double snap) {
    place_points(snap);
    std::vector<Corners> kept;
    kept.reserve(surface_.faces.size());
    for (const Corners& f : surface_.faces) clip(f, kept);
    surface_.faces = std::move(kept);
  }

 private:
  void place_points(double snap) {
    side_.resize(surface_.points.size());
    for (std::size_t i = 0; i < side_.size(); ++i) {
      Vec3& p = surface_.points[i];
      const double d = distance(p, centre_);
      if (d > 0 && std::fabs(d - radius_) <= snap) {
        p = centre_ + (p - centre_) * (radius_ / d);
        side_[i] = 0;
      } else {
        side_[i] = d < radius_ ? -1 : 1;
      }
    }
  }

  // Where the edge from an inner to an outer point leaves the sphere.
  int crossing(int inside, int outside) {
    const auto [place, fresh] =
        crossings_.try_emplace(edge_of(inside, outside), static_cast<int>(surface_.points.size()));
    if (fresh) {
      const Vec3 from = surface_.points[at(inside)] - centre_;
      const Vec3 along = surface_.points[at(outside)] - surface_.points[at(inside)];
      const double a = dot(along, along);
      const double b = dot(from, along);
      const double c = dot(from, from) - radius_ * radius_;
      const double t = (-b + std::sqrt(b * b - a * c)) / a;
      surface_.points.push_back(centre_ + from + along * t);
    }
    return place->second;
  }

  void clip(const Corners& face, std::vector<Corners>& kept) {
    const int outer = static_cast<int>(
        std::count_if(face.begin(), face.end(), [&](int i) { return side_[at(i)] > 0; }));
    const bool crossed =
        std::any_of(face.begin(), face.end(), [&](int i) { return side_[at(i)] < 0; });
    if (outer == 0) return;
    if (!crossed) {
      kept.push_back(face);
      return;
    }
    std::vector<int> outline;
    for (std::size_t k = 0; k < 3; ++k) {
      const int from = face[k];
      const int to = face[(k + 1) % 3];
      if (side_[at(from)] >= 0) outline.push_back(from);
      if (side_[at(from)] * side_[at(to)] < 0) {
        outline.push_back(side_[at(from)] < 0 ? crossing(from, to) : crossing(to, from));
      }
    }
    for (std::size_t k = 2; k < outline.size(); ++k) {
      kept.push_back({outline[0], outline[k - 1], outline[k]});
    }
  }

  Surface& surface_;
  Vec3 centre_;
  double radius_;
  std::vector<int> side_;
  std::unordered_map<Edge, int, EdgeHash> crossings_;
};

// ---- Ragged patches
// ------------------------------------------------------------------------------

// The reach of a patch by direction: a circle with a few waves on it.
class WavyOutline {
 public:
  WavyOutline(const Vec3& normal, double radius, Random& random) : radius_(radius) {
    plane_axes(normal, u_, v_);
    for (Wave& wave : waves_) wave = {random.uniform(0.02, 0.09), random.uniform(0, kTwoPi)};
  }

  double reach(const Vec3& offset) const {
    const double angle = std::atan2(dot(offset, v_), dot(offset, u_));
    double factor = 1;
    for (std::size_t k = 0; k < waves_.size(); ++k) {
      factor += waves_[k].height * std::cos(static_cast<double>(k + 2) * angle + waves_[k].phase);
    }
    return radius_ * factor;
  }

 private:
  struct Wave {
    double height;
    double phase;
  };
  Vec3 u_;
  Vec3 v_;
  double radius_;
  std::array<Wave, 6> waves_{};
};

std::vector<std::vector<int>> faces_by_point(const Surface& surface) {
  std::vector<std::vector<int>> around(surface.points.size());
  for (std::size_t i = 0; i < surface.faces.size(); ++i) {
    for (const int corner : surface.faces[i]) around[at(corner)].push_back(static_cast<int>(i));
  }
  return around;
}

bool shares_edge(const Corners& a, const Corners& b) {
  return std::count_if(a.begin(), a.end(), [&](int corner) {
           return std::find(b.begin(), b.end(), corner) != b.end();
         }) >= 2;
}

void erase_faces(Surface& surface, const std::vector<char>& gone) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < surface.faces.size(); ++i) {
    if (gone[i] == 0) surface.faces[kept++] = surface.faces[i];
  }
  surface.faces.resize(kept);
}

// ---- Tidying
// -------------------------------------------------------------------------------------

// Points with more than two open edges: parts of the surface touch there without sharing an edge.
std::vector<char> pinched_points(const Surface& surface) {
  std::unordered_map<Edge, int, EdgeHash> uses;
  uses.reserve(surface.faces.size() * 3 / 2);
  for (const Corners& f : surface.faces) {
    for (std::size_t k = 0; k < 3; ++k) ++uses[edge_of(f[k], f[(k + 1) % 3])];
  }
  std::vector<int> open(surface.points.size(), 0);
  for (const auto& [edge, count] : uses) {
    if (count != 1) continue;
    ++open[at(edge.first)];
    ++open[at(edge.second)];
  }
  std::vector<char> pinched(surface.points.size(), 0);
  std::transform(open.begin(), open.end(), pinched.begin(),
                 [](int n) { return static_cast<char>(n > 2 ? 1 : 0); });
  return pinched;
}

bool drop_pinched_faces(Surface& surface) {
  const std::vector<char> pinched = pinched_points(surface);
  const std::size_t before = surface.faces.size();
  surface.faces.erase(
      std::remove_if(surface.faces.begin(), surface.faces.end(),
                     [&](const Corners& f) {
                       return pinched[at(f[0])] + pinched[at(f[1])] + pinched[at(f[2])] > 0;
                     }),
      surface.faces.end());
  return surface.faces.size() != before;
}

int root_of(std::vector<int>& parent, int i) {
  while (parent[at(i)] != i) i = parent[at(i)] = parent[at(parent[at(i)])];
  return i;
}

void keep_largest_part(Surface& surface) {
  std::vector<int> parent(surface.points.size());
  std::iota(parent.begin(), parent.end(), 0);
  for (const Corners& f : surface.faces) {
    parent[at(root_of(parent, f[1]))] = root_of(parent, f[0]);
    parent[at(root_of(parent, f[2]))] = root_of(parent, f[0]);
  }
  std::map<int, int> sizes;
  for (const Corners& f : surface.faces) ++sizes[root_of(parent, f[0])];
  if (sizes.empty()) return;
  const int largest =
      std::max_element(sizes.begin(), sizes.end(), [](const auto& a, const auto& b) {
        return a.second < b.second;
      })->first;
  surface.faces.erase(
      std::remove_if(surface.faces.begin(), surface.faces.end(),
                     [&](const Corners& f) { return root_of(parent, f[0]) != largest; }),
      surface.faces.end());
}

}  // namespace

void cut_marker(Surface& surface, const Vec3& centre, double radius, double snap) {
  SphereCut(surface, centre, radius).run(snap);
}

void cut_patch(Surface& surface, int seed, const Vec3& normal, double radius, Random& random) {
  const Vec3 centre = surface.points[at(seed)];
  const WavyOutline outline(normal, radius, random);
  const auto around = faces_by_point(surface);
  std::vector<char> gone(surface.faces.size(), 0);
  std::vector<char> seen(surface.faces.size(), 0);
  std::vector<int> front = around[at(seed)];
  for (const int face : front) seen[at(face)] = 1;
  while (!front.empty()) {
    const int face = front.back();
    front.pop_back();
    const Corners& f = surface.faces[at(face)];
    const Vec3 &a = surface.points[at(f[0])], &b = surface.points[at(f[1])],
               &c = surface.points[at(f[2])];
    const Vec3 offset = (a + b + c) * (1.0 / 3) - centre;
    const double fray = random.uniform(0.93, 1.07);
    if (length(offset) > fray * outline.reach(offset)) continue;
    if (dot(unit(cross(b - a, c - a)), normal) < -0.2) continue;
    gone[at(face)] = 1;
    for (const int corner : f) {
      for (const int next : around[at(corner)]) {
        if (seen[at(next)] != 0 || !shares_edge(f, surface.faces[at(next)])) continue;
        seen[at(next)] = 1;
        front.push_back(next);
      }
    }
  }
  erase_faces(surface, gone);
}

void keep_largest_clean_part(Surface& surface) {
  do {
    keep_largest_part(surface);
  } while (drop_pinched_faces(surface));
  drop_unused_points(surface);
}

}  // namespace demo
