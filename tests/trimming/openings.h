// Cutting one opening, and what must hold of the mesh afterwards.
#ifndef SCANMESH_TESTS_TRIMMING_OPENINGS_H
#define SCANMESH_TESTS_TRIMMING_OPENINGS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "scanmesh/internal.h"
#include "scanmesh/mesh.h"
#include "tests/support/hole_access.h"
#include "tests/support/invariants.h"
#include "tests/trimming/trim_tools.h"

namespace test_support {

using Mesh_M::Mesh;
using Mesh_R::_vert;

// The values of an opening, as the list forms take them.
struct Opening {
  std::vector<float> centre{0, 0, 0};
  std::vector<float> normal{0, 0, 1};
  std::vector<float> dir{1, 0, 0};
  float spacing = 0.5F;
  float depth = 1;
  bool wall = false;
};

inline void cut_circle(Mesh& mesh, float radius, float reach, const Opening& o = {}) {
  mesh.trimWithCircle({radius}, {reach}, o.spacing, o.centre, o.normal, o.depth, o.wall);
}
inline void cut_slot(Mesh& mesh, float a, float b, float c, const Opening& o = {}) {
  mesh.trimWithOval({a}, {b}, {c}, o.spacing, o.centre, o.normal, o.dir, o.depth, o.wall);
}
inline void cut_rectangle(Mesh& mesh, float a, float b, float c, const Opening& o = {}) {
  mesh.trimWithRectangle({a}, {b}, {c}, o.spacing, o.centre, o.normal, o.dir, o.depth, o.wall);
}

// A vertex as seen along the axis of an opening.
inline scanmesh::Point2 seen(const _vert& v, const Opening& o) {
  const double e1[3] = {o.dir[0], o.dir[1], o.dir[2]};
  const double n[3] = {o.normal[0], o.normal[1], o.normal[2]};
  const double e2[3] = {n[1] * e1[2] - n[2] * e1[1], n[2] * e1[0] - n[0] * e1[2],
                        n[0] * e1[1] - n[1] * e1[0]};
  const double p[3] = {v.point.x - o.centre[0], v.point.y - o.centre[1], v.point.z - o.centre[2]};
  return {p[0] * e1[0] + p[1] * e1[1] + p[2] * e1[2], p[0] * e2[0] + p[1] * e2[1] + p[2] * e2[2]};
}

// How far a point of the plane is from each curve.
inline double off_circle(const scanmesh::Point2& p, double radius) {
  return std::fabs(std::hypot(p.x, p.y) - radius);
}
inline double off_slot(const scanmesh::Point2& p, double a, double b) {
  const double x = std::max(0.0, std::fabs(p.x) - (a - b));
  return std::fabs(std::hypot(x, p.y) - b);
}
inline double off_rectangle(const scanmesh::Point2& p, double a, double b) {
  const double x = std::fabs(p.x) - a;
  const double y = std::fabs(p.y) - b;
  if (x > 0 && y > 0) return std::hypot(x, y);
  return std::fabs(std::max(x, y));
}

// The ring of open edges that isn't the border of the sheet: the shortest in space.
inline std::vector<const _vert*> opening_rim(Mesh& mesh, const Opening& o) {
  std::vector<const _vert*> best;
  double least = 1e30;
  for (const auto& ring : open_rings(mesh)) {
    double farthest = 0;
    for (const _vert* v : ring) {
      const scanmesh::Point2 p = seen(*v, o);
      farthest = std::max(farthest, std::hypot(p.x, p.y));
    }
    if (!ring.empty() && farthest < least) {
      least = farthest;
      best = ring;
    }
  }
  return best;
}

// What holds after every trim, whatever was cut.
inline void expect_sound(Mesh& mesh, std::size_t rings) {
  EXPECT_TRUE(adjacency_holds(mesh));
  EXPECT_EQ(crowded_edges(mesh), 0);
  EXPECT_EQ(marked_records(mesh), 0);
  EXPECT_TRUE(all_states_default(mesh));
  const auto found = open_rings(mesh);
  EXPECT_EQ(found.size(), rings);
  for (const auto& ring : found) EXPECT_FALSE(ring.empty());
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const _vert* const v = mesh.vertex[i];
    if (v->state == Mesh_R::kStateDeleted) continue;
    EXPECT_TRUE(std::isfinite(v->point.x + v->point.y + v->point.z)) << i;
    EXPECT_GT(v->face_num, 0) << i;
  }
}

inline void expect_rim_on(Mesh& mesh, const Opening& o, double size,
                          const std::function<double(const scanmesh::Point2&)>& off) {
  const auto rim = opening_rim(mesh, o);
  ASSERT_GE(rim.size(), 8U);
  // A crossing nearer than 0.001 to a vertex of the mesh is that vertex.
  std::size_t snapped = 0;
  for (const _vert* v : rim) {
    EXPECT_LE(off(seen(*v, o)), std::max(1e-3, 1e-4 * size));
    snapped += off(seen(*v, o)) > 1e-4 * size;
  }
  EXPECT_LE(snapped, rim.size() / 20);
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_TRIMMING_OPENINGS_H
