#include "tests/docs/block_runner.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

#include "tests/docs/given.h"
#include "tests/support/files.h"
#include "tests/support/ply_files.h"
#include "tests/support/shapes.h"

namespace {

test_support::Soup sphere_with_a_hole() {
  test_support::Soup soup = test_support::sphere(4, 5);
  soup.triangles.erase(soup.triangles.begin(), soup.triangles.begin() + 20);
  return soup;
}

}  // namespace

namespace docs {

void load_scan(Mesh_M::Mesh& mesh) {
  std::FILE* const file = std::fopen("scan.stl", "rb");
  ASSERT_EQ(mesh.input_data(file), 0);
  mesh.inalize_mesh();
}

Samples::Samples() {
  const test_support::Soup soup = test_support::sphere(4, 5);
  for (const test_support::Vec3f& p : soup.points) {
    const float length = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
    points.insert(points.end(), {p.x, p.y, p.z});
    normals.insert(normals.end(), {p.x / length, p.y / length, p.z / length});
  }
  count = static_cast<int>(soup.points.size());
}

MemS::MemAllo<float[3]> Samples::array_of(const std::vector<float>& values) {
  MemS::MemAllo<float[3]> array;
  array.inalize(10000, 100);
  for (std::size_t i = 0; i + 2 < values.size(); i += 3) {
    float(&slot)[3] = array.allocate_mem();
    for (std::size_t d = 0; d < 3; ++d) slot[d] = values[i + d];
  }
  return array;
}

}  // namespace docs

namespace test_support {

int run_block(int (*block)()) {
  const std::filesystem::path home = std::filesystem::current_path();
  const std::filesystem::path place = temp_path("directory");
  std::filesystem::create_directory(place);
  std::filesystem::current_path(place);
  write_file("scan.stl", binary_stl(sphere_with_a_hole()));
  write_file("scan.ply", ply_of(sphere_with_a_hole(), PlyForm::kLittle));
  const int result = block();
  std::filesystem::current_path(home);
  std::filesystem::remove_all(place);
  return result;
}

}  // namespace test_support
