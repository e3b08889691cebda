// Shapes of known surface, each as a function that is negative inside. What is reconstructed of
// them can be measured against the truth.
#ifndef SCANMESH_EXAMPLES_SUPPORT_SOLID_H
#define SCANMESH_EXAMPLES_SUPPORT_SOLID_H

#include <functional>

#include "support/vec3.h"

namespace demo {

struct Solid {
  /// Negative inside; never more than the distance from the surface in magnitude.
  std::function<double(const Vec3&)> value;
  double reach = 0;  // everything lies within this of the origin

  /// Where the function rises, of unit length; on the surface the normal.
  Vec3 normal(const Vec3& p) const;
  /// Distance from the surface, for points near it.
  double distance_to(const Vec3& p) const;
};

Solid sphere_solid(double radius);
/// About the z axis; `ring` is the radius of its centre line.
Solid torus_solid(double ring, double tube);
/// A plate of 100 x 70 x 24 with rounded edges, a boss with a bore on top, four bolt holes and a
/// groove along the front.
Solid machined_solid();
/// Rounded masses that flow into one another, 110 across, with a ripple over all of them.
Solid sculpted_solid();

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_SOLID_H
