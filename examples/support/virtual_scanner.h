// A virtual scanner: turns a closed surface into what a real scanner delivers of such an object.
// Because the true surface is known, a repair of the scan can be measured.
#ifndef SCANMESH_EXAMPLES_SUPPORT_VIRTUAL_SCANNER_H
#define SCANMESH_EXAMPLES_SUPPORT_VIRTUAL_SCANNER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/surface.h"

namespace demo {

/// Lengths in the surface's unit, millimetres in the demonstration.
struct ScanSettings {
  std::uint64_t seed = 3;
  double noise = 0.03;  // deviation along the normal
  int markers = 12;     // round holes left by reference markers
  double marker_radius = 3;
  int patches = 3;  // regions that no camera position saw
  double patch_radius = 12;
  int debris_faces = 300;  // faces of loose islands off the surface
  int spikes = 6;          // single points thrown outwards
};

/// A scan, and where it was damaged. Where the object has no room left, there are fewer places than
/// the settings ask for.
struct Scan {
  std::vector<Triangle> triangles;  // the body's, then the debris
  std::size_t body_faces = 0;
  std::vector<Vec3> markers;
  std::vector<Vec3> patches;
  std::vector<Vec3> spikes;  // the tips
};

/// The same surface and settings give the same scan, bit for bit.
Scan scan_surface(const Surface& surface, const ScanSettings& settings);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_VIRTUAL_SCANNER_H
