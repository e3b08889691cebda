// Every writer, on a path that can't be opened and on a disk that is full.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <vector>

#include "scanmesh/marching.h"
#include "scanmesh/mesh.h"
#include "tests/faults/faults.h"
#include "tests/support/files.h"
#include "tests/support/invariants.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_M::Mesh;

// A format. A new writer gets a line in the table below and is tested like the others.
struct Writer {
  std::string name;
  std::function<void(Mesh&, const char*)> write;
};

void PrintTo(const Writer& writer, std::ostream* out) {
  *out << writer.name;
}

void write_soup(Mesh&, const char* path) {
  MC_Triangulation mc;
  // Blocks that were never written out belong to whoever holds the object.
  const std::unique_ptr<MC_Triangulation, void (*)(MC_Triangulation*)> blocks(
      &mc, [](MC_Triangulation* held) {
        if (held->facet_blocks != nullptr) held->free_mem();
      });
  mc.facet_blocks = new T_F*[1000]();
  const T_F facet{{0, 0, 1}, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
  for (int i = 0; i < 5000; ++i) *mc.allocate_mem() = facet;
  mc.mc_output_data(path);
}

std::wstring wide(const char* path) {
  return std::wstring(path, path + std::strlen(path));
}

const Writer kWriters[] = {
    {"binary_stl", [](Mesh& mesh, const char* path) { mesh.output_STL(path); }},
    {"face_store", [](Mesh& mesh, const char* path) { mesh.face.output(std::fopen(path, "wb")); }},
    {"vertex_store",
     [](Mesh& mesh, const char* path) { mesh.vertex.output(std::fopen(path, "w")); }},
    {"octree_soup", write_soup},
    {"obj", [](Mesh& mesh, const char* path) { mesh.output_OBJ(wide(path).c_str()); }},
    {"ply", [](Mesh& mesh, const char* path) { mesh.output_PLY(wide(path).c_str()); }},
    {"wrl", [](Mesh& mesh, const char* path) { mesh.output_WRL(path); }},
    {"x3d", [](Mesh& mesh, const char* path) { mesh.output_X3D(path); }},
    {"dae", [](Mesh& mesh, const char* path) { mesh.output_DAE(path); }},
    {"xyz", [](Mesh& mesh, const char* path) { mesh.output_XYZ(path); }},
};

long open_files() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

// A working directory that is gone: nothing can be made in it, by root neither.
class VanishedDirectory {
 public:
  VanishedDirectory() : home_(std::filesystem::current_path()) {
    const std::string path = test_support::temp_path("vanished");
    std::filesystem::create_directory(path);
    std::filesystem::current_path(path);
    std::filesystem::remove(path);
  }
  ~VanishedDirectory() { std::filesystem::current_path(home_); }
  VanishedDirectory(const VanishedDirectory&) = delete;
  VanishedDirectory& operator=(const VanishedDirectory&) = delete;

 private:
  std::filesystem::path home_;
};

class WriterFaults : public testing::TestWithParam<Writer> {
 protected:
  void SetUp() override { before_ = bytes_written_to("first"); }
  void TearDown() override {
    // The mesh is as it was: the same bytes come out of it.
    EXPECT_TRUE(bytes_written_to("second") == before_);
    EXPECT_GT(before_.size(), 0U);
    EXPECT_TRUE(test_support::adjacency_holds(*mesh_));
    for (const char* name : {"first", "second"}) std::remove(path_of(name).c_str());
  }

  static std::string path_of(const std::string& name) { return test_support::temp_path(name); }
  std::string bytes_written_to(const std::string& name) {
    write(path_of(name).c_str());
    return bytes_of(path_of(name));
  }
  // Without the date that one of the formats has.
  static std::string bytes_of(const std::string& path) {
    std::string bytes = test_support::bytes_of_file(path);
    const std::size_t date = bytes.find("<created>");
    if (date != std::string::npos) bytes.erase(date, bytes.find("</created>") - date);
    return bytes;
  }
  void write(const char* path) { GetParam().write(*mesh_, path); }

  std::unique_ptr<Mesh> mesh_ = test_support::sphere(5, 10).mesh();
  std::string before_;
};

TEST_P(WriterFaults, a_path_that_cannot_be_opened_leaves_no_file_and_the_mesh_as_it_was) {
  const VanishedDirectory nowhere;
  const long files = open_files();
  write("missing/directory/scan.stl");
  EXPECT_EQ(open_files(), files);
  EXPECT_FALSE(std::filesystem::exists("tex.stl") || std::filesystem::exists("tex.asc"));
}

TEST_P(WriterFaults, a_full_disk_closes_the_stream_and_leaves_the_mesh_as_it_was) {
  ASSERT_TRUE(std::filesystem::exists("/dev/full"));
  const long files = open_files();
  write("/dev/full");
  EXPECT_EQ(open_files(), files);
}

TEST_P(WriterFaults, a_disk_that_fills_up_on_the_way_closes_the_stream) {
  const std::string path = path_of("short");
  const auto writes_of_all = [&] {
    const faults::WriteFaults none(std::numeric_limits<long>::max());
    write(path.c_str());
    return none.writes();
  };
  const long count = writes_of_all();
  ASSERT_GE(count, 1);
  const std::size_t most = test_support::bytes_of_file(path).size();
  const long files = open_files();
  for (long number = 0; number < count; number += 1 + count / 50) {
    const faults::WriteFaults armed(number);
    write(path.c_str());
    ASSERT_LE(test_support::bytes_of_file(path).size(), most);
  }
  EXPECT_EQ(open_files(), files);
  std::remove(path.c_str());
}

TEST_P(WriterFaults, out_of_memory_closes_the_stream_and_leaks_nothing) {
  const std::string path = path_of("short");
  const long files = open_files();
  const long blocks = faults::live_blocks();
  for (long number = 0; number < 200; ++number) {
    try {
      const faults::AllocationFaults armed(number, faults::Extent::kOne);
      write(path.c_str());
    } catch (const std::bad_alloc&) {
    }
  }
  EXPECT_EQ(open_files(), files);
  EXPECT_EQ(faults::live_blocks(), blocks);
  std::remove(path.c_str());
}

class NarrowPathWriterFaults : public WriterFaults {};

TEST_P(NarrowPathWriterFaults, a_scan_is_saved_without_any_memory) {
  const std::string path = path_of("short");
  {
    const faults::AllocationFaults armed(0, faults::Extent::kAllFromThere);
    write(path.c_str());
    EXPECT_GT(armed.allocations(), 0);
  }
  EXPECT_TRUE(bytes_of(path) == before_);
  std::remove(path.c_str());
}

// No path that is converted, for which memory is needed; and not the soup, which isn't a mesh.
std::vector<Writer> memoryless() {
  std::vector<Writer> chosen(std::begin(kWriters), std::begin(kWriters) + 2);
  chosen.insert(chosen.end(), std::end(kWriters) - 4, std::end(kWriters));
  return chosen;
}
INSTANTIATE_TEST_SUITE_P(Formats, NarrowPathWriterFaults, testing::ValuesIn(memoryless()),
                         [](const auto& writer) { return writer.param.name; });
INSTANTIATE_TEST_SUITE_P(Formats, WriterFaults, testing::ValuesIn(kWriters),
                         [](const auto& writer) { return writer.param.name; });

}  // namespace
