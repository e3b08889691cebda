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

}  // namespace
