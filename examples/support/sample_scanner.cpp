#include "support/sample_scanner.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "support/random.h"

namespace demo {
namespace {

constexpr double kHit = 1e-5;
constexpr int kMostSteps = 400;

// The axes first, then the diagonals: 14 directions see most of a solid.
std::vector<Vec3> view_directions(int count) {
  std::vector<Vec3> all = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
  for (int i = 0; i < 8; ++i) {
    all.push_back({i & 1 ? 1.0 : -1.0, i & 2 ? 1.0 : -1.0, i & 4 ? 1.0 : -1.0});
  }
  all.resize(std::min(all.size(), static_cast<std::size_t>(std::max(count, 1))));
  for (Vec3& d : all) d = unit(d);
  return all;
}

// Walks along a ray in steps that can't pass the surface.
bool meets(const Solid& solid, Vec3 p, const Vec3& along, double length, Vec3& hit) {
  double way = 0;
  for (int i = 0; i < kMostSteps && way < length; ++i) {
    const double step = solid.value(p);
    if (step < kHit) {
      hit = p;
      return true;
    }
    p = p + along * step;
    way += step;
  }
  return false;
}

// What lies under a marker isn't seen.
void drop_hidden(SampleScan& scan) {
  const auto hidden = [&](const OrientedSample& s) {
    return std::any_of(scan.markers.begin(), scan.markers.end(),
                       [&](auto& m) { return distance(m.centre, s.point) <= m.radius; });
  };
  scan.samples.erase(std::remove_if(scan.samples.begin(), scan.samples.end(), hidden),
                     scan.samples.end());
}

class Scanner {
 public:
  Scanner(const Solid& solid, const SampleScanSettings& settings)
      : solid_(solid), settings_(settings), random_(settings.seed) {}

  SampleScan run() {
    for (const Vec3& view : view_directions(settings_.directions)) scan_from(view);
    // Scanners deliver one view after the other; a tree that keeps the first sample of a cell is
    // better served by a mixture.
    for (std::size_t i = scan_.samples.size(); i > 1; --i) {
      std::swap(scan_.samples[i - 1], scan_.samples[random_.below(i)]);
    }
    place_markers();
    return std::move(scan_);
  }

 private:
  double fine_half() const { return settings_.half / (1 << settings_.fine_levels); }
  bool is_fine(const Vec3& p) const {
    return settings_.fine_levels > 0 && distance(p, settings_.fine_centre) < settings_.fine_radius;
  }

  void scan_from(const Vec3& view) {
    Vec3 u;
    Vec3 v;
    plane_axes(view, u, v);
    const double spacing = settings_.fine_levels > 0 ? fine_half() : settings_.half;
    const auto rays = static_cast<int>(2 * solid_.reach / spacing);
    for (int i = 0; i <= rays; ++i) {
      for (int j = 0; j <= rays; ++j) {
        const double a = -solid_.reach + i * spacing;
        const double b = -solid_.reach + j * spacing;
        // Of the fine raster, what lies outside the fine region keeps every n-th ray.
        const int coarse = 1 << settings_.fine_levels;
        const bool ordinary = i % coarse == 0 && j % coarse == 0;
        if (!ordinary && settings_.fine_levels == 0) continue;
        shoot(view, u * a + v * b, ordinary);
      }
    }
  }

  void shoot(const Vec3& view, const Vec3& offset, bool ordinary) {
    if (!ordinary && !near_fine_region(view, offset)) return;
    Vec3 hit;
    if (!meets(solid_, offset - view * (1.1 * solid_.reach), view, 2.2 * solid_.reach, hit)) return;
    const bool fine = is_fine(hit);
    if (!ordinary && !fine) return;
    const Vec3 normal = solid_.normal(hit);
    if (-dot(normal, view) < settings_.grazing) return;
    const Vec3 tilted =
        unit(normal + Vec3{random_.normal(), random_.normal(), random_.normal()} * settings_.tilt);
    scan_.samples.push_back({hit + normal * (settings_.noise * random_.normal()), tilted,
                             fine ? fine_half() : settings_.half});
  }

  // Whether the ray passes the fine region at all.
  bool near_fine_region(const Vec3& view, const Vec3& offset) const {
    const Vec3 way = settings_.fine_centre - offset;
    return length(way - view * dot(way, view)) < settings_.fine_radius;
  }

  // On flat enough places that keep clear of one another and of the seam between resolutions.
  void place_markers() {
    const double radius = settings_.marker_radius;
    constexpr int kTries = 4000;
    for (int i = 0; i < kTries &&
                    scan_.markers.size() < static_cast<std::size_t>(std::max(settings_.markers, 0));
         ++i) {
      if (scan_.samples.empty()) return;
      const OrientedSample at = scan_.samples[random_.below(scan_.samples.size())];
      const Vec3 centre = at.point;
      const bool room = std::all_of(scan_.markers.begin(), scan_.markers.end(), [&](auto& m) {
        return distance(m.centre, centre) > 5 * radius;
      });
      if (!room || !is_flat(centre, 2 * radius)) continue;
      scan_.markers.push_back({centre, solid_.normal(centre), radius, at.half});
    }
    drop_hidden(scan_);
  }

  bool is_flat(const Vec3& centre, double reach) const {
    const Vec3 normal = solid_.normal(centre);
    Vec3 u;
    Vec3 v;
    plane_axes(normal, u, v);
    for (const double along : {0.5, 1.0}) {
      for (int k = 0; k < 12; ++k) {
        const double angle = 0.5235987755982988 * k;
        const Vec3 p = centre + (u * std::cos(angle) + v * std::sin(angle)) * (along * reach);
        if (std::fabs(solid_.value(p)) > 0.3 * reach) return false;
        if (dot(solid_.normal(p), normal) < 0.8 || is_fine(p) != is_fine(centre)) return false;
      }
    }
    return true;
  }

  const Solid& solid_;
  const SampleScanSettings& settings_;
  Random random_;
  SampleScan scan_;
};

}  // namespace

SampleScan scan_solid(const Solid& solid, const SampleScanSettings& settings) {
  return Scanner(solid, settings).run();
}

SampleScan samples_of(const Surface& surface, double half) {
  SampleScan scan;
  const std::vector<Vec3> normals = point_normals(surface);
  for (std::size_t i = 0; i < surface.points.size(); ++i) {
    scan.samples.push_back({surface.points[i], normals[i], half});
  }
  return scan;
}

void refine_region(SampleScan& scan, const Surface& surface, double half, const Vec3& centre,
                   double radius) {
  const auto inside = [&](const OrientedSample& s) { return distance(s.point, centre) < radius; };
  scan.samples.erase(std::remove_if(scan.samples.begin(), scan.samples.end(), inside),
                     scan.samples.end());
  Surface finer = surface;
  split_faces(finer, 1);
  for (const OrientedSample& s : samples_of(finer, half / 2).samples) {
    if (inside(s)) scan.samples.push_back(s);
  }
}

void lay_markers(SampleScan& scan, int count, double radius, std::uint64_t seed) {
  constexpr int kTries = 500;
  Random random(seed);
  const auto most = static_cast<std::size_t>(std::max(count, 0));
  for (int i = 0; i < kTries && scan.markers.size() < most && !scan.samples.empty(); ++i) {
    const OrientedSample at = scan.samples[random.below(scan.samples.size())];
    const bool room = std::all_of(scan.markers.begin(), scan.markers.end(), [&](auto& m) {
      return distance(m.centre, at.point) > 5 * radius;
    });
    const bool flat = room && std::all_of(scan.samples.begin(), scan.samples.end(), [&](auto& s) {
                        if (distance(s.point, at.point) > 2.5 * radius) return true;
                        return dot(s.normal, at.normal) > 0.8 && s.half == at.half;
                      });
    if (flat) scan.markers.push_back({at.point, at.normal, radius, at.half});
  }
  drop_hidden(scan);
}

}  // namespace demo
