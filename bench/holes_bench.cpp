// Finding and filling holes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

#include "generated_surfaces.h"
#include "mesh_from_surface.h"
#include "scanmesh/mesh.h"

namespace {

void FindRings(benchmark::State& state) {
  const auto mesh = bench::mesh_from(bench::wavy_grid(static_cast<int>(state.range(0))));
  for (auto step : state) {
    mesh->destroy_hole();
    mesh->build_hole();
  }
  state.counters["rings"] = mesh->get_hole_num();
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * mesh->face.real_num);
}
BENCHMARK(FindRings)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

// A disc of the given radius in a grid of spacing 1, taken back after each fill.
void FillHole(benchmark::State& state) {
  demo::Surface surface = bench::wavy_grid(20000);
  const demo::Vec3 centre{50, 50, 0};
  const double radius = static_cast<double>(state.range(0));
  const auto inside = [&](const demo::Corners& f) {
    const demo::Vec3& p = surface.points[static_cast<std::size_t>(f[0])];
    return demo::distance({p.x, p.y, 0}, centre) < radius;
  };
  surface.faces.erase(std::remove_if(surface.faces.begin(), surface.faces.end(), inside),
                      surface.faces.end());
  const auto mesh = bench::mesh_from(surface);
  mesh->build_hole();
  int chosen = -1;
  int edges = 0;
  for (int i = 0; i < mesh->get_hole_num(); ++i) {
    int floats = 0;
    const std::unique_ptr<float[]> ring(mesh->get_hole_index(i, floats));
    if (!ring || demo::distance({ring[0], ring[1], 0}, centre) > radius + 3) continue;
    chosen = i;
    edges = floats / 6;
  }
  if (chosen < 0) {
    state.SkipWithError("no ring found");
    return;
  }
  int added = 0;
  for (auto step : state) {
    mesh->fill_hole_No(chosen, 0.5F);
    state.PauseTiming();
    const std::unique_ptr<float[]> faces(mesh->return_add_face_data(added));
    mesh->Revoked_fill_hole();
    state.ResumeTiming();
  }
  state.counters["ring"] = edges;
  state.counters["faces"] = added / 12;
}
BENCHMARK(FillHole)->Arg(3)->Arg(8)->Arg(15)->Unit(benchmark::kMillisecond);

void FillSmallHoles(benchmark::State& state) {
  const demo::Surface surface = bench::wavy_grid(static_cast<int>(state.range(0)));
  for (auto step : state) {
    state.PauseTiming();
    auto mesh = bench::mesh_from(surface);
    state.ResumeTiming();
    mesh->auto_fill_small_hole(8);
    state.PauseTiming();
    mesh.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(FillSmallHoles)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
