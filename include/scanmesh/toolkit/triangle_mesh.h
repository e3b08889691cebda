// A triangle mesh as a value: what every function of the toolkit takes and returns.
#ifndef SCANMESH_TOOLKIT_TRIANGLE_MESH_H
#define SCANMESH_TOOLKIT_TRIANGLE_MESH_H

#include <array>
#include <cstdint>
#include <vector>

#include "scanmesh/toolkit/export.h"

namespace scanmesh {

/// A position or a direction, mesh units.
struct Point {
  double x = 0;
  double y = 0;
  double z = 0;

  bool operator==(const Point& other) const { return x == other.x && y == other.y && z == other.z; }
  bool operator!=(const Point& other) const { return !(*this == other); }
};

/// Three positions in TriangleMesh::points, counterclockwise seen from outside.
using Triangle = std::array<std::int32_t, 3>;

/// Red, green, blue, opacity; 0 to 255.
using Color = std::array<std::uint8_t, 4>;

/// Points and triangles over them. Nothing is derived, merged or reordered behind one's back: what
/// was put in stands there, defects included. Positions are doubles, so that a text file comes back
/// as it was; where a result goes into a format of floats, repair() judges it as rounded to floats.
struct TriangleMesh {
  std::vector<Point> points;
  std::vector<Triangle> triangles;
  std::vector<Color> colors;   // one per point, or empty
  std::vector<Point> normals;  // one per point, or empty; unit length

  bool operator==(const TriangleMesh& other) const {
    return points == other.points && triangles == other.triangles && colors == other.colors &&
           normals == other.normals;
  }
  bool operator!=(const TriangleMesh& other) const { return !(*this == other); }
};

/// Where the elements of a result come from: per element the position in the input, -1 for a new
/// one.
struct Origin {
  std::vector<std::int32_t> points;
  std::vector<std::int32_t> triangles;
};

/// An axis-aligned box. Of a mesh without points it is a point at 0.
struct Box {
  Point min;
  Point max;

  /// Length of the diagonal: what relative tolerances of the toolkit are measured by.
  SCANMESH_TOOLKIT_API double diagonal() const;
};

/// The box of the finite points that triangles use; of all finite points where there is none.
SCANMESH_TOOLKIT_API Box bounding_box(const TriangleMesh& mesh);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_TRIANGLE_MESH_H
