// The patch maker: a closed ring and the faces around it in, a patch that closes the ring out.
#ifndef SCANMESH_CAVITY_PATCHER_H
#define SCANMESH_CAVITY_PATCHER_H

#include <vector>

#include "scanmesh/export.h"

namespace Mesh_M {

// A point or a direction, in mesh units.
struct MyPoint3 {
  double x;
  double y;
  double z;
};

// A triangle: three indices into the vertices that come with it.
struct MyFace {
  int a;
  int b;
  int c;
};

// Makes the patch for one hole. Keeps no state: one object may serve any number of calls, and calls
// may run side by side. Starts no threads.
class SCANMESH_API CavityPatcher {
 public:
  /// Closes a ring with a patch that continues the surface around it.
  ///
  /// The ring is triangulated for the least worst dihedral angle, then area (Barequet and Sharir
  /// 1995, Liepa 2003), refined to the edge length of its surroundings, and faired to least bending
  /// with the region's tangent at the rim. The same input gives the same bits.
  ///
  /// @param regionFaces 12 doubles per face, mesh units: its normal, then its three corners. The
  /// faces
  ///   around the ring, several rows deep where there are any; may be empty. Corners on the ring
  ///   have exactly the ring's coordinates.
  /// @param ringPoints x, y, z of each ring vertex in walking order, mesh units, at least three, no
  ///   point twice. Either direction: the patch runs along the ring's order.
  /// @param vertices Overwritten: the ring's points with their very coordinates, then the new ones.
  /// @param faces Overwritten: a manifold disk over `vertices` whose boundary is the ring. No edge
  ///   between two ring vertices, and no face, that the region already has.
  /// @param faceNormals Overwritten: per face (A - B) x (B - C) at unit length; (0, 0, 1) for a
  /// length
  ///   up to 1e-16.
  /// @param ringIndices Overwritten: the indices of the ring's points in `vertices`, 0 .. n - 1.
  /// @return 0; or a negative value with all outputs empty for sizes that don't divide by 12 or 3,
  ///   non-finite numbers, fewer than three points, or a point that the ring meets twice.
  int fillHole2(const std::vector<double>& regionFaces, const std::vector<double>& ringPoints,
                std::vector<MyPoint3>& vertices, std::vector<MyFace>& faces,
                std::vector<MyPoint3>& faceNormals, std::vector<int>& ringIndices);

  /// Closes a ring over its own vertices, without new ones.
  ///
  /// @param polyline As `ringPoints` above.
  /// @param triangles Overwritten: n - 2 triples of ring positions, along the ring's order.
  /// @return 0, or a negative value with `triangles` empty for what fillHole2 refuses.
  static int fillHolePolyline(const std::vector<double>& polyline, std::vector<int>& triangles);
};

}  // namespace Mesh_M

#endif  // SCANMESH_CAVITY_PATCHER_H
