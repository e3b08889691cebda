// How good the octree pipeline's surfaces are: solids of known surface are scanned, reconstructed
// and compared with the truth. Prints the tables of docs/octree-reconstruction.md.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "reconstruction.h"
#include "support/console.h"
#include "support/distance.h"
#include "support/surface.h"

namespace {

using demo::Solid;
using demo::Table;
using demo::Triangle;
using demo::Vec3;

struct Shape {
  std::string name;
  Solid solid;
};

std::vector<Shape> shapes() {
  return {{"sphere, radius 40", demo::sphere_solid(40)},
          {"torus, 36 and 14", demo::torus_solid(36, 14)},
          {"machined part", demo::machined_solid()},
          {"sculpture", demo::sculpted_solid()}};
}

struct Result {
  demo::SampleScan scan;
  demo::Reconstruction made;
  std::vector<Triangle> soup;
};

Result run(const Solid& solid, const demo::SampleScanSettings& settings, const std::string& file) {
  Result result;
  result.scan = demo::scan_solid(solid, settings);
  result.made = demo::reconstruct(result.scan, settings.half, settings.fine_levels, file);
  result.soup = demo::read_soup(file);
  return result;
}

// The deviation from the truth of corners and centroids.
demo::Deviation deviation(const std::vector<Triangle>& soup, const Solid& solid) {
  demo::Deviation result;
  double sum = 0;
  const auto look = [&](const Vec3& p) {
    const double d = solid.distance_to(p);
    sum += d * d;
    result.largest = std::max(result.largest, d);
    ++result.samples;
  };
  for (const Triangle& t : soup) {
    for (const Vec3& p : t) look(p);
    look((t[0] + t[1] + t[2]) * (1.0 / 3));
  }
  if (result.samples > 0) result.rms = std::sqrt(sum / static_cast<double>(result.samples));
  return result;
}

// Joins corners of one place by halves of the file's last decimal.
struct Edges {
  long long all = 0;
  long long open = 0;

  explicit Edges(const std::vector<Triangle>& soup) {
    using Place = std::array<long long, 3>;
    std::map<std::pair<Place, Place>, int> sides;
    for (const Triangle& t : soup) {
      std::array<Place, 3> corners;
      for (std::size_t k = 0; k < 3; ++k) {
        corners[k] = {std::llround(t[k].x * 500), std::llround(t[k].y * 500),
                      std::llround(t[k].z * 500)};
      }
      for (std::size_t k = 0; k < 3; ++k) {
        if (corners[k] != corners[(k + 1) % 3]) {
          ++sides[std::minmax(corners[k], corners[(k + 1) % 3])];
        }
      }
    }
    all = static_cast<long long>(sides.size());
    for (const auto& side : sides) open += side.second == 1 ? 1 : 0;
  }
};

Vec3 face_normal(const Triangle& t) {
  return cross(t[1] - t[0], t[2] - t[0]);
}

// Facets that look into the solid: by more than the ten degrees beyond perpendicular that tilted
// normals account for.
int flipped(const std::vector<Triangle>& soup, const Solid& solid) {
  int count = 0;
  for (const Triangle& t : soup) {
    const Vec3 n = face_normal(t);
    const Vec3 centre = (t[0] + t[1] + t[2]) * (1.0 / 3);
    if (dot(n, solid.normal(centre)) < -0.17 * length(n)) ++count;
  }
  return count;
}

// Points of the true surface, in or around a disc.
std::vector<Vec3> disc_points(const Solid& solid, const Vec3& centre, const Vec3& normal,
                              double radius) {
  Vec3 u;
  Vec3 v;
  demo::plane_axes(normal, u, v);
  std::vector<Vec3> out;
  constexpr int kRings = 12;
  for (int ring = 0; ring < kRings; ++ring) {
    const int around = 6 * ring + 1;
    for (int k = 0; k < around; ++k) {
      const double angle = 6.283185307179586 * k / around;
      const double r = radius * ring / kRings;
      Vec3 p = centre + (u * std::cos(angle) + v * std::sin(angle)) * r;
      for (int i = 0; i < 4; ++i) {
        const double d = solid.distance_to(p);
        p = p - solid.normal(p) * (solid.value(p) < 0 ? -d : d);
      }
      out.push_back(p);
    }
  }
  return out;
}

// How far the worst of the points is from the surface: half the width of the largest gap.
double largest_gap(const std::vector<Vec3>& points, const demo::NearestTriangle& surface) {
  double largest = 0;
  for (const Vec3& p : points) largest = std::max(largest, surface.distance_to(p));
  return largest;
}

double covered(const std::vector<Vec3>& points, const demo::NearestTriangle& surface,
               double within) {
  long long hit = 0;
  for (const Vec3& p : points) hit += surface.distance_to(p) < within ? 1 : 0;
  return points.empty() ? 1 : static_cast<double>(hit) / static_cast<double>(points.size());
}

std::string percent(double share, int digits = 1) {
  return demo::number(100 * share, digits);
}

void accuracy(const std::string& file) {
  Table table({"shape", "noise", "cell edge", "facets", "RMS", "RMS, % of cell edge", "largest",
               "open edges, %", "flipped"});
  for (const Shape& shape : shapes()) {
    for (const double noise : {0.0, 0.02}) {
      for (const double half : {1.0, 0.5, 0.25}) {
        demo::SampleScanSettings settings;
        settings.half = half;
        settings.noise = noise;
        settings.tilt = noise > 0 ? 0.03 : 0;
        const Result result = run(shape.solid, settings, file);
        const demo::Deviation off = deviation(result.soup, shape.solid);
        const Edges edges(result.soup);
        table.add({shape.name, demo::number(noise, 2), demo::number(2 * half, 1),
                   demo::count(static_cast<long long>(result.soup.size())),
                   demo::number(off.rms, 4), percent(off.rms / (2 * half), 2),
                   demo::number(off.largest, 3),
                   percent(static_cast<double>(edges.open) / static_cast<double>(edges.all), 2),
                   std::to_string(flipped(result.soup, shape.solid))});
      }
    }
  }
  std::printf("%s\n", table.text().c_str());
}

void markers(const std::string& file) {
  Table table({"shape", "cell edge", "radius", "markers", "closed", "covered, %", "new samples",
               "their RMS", "largest", "ms per marker"});
  for (const Shape& shape : shapes()) {
    for (const double half : {0.5, 0.25}) {
      for (const double radius : {2.0, 4.0}) {
        demo::SampleScanSettings settings;
        settings.half = half;
        settings.markers = 10;
        settings.marker_radius = radius;
        const Result result = run(shape.solid, settings, file);
        const demo::NearestTriangle surface(result.soup);
        int closed = 0;
        double share = 0;
        for (const demo::MarkerDisc& m : result.scan.markers) {
          const std::vector<Vec3> disc = disc_points(shape.solid, m.centre, m.normal, m.radius);
          closed += largest_gap(disc, surface) < 2 * half ? 1 : 0;
          share += covered(disc, surface, half / 2);
        }
        double sum = 0;
        double largest = 0;
        int added = 0;
        for (const demo::TreeSample& s : result.made.samples) {
          if (s.tag != 1) continue;
          const double d = shape.solid.distance_to(s.point);
          sum += d * d;
          largest = std::max(largest, d);
          ++added;
        }
        const auto count = static_cast<double>(result.scan.markers.size());
        table.add({shape.name, demo::number(2 * half, 1), demo::number(radius, 0),
                   std::to_string(result.scan.markers.size()), std::to_string(closed),
                   percent(share / std::max(count, 1.0)), std::to_string(added),
                   demo::number(std::sqrt(sum / std::max(added, 1)), 4), demo::number(largest, 3),
                   demo::number(1000 * result.made.marker_seconds / std::max(count, 1.0), 1)});
      }
    }
  }
  std::printf("%s\n", table.text().c_str());
}

// A band of the true surface around the sphere that parts the resolutions.
std::vector<Vec3> seam_points(const Result& result, const demo::SampleScanSettings& settings,
                              const Solid& solid, double width) {
  std::vector<Vec3> out;
  for (std::size_t i = 0; i < result.scan.samples.size(); i += 7) {
    Vec3 p = result.scan.samples[i].point;
    if (std::fabs(distance(p, settings.fine_centre) - settings.fine_radius) > width) continue;
    const double d = solid.distance_to(p);
    p = p - solid.normal(p) * (solid.value(p) < 0 ? -d : d);
    out.push_back(p);
  }
  return out;
}

void seams(const std::string& file) {
  Table table({"shape", "cell edges", "facets", "seam covered, %", "RMS at the seam", "largest",
               "open edges, %", "flipped"});
  const std::pair<Vec3, double> regions[] = {
      {{40, 0, 0}, 25}, {{36, 0, 14}, 22}, {{12, 0, 24}, 24}, {{30, 6, 16}, 24}};
  const std::vector<Shape> all = shapes();
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (const int levels : {1, 2}) {
      demo::SampleScanSettings settings;
      settings.fine_levels = levels;
      settings.fine_centre = regions[i].first;
      settings.fine_radius = regions[i].second;
      const Result result = run(all[i].solid, settings, file);
      const demo::NearestTriangle surface(result.soup);
      const std::vector<Vec3> band = seam_points(result, settings, all[i].solid, 2);
      std::vector<Triangle> near;
      for (const Triangle& t : result.soup) {
        if (std::fabs(distance(t[0], settings.fine_centre) - settings.fine_radius) < 2) {
          near.push_back(t);
        }
      }
      const demo::Deviation off = deviation(near, all[i].solid);
      const Edges edges(result.soup);
      table.add({all[i].name, levels == 1 ? "1.0 and 0.5" : "1.0 and 0.25",
                 demo::count(static_cast<long long>(result.soup.size())),
                 percent(covered(band, surface, 0.2), 2), demo::number(off.rms, 4),
                 demo::number(off.largest, 3),
                 percent(static_cast<double>(edges.open) / static_cast<double>(edges.all), 2),
                 std::to_string(flipped(near, all[i].solid))});
    }
  }
  std::printf("%s\n", table.text().c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: octree_quality WORK.stl\n", stderr);
    return 2;
  }
  std::printf("Distance to the true surface, one resolution:\n\n");
  accuracy(argv[1]);
  std::printf("Marker holes:\n\n");
  markers(argv[1]);
  std::printf("Two resolutions:\n\n");
  seams(argv[1]);
  return 0;
}
