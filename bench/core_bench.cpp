// Building a mesh, and the passes over its stores.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

#include "generated_surfaces.h"
#include "mesh_from_surface.h"
#include "scanmesh/mesh.h"

namespace {

void count_faces(benchmark::State& state, long faces) {
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * faces);
}

void BlockArrayFill(benchmark::State& state) {
  for (auto step : state) {
    MemS::MemAllo<float> array;
    array.inalize(100000, 1000);
    for (long i = 0; i < state.range(0); ++i) array.allocate_mem() = static_cast<float>(i);
    benchmark::DoNotOptimize(array[0]);
    array.free();
  }
  count_faces(state, static_cast<long>(state.range(0)));
}
BENCHMARK(BlockArrayFill)->Arg(1000000);

// Corner by corner through the octree, as the readers do it.
void InsertAndWeld(benchmark::State& state) {
  const demo::Surface surface = bench::wavy_grid(static_cast<int>(state.range(0)));
  std::vector<MemS::Point3v<float>> corners;
  float reach = 0;
  for (const demo::Triangle& t : demo::triangles_of(surface)) {
    for (const demo::Vec3& p : t) {
      corners.push_back(
          {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)});
      reach = std::max({reach, corners.back().x, corners.back().y});
    }
  }
  for (auto step : state) {
    Mesh_M::Mesh mesh;
    MemS::Point3v<float> centre{reach / 2, reach / 2, 0};
    mesh.inalize_oct(centre, reach / 2 + 1);
    for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
      MemS::Point3v<float> normal{0, 0, 0};
      benchmark::DoNotOptimize(mesh.insert(corners[i], corners[i + 1], corners[i + 2], normal));
    }
    mesh.inalize_mesh();
  }
  count_faces(state, static_cast<long>(surface.faces.size()));
}
BENCHMARK(InsertAndWeld)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void RebuildFromIndices(benchmark::State& state) {
  const demo::Surface surface = bench::wavy_grid(static_cast<int>(state.range(0)));
  for (auto step : state) benchmark::DoNotOptimize(bench::mesh_from(surface)->face.real_num);
  count_faces(state, static_cast<long>(surface.faces.size()));
}
BENCHMARK(RebuildFromIndices)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void VertexNormals(benchmark::State& state) {
  const auto mesh = bench::mesh_from(bench::wavy_grid(static_cast<int>(state.range(0))));
  for (auto step : state) mesh->vertex.R_cal_vector();
  count_faces(state, mesh->face.real_num);
}
BENCHMARK(VertexNormals)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

void Orientation(benchmark::State& state) {
  const auto mesh = bench::mesh_from(bench::wavy_grid(static_cast<int>(state.range(0))));
  for (auto step : state) mesh->face.check_vector();
  count_faces(state, mesh->face.real_num);
}
BENCHMARK(Orientation)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
