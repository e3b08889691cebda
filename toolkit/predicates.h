// Signs of determinants, exact on the coordinates as they are stored: no tolerance, no wrong sign.
#ifndef SCANMESH_TOOLKIT_PREDICATES_H
#define SCANMESH_TOOLKIT_PREDICATES_H

#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

// Which two coordinates a projection keeps, in an order that keeps the turning direction as seen
// from the positive end of the dropped axis.
enum class Plane { yz, zx, xy };

// +1 when d lies on the side of the plane abc that the normal (b - a) x (c - a) points to, -1 on
// the other, 0 on the plane. Exact as long as products of three coordinates neither overflow nor
// underflow.
int orient3d(const Point& a, const Point& b, const Point& c, const Point& d);

// +1 when a, b, c turn left in the projection, -1 when right, 0 on one line.
int orient2d(const Point& a, const Point& b, const Point& c, Plane plane);

// Whether the three lie on one line, or coincide.
bool collinear(const Point& a, const Point& b, const Point& c);

// The projection in which the triangle looks largest; one in which its turn is not 0 unless it is
// collinear.
Plane widest_projection(const Point& a, const Point& b, const Point& c);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_PREDICATES_H
