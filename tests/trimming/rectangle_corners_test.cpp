// The corners of rectangles, wherever they fall in the mesh.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "scanmesh/internal.h"
#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"
#include "tests/trimming/openings.h"
#include "tests/trimming/trim_tools.h"
#include "trimming/corner_points.h"

namespace {

using namespace test_support;
using Mesh_M::Mesh;
using Mesh_R::_vert;

// A plate with edges of 0.5 whose inner points lie up to so far from where they would.
std::unique_ptr<Mesh> plate(Random& random, float off) {
  Soup soup = flat_grid(44, 0.5F);
  for (Vec3f& p : soup.points) {
    p.x -= 11;
    p.y -= 11;
    const bool inner = std::fabs(p.x) < 10.9F && std::fabs(p.y) < 10.9F;
    if (!inner) continue;
    p.x += off * random.signed_unit();
    p.y += off * random.signed_unit();
  }
  return soup.mesh();
}

double nearest_vertex(Mesh& mesh, const Opening& o, const scanmesh::Point2& corner) {
  double nearest = 1e9;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const Mesh_R::_vert& v = *mesh.vertex[i];
    if (v.state == Mesh_R::kStateDeleted || v.face_num == 0) continue;
    const scanmesh::Point2 p = seen(v, o);
    nearest = std::min(nearest, std::hypot(p.x - corner.x, p.y - corner.y));
  }
  return nearest;
}

struct Rectangle {
  float along;
  float across;
  Opening opening;
};

void expect_corners(Mesh& mesh, const Rectangle& r, double tolerance) {
  for (const auto& corner : scanmesh::rectangle_corners(r.along, r.across)) {
    EXPECT_LE(nearest_vertex(mesh, r.opening, corner), tolerance) << corner.x << ", " << corner.y;
  }
}

void cut(Mesh& mesh, const Rectangle& r) {
  cut_rectangle(mesh, r.along, r.across, 2 * r.along - r.across + 0.5F, r.opening);
}

TEST(RectangleCorners, are_exact_in_irregular_plates) {
  Random random(5);
  for (int round = 0; round < 300; ++round) {
    const auto mesh = plate(random, 0.15F);
    Rectangle r;
    r.along = 3 + random.signed_unit();
    r.across = 2 + 0.5F * random.signed_unit();
    const float angle = 3.14159265F * random.signed_unit();
    r.opening.centre = {2 * random.signed_unit(), 2 * random.signed_unit(), 0};
    r.opening.dir = {std::cos(angle), std::sin(angle), 0};
    cut(*mesh, r);
    expect_corners(*mesh, r, 1e-5);
    expect_sound(*mesh, 2);
    if (HasFailure()) FAIL() << "in round " << round;
  }
}

// Along the lines of a regular plate, and across its diagonals.
TEST(RectangleCorners, are_exact_on_edges_and_vertices) {
  for (const float shift : {0.0F, 0.1F, 0.25F, 0.4999F}) {
    for (const float along : {3.0F, 3.25F, 2.1F, 2.9999F}) {
      for (const float angle : {0.0F, 1e-7F, 1e-5F, 0.785398163F}) {
        Random random(1);
        const auto mesh = plate(random, 0);
        Rectangle r;
        r.along = along;
        r.across = 2;
        r.opening.centre = {shift, -shift, 0};
        r.opening.dir = {std::cos(angle), std::sin(angle), 0};
        cut(*mesh, r);
        expect_corners(*mesh, r, 1e-5);
        expect_sound(*mesh, 2);
        if (HasFailure()) FAIL() << shift << ", " << along << ", " << angle;
      }
    }
  }
}

// Straight on the selection, without the fill that brings small faces.
TEST(RectangleCorners, of_any_number_in_a_face_get_a_way_in) {
  for (const float shift : {0.0F, 0.3F, -0.7F, 1.2F}) {
    // One diagonal across the rectangle, whose two faces hold all its corners between them.
    Soup soup;
    soup.points = {{-30, -30, 0}, {30, -30, 0}, {30, 30, 0}, {-30, 30, 0}};
    soup.triangles = {{0, 1, 2}, {0, 2, 3}};
    const auto mesh = soup.mesh();
    const qv::maac::xtirm_mesh::FRectangle3D shape({shift, -shift, 0}, {0, 0, 1}, {1, 0, 0}, 3, 2);
    mesh->selected_faces = {mesh->face[0], mesh->face[1]};
    ASSERT_TRUE(scanmesh::pin_corners(*mesh, shape));
    EXPECT_TRUE(adjacency_holds(*mesh));
    EXPECT_EQ(mesh->face.real_num, 4);
    const _vert& vert = *mesh->vertex[4];
    EXPECT_LT(std::fabs(vert.point.x - shift), 3);
    EXPECT_LT(std::fabs(vert.point.y + shift), 2);
    EXPECT_NEAR(vert.point.x, vert.point.y, 1e-5);
    // All its edges are settled now.
    mesh->selected_faces.clear();
    for (int i = 0; i < mesh->face.get_facenum(); ++i) {
      if (mesh->face[i]->state != Mesh_R::kStateDeleted) {
        mesh->selected_faces.push_back(mesh->face[i]);
      }
    }
    EXPECT_FALSE(scanmesh::pin_corners(*mesh, shape));
  }
}

}  // namespace
