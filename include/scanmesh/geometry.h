// The smallest shared pieces: points and boxes. Their memory form is part of the interface.
#ifndef SCANMESH_GEOMETRY_H
#define SCANMESH_GEOMETRY_H

namespace MemS {

/// Three consecutive components; a run of Point3v<float> and a run of float[3] are interchangeable.
template <typename T>
struct Point3v {
  T x;
  T y;
  T z;
};

static_assert(sizeof(Point3v<float>) == 3 * sizeof(float), "hosts reinterpret runs of float[3]");

/// Axis-aligned box, mesh units. Each axis stores its maximum before its minimum.
struct Bounding_Box {
  float max_x;
  float min_x;
  float max_y;
  float min_y;
  float max_z;
  float min_z;
};

}  // namespace MemS

/// The same box as the octree pipeline sees it.
struct Bounding_Box {
  float max_x;
  float min_x;
  float max_y;
  float min_y;
  float max_z;
  float min_z;
};

/// The point of the octree pipeline.
struct Point3fv {
  float x;
  float y;
  float z;
};

#endif  // SCANMESH_GEOMETRY_H
