// Changing the resolution.
#include <benchmark/benchmark.h>

#include "generated_surfaces.h"
#include "mesh_from_surface.h"
#include "quiet_output.h"
#include "scanmesh/mesh.h"

namespace {

// Arguments: faces, and the part of them to keep in percent.
void Simplify(benchmark::State& state) {
  const demo::Surface surface = bench::wavy_grid(static_cast<int>(state.range(0)));
  const auto faces = static_cast<long>(surface.faces.size());
  int left = 0;
  const bench::QuietOutput quiet;
  for (auto step : state) {
    state.PauseTiming();
    auto mesh = bench::mesh_from(surface);
    state.ResumeTiming();
    mesh->Mesh_simplify(static_cast<int>(faces * state.range(1) / 100), true);
    state.PauseTiming();
    left = mesh->face.get_real_facenum();
    mesh.reset();
    state.ResumeTiming();
  }
  state.counters["left"] = left;
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * faces);
}
BENCHMARK(Simplify)
    ->Args({10000, 50})
    ->Args({100000, 50})
    ->Args({100000, 10})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// Arguments of the following: faces.
void grow(benchmark::internal::Benchmark* run) {
  for (const int faces : {10000, 100000, 1000000, 5000000}) run->Arg(faces);
  run->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
}

template <typename Work>
void run_on(const demo::Surface& surface, benchmark::State& state, Work work) {
  const bench::QuietOutput quiet;
  for (auto step : state) {
    state.PauseTiming();
    auto mesh = bench::mesh_from(surface);
    state.ResumeTiming();
    work(*mesh);
    state.PauseTiming();
    mesh.reset();
    state.ResumeTiming();
  }
  const auto faces = static_cast<double>(surface.faces.size());
  state.counters["per_million"] = benchmark::Counter(
      1e-6 * faces, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <typename Work>
void run_on_wavy_grid(benchmark::State& state, Work work) {
  run_on(bench::wavy_grid(static_cast<int>(state.range(0))), state, work);
}

void Optimization(benchmark::State& state) {
  run_on_wavy_grid(state, [](Mesh_M::Mesh& mesh) { mesh.Mesh_Optimization(); });
}
BENCHMARK(Optimization)->Apply(grow);

void CollapseShortEdges(benchmark::State& state) {
  run_on_wavy_grid(state, [](Mesh_M::Mesh& mesh) {
    mesh.setResolutionParam({1.7F, 1.7F, false});
    mesh.collapse_short_edges();
  });
}
BENCHMARK(CollapseShortEdges)->Apply(grow);

void OpenManifold(benchmark::State& state) {
  run_on_wavy_grid(state, [](Mesh_M::Mesh& mesh) {
    Mesh_R::_face** faces = nullptr;
    int n = 0;
    mesh.open_manifold(faces, n);
    delete[] faces;
  });
}
BENCHMARK(OpenManifold)->Apply(grow);

// A thousand bits of four faces each, hovering over the scan.
void Debris(benchmark::State& state) {
  constexpr int kBits = 1000;
  demo::Surface surface = bench::wavy_grid(static_cast<int>(state.range(0)));
  for (int i = 0; i < kBits; ++i) {
    const int a = static_cast<int>(surface.points.size());
    const double x = 10 * (i % 32);
    const double y = 10 * (i / 32);
    for (const demo::Vec3& p : {demo::Vec3{x, y, 20}, demo::Vec3{x + 1, y, 20},
                                demo::Vec3{x, y + 1, 20}, demo::Vec3{x, y, 21}}) {
      surface.points.push_back(p);
    }
    for (const demo::Corners& f :
         {demo::Corners{a, a + 2, a + 1}, demo::Corners{a, a + 1, a + 3},
          demo::Corners{a, a + 3, a + 2}, demo::Corners{a + 1, a + 2, a + 3}}) {
      surface.faces.push_back(f);
    }
  }
  int found = 0;
  run_on(surface, state, [&found](Mesh_M::Mesh& mesh) {
    Mesh_R::_face** faces = nullptr;
    mesh.open_manifold(faces, found);
    delete[] faces;
  });
  state.counters["found"] = found;
}
BENCHMARK(Debris)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void LoopStep1(benchmark::State& state) {
  run_on_wavy_grid(state, [](Mesh_M::Mesh& mesh) {
    const fmx::sub_mid facets = mesh.Mesh_loop_subdividion_step1();
    delete[] facets.faces;
  });
}
BENCHMARK(LoopStep1)->Apply(grow);

}  // namespace
