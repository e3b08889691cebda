#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"
#include "tests/support/messages.h"
#include "tests/support/ply_files.h"

namespace {

using test_support::adjacency_holds;
using test_support::kAllForms;
using test_support::kCorners;
using test_support::kXyz;
using test_support::Messages;
using test_support::ply_header;
using test_support::PlyBodyText;
using test_support::PlyForm;
using test_support::Soup;
using test_support::usual_elements;
using testing::HasSubstr;

class PlyMesh : public testing::Test {
 protected:
  ~PlyMesh() override { std::remove(path_.c_str()); }

  int load(Mesh_M::Mesh& mesh, const std::string& bytes) {
    test_support::write_file(path_, bytes);
    const Messages messages;
    const int status = mesh.input_ply_data(path_.c_str());
    told_ = messages.text();
    return status;
  }

  std::string path_ = test_support::temp_path("mesh.ply");
  std::string told_;
};

TEST_F(PlyMesh, loads_what_rebuild_would_make_without_welding) {
  const Soup soup = test_support::irregular_patch(9, 21);
  for (const PlyForm form : kAllForms) {
    Mesh_M::Mesh mesh;
    ASSERT_EQ(load(mesh, test_support::ply_of(soup, form)), 0);
    EXPECT_EQ(told_, "");
    ASSERT_EQ(mesh.vertex.get_vertnum(), static_cast<int>(soup.points.size()));
    for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
      EXPECT_EQ(mesh.vertex[i]->point.x, soup.points[static_cast<std::size_t>(i)].x);
      EXPECT_EQ(mesh.vertex[i]->point.z, soup.points[static_cast<std::size_t>(i)].z);
      EXPECT_EQ(mesh.vertex[i]->vector.z, 0);  // normals come later
    }
    ASSERT_EQ(mesh.face.real_num, static_cast<int>(soup.triangles.size()));
    for (int i = 0; i < mesh.face.real_num; ++i) {
      for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_EQ(mesh.face[i]->vert[k],
                  mesh.vertex[soup.triangles[static_cast<std::size_t>(i)][k]]);
      }
    }
    EXPECT_TRUE(adjacency_holds(mesh));
    mesh.inlin_inalize_mesh();
    mesh.build_hole();
    EXPECT_GT(mesh.get_hole_num(), 0);
  }
}

TEST_F(PlyMesh, keeps_vertices_at_one_place_apart) {
  Mesh_M::Mesh mesh;
  const Soup soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}}, {{{0, 1, 2}}, {{3, 2, 1}}}};
  ASSERT_EQ(load(mesh, test_support::ply_of(soup, PlyForm::kLittle)), 0);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 4);
  EXPECT_EQ(mesh.face.real_num, 2);
}

TEST_F(PlyMesh, drops_faces_with_an_index_astray_and_counts_them_with_the_invalid) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    for (int i = 0; i < 3; ++i) {
      const float f = static_cast<float>(i);
      body.all({f, f * f, 0.F}).end_row();
    }
    body.list({0, 1, 3}).end_row().list({0, 1, 2}).end_row().list({-1, 1, 2}).end_row();
    body.list({0, 1, 2, 0}).end_row();
    Mesh_M::Mesh mesh;
    ASSERT_EQ(load(mesh, ply_header(form, usual_elements(3, 4)) + body.bytes()), 0);
    EXPECT_EQ(mesh.face.real_num, 1);
    EXPECT_TRUE(adjacency_holds(mesh));
    EXPECT_EQ(told_,
              "The reader encountered invalid faces, that could not be added.\n"
              "invalid: 3, added: 1\n");
  }
}

TEST_F(PlyMesh, a_face_without_a_normal_is_left_out_silently) {
  // The length of the product overflows to infinity, and its reciprocal makes no number of it.
  const float far = 3e38F;
  const Soup soup{{{0, 0, 0}, {0, far, 0}, {0, 0, far}, {1, 0, 0}, {0, 1, 0}},
                  {{{0, 1, 2}}, {{0, 3, 4}}}};
  Mesh_M::Mesh mesh;
  ASSERT_EQ(load(mesh, test_support::ply_of(soup, PlyForm::kLittle)), 0);
  EXPECT_EQ(mesh.face.real_num, 1);
  EXPECT_EQ(told_, "");
}

TEST_F(PlyMesh, the_same_face_twice_is_one) {
  const Soup soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{{0, 1, 2}}, {{1, 2, 0}}}};
  Mesh_M::Mesh mesh;
  ASSERT_EQ(load(mesh, test_support::ply_of(soup, PlyForm::kAscii)), 0);
  EXPECT_EQ(mesh.face.real_num, 1);
}

TEST_F(PlyMesh, a_refused_file_leaves_the_mesh_as_it_was) {
  auto mesh = test_support::tetrahedron().mesh();
  EXPECT_EQ(load(*mesh, "no ply file"), -3);
  EXPECT_EQ(load(*mesh, ply_header(PlyForm::kLittle, usual_elements(3, 1)) + "short"), -3);
  EXPECT_THAT(told_, HasSubstr("Unexpected end of file while reading."));
  EXPECT_EQ(mesh->face.real_num, 4);
  EXPECT_TRUE(adjacency_holds(*mesh));
  EXPECT_EQ(mesh->input_ply_data("/no/such/file.ply"), -3);
  EXPECT_EQ(mesh->input_ply_data(L"/no/such/file.ply"), -3);
  EXPECT_EQ(mesh->input_ply_data(static_cast<const char*>(nullptr)), -3);
  EXPECT_EQ(mesh->input_ply_data(static_cast<const wchar_t*>(nullptr)), -3);
  EXPECT_EQ(mesh->input_ply("/no/such/file.ply"), nullptr);
}

TEST_F(PlyMesh, takes_wide_paths_and_narrow_ones) {
  const std::string name = "ωμέγα.ply";
  const std::string narrow = path_ + name;
  const std::wstring wide = std::wstring(path_.begin(), path_.end()) + L"ωμέγα.ply";
  const Soup soup = test_support::tetrahedron();
  test_support::write_file(narrow, test_support::ply_of(soup, PlyForm::kBig));
  Mesh_M::Mesh by_wide;
  EXPECT_EQ(by_wide.input_ply_data(wide.c_str()), 0);
  Mesh_M::Mesh by_string;
  EXPECT_EQ(by_string.input_ply_data(wide), 0);
  Mesh_M::Mesh by_narrow;
  EXPECT_EQ(by_narrow.input_ply_data(narrow.c_str()), 0);
  for (Mesh_M::Mesh* mesh : {&by_wide, &by_string, &by_narrow}) EXPECT_EQ(mesh->face.real_num, 4);
  Mesh_M::Mesh without_colours;
  EXPECT_EQ(without_colours.input_ply(wide.c_str()), nullptr);
  EXPECT_EQ(without_colours.face.real_num, 4);
  std::remove(narrow.c_str());
}

TEST_F(PlyMesh, input_ply_hands_out_the_colours) {
  for (const PlyForm form : kAllForms) {
    PlyBodyText body(form);
    for (int i = 0; i < 3; ++i) {
      const float f = static_cast<float>(i);
      body.all({f, f * f, 0.F}).add(static_cast<uint8_t>(100 * i)).add(uint8_t{255});
      body.add(uint8_t{0}).add(uint8_t{7}).end_row();
    }
    body.list({0, 1, 2}).end_row();
    test_support::write_file(
        path_, ply_header(form, std::string("element vertex 3\n") + kXyz +
                                    "property uchar red\nproperty uchar green\n"
                                    "property uchar blue\nproperty uchar alpha\nelement face 1\n" +
                                    kCorners) +
                   body.bytes());
    Mesh_M::Mesh mesh;
    const std::unique_ptr<float[]> colours(mesh.input_ply(path_.c_str()));
    ASSERT_NE(colours, nullptr);
    EXPECT_EQ(mesh.face.real_num, 1);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(colours[3 * i], static_cast<float>(100 * i) / 255.F);
      EXPECT_EQ(colours[3 * i + 1], 1);
      EXPECT_EQ(colours[3 * i + 2], 0);
    }
    Mesh_M::Mesh again;
    const std::wstring wide(path_.begin(), path_.end());
    EXPECT_NE(std::unique_ptr<float[]>(again.input_ply(wide)), nullptr);
    Mesh_M::Mesh geometry_alone;
    EXPECT_EQ(geometry_alone.input_ply_data(path_.c_str()), 0);
    EXPECT_EQ(geometry_alone.face.real_num, 1);
  }
}

TEST_F(PlyMesh, points_that_are_not_finite_load_and_do_no_harm) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  Soup soup = test_support::flat_grid(4, 1.0F);
  soup.points[6].x = nan;
  soup.points[12].y = infinity;
  Mesh_M::Mesh mesh;
  ASSERT_EQ(load(mesh, test_support::ply_of(soup, PlyForm::kLittle)), 0);
  EXPECT_EQ(mesh.vertex.get_vertnum(), 25);
  EXPECT_TRUE(adjacency_holds(mesh));
  mesh.inalize_mesh();
  mesh.build_hole();
}

}  // namespace
