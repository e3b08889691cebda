// A mesh that is freed and loaded again.
#include <gtest/gtest.h>

#include <string>

#include "scanmesh/mesh.h"
#include "tests/support/files.h"
#include "tests/support/invariants.h"
#include "tests/support/ply_files.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_M::Mesh;
using test_support::adjacency_holds;
using test_support::Soup;

class Reload : public testing::Test {
 protected:
  ~Reload() override { std::remove(path_.c_str()); }

  void load_stl(Mesh& mesh, const Soup& soup) {
    ASSERT_EQ(mesh.input_data(test_support::open_bytes(test_support::binary_stl(soup))), 0);
  }
  void load_ply(Mesh& mesh, const Soup& soup) {
    test_support::write_file(path_, test_support::ply_of(soup, test_support::PlyForm::kLittle));
    ASSERT_EQ(mesh.input_ply_data(path_.c_str()), 0);
  }

  // A soup that is built in bulk, and one that isn't.
  const Soup large_ = test_support::sphere(5, 20);
  const Soup small_ = test_support::tetrahedron();
  std::string path_ = test_support::temp_path("reload.ply");
};

TEST_F(Reload, faces_are_counted_from_nothing) {
  Mesh mesh;
  for (const Soup* soup : {&small_, &large_, &large_, &small_}) {
    const int faces = static_cast<int>(soup->triangles.size());
    load_stl(mesh, *soup);
    EXPECT_EQ(mesh.face.real_num, faces);
    EXPECT_TRUE(adjacency_holds(mesh));
    mesh.free();
    load_ply(mesh, *soup);
    EXPECT_EQ(mesh.face.real_num, faces);
    EXPECT_TRUE(adjacency_holds(mesh));
    mesh.free();
  }
}

}  // namespace
