#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <ctime>
#include <limits>
#include <locale>
#include <memory>
#include <string>

#include "scanmesh/mesh.h"
#include "tests/support/derived_text.h"
#include "tests/support/files.h"
#include "tests/support/invariants.h"

namespace {

using Mesh_M::Mesh;
using test_support::bytes_of_file;
using test_support::Vec3f;

const float kNan = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();

std::string golden(const std::string& extension) {
  const std::string here = __FILE__;
  return bytes_of_file(here.substr(0, here.rfind('/')) + "/golden/mesh" + extension);
}

// The mesh of the golden files: a deleted face with its vertex, and normals of every kind.
std::unique_ptr<Mesh> golden_mesh() {
  auto mesh = std::make_unique<Mesh>();
  mesh->inalize();
  for (Vec3f p : {Vec3f{0, 0, 0},
                  {1.5F, 0, 0},
                  {0, -2.25F, 0},
                  {0, 0, 1000000.125F},
                  {3, 3, 3},
                  {1e-7F, 0.5F, 12345.678F}}) {
    mesh->vertex.insert_vert(p);
  }
  const int corners[4][3] = {{0, 1, 2}, {4, 1, 2}, {0, 2, 3}, {0, 1, 5}};
  for (int i = 0; i < 4; ++i) {
    Vec3f normal{0, static_cast<float>(0.1 * i), 1};
    mesh->insert_face(mesh->vertex[corners[i][0]], mesh->vertex[corners[i][1]],
                      mesh->vertex[corners[i][2]], normal);
  }
  for (int i = 0; i < 6; ++i) {
    mesh->vertex[i]->vector = {0.25F * static_cast<float>(i), -1, i == 2 ? -0.0F : 0.5F};
  }
  mesh->face.dele_face(mesh->face[1]);
  return mesh;
}

// Larger than any buffer, with deleted records all over.
std::unique_ptr<Mesh> large_mesh() {
  auto mesh = test_support::irregular_patch(110, 5).mesh();
  for (int i = 0; i < mesh->face.get_facenum(); i += 7) mesh->face.dele_face(mesh->face[i]);
  for (int i = 0; i < 12; ++i) mesh->face.dele_face(mesh->face[100 + i]);
  return mesh;
}

class Writers : public testing::Test {
 protected:
  ~Writers() override { std::remove(path_.c_str()); }

  std::wstring wide() const { return {path_.begin(), path_.end()}; }
  std::string obj(Mesh& mesh) {
    mesh.output_OBJ(wide().c_str());
    return bytes_of_file(path_);
  }
  std::string ply(Mesh& mesh) {
    mesh.output_PLY(wide().c_str());
    return bytes_of_file(path_);
  }
  std::string written(Mesh& mesh, void (Mesh::*writer)(const char*)) {
    (mesh.*writer)(path_.c_str());
    return bytes_of_file(path_);
  }

  std::string path_ = test_support::temp_path("out");
};

// Every live vertex has the number of its record, and the others what they had.
void expect_record_numbers(Mesh& mesh, int deleted) {
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    EXPECT_EQ(mesh.vertex[i]->index, mesh.vertex[i]->state == 3 ? deleted : i);
  }
}

void set_all(Mesh& mesh, int index) {
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) mesh.vertex[i]->index = index;
}

TEST_F(Writers, obj_is_as_the_golden_file) {
  const auto mesh = golden_mesh();
  EXPECT_EQ(obj(*mesh), golden(".obj"));
}
TEST_F(Writers, ply_is_as_the_golden_file) {
  const auto mesh = golden_mesh();
  EXPECT_EQ(ply(*mesh), golden(".ply"));
}
TEST_F(Writers, wrl_is_as_the_golden_file) {
  const auto mesh = golden_mesh();
  EXPECT_EQ(written(*mesh, &Mesh::output_WRL), golden(".wrl"));
}
TEST_F(Writers, x3d_is_as_the_golden_file) {
  const auto mesh = golden_mesh();
  EXPECT_EQ(written(*mesh, &Mesh::output_X3D), golden(".x3d"));
}
TEST_F(Writers, xyz_is_as_the_golden_file) {
  const auto mesh = golden_mesh();
  EXPECT_EQ(written(*mesh, &Mesh::output_XYZ), golden(".xyz"));
}

std::string date_bytes(std::time_t moment) {
  std::tm t{};
  localtime_r(&moment, &t);
  std::string bytes;
  for (const int part :
       {1900 + t.tm_year, 1 + t.tm_mon, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec}) {
    bytes += static_cast<char>(part % 256);
    bytes += ' ';
  }
  return bytes.substr(0, bytes.find('\0'));
}

// The date of a moment between two, as the file has it: the one that makes the texts equal.
template <typename Text>
std::string with_fitting_date(std::time_t before, std::time_t after, const std::string& got,
                              Text text) {
  for (std::time_t t = before; t < after; ++t) {
    if (text(date_bytes(t)) == got) return text(date_bytes(t));
  }
  return text(date_bytes(after));
}

TEST_F(Writers, dae_is_as_the_golden_file_but_for_the_date) {
  const auto mesh = golden_mesh();
  const std::time_t before = std::time(nullptr);
  const std::string got = written(*mesh, &Mesh::output_DAE);
  const std::string wanted =
      with_fitting_date(before, std::time(nullptr), got, [](const std::string& date) {
        std::string text = golden(".dae");
        return text.replace(text.find("@DATE@"), 6, date);
      });
  EXPECT_EQ(got, wanted);
}

TEST_F(Writers, obj_of_a_large_mesh_is_what_printf_makes_of_it) {
  const auto mesh = large_mesh();
  mesh->vertex[300]->vector.y = kNan;
  const std::string wanted = test_support::derived_obj(*mesh);
  ASSERT_GT(wanted.size(), 600000U);
  EXPECT_TRUE(obj(*mesh) == wanted);
}
TEST_F(Writers, ply_of_a_large_mesh_is_what_printf_makes_of_it) {
  const auto mesh = large_mesh();
  const std::string wanted = test_support::derived_ply(*mesh);
  EXPECT_TRUE(ply(*mesh) == wanted);
}
TEST_F(Writers, xyz_of_a_large_mesh_is_what_printf_makes_of_it) {
  const auto mesh = large_mesh();
  mesh->vertex[7]->point.x = kInfinity;
  EXPECT_TRUE(written(*mesh, &Mesh::output_XYZ) == test_support::derived_xyz(*mesh));
}
TEST_F(Writers, wrl_of_a_large_mesh_has_the_rows_that_printf_makes) {
  const auto mesh = large_mesh();
  mesh->vertex[7]->point.x = kNan;
  const std::string rows = test_support::derived_wrl_rows(*mesh);
  const std::string text = written(*mesh, &Mesh::output_WRL);
  const std::string frame = golden(".wrl");
  const std::size_t head = frame.find("point\n\t[\n") + 9;
  const std::string end = frame.substr(frame.find("]\n}\nappearance"));
  EXPECT_TRUE(text == frame.substr(0, head) + rows + end);
  const std::size_t half = end.size() / 2;
  EXPECT_EQ(end.substr(0, half), end.substr(half));
}
TEST_F(Writers, x3d_of_a_large_mesh_has_the_rows_that_printf_makes) {
  const auto mesh = large_mesh();
  mesh->face[3]->vector.x = -kInfinity;
  const std::string rows = test_support::derived_x3d_rows(*mesh);
  const std::string text = written(*mesh, &Mesh::output_X3D);
  const std::string frame = golden(".x3d");
  const std::size_t head = frame.find("coordIndex=\"") + 12;
  EXPECT_TRUE(text == frame.substr(0, head) + rows + frame.substr(frame.find("\"/>\n< / Indexed")));
}

// The golden frame with other rows and counts; each piece of it ends at its first zero.
std::string dae_text(const std::string& date, const test_support::DerivedDae& rows, int vertices,
                     int faces) {
  const std::string frame = golden(".dae");
  std::size_t at = 0;
  const auto up_to = [&](const std::string& mark) {
    const std::size_t stop = frame.find(mark, at) + mark.size();
    std::string part = frame.substr(at, stop - at);
    at = stop;
    return part;
  };
  const auto skip_byte = [&] { ++at; };
  const auto cut = [](const std::string& piece) { return piece.substr(0, piece.find('\0')); };
  const auto byte = [](int value) { return std::string(1, static_cast<char>(value % 256)); };

  std::string text = up_to("<created>") + date;
  at += 6;
  text += cut(up_to("array\" count = \"\"\n") + byte(3 * vertices));
  at = frame.find("</float_array>");
  text += rows.points;
  std::string piece = up_to("<accessor count = \"\"\n") + byte(vertices);
  skip_byte();
  piece += up_to("normals-array\" count = \"\n") + byte(3 * faces);
  skip_byte();
  text += cut(piece + up_to("\">")) + rows.normals;
  at = frame.find("</float_array>", at);
  piece = up_to("<accessor count = \"\n") + byte(faces);
  skip_byte();
  piece += up_to("< triangles count = \"\n") + byte(faces);
  skip_byte();
  text += cut(piece + up_to("<p>\n")) + rows.corners;
  return text + frame.substr(frame.find("< / p>"));
}

void compare_dae(Mesh& mesh, const std::string& path) {
  const test_support::DerivedDae rows = test_support::derived_dae(mesh);
  int vertices = 0;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) vertices += mesh.vertex[i]->state != 3;
  const std::time_t before = std::time(nullptr);
  mesh.output_DAE(path.c_str());
  const std::string got = bytes_of_file(path);
  const std::string wanted =
      with_fitting_date(before, std::time(nullptr), got, [&](const std::string& date) {
        return dae_text(date, rows, vertices, mesh.face.get_facenum());
      });
  EXPECT_TRUE(got == wanted) << vertices << ", " << mesh.face.get_facenum();
}

TEST_F(Writers, dae_counts_live_vertices_but_deleted_faces_too) {
  auto mesh = large_mesh();
  compare_dae(*mesh, path_);
  EXPECT_NE(mesh->face.get_facenum(), mesh->face.get_real_facenum());
}

// A strip of `faces` triangles on faces + 2 points.
std::unique_ptr<Mesh> strip(int points, int faces) {
  auto mesh = std::make_unique<Mesh>();
  mesh->inalize();
  for (int i = 0; i < points; ++i) {
    Vec3f p{static_cast<float>(i), static_cast<float>(i % 2), 0};
    mesh->vertex.insert_vert(p);
  }
  for (int i = 0; i < faces; ++i) {
    Vec3f normal{0, 0, 1};
    mesh->insert_face(mesh->vertex[i], mesh->vertex[i + 1], mesh->vertex[i + 2], normal);
  }
  return mesh;
}

TEST_F(Writers, a_dae_piece_ends_at_a_count_whose_low_byte_is_0) {
  compare_dae(*strip(258, 256), path_);  // M and 3 M
  compare_dae(*strip(256, 200), path_);  // N and 3 N
  compare_dae(*strip(512, 256), path_);  // all
  compare_dae(*strip(0, 0), path_);
  const std::string text = bytes_of_file(path_);
  EXPECT_EQ(text.find("#shape0-lib-positions-array"), std::string::npos);
  EXPECT_NE(text.find("</float_array>\n<technique_common>\n<accessor count = \"\n< / p>"),
            std::string::npos);
}

TEST_F(Writers, faces_are_numbered_by_the_live_vertices) {
  auto mesh = golden_mesh();
  const std::string text = obj(*mesh);
  // Corner 5 of the mesh is the fifth live vertex.
  EXPECT_NE(text.find("f 1 2 5\n"), std::string::npos);
}

TEST_F(Writers, index_is_the_number_of_the_record_after_all_but_xyz) {
  auto mesh = golden_mesh();
  const auto after = [&](const std::string& extension) {
    set_all(*mesh, -7);
    std::string text = extension;
    if (extension == ".obj") {
      mesh->output_OBJ(wide().c_str());
    } else if (extension == ".ply") {
      mesh->output_PLY(wide().c_str());
    } else {
      mesh->output_data(path_.c_str(), text, false);
    }
  };
  after(".obj");
  expect_record_numbers(*mesh, -7);
  after(".ply");
  expect_record_numbers(*mesh, -7);
  for (const char* extension : {".wrl", ".x3d", ".dae"}) {
    after(extension);
    expect_record_numbers(*mesh, 0);  // the one deleted vertex was numbered by output_data
  }
  after(".xyz");
  for (int i = 0; i < 6; ++i) EXPECT_EQ(mesh->vertex[i]->index, i == 4 ? 0 : -7);
}

TEST_F(Writers, a_point_that_is_not_finite_goes_with_its_faces_from_ply_and_obj) {
  for (const float wild : {kNan, kInfinity, -kInfinity}) {
    auto mesh = test_support::flat_grid(3, 1.0F).mesh();
    mesh->vertex[5]->point.y = wild;
    const std::string text = ply(*mesh);
    EXPECT_EQ(text, test_support::derived_ply(*mesh));
    EXPECT_NE(text.find("element vertex 15\n"), std::string::npos);
    EXPECT_NE(text.find("element face 12\n"), std::string::npos);
    expect_record_numbers(*mesh, 0);
    EXPECT_EQ(obj(*mesh), test_support::derived_obj(*mesh));
    expect_record_numbers(*mesh, 0);
    EXPECT_NE(written(*mesh, &Mesh::output_WRL).find(std::isnan(wild) ? "nan" : "inf"),
              std::string::npos);
  }
}

TEST_F(Writers, obj_mends_normals_that_are_not_finite_in_the_mesh) {
  auto mesh = golden_mesh();
  mesh->vertex[0]->vector = {0, kNan, 0};
  mesh->vertex[1]->vector = {kInfinity, 1, 1};
  mesh->vertex[3]->point.x = kNan;
  mesh->vertex[3]->vector = {kNan, 1, 1};
  obj(*mesh);
  for (const int i : {0, 1}) {
    EXPECT_EQ(mesh->vertex[i]->vector.x, 0);
    EXPECT_EQ(mesh->vertex[i]->vector.y, 0);
    EXPECT_EQ(mesh->vertex[i]->vector.z, 1);
  }
  EXPECT_TRUE(std::isnan(mesh->vertex[3]->vector.x));  // not written, not mended
  EXPECT_EQ(mesh->vertex[2]->vector.x, 0.5F);
}

TEST_F(Writers, an_empty_mesh_still_has_its_frame) {
  Mesh mesh;
  mesh.inalize();
  EXPECT_EQ(obj(mesh), "");
  EXPECT_EQ(ply(mesh), test_support::derived_ply(mesh));
  EXPECT_EQ(written(mesh, &Mesh::output_XYZ), "");
  const std::string frame = golden(".wrl");
  const std::string head = frame.substr(0, frame.find("point\n\t[\n") + 9);
  const std::string end = frame.substr(frame.find("]\n}\nappearance"));
  EXPECT_EQ(written(mesh, &Mesh::output_WRL), head + "]\n}\ncoordIndex\n[\n" + end);
}

TEST_F(Writers, ply_reads_back_with_the_coordinates_that_are_in_the_text) {
  auto mesh = large_mesh();
  const std::string text = ply(*mesh);
  const test_support::LiveMesh live(*mesh, true);
  Mesh again;
  ASSERT_EQ(again.input_ply_data(path_.c_str()), 0);
  ASSERT_EQ(again.vertex.get_vertnum(), static_cast<int>(live.verts.size()));
  ASSERT_EQ(again.face.get_facenum(), static_cast<int>(live.faces.size()));
  for (int i = 0; i < again.vertex.get_vertnum(); ++i) {
    const Vec3f& p = live.verts[static_cast<std::size_t>(i)]->point;
    EXPECT_EQ(again.vertex[i]->point.x,
              std::strtof(test_support::printed("%f", static_cast<double>(p.x)).c_str(), nullptr));
  }
  EXPECT_TRUE(test_support::adjacency_holds(again));
}

TEST_F(Writers, wide_paths_that_are_not_ascii_arrive) {
  const auto mesh = golden_mesh();
  const std::string narrow = path_ + "模型é";
  const std::wstring wide_path = wide() + L"模型é";
  mesh->output_PLY(wide_path.c_str());
  EXPECT_EQ(bytes_of_file(narrow), golden(".ply"));
  std::remove(narrow.c_str());
  mesh->output_OBJ(wide_path.c_str());
  EXPECT_EQ(bytes_of_file(narrow), golden(".obj"));
  std::remove(narrow.c_str());
}

class Comma : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_F(Writers, a_locale_with_a_decimal_comma_changes_nothing) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new Comma));
  const auto mesh = golden_mesh();
  const std::string text = ply(*mesh);
  Mesh again;
  const int status = again.input_ply_data(path_.c_str());
  std::locale::global(before);
  EXPECT_EQ(text, golden(".ply"));
  EXPECT_EQ(status, 0);
  EXPECT_EQ(again.vertex[1]->point.x, 1.5F);
}

TEST_F(Writers, a_path_that_cannot_be_opened_changes_the_numbers_all_the_same) {
  auto mesh = golden_mesh();
  set_all(*mesh, -7);
  mesh->output_OBJ(L"/no/such/folder/a.obj");
  expect_record_numbers(*mesh, -7);
  mesh->output_PLY(nullptr);
  mesh->output_WRL("/no/such/folder/a.wrl");
  mesh->output_X3D("/no/such/folder/a.x3d");
  mesh->output_DAE("/no/such/folder/a.dae");
  mesh->output_XYZ("/no/such/folder/a.xyz");
  expect_record_numbers(*mesh, -7);
}

TEST_F(Writers, output_data_writes_by_the_extension_in_two_spellings) {
  auto mesh = golden_mesh();
  const char* const spellings[][2] = {{".wrl", ".WRL"}, {".x3d", ".X3D"}, {".xyz", ".XYZ"}};
  for (const auto& pair : spellings) {
    for (const char* spelling : pair) {
      std::string extension = spelling;
      mesh->output_data(path_.c_str(), extension, true);
      EXPECT_EQ(bytes_of_file(path_), golden(pair[0])) << spelling;
      EXPECT_EQ(extension, spelling);
      std::remove(path_.c_str());
    }
  }
  for (const char* spelling : {".stl", ".STL"}) {
    std::string extension = spelling;
    mesh->output_data(path_.c_str(), extension, false);
    const std::string stl = bytes_of_file(path_);
    mesh->output_STL(path_.c_str());
    EXPECT_EQ(stl, bytes_of_file(path_));
    EXPECT_EQ(stl.size(), 84U + 3 * 50);
    std::remove(path_.c_str());
  }
  for (const char* spelling : {".dae", ".DAE"}) {
    std::string extension = spelling;
    mesh->output_data(path_.c_str(), extension, false);
    EXPECT_NE(bytes_of_file(path_).find("COLLADA"), std::string::npos);
    std::remove(path_.c_str());
  }
}

TEST_F(Writers, output_data_creates_no_file_for_any_other_extension) {
  auto mesh = golden_mesh();
  for (const char* other :
       {".obj", ".OBJ", ".ply", ".PLY", ".Stl", ".wRL", "stl", ".stlx", "", ".off", " .xyz"}) {
    std::string extension = other;
    mesh->output_data(path_.c_str(), extension, false);
    EXPECT_NE(access(path_.c_str(), F_OK), 0) << other;
  }
}

TEST_F(Writers, output_data_numbers_the_deleted_vertices_even_when_it_writes_nothing) {
  auto mesh = large_mesh();
  mesh->refresh_point_index();
  std::vector<int> before;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) before.push_back(mesh->vertex[i]->index);
  std::string extension = ".obj";
  mesh->output_data(path_.c_str(), extension, false);
  int deleted = 0;
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    const int wanted =
        mesh->vertex[i]->state == 3 ? deleted++ : before[static_cast<std::size_t>(i)];
    EXPECT_EQ(mesh->vertex[i]->index, wanted);
  }
  EXPECT_GT(deleted, 3);
}

TEST_F(Writers, output_data_without_a_path_does_nothing_at_all) {
  auto mesh = golden_mesh();
  set_all(*mesh, -7);
  std::string extension = ".wrl";
  mesh->output_data(nullptr, extension, false);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(mesh->vertex[i]->index, -7);
}

TEST_F(Writers, leave_the_adjacency_as_it_was) {
  auto mesh = large_mesh();
  obj(*mesh);
  ply(*mesh);
  for (const auto writer :
       {&Mesh::output_WRL, &Mesh::output_X3D, &Mesh::output_DAE, &Mesh::output_XYZ}) {
    written(*mesh, writer);
  }
  EXPECT_TRUE(test_support::adjacency_holds(*mesh));
}

}  // namespace
