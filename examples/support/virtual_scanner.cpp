#include "support/virtual_scanner.h"

#include <algorithm>
#include <cmath>

#include "support/distance.h"
#include "support/random.h"
#include "support/scan_damage.h"

namespace demo {
namespace {

constexpr int kTriesPerPlace = 2000;
constexpr double kTwoPi = 6.283185307179586;

std::size_t at(int i) {
  return static_cast<std::size_t>(i);
}

// Hands out points of the surface that keep clear of one another.
class Places {
 public:
  Places(const Surface& surface, const std::vector<Vec3>& normals, Random& random)
      : surface_(surface), normals_(normals), random_(random) {}

  // A point whose surroundings bend gently and belong to one sheet, or -1.
  int smooth_place(double radius) {
    for (int i = 0; i < kTriesPerPlace; ++i) {
      const int point = candidate(radius);
      if (point >= 0 && is_smooth(point, 1.5 * radius)) return take(point, radius);
    }
    return -1;
  }

  // The most hollow of a few dozen points: what lies deep is what cameras miss. Or -1.
  int hollow_place(double radius) {
    constexpr int kLookedAt = 48;
    int best = -1;
    double most = 0;
    for (int i = 0; i < kLookedAt; ++i) {
      const int point = candidate(radius);
      if (point < 0) continue;
      const double value = hollowness(point, 2.5 * radius);
      if (best >= 0 && value <= most) continue;
      best = point;
      most = value;
    }
    return best < 0 ? -1 : take(best, radius);
  }

 private:
  struct Taken {
    Vec3 centre;
    double radius;
  };

  int candidate(double radius) {
    if (surface_.points.empty()) return -1;
    const std::size_t point = random_.below(surface_.points.size());
    // Half as wide again: ragged rims reach beyond their radius, and rims need surface between
    // them.
    const bool clear = std::all_of(taken_.begin(), taken_.end(), [&](const Taken& t) {
      return distance(surface_.points[point], t.centre) > 1.5 * (radius + t.radius);
    });
    return clear ? static_cast<int>(point) : -1;
  }

  int take(int point, double radius) {
    taken_.push_back({surface_.points[at(point)], radius});
    return point;
  }

  bool is_smooth(int point, double reach) const {
    const Vec3& centre = surface_.points[at(point)];
    for (std::size_t i = 0; i < surface_.points.size(); ++i) {
      if (distance(surface_.points[i], centre) > reach) continue;
      if (dot(normals_[i], normals_[at(point)]) < 0.6) return false;
    }
    return true;
  }

  // How high the surroundings stand above the tangent plane, as a mean cosine.
  double hollowness(int point, double reach) const {
    const Vec3& centre = surface_.points[at(point)];
    double sum = 0;
    int count = 0;
    for (std::size_t i = 0; i < surface_.points.size(); i += 7) {
      const Vec3 offset = surface_.points[i] - centre;
      const double far = length(offset);
      if (far > reach || !(far > 0)) continue;
      sum += dot(offset, normals_[at(point)]) / far;
      ++count;
    }
    return count == 0 ? -1 : sum / count;
  }

  const Surface& surface_;
  const std::vector<Vec3>& normals_;
  Random& random_;
  std::vector<Taken> taken_;
};

struct Plan {
  std::vector<int> patches;
  std::vector<int> markers;
  std::vector<int> spikes;
};

// The largest first, while there is room.
Plan plan_damage(const Surface& surface, const std::vector<Vec3>& normals,
                 const ScanSettings& settings, double edge, Random& random) {
  Places places(surface, normals, random);
  Plan plan;
  for (int i = 0; i < settings.patches; ++i) {
    plan.patches.push_back(places.hollow_place(settings.patch_radius));
  }
  for (int i = 0; i < settings.markers; ++i) {
    plan.markers.push_back(places.smooth_place(settings.marker_radius));
  }
  for (int i = 0; i < settings.spikes; ++i) plan.spikes.push_back(places.smooth_place(2 * edge));
  for (std::vector<int>* list : {&plan.patches, &plan.markers, &plan.spikes}) {
    list->erase(std::remove(list->begin(), list->end(), -1), list->end());
  }
  return plan;
}

void add_noise(Surface& surface, const std::vector<Vec3>& normals, double noise, Random& random) {
  for (std::size_t i = 0; i < surface.points.size(); ++i) {
    surface.points[i] = surface.points[i] + normals[i] * (noise * random.normal());
  }
}

// A loose island: an open fan of a few faces in a random plane.
void add_island(std::vector<Triangle>& out, const Vec3& centre, double size, std::size_t faces,
                Random& random) {
  Vec3 u;
  Vec3 v;
  plane_axes(random.direction(), u, v);
  const auto rim = [&](std::size_t k) {
    const double angle = kTwoPi * static_cast<double>(k) / 7;
    const double reach = size * random.uniform(0.6, 1.1);
    return centre + u * (reach * std::cos(angle)) + v * (reach * std::sin(angle));
  };
  Vec3 last = rim(0);
  for (std::size_t k = 1; k <= faces; ++k) {
    const Vec3 next = rim(k);
    out.push_back({centre, last, next});
    last = next;
  }
}

void add_debris(std::vector<Triangle>& out, const Surface& surface,
                const std::vector<Vec3>& normals, int face_count, double edge, Random& random) {
  if (face_count <= 0 || surface.points.empty()) return;
  const NearestTriangle body(triangles_of(surface));
  const std::size_t end = out.size() + at(face_count);
  for (int tries = 0; out.size() < end && tries < 100 * face_count; ++tries) {
    const std::size_t point = random.below(surface.points.size());
    const Vec3 centre = surface.points[point] + normals[point] * random.uniform(3 * edge, 9 * edge);
    if (body.distance_to(centre) < 2.5 * edge) continue;
    add_island(out, centre, edge, std::min(end - out.size(), 1 + random.below(6)), random);
  }
}

}  // namespace

Scan scan_surface(const Surface& surface, const ScanSettings& settings) {
  Random random(settings.seed);
  Scan scan;
  Surface body = surface;
  const double edge = mean_edge_length(body);
  const std::vector<Vec3> normals = point_normals(body);
  const Plan plan = plan_damage(body, normals, settings, edge, random);
  add_noise(body, normals, settings.noise, random);
  for (const int tip : plan.spikes) {
    Vec3& p = body.points[at(tip)];
    p = p + normals[at(tip)] * random.uniform(2 * edge, 4.5 * edge);
    scan.spikes.push_back(p);
  }
  for (const int seed : plan.patches) {
    scan.patches.push_back(body.points[at(seed)]);
    cut_patch(body, seed, normals[at(seed)], settings.patch_radius, random);
  }
  for (const int seed : plan.markers) {
    scan.markers.push_back(body.points[at(seed)]);
    cut_marker(body, scan.markers.back(), settings.marker_radius, 0.2 * edge);
  }
  keep_largest_clean_part(body);
  scan.triangles = triangles_of(body);
  scan.body_faces = scan.triangles.size();
  add_debris(scan.triangles, surface, normals, settings.debris_faces, edge, random);
  return scan;
}

}  // namespace demo
