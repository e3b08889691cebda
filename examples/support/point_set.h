// Points with normals, as a scanner delivers them before there is a mesh.
#ifndef SCANMESH_EXAMPLES_SUPPORT_POINT_SET_H
#define SCANMESH_EXAMPLES_SUPPORT_POINT_SET_H

#include <string>
#include <vector>

#include "support/surface.h"
#include "support/vec3.h"

namespace demo {

struct PointSet {
  std::vector<Vec3> points;
  std::vector<Vec3> normals;  // unit, one per point
};

/// Reads lines of six numbers: x y z and a normal. Points that come again are left out. False, with
/// a reason in `error`, when the file can't be read or a line has fewer numbers.
bool read_xyz(const std::string& path, PointSet& set, std::string& error);

/// The points of a surface with the normals of its faces around them.
PointSet points_of(const Surface& surface);

/// What a file name says: the vertices of an ".stl", the lines of anything else.
bool read_points(const std::string& path, PointSet& set, std::string& error);

/// The typical distance of a point to its neighbours: the mean over the six nearest, of some
/// thousand points. 0 for fewer than seven points.
double estimate_spacing(const PointSet& set);

/// A selection of the points with no two of them closer than `distance`: the first come first.
PointSet thinned(const PointSet& set, double distance);

void scale(PointSet& set, double factor);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_POINT_SET_H
