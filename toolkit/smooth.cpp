// The engine's filters on a mesh as a value.
#include <string>

#include "scanmesh/messages.h"
#include "scanmesh/toolkit/filters.h"
#include "toolkit/engine_mesh.h"
#include "toolkit/progress.h"
#include "toolkit/validity.h"

namespace scanmesh {
namespace {

constexpr float kStrengthOfLevelZero = 0.6F;  // read by the fast filter at level 0 only

void require_level(const SmoothOptions& options) {
  int least = 0;
  int most = 3;
  if (options.filter == Filter::taubin) {
    least = 1;
    most = 100000;
  }
  if (options.filter == Filter::fast) {
    least = 1;
    most = 6;
  }
  if (options.level >= least && options.level <= most) return;
  throw Error(ErrorCode::invalid_argument,
              "the level of this filter goes from " + std::to_string(least) + " to " +
                  std::to_string(most) + ", not " + std::to_string(options.level));
}

// Round by round: the filter itself doesn't report.
void run_taubin(Mesh_M::Mesh& engine, const SmoothOptions& options) {
  for (int round = 0; round < options.level; ++round) {
    report(options.progress, static_cast<double>(round) / options.level, "smooth");
    engine.meshSmooth(1);
  }
}

void run_filter(Mesh_M::Mesh& engine, const SmoothOptions& options) {
  if (options.filter == Filter::taubin) return run_taubin(engine, options);
  EngineWatch watch(options.progress, "smooth");
  engine.setProcessStepCallback(watch.callback());
  const auto level = static_cast<Mesh_M::Mesh::smooth_level>(options.level);
  if (options.filter == Filter::bilateral) engine.bilateralNormalde(level);
  if (options.filter == Filter::two_step) engine.Two_Step_Smooth(level);
  if (options.filter == Filter::fast) {
    engine.Fast_Eletric_Filter(options.level, kStrengthOfLevelZero, false);
  }
  engine.setProcessStepCallback({});
  watch.finish();
}

}  // namespace

TriangleMesh smooth(const TriangleMesh& mesh, const SmoothOptions& options) {
  require_valid(mesh);
  require_level(options);
  report(options.progress, 0, "smooth");
  TriangleMesh result = mesh;
  if (usable_triangles(mesh).empty()) return result;
  const QuietThread quiet;
  EngineMesh copy(mesh, EngineFrame(bounding_box(mesh), mean_side(mesh)));
  run_filter(copy.engine(), options);
  copy.take_positions(result.points);
  renew_normals(mesh, result);
  report(options.progress, 1, "smooth");
  return result;
}

}  // namespace scanmesh
