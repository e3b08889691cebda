// Angles and distances of single vertices. The fill procedures don't use them.
#include <algorithm>
#include <cmath>
#include <vector>

#include "core/vector_math.h"
#include "holes/wavefront.h"
#include "scanmesh/hole.h"

namespace Mesh_R {

void Hole::calVertAngle(_vert* vert) {
  if (vert == nullptr || vert->face_num < 1) return;
  vert->angle = static_cast<float>(scanmesh::opening_angle(vert));
}

double Hole::calMinAng(std::vector<_vert*>& list, int& index) {
  // A vertex with as many edges as faces is closed all round.
  list.erase(std::remove_if(list.begin(), list.end(),
                            [](const _vert* vert) { return vert->edge_num == vert->face_num; }),
             list.end());
  double smallest = 999.0;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i]->angle <= smallest) {
      smallest = list[i]->angle;
      index = static_cast<int>(i);
    }
  }
  return smallest;
}

bool Hole::calVertDistance(const MemS::Point3v<float>& point, int, const std::vector<_vert*>& list,
                           double radius, int& index) {
  bool clear = true;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (scanmesh::distance(point, list[i]->point) <= radius) {
      index = static_cast<int>(i);
      clear = false;
    }
  }
  return clear;
}

// Zero and parallel vectors give non-numbers: callers pass edges of proper faces.
MemS::Point3v<float> Hole::calNormal(const MemS::Point3v<float>& a, const MemS::Point3v<float>& b) {
  const scanmesh::Vec3f normal = scanmesh::cross(b, a);
  return scanmesh::scaled(normal, 1.0 / scanmesh::length(normal));
}

}  // namespace Mesh_R
