// From points to a mesh, and seams closed.
#include <benchmark/benchmark.h>

#include <memory>

#include "generated_points.h"
#include "generated_surfaces.h"
#include "mesh_from_surface.h"
#include "point_arrays.h"
#include "quiet_output.h"
#include "scanmesh/ball_pivoting.h"
#include "scanmesh/x_ball_pivoting.h"

namespace {

demo::PointSet points_of_range(const benchmark::State& state) {
  const bool shuffled = state.range(1) != 0;
  return bench::wavy_points(static_cast<int>(state.range(0)),
                            shuffled ? bench::Order::shuffled : bench::Order::rows);
}

// Arguments: points, and 1 for points in no order.
void BallPivoting(benchmark::State& state) {
  const demo::PointSet set = points_of_range(state);
  const auto count = static_cast<int>(set.points.size());
  int faces = 0;
  for (auto step : state) {
    state.PauseTiming();
    auto points = bench::array_of(set.points);
    auto normals = bench::array_of(set.normals);
    BPA::Ball_Pivoting ball;
    state.ResumeTiming();
    ball.init(1);
    ball.build_mesh(points, normals, count);
    state.PauseTiming();
    faces = ball.face_store.real_num;
    ball.free();
    state.ResumeTiming();
  }
  state.counters["faces"] = faces;
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * count);
}
BENCHMARK(BallPivoting)
    ->Args({10000, 0})
    ->Args({100000, 0})
    ->Args({100000, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void XBallPivoting(benchmark::State& state) {
  const demo::PointSet set = points_of_range(state);
  const auto count = static_cast<int>(set.points.size());
  int faces = 0;
  const bench::QuietOutput quiet;
  for (auto step : state) {
    state.PauseTiming();
    auto points = bench::array_of(set.points);
    auto normals = bench::array_of(set.normals);
    auto mesh = std::make_unique<Mesh_M::Mesh>();
    xbpa::XBallPivoting ball;
    ball.setDataPointer(&mesh->face, &mesh->vertex, &mesh->edge);
    state.ResumeTiming();
    mesh->inalize();
    ball.init(1);
    ball.build_mesh(points, normals, count);
    state.PauseTiming();
    faces = mesh->face.real_num;
    mesh.reset();
    state.ResumeTiming();
  }
  state.counters["faces"] = faces;
  state.SetItemsProcessed(static_cast<long>(state.iterations()) * count);
}
BENCHMARK(XBallPivoting)
    ->Args({10000, 0})
    ->Args({100000, 0})
    ->Args({100000, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// Two sheets of spacing 4 and 1 beside each other, tagged as a scanner would.
std::unique_ptr<Mesh_M::Mesh> two_sheets(int faces) {
  demo::Surface sheets = bench::wavy_grid(faces);
  double end = 0;
  for (const demo::Vec3& p : sheets.points) end = std::max(end, p.x);
  demo::Surface coarse = bench::wavy_grid(faces / 16);
  const int first = static_cast<int>(sheets.points.size());
  for (const demo::Vec3& p : coarse.points) {
    sheets.points.push_back({4 * p.x + end + 1.5, 4 * p.y, 4 * p.z});
  }
  for (const demo::Corners& f : coarse.faces) {
    sheets.faces.push_back({f[0] + first, f[1] + first, f[2] + first});
  }
  auto mesh = bench::mesh_from(sheets);
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    Mesh_R::_vert& vert = *mesh->vertex[i];
    const bool fine = i < first;
    const bool at_seam = vert.point.x > end - 4 && vert.point.x < end + 12;
    vert.tag = static_cast<unsigned char>((fine ? 0x20 : 0) | (at_seam ? 0x80 : 0));
  }
  mesh->setResolutionParam({4, 1, true});
  return mesh;
}

void StitchByCopy(benchmark::State& state) {
  for (auto step : state) {
    state.PauseTiming();
    auto mesh = two_sheets(static_cast<int>(state.range(0)));
    BPA::Ball_Pivoting ball;
    state.ResumeTiming();
    ball.stitchMesh(*mesh);
    state.PauseTiming();
    ball.free();
    mesh.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(StitchByCopy)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

void StitchInPlace(benchmark::State& state) {
  const bench::QuietOutput quiet;
  for (auto step : state) {
    state.PauseTiming();
    auto mesh = two_sheets(static_cast<int>(state.range(0)));
    xbpa::XBallPivoting ball;
    state.ResumeTiming();
    ball.stitchMesh(*mesh);
    state.PauseTiming();
    mesh.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(StitchInPlace)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
