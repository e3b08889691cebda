// Openings in whole meshes: the coarse cut, the curve, walls, refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "scanmesh/internal.h"
#include "scanmesh/mesh.h"
#include "tests/support/hole_access.h"
#include "tests/support/invariants.h"
#include "tests/support/live_geometry.h"
#include "tests/support/shapes.h"
#include "tests/support/snapshots.h"
#include "tests/trimming/trim_tools.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_vert;

constexpr const char* kRefused = "无法切割孔！\n";

// The values of an opening, as the list forms take them.
struct Opening {
  std::vector<float> centre{0, 0, 0};
  std::vector<float> normal{0, 0, 1};
  std::vector<float> dir{1, 0, 0};
  float spacing = 0.5F;
  float depth = 1;
  bool wall = false;
};

void cut_circle(Mesh& mesh, float radius, float reach, const Opening& o = {}) {
  mesh.trimWithCircle({radius}, {reach}, o.spacing, o.centre, o.normal, o.depth, o.wall);
}
void cut_slot(Mesh& mesh, float a, float b, float c, const Opening& o = {}) {
  mesh.trimWithOval({a}, {b}, {c}, o.spacing, o.centre, o.normal, o.dir, o.depth, o.wall);
}
void cut_rectangle(Mesh& mesh, float a, float b, float c, const Opening& o = {}) {
  mesh.trimWithRectangle({a}, {b}, {c}, o.spacing, o.centre, o.normal, o.dir, o.depth, o.wall);
}

// A vertex as seen along the axis of an opening.
scanmesh::Point2 seen(const _vert& v, const Opening& o) {
  const double e1[3] = {o.dir[0], o.dir[1], o.dir[2]};
  const double n[3] = {o.normal[0], o.normal[1], o.normal[2]};
  const double e2[3] = {n[1] * e1[2] - n[2] * e1[1], n[2] * e1[0] - n[0] * e1[2],
                        n[0] * e1[1] - n[1] * e1[0]};
  const double p[3] = {v.point.x - o.centre[0], v.point.y - o.centre[1], v.point.z - o.centre[2]};
  return {p[0] * e1[0] + p[1] * e1[1] + p[2] * e1[2], p[0] * e2[0] + p[1] * e2[1] + p[2] * e2[2]};
}

// How far a point of the plane is from each curve.
double off_circle(const scanmesh::Point2& p, double radius) {
  return std::fabs(std::hypot(p.x, p.y) - radius);
}
double off_slot(const scanmesh::Point2& p, double a, double b) {
  const double x = std::max(0.0, std::fabs(p.x) - (a - b));
  return std::fabs(std::hypot(x, p.y) - b);
}
double off_rectangle(const scanmesh::Point2& p, double a, double b) {
  const double x = std::fabs(p.x) - a;
  const double y = std::fabs(p.y) - b;
  if (x > 0 && y > 0) return std::hypot(x, y);
  return std::fabs(std::max(x, y));
}

// The ring of open edges that isn't the border of the sheet: the shortest in space.
std::vector<const _vert*> opening_rim(Mesh& mesh, const Opening& o) {
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
void expect_sound(Mesh& mesh, std::size_t rings) {
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

void expect_rim_on(Mesh& mesh, const Opening& o, double size,
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

TEST(TrimWithCircle, puts_the_rim_on_the_circle) {
  for (const float noise : {0.0F, 0.15F}) {
    const auto mesh = sheet(80, 0.5F, 0.4F, noise).mesh();
    EXPECT_EQ(output_of([&] { cut_circle(*mesh, 5, 6.5F); }), "");
    expect_sound(*mesh, 2);
    expect_rim_on(*mesh, {}, 5, [](const scanmesh::Point2& p) { return off_circle(p, 5); });
  }
}

TEST(TrimWithOval, puts_the_rim_on_the_slot) {
  for (const float noise : {0.0F, 0.15F}) {
    const auto mesh = sheet(80, 0.5F, 0.4F, noise).mesh();
    Opening o;
    o.dir = {0.8F, 0.6F, 0};
    EXPECT_EQ(output_of([&] { cut_slot(*mesh, 6, 2.5F, 10.5F, o); }), "");
    expect_sound(*mesh, 2);
    expect_rim_on(*mesh, o, 6, [](const scanmesh::Point2& p) { return off_slot(p, 6, 2.5); });
  }
}

TEST(TrimWithRectangle, puts_the_rim_and_four_vertices_on_the_rectangle) {
  for (const float noise : {0.0F, 0.15F}) {
    const auto mesh = sheet(80, 0.5F, 0.4F, noise).mesh();
    Opening o;
    o.centre = {0.13F, -0.21F, 0};
    o.dir = {0.8F, -0.6F, 0};
    EXPECT_EQ(output_of([&] { cut_rectangle(*mesh, 5, 3, 8, o); }), "");
    expect_sound(*mesh, 2);
    expect_rim_on(*mesh, o, 5, [](const scanmesh::Point2& p) { return off_rectangle(p, 5, 3); });
    const auto rim = opening_rim(*mesh, o);
    for (const auto& corner : scanmesh::rectangle_corners(5, 3)) {
      const auto at_corner = [&](const _vert* v) {
        const scanmesh::Point2 p = seen(*v, o);
        return std::hypot(p.x - corner.x, p.y - corner.y) < 1e-3;
      };
      EXPECT_EQ(std::count_if(rim.begin(), rim.end(), at_corner), 1);
    }
  }
}

}  // namespace
