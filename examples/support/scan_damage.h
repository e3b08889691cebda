// What goes missing from a surface when it is scanned.
#ifndef SCANMESH_EXAMPLES_SUPPORT_SCAN_DAMAGE_H
#define SCANMESH_EXAMPLES_SUPPORT_SCAN_DAMAGE_H

#include "support/random.h"
#include "support/surface.h"

namespace demo {

/// Cuts a round hole as a reference marker leaves it: its rim lies on the sphere about `centre`.
/// Points within `snap` of the sphere are moved onto it, so that the cut leaves no slivers.
void cut_marker(Surface& surface, const Vec3& centre, double radius, double snap);

/// Drops a connected region of whole faces about the point `seed`, about `radius` wide, with a rim
/// that waves and frays. Faces that look away from the seed's `normal` stay: the scanner sees them
/// from elsewhere.
void cut_patch(Surface& surface, int seed, const Vec3& normal, double radius, Random& random);

/// Drops the faces at points where two parts of the surface meet in nothing but that point, then
/// every part but the largest, then the unused points. What is left has simple rims.
void keep_largest_clean_part(Surface& surface);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_SCAN_DAMAGE_H
