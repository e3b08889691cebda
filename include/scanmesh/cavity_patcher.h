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

class SCANMESH_API CavityPatcher {
 public:
  int fillHole2(const std::vector<double>& regionFaces, const std::vector<double>& ringPoints,
                std::vector<MyPoint3>& vertices, std::vector<MyFace>& faces,
                std::vector<MyPoint3>& faceNormals, std::vector<int>& ringIndices);

  static int fillHolePolyline(const std::vector<double>& polyline, std::vector<int>& triangles);
};

}  // namespace Mesh_M

#endif  // SCANMESH_CAVITY_PATCHER_H
