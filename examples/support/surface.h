// A triangle surface as two arrays, and OFF files.
#ifndef SCANMESH_EXAMPLES_SUPPORT_SURFACE_H
#define SCANMESH_EXAMPLES_SUPPORT_SURFACE_H

#include <array>
#include <string>
#include <vector>

#include "support/vec3.h"

namespace demo {

using Corners = std::array<int, 3>;    // indices into the points
using Triangle = std::array<Vec3, 3>;  // counter-clockwise seen from outside

struct Surface {
  std::vector<Vec3> points;
  std::vector<Corners> faces;
};

/// Reads an OFF file; polygons become fans. False, with a reason in `error`, when the file can't be
/// read, and `surface` is then empty.
bool read_off(const std::string& path, Surface& surface, std::string& error);

/// Writes OFF with enough digits to read the same doubles back. False when the file can't be
/// written.
bool write_off(const std::string& path, const Surface& surface);

/// Scales about the centre of the bounding box until its largest extent is `extent`, and moves that
/// centre to the origin.
void scale_to_extent(Surface& surface, double extent);

/// Splits every face in four at its edge midpoints, `times` times. The shape stays as it is.
void split_faces(Surface& surface, int times);

/// Unit normal per point: the mean over its faces, weighted by area.
std::vector<Vec3> point_normals(const Surface& surface);

/// Drops the points that no face uses.
void drop_unused_points(Surface& surface);

/// The faces as coordinates.
std::vector<Triangle> triangles_of(const Surface& surface);

/// Points that are the same to the last bit become one.
Surface weld(const std::vector<Triangle>& triangles);

/// Mean length of the edges of all faces; an inner edge counts twice.
double mean_edge_length(const Surface& surface);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_SURFACE_H
