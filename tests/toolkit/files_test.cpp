#include "scanmesh/toolkit/files.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "scanmesh/toolkit/steps.h"
#include "tests/support/damage.h"

namespace scanmesh {
namespace {

namespace fs = std::filesystem;
using test_support::grid_cube;
using test_support::moved;

TriangleMesh sample() {
  TriangleMesh mesh = moved(grid_cube(2), {0.1, -0.2, 1e-7}, 1.0 / 3);
  return mesh;
}

std::string message_of(const std::string& bytes) {
  try {
    parse_mesh(bytes, "x");
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), ErrorCode::cannot_read);
    return error.what();
  }
  return "read";
}

class TemporaryFolder {
 public:
  TemporaryFolder()
      : path_(fs::temp_directory_path() / ("scanmesh_files_" + std::to_string(getpid()))) {
    fs::create_directories(path_);
  }
  ~TemporaryFolder() { fs::remove_all(path_); }
  fs::path operator/(const std::string& name) const { return path_ / fs::u8path(name); }
  std::size_t count() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(path_), {}));
  }

 private:
  fs::path path_;
};

TEST(Files, text_formats_read_back_to_the_bit) {
  TriangleMesh mesh = sample();
  for (const Format format : {Format::off, Format::obj}) {
    EXPECT_EQ(parse_mesh(format_mesh(mesh, format), "x"), mesh);
  }
  mesh.colors.assign(mesh.points.size(), Color{1, 20, 255, 128});
  mesh.normals.assign(mesh.points.size(), Point{0, 0.6, 0.8});
  WriteOptions text;
  text.text = true;
  EXPECT_EQ(parse_mesh(format_mesh(mesh, Format::ply, text), "x"), mesh);
  WriteOptions doubles;
  doubles.doubles = true;
  EXPECT_EQ(parse_mesh(format_mesh(mesh, Format::ply, doubles), "x"), mesh);
}

TEST(Files, stl_reads_back_as_floats_three_points_a_facet) {
  const TriangleMesh mesh = sample();
  for (const bool text : {false, true}) {
    WriteOptions options;
    options.text = text;
    const TriangleMesh soup = parse_mesh(format_mesh(mesh, Format::stl, options), "x");
    ASSERT_EQ(soup.points.size(), 3 * mesh.triangles.size());
    for (std::size_t f = 0; f < mesh.triangles.size(); ++f) {
      for (std::size_t k = 0; k < 3; ++k) {
        const Point& p = mesh.points[static_cast<std::size_t>(mesh.triangles[f][k])];
        EXPECT_EQ(static_cast<float>(soup.points[3 * f + k].x), static_cast<float>(p.x));
      }
    }
  }
}

TEST(Files, binary_stl_is_84_bytes_and_50_a_facet) {
  const std::string bytes = format_mesh(sample(), Format::stl);
  EXPECT_EQ(bytes.size(), 84 + 50 * sample().triangles.size());
}

TEST(Files, every_shorter_prefix_is_refused_or_read_whole) {
  for (const Format format : {Format::stl, Format::ply, Format::off}) {
    const std::string bytes = format_mesh(grid_cube(1), format);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      // A buffer of its own, so that a byte beyond it is seen by the sanitizer.
      const std::vector<char> exact(bytes.begin(),
                                    bytes.begin() + static_cast<std::ptrdiff_t>(length));
      try {
        const TriangleMesh mesh = parse_mesh({exact.data(), exact.size()}, "x");
        EXPECT_GE(length + 2, bytes.size()) << static_cast<int>(format);
      } catch (const Error& error) {
        EXPECT_EQ(error.code(), ErrorCode::cannot_read);
      }
    }
  }
}

TEST(Files, refusals_say_what_was_found) {
  EXPECT_EQ(message_of(""), "x is empty");
  EXPECT_EQ(message_of("Dear Sir or Madam, here is the scan."),
            "x is a text but no mesh: it begins \"Dear Sir or Madam, here is the scan.\"");
  std::string stl = format_mesh(grid_cube(1), Format::stl);
  stl.resize(84 + 50 * 5);
  EXPECT_EQ(message_of(stl), "x is a shortened STL file: 5 of 12 facets are there");
  EXPECT_EQ(message_of("OFF\n3 1 0\n0 0 0\n1 0 0\n"),
            "x is a shortened OFF file: 2 of 3 points are there");
  EXPECT_EQ(message_of("OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n"),
            "x face 0 names point 7, the file has 3");
  EXPECT_EQ(message_of("ply\nformat ascii 1.0\nelement vertex 2\nproperty half x\n"),
            "x has a property of unknown type \"half\"");
}

TEST(Files, counts_are_not_believed_before_the_size_is_known) {
  EXPECT_NE(message_of("ply\nformat binary_little_endian 1.0\nelement vertex 4000000000\nproperty "
                       "float x\nproperty float y\nproperty float z\nend_header\nabc"),
            "read");
  EXPECT_NE(message_of("OFF\n4000000000 4000000000 0\n0 0 0\n"), "read");
  EXPECT_NE(message_of("ply\nformat ascii 1.0\nelement ghost 4000000000\nend_header\n"), "read");
}

TEST(Files, polygons_that_are_not_convex_do_not_fold) {
  // An arrow head: a fan from the first corner would fold.
  const TriangleMesh mesh = parse_mesh("OFF\n4 1 0\n0 3 0\n2 0 0\n0 1 0\n-2 0 0\n4 1 0 3 2\n", "x");
  ASSERT_EQ(mesh.triangles.size(), 2U);
  EXPECT_EQ(find_self_intersections(mesh).size(), 0U);
}

TEST(Files, obj_counts_back_from_negative_numbers_and_skips_what_it_does_not_know) {
  const TriangleMesh mesh = parse_mesh(
      "# c\nmtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nf -3/1 -2/1/1 -1//1 # end\n", "x");
  ASSERT_EQ(mesh.triangles.size(), 1U);
  EXPECT_EQ(mesh.triangles[0], (Triangle{0, 1, 2}));
}

TEST(Files, the_content_decides_and_not_the_extension) {
  const TemporaryFolder folder;
  write_mesh(sample(), folder / "a.off");
  fs::rename(folder / "a.off", folder / "a.stl");
  EXPECT_EQ(read_mesh(folder / "a.stl"), sample());
}

TEST(Files, any_path_will_do) {
  const TemporaryFolder folder;
  const fs::path path = folder / "\xC3\xBC \xE6\xA8\xA1 'x'.ply";
  WriteOptions options;
  options.doubles = true;
  write_mesh(sample(), path, options);
  EXPECT_EQ(read_mesh(path), sample());
}

TEST(Files, a_missing_file_a_folder_and_an_unknown_extension_are_refused) {
  const TemporaryFolder folder;
  EXPECT_THROW(read_mesh(folder / "none.stl"), Error);
  EXPECT_THROW(read_mesh(folder / ""), Error);
  try {
    write_mesh(sample(), folder / "a.docx");
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), ErrorCode::unknown_format);
  }
  try {
    write_mesh(sample(), folder / "no" / "a.stl");
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), ErrorCode::cannot_write);
  }
  EXPECT_EQ(folder.count(), 0U);
}

TEST(Files, a_write_that_is_cancelled_leaves_the_target_and_nothing_else) {
  const TemporaryFolder folder;
  write_mesh(grid_cube(1), folder / "a.off");
  WriteOptions options;
  options.progress = [](double, std::string_view) { return false; };
  EXPECT_THROW(write_mesh(grid_cube(60), folder / "a.off", options), Cancelled);
  EXPECT_EQ(read_mesh(folder / "a.off"), grid_cube(1));
  EXPECT_EQ(folder.count(), 1U);
}

#ifdef __linux__
TEST(Files, a_full_disk_is_told) {
  if (!fs::exists("/dev/full")) return;
  const TemporaryFolder folder;
  // The temporary file stands beside the target: a folder on a full file system can't be made here,
  // so the limit on file sizes of this process stands for it (see the fault tests of the command).
  EXPECT_THROW(write_mesh(sample(), "/proc/a.stl"), Error);
}
#endif

TEST(Files, points_want_normals) {
  EXPECT_EQ(parse_points("0 0 0 0 0 1\n1 0 0 0 0 1\n", "x").normals.size(), 2U);
  EXPECT_THROW(parse_points("0 0 0\n1 0 0\n", "x"), Error);
  EXPECT_THROW(parse_points("0 0\n", "x"), Error);
}

TEST(Files, glb_is_laid_out_in_two_chunks) {
  const std::string bytes = format_mesh(grid_cube(1), Format::glb);
  EXPECT_EQ(bytes.substr(0, 4), "glTF");
  std::uint32_t length = 0;
  std::memcpy(&length, bytes.data() + 8, 4);
  EXPECT_EQ(length, bytes.size());
}

TEST(Files, scene_formats_hold_all_points_and_faces) {
  for (const Format format : {Format::wrl, Format::x3d, Format::dae}) {
    const std::string text = format_mesh(grid_cube(1), format);
    EXPECT_NE(text.find("-1 -1 -1"), std::string::npos);
  }
}

}  // namespace
}  // namespace scanmesh
