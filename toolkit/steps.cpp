#include "scanmesh/toolkit/steps.h"

#include <algorithm>
#include <cmath>

#include "toolkit/cleaning.h"
#include "toolkit/debris.h"
#include "toolkit/hole_closing.h"
#include "toolkit/intersection_rounds.h"
#include "toolkit/manifold_making.h"
#include "toolkit/nesting.h"
#include "toolkit/outward.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// What other programs take for one point, by the box's diagonal.
constexpr double kWeldShare = 1.2e-6;

// Runs a step that changes a work mesh and tells a count.
template <typename Step>
StepResult step_on(const TriangleMesh& mesh, Step step) {
  require_valid(mesh);
  WorkMesh work(mesh);
  StepResult result;
  result.changed = step(work);
  result.mesh = work.result(mesh, result.origin);
  return result;
}

bool turned(const Triangle& now, const Triangle& before) {
  for (std::size_t k = 0; k < 3; ++k) {
    if (now[0] == before[k]) return now[1] != before[(k + 1) % 3];
  }
  return false;
}

Ground ground_of(const TriangleMesh& mesh, bool floats) {
  Ground ground;
  ground.floats = floats;
  ground.diagonal = bounding_box(mesh).diagonal();
  return ground;
}

RingReport measured(const WorkMesh& mesh, const std::vector<std::int32_t>& ring) {
  RingReport report;
  report.edges = static_cast<std::int64_t>(ring.size());
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const Point& p = mesh.point(ring[i]);
    report.length += distance(p, mesh.point(ring[(i + 1) % ring.size()]));
    report.centre = report.centre + p * (1.0 / static_cast<double>(ring.size()));
  }
  return report;
}

double diameter(const WorkMesh& mesh, const std::vector<std::int32_t>& ring) {
  Box box{mesh.point(ring[0]), mesh.point(ring[0])};
  for (const std::int32_t v : ring) {
    const Point& p = mesh.point(v);
    box.min = {std::min(box.min.x, p.x), std::min(box.min.y, p.y), std::min(box.min.z, p.z)};
    box.max = {std::max(box.max.x, p.x), std::max(box.max.y, p.y), std::max(box.max.z, p.z)};
  }
  return box.diagonal();
}

}  // namespace

StepResult weld(const TriangleMesh& mesh, double tolerance) {
  if (!(tolerance >= 0) || !std::isfinite(tolerance)) {
    throw Error(ErrorCode::invalid_argument, "a welding tolerance is 0 or more");
  }
  return step_on(mesh, [tolerance](WorkMesh& work) {
    return weld_equal_points(work) + weld_close_points(work, tolerance);
  });
}

StepResult remove_duplicates(const TriangleMesh& mesh) {
  return step_on(mesh, drop_doubles);
}

StepResult remove_degenerate(const TriangleMesh& mesh) {
  return step_on(mesh, [](WorkMesh& work) {
    const std::int64_t nonfinite = drop_nonfinite(work);
    return nonfinite + remove_without_area(work);
  });
}

StepResult split_non_manifold(const TriangleMesh& mesh) {
  return step_on(mesh, [](WorkMesh& work) {
    const ManifoldChanges changes = make_manifold(work);
    return changes.junction_edges + changes.split_vertices;
  });
}

OrientResult orient(const TriangleMesh& mesh) {
  require_valid(mesh);
  WorkMesh work(mesh);
  OrientResult result;
  result.cut_edges = agree(work).cut_edges;
  const OutwardChanges changes = turn_outward(work, find_self_intersections(mesh));
  result.turned_components = changes.turned_shells;
  result.cavities = changes.cavities;
  result.undecided = changes.undecided;
  Origin origin;
  result.mesh = work.result(mesh, origin);
  for (std::size_t f = 0; f < work.triangles.size(); ++f) {
    result.turned_faces += turned(work.triangles[f], mesh.triangles[f]);
  }
  return result;
}

StepResult remove_debris(const TriangleMesh& mesh, const DebrisOptions& options) {
  if (!(options.share >= 0 && options.share <= 1)) {
    throw Error(ErrorCode::invalid_argument, "a share of debris lies between 0 and 1");
  }
  return step_on(mesh, [&options](WorkMesh& work) {
    return drop_shells(work, [&](const Shell& shell, const ShellTotals& all) {
      const bool small = shell.area <= options.share * all.area;
      return shell.area < all.largest && (small || shell.faces < options.min_faces);
    });
  });
}

FillResult fill_holes(const TriangleMesh& mesh, const FillOptions& options) {
  require_valid(mesh);
  WorkMesh work(mesh);
  FillResult result;
  const auto choose = [&](const WorkMesh& now, const std::vector<std::int32_t>& ring) {
    RingReport report = measured(now, ring);
    if (report.edges > options.max_ring_edges || report.length > options.max_ring_length ||
        diameter(now, ring) > options.max_ring_diameter) {
      report.reason = "larger than asked for";
      result.rings.push_back(report);
      return false;
    }
    return true;
  };
  const auto tell = [&](const WorkMesh& now, const std::vector<std::int32_t>& ring,
                        const char* refusal) {
    RingReport report = measured(now, ring);
    report.filled = refusal == nullptr;
    if (refusal != nullptr) report.reason = refusal;
    result.rings.push_back(report);
  };
  close_rings(work, choose, options.allow_crossing, ground_of(mesh, options.for_float_files), tell,
              options.progress);
  result.mesh = work.result(mesh, result.origin);
  return result;
}

StepResult resolve_self_intersections(const TriangleMesh& mesh, const UntangleOptions& options) {
  return step_on(mesh, [&](WorkMesh& work) {
    const Ground ground = ground_of(mesh, options.for_float_files);
    IntersectionRounds rounds(work, ground, kWeldShare * ground.diagonal);
    for (int i = 0; i < options.max_rounds && rounds.round(options.progress); ++i) {
      make_manifold(work);
    }
    rounds.turn(true);
    return rounds.pairs_at_first() - rounds.pairs_now();
  });
}

}  // namespace scanmesh
