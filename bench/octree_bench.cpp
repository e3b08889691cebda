// The octree pipeline: insertion, voxel field, facets, marker holes. Memory is per sample kept.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "scanmesh/marching.h"
#include "support/console.h"
#include "support/random.h"

namespace {

constexpr float kHalf = 0.5F;  // cells of edge 1

// A wavy sheet, sampled row by row about once per cell, as a scanner moves.
struct Samples {
  std::vector<float> points;
  std::vector<float> normals;
  float reach = 0;
  int count = 0;

  explicit Samples(int n) : reach(0.5F * std::sqrt(static_cast<float>(n))), count(n) {
    demo::Random random(5);
    const auto side = static_cast<int>(std::sqrt(static_cast<double>(n)));
    count = side * side;
    for (int j = 0; j < side; ++j) {
      for (int i = 0; i < side; ++i) add(random, i, j, side);
    }
  }

 private:
  void add(demo::Random& random, int i, int j, int side) {
    const double x = i - 0.5 * side + random.uniform(0.2, 0.8);
    const double y = j - 0.5 * side + random.uniform(0.2, 0.8);
    const double z = 3 * std::sin(0.05 * x) * std::cos(0.04 * y) + 0.02 * random.normal();
    const demo::Vec3 n = demo::unit({-0.15 * std::cos(0.05 * x) * std::cos(0.04 * y),
                                     0.12 * std::sin(0.05 * x) * std::sin(0.04 * y), 1});
    for (const double value : {x, y, z}) points.push_back(static_cast<float>(value));
    for (const double value : {n.x, n.y, n.z}) normals.push_back(static_cast<float>(value));
  }
};

// A pipeline that releases itself.
struct Pipeline {
  MC_Triangulation mc;

  explicit Pipeline(const Samples& samples) {
    float centre[3] = {0.13F, 0.27F, 0.41F};
    float half = 8;
    while (half < samples.reach + 8) half *= 2;
    mc.inalize(centre, samples.count, half, 0, kHalf);
    mc.inalize_mark();
  }
  ~Pipeline() {
    mc.tree.oct_free();
    mc.tree.free_mark();
    mc.free_mem();
  }
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  void insert(Samples& samples) {
    for (std::size_t i = 0; i < samples.points.size(); i += 3) {
      mc.insert_data(&samples.points[i], &samples.normals[i], kHalf, 0);
    }
  }
};

void report(benchmark::State& state, int samples) {
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * samples);
}

void Insertion(benchmark::State& state) {
  Samples samples(static_cast<int>(state.range(0)));
  double bytes = 0;
  for (auto step : state) {
    state.PauseTiming();
    const double before = demo::resident_memory_mib();
    {
      Pipeline pipeline(samples);
      state.ResumeTiming();
      pipeline.insert(samples);
      state.PauseTiming();
      bytes = (demo::resident_memory_mib() - before) * 1048576 / pipeline.mc.tree.leaves.count;
    }
    state.ResumeTiming();
  }
  state.counters["bytes_per_sample"] = bytes;
  report(state, samples.count);
}

void VoxelField(benchmark::State& state) {
  Samples samples(static_cast<int>(state.range(0)));
  double bytes = 0;
  for (auto step : state) {
    state.PauseTiming();
    const double before = demo::resident_memory_mib();
    {
      Pipeline pipeline(samples);
      pipeline.insert(samples);
      state.ResumeTiming();
      pipeline.mc.tree.oct_build_voxel_Architecture();
      state.PauseTiming();
      bytes = (demo::resident_memory_mib() - before) * 1048576 / pipeline.mc.tree.leaves.count;
    }
    state.ResumeTiming();
  }
  state.counters["bytes_per_sample"] = bytes;
  report(state, samples.count);
}

// From samples in the tree to facets in the pool: the field and the march.
void Triangulation(benchmark::State& state) {
  Samples samples(static_cast<int>(state.range(0)));
  int facets = 0;
  for (auto step : state) {
    state.PauseTiming();
    {
      Pipeline pipeline(samples);
      pipeline.insert(samples);
      state.ResumeTiming();
      pipeline.mc.mc_triangulation();
      state.PauseTiming();
      facets = pipeline.mc.facet_block * 100000 + pipeline.mc.facet_slot;
    }
    state.ResumeTiming();
  }
  state.counters["facets"] = facets;
  report(state, samples.count);
}

// Arguments: markers, radius in cell edges.
void Markers(benchmark::State& state) {
  const auto markers = static_cast<int>(state.range(0));
  const auto radius = static_cast<float>(state.range(1));
  Samples samples(250000);
  std::vector<float> centres;
  for (int i = 0; i < markers; ++i) {
    const double x = -200 + 400.0 * (i % 10) / 9;
    const double y = -200 + 400.0 * static_cast<double>(i / 10) / 9;
    const double z = 3 * std::sin(0.05 * x) * std::cos(0.04 * y);
    for (const double value : {x, y, z}) centres.push_back(static_cast<float>(value));
  }
  float up[3] = {0, 0, 1};
  std::vector<float> normals;
  for (auto step : state) {
    state.PauseTiming();
    {
      normals = samples.normals;  // filling overwrites them
      Pipeline pipeline(samples);
      for (std::size_t i = 0; i < samples.points.size(); i += 3) {
        bool hidden = false;
        for (std::size_t m = 0; m < centres.size() && !hidden; m += 3) {
          hidden = std::hypot(samples.points[i] - centres[m],
                              samples.points[i + 1] - centres[m + 1]) < radius;
        }
        if (!hidden) pipeline.mc.insert_data(&samples.points[i], &samples.normals[i], kHalf, 0);
      }
      for (std::size_t m = 0; m < centres.size(); m += 3) {
        pipeline.mc.insert_marker(&centres[m], up, kHalf, radius);
      }
      state.ResumeTiming();
      pipeline.mc.Fill_marker();
      state.PauseTiming();
      samples.normals = normals;
    }
    state.ResumeTiming();
  }
  report(state, markers);
}

constexpr int kSizes[] = {100000, 1000000, 5000000};

void sizes(benchmark::internal::Benchmark* bench) {
  for (const int size : kSizes) bench->Arg(size);
  bench->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(Insertion)->Apply(sizes);
BENCHMARK(VoxelField)->Apply(sizes);
BENCHMARK(Triangulation)->Apply(sizes);
BENCHMARK(Markers)->Args({20, 3})->Args({20, 6})->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
