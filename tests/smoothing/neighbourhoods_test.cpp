// The neighbourhoods that the normal filters go through, and how many of them are kept.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/semaphore.h"
#include "smoothing/flat_mesh.h"
#include "tests/support/plain_filters.h"
#include "tests/support/shapes.h"

namespace {

using namespace test_support;
using scanmesh::Numbers;
using scanmesh::Range;
using scanmesh::RawArray;

constexpr int kRounds = 3;

// A fan of so many faces round one vertex, and far from it a regular grid.
Soup fan_and_grid(int fan, int grid) {
  Soup soup = flat_grid(grid, 1.0F);
  for (Vec3f& p : soup.points) p.x += 100;
  const std::vector<std::array<int, 3>> regular = soup.triangles;
  soup.triangles.clear();
  const int hub = static_cast<int>(soup.points.size());
  soup.points.push_back({0, 0, 0});
  for (int i = 0; i < fan; ++i) {
    const double angle = 6.283185307179586 * i / fan;
    soup.points.push_back({static_cast<float>(10 * std::cos(angle)),
                           static_cast<float>(10 * std::sin(angle)), i % 2 == 0 ? 0.5F : 0.0F});
    soup.triangles.push_back({hub, hub + 1 + i, hub + 1 + (i + 1) % fan});
  }
  soup.triangles.insert(soup.triangles.end(), regular.begin(), regular.end());
  return soup;
}

// One worker's run over the normals, with what each face was given to look at.
struct NormalRun {
  explicit NormalRun(Mesh_M::Mesh& mesh) : count(mesh.face.get_facenum()) {
    scanmesh::FlatMesh flat;
    flat.load_faces(mesh.vertex, mesh.face, 1);
    scanmesh::Shares shares(count, 1);
    scanmesh::Worker worker(shares, 0);
    scanmesh::NormalStage stage(shares, nullptr, kRounds);
    Semap::Semaphore to_worker;
    Semap::Semaphore to_main;
    for (int i = 0; i < 2 * kRounds; ++i) to_worker.signal();
    scanmesh::filter_normals(flat, mesh.face, worker, stage, {&to_worker, &to_main},
                             [this](int f, const RawArray<Vec3f>& normals, Numbers around) {
                               seen.push_back({around.begin(), around.end()});
                               return normals[f];
                             });
    for (const auto& chunk : stage.kept) {
      kept += chunk.entries.capacity();
      empty_chunks += chunk.empty() ? 1 : 0;
    }
  }

  int count;
  std::vector<std::vector<int32_t>> seen;
  std::size_t kept = 0;
  int empty_chunks = 0;
};

void expect_plain_neighbourhoods(Mesh_M::Mesh& mesh, const NormalRun& run) {
  const auto count = static_cast<std::size_t>(run.count);
  ASSERT_EQ(run.seen.size(), kRounds * count);
  for (std::size_t f = 0; f < count; ++f) {
    std::vector<int32_t> plain;
    for (const Mesh_R::_face* near : faces_around(*mesh.face[static_cast<int>(f)])) {
      plain.push_back(mesh.face.get_face_no(const_cast<Mesh_R::_face*>(near)));
    }
    for (std::size_t round = 0; round < kRounds; ++round) {
      ASSERT_EQ(run.seen[round * count + f], plain) << f << " in round " << round;
    }
  }
}

TEST(Neighbourhoods, of_a_regular_mesh_are_kept) {
  const auto mesh = flat_grid(40, 1.0F).mesh();
  const NormalRun run(*mesh);
  expect_plain_neighbourhoods(*mesh, run);
  EXPECT_EQ(run.empty_chunks, 0);
  EXPECT_GT(run.kept, 12U * 3000U);
}

TEST(Neighbourhoods, round_a_vertex_of_high_valence_are_found_one_at_a_time) {
  const auto mesh = fan_and_grid(600, 40).mesh();
  const NormalRun run(*mesh);
  expect_plain_neighbourhoods(*mesh, run);
  EXPECT_EQ(run.empty_chunks, 1);
}

TEST(Neighbourhoods, take_room_for_a_small_multiple_of_the_faces_whatever_the_valence) {
  for (const int fan : {100, 1000, 3000}) {
    const auto mesh = fan_and_grid(fan, 10).mesh();
    const NormalRun run(*mesh);
    // A list may have grown by half its length when it is found to be too long for the chunk.
    EXPECT_LE(run.kept, 2U * 52U * static_cast<std::size_t>(run.count)) << fan;
  }
}

}  // namespace
