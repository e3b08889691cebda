#include "mesh_file.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/support/files.h"
#include "tests/support/ply_files.h"

namespace {

using demo::PlyKind;

// A file of the test's that is gone when the test ends.
class Path {
 public:
  explicit Path(const std::string& name) : path_(test_support::temp_path(name)) {}
  ~Path() { std::remove(path_.c_str()); }
  Path(const Path&) = delete;
  Path& operator=(const Path&) = delete;
  const std::string& text() const { return path_; }

 private:
  std::string path_;
};

TEST(MeshFile, extension_is_what_follows_the_last_point_in_lower_case) {
  EXPECT_EQ(demo::extension_of("a/b.c/scan.PLY"), ".ply");
  EXPECT_EQ(demo::extension_of("scan.tar.Stl"), ".stl");
  EXPECT_EQ(demo::extension_of("a.ply/scan"), "");
  EXPECT_EQ(demo::extension_of("scan"), "");
}

TEST(MeshFile, every_readable_format_converts_to_every_writable_one) {
  const test_support::Soup soup = test_support::irregular_patch(6, 9);
  for (const char* in : {"in.stl", "in.ply"}) {
    const Path source(in);
    test_support::write_file(source.text(),
                             std::string(in) == "in.stl"
                                 ? test_support::binary_stl(soup)
                                 : test_support::ply_of(soup, test_support::PlyForm::kBig));
    for (const char* out :
         {"out.stl", "out.ply", "out.OBJ", "out.wrl", "out.X3D", "out.dae", "модель.xyz"}) {
      const Path target(out);
      Mesh_M::Mesh mesh;
      std::string reason;
      ASSERT_TRUE(demo::load_mesh(source.text(), mesh, reason)) << reason;
      EXPECT_EQ(mesh.face.real_num, static_cast<int>(soup.triangles.size()));
      ASSERT_TRUE(demo::save_mesh(target.text(), mesh, PlyKind::ascii, reason)) << reason;
      EXPECT_GT(test_support::bytes_of_file(target.text()).size(), 1000U) << out;
    }
  }
}

TEST(MeshFile, both_kinds_of_ply_read_back_with_live_faces_only) {
  auto mesh = test_support::irregular_patch(6, 9).mesh();
  mesh->face.dele_face(mesh->face[3]);
  for (const PlyKind kind : {PlyKind::ascii, PlyKind::binary}) {
    const Path target("out.ply");
    std::string reason;
    ASSERT_TRUE(demo::save_mesh(target.text(), *mesh, kind, reason));
    const std::string bytes = test_support::bytes_of_file(target.text());
    EXPECT_EQ(bytes.find("format ascii") != std::string::npos, kind == PlyKind::ascii);
    Mesh_M::Mesh again;
    ASSERT_TRUE(demo::load_mesh(target.text(), again, reason));
    EXPECT_EQ(again.face.real_num, mesh->face.real_num);
  }
}

TEST(MeshFile, tells_why_it_refuses) {
  Mesh_M::Mesh mesh;
  std::string reason;
  EXPECT_FALSE(demo::load_mesh("scan.obj", mesh, reason));
  EXPECT_EQ(reason, "can't be read: the library reads .stl and .ply");
  EXPECT_FALSE(demo::load_mesh("/no/such/scan.stl", mesh, reason));
  EXPECT_EQ(reason, "can't be read as stl, or is too large for the memory at hand");
  auto good = test_support::tetrahedron().mesh();
  EXPECT_FALSE(demo::save_mesh("scan.off", *good, PlyKind::ascii, reason));
  EXPECT_FALSE(demo::save_mesh("/no/such/folder/scan.ply", *good, PlyKind::ascii, reason));
  EXPECT_EQ(reason, "can't be opened for writing");
}

}  // namespace
