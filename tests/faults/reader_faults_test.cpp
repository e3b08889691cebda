// Every reader, with each of its allocations failing in turn.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "scanmesh/mesh.h"
#include "tests/faults/faults.h"
#include "tests/support/files.h"
#include "tests/support/invariants.h"
#include "tests/support/ply_files.h"
#include "tests/support/shapes.h"

namespace {

using Mesh_M::Mesh;
using test_support::Soup;

// A vertex of many faces beside a sphere: stores, octree and lists on the heap all come to grow.
Soup soup_of_the_tests(int depth) {
  Soup soup = test_support::sphere(depth, 20);
  const int hub = static_cast<int>(soup.points.size());
  soup.points.push_back({40, 0, 0});
  constexpr int kBlades = 40;
  for (int i = 0; i <= kBlades; ++i) {
    const float angle = 0.15F * static_cast<float>(i);
    soup.points.push_back({40 + 5 * std::cos(angle), 5 * std::sin(angle), 1});
    if (i > 0) soup.triangles.push_back({hub, hub + i, hub + i + 1});
  }
  return soup;
}

std::string ascii_stl(const Soup& soup) {
  std::string text = "solid\n";
  for (const auto& t : soup.triangles) {
    text += "facet normal 0 0 1\nouter loop\n";
    for (const int corner : t) {
      const auto& p = soup.points[static_cast<std::size_t>(corner)];
      char line[128];
      std::snprintf(line, sizeof(line), "vertex %.9g %.9g %.9g\n", static_cast<double>(p.x),
                    static_cast<double>(p.y), static_cast<double>(p.z));
      text += line;
    }
    text += "endloop\nendfacet\n";
  }
  return text + "endsolid\n";
}

enum class Outcome { kRead, kOutOfMemory, kAnother };

// A format. A new reader gets a line in the table below and is tested like the others.
struct Reader {
  std::string name;
  std::function<std::string(const Soup&)> bytes;
  // Reads from the stream, and closes it where the reader itself hasn't.
  std::function<Outcome(Mesh&, FILE*)> read;
};

void PrintTo(const Reader& reader, std::ostream* out) {
  *out << reader.name;
}

Outcome read_binary(Mesh& mesh, FILE* stream) {
  const int descriptor = fileno(stream);
  const int code = mesh.input_data(stream);
  // Out of memory may come before or after the reader has closed the stream.
  if (fcntl(descriptor, F_GETFD) != -1) std::fclose(stream);
  if (code == 0) return Outcome::kRead;
  return code == -1 ? Outcome::kOutOfMemory : Outcome::kAnother;
}

Outcome read_ascii(Mesh& mesh, FILE* stream) {
  const bool read = mesh.input_data_ASCII(stream);
  std::fclose(stream);
  return read ? Outcome::kRead : Outcome::kOutOfMemory;
}

// Takes a path: the open stream's own, and with it a name that needs no memory.
Outcome read_ply(Mesh& mesh, FILE* stream) {
  char path[64];
  std::snprintf(path, sizeof(path), "/proc/self/fd/%d", fileno(stream));
  const int code = mesh.input_ply_data(path);
  std::fclose(stream);
  if (code == 0) return Outcome::kRead;
  return code == -2 ? Outcome::kOutOfMemory : Outcome::kAnother;
}

const Reader kReaders[] = {
    {"ascii_ply",
     [](const Soup& soup) { return test_support::ply_of(soup, test_support::PlyForm::kAscii); },
     read_ply},
    {"binary_ply",
     [](const Soup& soup) { return test_support::ply_of(soup, test_support::PlyForm::kLittle); },
     read_ply},
    {"binary_stl", [](const Soup& soup) { return test_support::binary_stl(soup); }, read_binary},
    {"ascii_stl", ascii_stl, read_ascii},
};

void release(Mesh& mesh) {
  mesh.oct.free();
  mesh.free();
}

class ReaderFaults : public testing::TestWithParam<Reader> {
 protected:
  void SetUp() override { take(soup_of_the_tests(3)); }

  void take(const Soup& soup) {
    bytes_ = GetParam().bytes(soup);
    faces_ = static_cast<int>(soup.triangles.size());
  }

  Outcome read(Mesh& mesh) { return GetParam().read(mesh, test_support::open_bytes(bytes_)); }

  Outcome read_with_fault(Mesh& mesh, long number, faults::Extent extent) {
    FILE* const stream = test_support::open_bytes(bytes_);
    const faults::AllocationFaults armed(number, extent);
    return GetParam().read(mesh, stream);
  }

  long allocations_of_a_read() {
    Mesh mesh;
    FILE* const stream = test_support::open_bytes(bytes_);
    faults::AllocationFaults count;
    EXPECT_EQ(GetParam().read(mesh, stream), Outcome::kRead);
    count.disarm();
    return count.allocations();
  }

  void expect_whole(Mesh& mesh) {
    EXPECT_EQ(mesh.face.real_num, faces_);
    EXPECT_EQ(mesh.face.get_facenum(), faces_);
    EXPECT_TRUE(test_support::adjacency_holds(mesh));
  }

  int faces_ = 0;
  std::string bytes_;
};

TEST_P(ReaderFaults, a_read_takes_memory_in_many_places) {
  EXPECT_GT(allocations_of_a_read(), 20);
}

TEST_P(ReaderFaults, any_allocation_that_fails_gives_the_code_and_leaks_nothing) {
  for (const faults::Extent extent : {faults::Extent::kOne, faults::Extent::kAllFromThere}) {
    const long count = allocations_of_a_read();
    for (long number = 0; number < count; ++number) {
      SCOPED_TRACE(number);
      Mesh mesh;
      const long before = faults::live_blocks();
      const Outcome outcome = read_with_fault(mesh, number, extent);
      ASSERT_EQ(outcome, Outcome::kOutOfMemory);
      ASSERT_EQ(faults::live_blocks(), before);
    }
  }
}

TEST_P(ReaderFaults, the_same_mesh_reads_the_file_when_there_is_memory_again) {
  const long count = allocations_of_a_read();
  for (long number = 0; number < count; ++number) {
    SCOPED_TRACE(number);
    const long before = faults::live_blocks();
    {
      Mesh mesh;
      ASSERT_EQ(read_with_fault(mesh, number, faults::Extent::kOne), Outcome::kOutOfMemory);
      EXPECT_EQ(mesh.face.real_num, 0);
      ASSERT_EQ(read(mesh), Outcome::kRead);
      expect_whole(mesh);
      release(mesh);
    }
    ASSERT_EQ(faults::live_blocks(), before);
  }
}

TEST_P(ReaderFaults, a_further_block_that_cannot_be_had_leaves_a_mesh_that_reads_again) {
  const long small = allocations_of_a_read();
  take(soup_of_the_tests(7));
  const long large = allocations_of_a_read();
  ASSERT_GT(large, small);
  int read_all_the_same = 0;
  for (long number = 0; number < large; ++number) {
    SCOPED_TRACE(number);
    const long before = faults::live_blocks();
    {
      Mesh mesh;
      // Building in bulk may not go on where single insertions can.
      const Outcome outcome = read_with_fault(mesh, number, faults::Extent::kOne);
      if (outcome == Outcome::kRead) {
        ++read_all_the_same;
      } else {
        ASSERT_EQ(outcome, Outcome::kOutOfMemory);
        ASSERT_EQ(read(mesh), Outcome::kRead);
      }
      expect_whole(mesh);
      release(mesh);
    }
    ASSERT_EQ(faults::live_blocks(), before);
  }
  const bool builds_in_bulk = GetParam().name.find("stl") != std::string::npos;
  EXPECT_EQ(read_all_the_same > 0, builds_in_bulk);
}

TEST_P(ReaderFaults, a_mesh_that_could_not_be_read_stands_every_step_of_a_host) {
  Mesh mesh;
  ASSERT_EQ(read_with_fault(mesh, allocations_of_a_read() / 2, faults::Extent::kOne),
            Outcome::kOutOfMemory);
  mesh.inalize_mesh();
  mesh.build_hole();
  EXPECT_EQ(mesh.get_hole_num(), 0);
  int n = 0;
  const std::unique_ptr<float[]> points(mesh.getvert_poision(n));
  EXPECT_EQ(n, 0);
  mesh.sort_out_mem();
  mesh.free();
}

INSTANTIATE_TEST_SUITE_P(Formats, ReaderFaults, testing::ValuesIn(kReaders),
                         [](const auto& reader) { return reader.param.name; });

}  // namespace
