// A virtual scanner that delivers oriented samples: rays from several directions meet a solid of
// known surface, with noise, two resolutions, and round markers under which nothing is seen.
#ifndef SCANMESH_EXAMPLES_SUPPORT_SAMPLE_SCANNER_H
#define SCANMESH_EXAMPLES_SUPPORT_SAMPLE_SCANNER_H

#include <cstdint>
#include <vector>

#include "support/solid.h"
#include "support/surface.h"

namespace demo {

/// Lengths in the solid's unit, millimetres in the examples.
struct SampleScanSettings {
  std::uint64_t seed = 7;
  double half = 0.5;          // half edge of an ordinary cell; rays are that far apart
  int fine_levels = 0;        // how often it is halved for the fine region; 0: there is none
  Vec3 fine_centre{0, 0, 0};  // what lies within fine_radius of here is scanned finely
  double fine_radius = 0;
  double noise = 0.02;    // deviation along the normal
  double tilt = 0.03;     // deviation of the normals, radians
  int directions = 14;    // views: along the axes and the diagonals of a cube
  double grazing = 0.25;  // least cosine between ray and normal
  int markers = 0;
  double marker_radius = 3;
};

struct OrientedSample {
  Vec3 point;
  Vec3 normal;
  double half = 0;  // half edge of the cell that it asks for
};

struct MarkerDisc {
  Vec3 centre;
  Vec3 normal;
  double radius = 0;
  double half = 0;  // sample spacing around it
};

struct SampleScan {
  std::vector<OrientedSample> samples;
  std::vector<MarkerDisc> markers;  // fewer than asked for where there is no room
};

/// The same solid and settings give the same scan.
SampleScan scan_solid(const Solid& solid, const SampleScanSettings& settings);

/// The points of a triangle surface with their normals, as samples of one resolution.
SampleScan samples_of(const Surface& surface, double half);

/// Within a ball the points of the surface with its faces split in four, at half the cell size.
void refine_region(SampleScan& scan, const Surface& surface, double half, const Vec3& centre,
                   double radius);

/// Lays round markers on flat places of a scan, clear of one another and of the seam between
/// resolutions, and drops the samples under them. Where there is no room left there are fewer.
void lay_markers(SampleScan& scan, int count, double radius, std::uint64_t seed);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_SAMPLE_SCANNER_H
