// Cutting openings, on a surface of spacing 0.35 as a fine scan has it: a circle 10 across in a
// mesh of the given number of faces. Every iteration cuts at another place of the same mesh.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "generated_surfaces.h"
#include "mesh_from_surface.h"
#include "processors.h"
#include "quiet_output.h"
#include "scanmesh/mesh.h"

namespace {

constexpr double kSpacing = 0.35;
constexpr float kReach = 6;
constexpr int kApart = 64;  // cells

// Gentle enough for a rim to lie within a plane. The gaps of the grid lie between the places.
demo::Surface fine_scan(int faces) {
  demo::Surface surface = bench::wavy_grid(faces);
  for (demo::Vec3& p : surface.points) p = {kSpacing * p.x, kSpacing * p.y, 0.1 * kSpacing * p.z};
  return surface;
}

// Places of openings, far enough apart to leave one another alone, and the normals there.
class Places {
 public:
  Places(Mesh_M::Mesh& mesh, int faces)
      : mesh_(mesh), side_(static_cast<int>(std::lround(std::sqrt(faces / 2.0)))) {}
  // Moves on; centre and normal are those of a vertex.
  void next() {
    const int per_row = side_ / kApart;
    const int x = kApart * (1 + number_ % per_row);
    const int y = kApart * (1 + number_ / per_row % per_row);
    ++number_;
    const Mesh_R::_vert* const v = mesh_.vertex[y * (side_ + 1) + x];
    centre = {v->point.x, v->point.y, v->point.z};
    normal = {v->vector.x, v->vector.y, v->vector.z};
  }
  std::vector<float> centre;
  std::vector<float> normal;

 private:
  Mesh_M::Mesh& mesh_;
  int side_;
  int number_ = 0;
};

template <typename Cut>
void cut_places(benchmark::State& state, Cut cut) {
  const int faces = static_cast<int>(state.range(0));
  const auto mesh = bench::mesh_from(fine_scan(faces));
  mesh->build_hole();
  const int rings = mesh->get_hole_num();
  mesh->destroy_hole();
  Places places(*mesh, faces);
  const bench::QuietOutput quiet;
  for (auto step : state) {
    state.PauseTiming();
    places.next();
    state.ResumeTiming();
    cut(*mesh, places.centre, places.normal);
  }
  mesh->build_hole();
  state.counters["opened"] = mesh->get_hole_num() - rings;
  mesh->destroy_hole();
}

void grow(benchmark::internal::Benchmark* run) {
  for (const int faces : {100000, 1100000, 5000000}) run->Arg(faces);
  run->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(8);
}

using Floats = std::vector<float>;
constexpr auto kScan = static_cast<float>(kSpacing);

// What every call begins with.
void MarksAndNormals(benchmark::State& state) {
  cut_places(state, [](Mesh_M::Mesh& mesh, const Floats&, const Floats&) {
    mesh.trimWithCircle({}, {}, kScan, {}, {});
  });
}
BENCHMARK(MarksAndNormals)->Apply(grow);

// The same, the coarse cut and its fill; a circle of this size isn't cut along its curve.
void CoarseCut(benchmark::State& state) {
  cut_places(state, [](Mesh_M::Mesh& mesh, const Floats& centre, const Floats& normal) {
    mesh.trimWithCircle({1.0F}, {kReach}, kScan, centre, normal);
  });
}
BENCHMARK(CoarseCut)->Apply(grow);

void Circle(benchmark::State& state) {
  cut_places(state, [](Mesh_M::Mesh& mesh, const Floats& centre, const Floats& normal) {
    mesh.trimWithCircle({5}, {kReach}, kScan, centre, normal);
  });
}
BENCHMARK(Circle)->Apply(grow);

void CircleOnOneProcessor(benchmark::State& state) {
  const bench::Processors one(1);
  Circle(state);
}
BENCHMARK(CircleOnOneProcessor)->Apply(grow);

void CircleWithWall(benchmark::State& state) {
  cut_places(state, [](Mesh_M::Mesh& mesh, const Floats& centre, const Floats& normal) {
    mesh.trimWithCircle({5}, {kReach}, kScan, centre, normal, 2, true);
  });
}
BENCHMARK(CircleWithWall)->Apply(grow);

void Slot(benchmark::State& state) {
  cut_places(state, [](Mesh_M::Mesh& mesh, const Floats& centre, const Floats& normal) {
    mesh.trimWithOval({3.5F}, {2}, {5.7F}, kScan, centre, normal, {1, 0, 0});
  });
}
BENCHMARK(Slot)->Apply(grow);

void Rectangle(benchmark::State& state) {
  cut_places(state, [](Mesh_M::Mesh& mesh, const Floats& centre, const Floats& normal) {
    mesh.trimWithRectangle({3.5F}, {2}, {5.7F}, kScan, centre, normal, {1, 0, 0}, 1, false);
  });
}
BENCHMARK(Rectangle)->Apply(grow);

// The fill alone: the same faces taken out beforehand, the ring found, filled, and all put back.
void Fill(benchmark::State& state) {
  const int faces = static_cast<int>(state.range(0));
  const auto mesh = bench::mesh_from(fine_scan(faces));
  Places places(*mesh, faces);
  places.next();
  std::vector<Mesh_R::_face*> within;
  for (int i = 0; i < mesh->face.get_facenum(); ++i) {
    Mesh_R::_face* const face = mesh->face[i];
    for (const Mesh_R::_vert* v : face->vert) {
      if (std::hypot(v->point.x - places.centre[0], v->point.y - places.centre[1]) > kReach)
        continue;
      within.push_back(face);
      break;
    }
  }
  mesh->_dele_triangle(within.data(), static_cast<int>(within.size()));
  mesh->build_hole();
  int ring = -1;
  for (int i = 0; i < mesh->get_hole_num(); ++i) {
    int floats = 0;
    const std::unique_ptr<float[]> ends(mesh->get_hole_index(i, floats));
    if (ends && std::hypot(ends[0] - places.centre[0], ends[1] - places.centre[1]) < 7) ring = i;
  }
  if (ring < 0) {
    state.SkipWithError("no ring found");
    return;
  }
  for (auto step : state) {
    mesh->fill_hole_No(ring, 0.5F * kScan);
    state.PauseTiming();
    mesh->Revoked_fill_hole();
    state.ResumeTiming();
  }
  state.counters["taken_out"] = static_cast<double>(within.size());
}
BENCHMARK(Fill)->Arg(1100000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(8);

}  // namespace
