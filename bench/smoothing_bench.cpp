// Smoothing: per million faces, on one processor and on two, and how it grows.
#include <benchmark/benchmark.h>

#include <memory>

#include "generated_surfaces.h"
#include "mesh_from_surface.h"
#include "processors.h"
#include "scanmesh/mesh.h"

namespace {

using Mesh = Mesh_M::Mesh;

// Arguments: faces, and processors. Each run gets a fresh copy, so that a filter never works on
// what it has smoothed already.
template <typename Filter>
void run(benchmark::State& state, Filter filter) {
  const demo::Surface surface = bench::wavy_grid(static_cast<int>(state.range(0)));
  std::unique_ptr<Mesh> mesh;
  for (auto step : state) {
    state.PauseTiming();
    mesh = bench::mesh_from(surface);
    {
      const bench::Processors limit(static_cast<int>(state.range(1)));
      state.ResumeTiming();
      filter(*mesh);
      state.PauseTiming();
    }
    mesh.reset();
    state.ResumeTiming();
  }
  const auto faces = static_cast<double>(surface.faces.size());
  state.counters["per_million_faces"] =
      benchmark::Counter(faces * 1e-6 * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void UniformTaubin10(benchmark::State& state) {
  run(state, [](Mesh& mesh) { mesh.meshSmooth(10); });
}
void FastFilter1(benchmark::State& state) {
  run(state, [](Mesh& mesh) { mesh.Fast_Eletric_Filter(1, 0, false); });
}
void Bilateral1(benchmark::State& state) {
  run(state, [](Mesh& mesh) { mesh.bilateralNormalde(Mesh::smooth_medium); });
}
void TwoStep1(benchmark::State& state) {
  run(state, [](Mesh& mesh) { mesh.Two_Step_Smooth(Mesh::smooth_medium); });
}
void RemoveSpikes50(benchmark::State& state) {
  run(state, [](Mesh& mesh) { mesh.remove_spikes_new(50); });
}

void threaded(benchmark::internal::Benchmark* b) {
  for (const int faces : {10000, 100000, 1000000, 5000000}) {
    for (const int processors : {1, 2}) b->Args({faces, processors});
  }
  b->ArgNames({"faces", "processors"})->Unit(benchmark::kMillisecond)->UseRealTime();
}
void single(benchmark::internal::Benchmark* b) {
  for (const int faces : {10000, 100000, 1000000, 5000000}) b->Args({faces, 1});
  b->ArgNames({"faces", "processors"})->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(UniformTaubin10)->Apply(single);
BENCHMARK(FastFilter1)->Apply(threaded);
BENCHMARK(Bilateral1)->Apply(threaded);
BENCHMARK(TwoStep1)->Apply(threaded);
BENCHMARK(RemoveSpikes50)->Apply(single);

}  // namespace
