// The ring and the faces around it, checked, welded and brought to unit scale.
#ifndef SCANMESH_PATCHING_SURROUNDINGS_H
#define SCANMESH_PATCHING_SURROUNDINGS_H

#include <vector>

#include "patching/patch_types.h"

namespace cavity {

struct Surroundings {
  int ring_size = 0;
  // The ring in walking order, then the other corners of the region; moved and scaled so that the
  // ring is centred and its mean edge is 1, which makes every threshold below a relative one.
  std::vector<Point> points;
  // Turned, where need be, to the side that a patch along the ring shows.
  std::vector<Triangle> faces;
  // Per ring edge i -> i + 1: the region face on it or -1, and that face's unit normal as seen by a
  // patch that follows the ring (zero without a face or with a flat one).
  std::vector<int> rim_faces;
  std::vector<Point> rim_normals;
  ChordSet chords;
  // A ring of three edges whose triangle is already a face of the region.
  bool ring_is_a_face = false;

  Point origin = Point::Zero();
  double scale = 1.0;

  Point to_mesh_units(const Point& p) const { return origin + scale * p; }
};

// ring_points: x, y, z per ring vertex; region_faces: 12 doubles per face (normal, three corners),
// may be empty. False, with `out` unspecified, for sizes that don't divide, non-finite numbers,
// fewer than three ring points, or a ring point that appears twice.
bool read_surroundings(const std::vector<double>& region_faces,
                       const std::vector<double>& ring_points, Surroundings& out);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_SURROUNDINGS_H
