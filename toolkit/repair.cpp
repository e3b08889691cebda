#include "scanmesh/toolkit/repair.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "toolkit/cleaning.h"
#include "toolkit/debris.h"
#include "toolkit/hole_closing.h"
#include "toolkit/intersection_rounds.h"
#include "toolkit/manifold_making.h"
#include "toolkit/progress.h"
#include "toolkit/remaining.h"
#include "toolkit/sheets.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// A step's numbers, added up over the rounds.
void note(RepairReport& report, const char* name, std::int64_t found, std::int64_t mended) {
  if (found == 0 && mended == 0) return;
  const auto step = std::find_if(report.steps.begin(), report.steps.end(),
                                 [name](const RepairStep& s) { return s.name == name; });
  if (step == report.steps.end()) {
    report.steps.push_back({name, found, mended});
  } else {
    step->found += found;
    step->mended += mended;
  }
}

class Repair {
 public:
  Repair(const TriangleMesh& input, const RepairOptions& options, Sheets sheets,
         RepairReport& report)
      : options_(options), sheets_(sheets), report_(report), mesh_(input) {
    ground_.floats = options.for_float_files;
    ground_.diagonal = bounding_box(input).diagonal();
  }

  WorkMesh& run() {
    clean();
    IntersectionRounds rounds(mesh_, ground_, options_.weld * ground_.diagonal);
    for (int round = 0; round < options_.max_rounds; ++round) {
      const double from = 0.1 + 0.7 * round / options_.max_rounds;
      const Progress part = share_of(options_.progress, from, from + 0.1, "repair");
      scanmesh::report(part, 0, "repair");
      shape();
      drop_debris();
      if (options_.holes != Holes::none && close(part)) cut_junctions();
      if (!options_.intersections || !rounds.round(part)) break;
    }
    const std::int64_t turned = rounds.turn(shape()) + rounds.turned_shells();
    note(report_, "inward_components", turned, turned);
    if (options_.intersections) {
      note(report_, "self_intersections", rounds.pairs_at_first(),
           std::max<std::int64_t>(0, rounds.pairs_at_first() - rounds.pairs_now()));
    }
    note(report_, "inside_faces", rounds.inside_faces(), rounds.inside_faces());
    return mesh_;
  }

  // Whether rings were left, or closed by patches that pass through something.
  bool patches_cross() const { return crossing_patches_ > 0; }

 private:
  // What bounds nothing, and what other programs would join.
  void clean() {
    const std::int64_t lost = drop_nonfinite(mesh_);
    note(report_, "nonfinite_faces", lost, lost);
    if (ground_.floats) {
      for (Point& p : mesh_.points) p = rounded_to_floats(p);
    }
    const std::int64_t welded = weld_equal_points(mesh_);
    note(report_, "equal_points", welded, welded);
    remove_meaningless();
    const std::int64_t close = weld_close_points(mesh_, options_.weld * ground_.diagonal);
    note(report_, "close_points", close, close);
    if (close > 0) remove_meaningless();
  }

  bool remove_meaningless() {
    const std::int64_t flat = remove_without_area(mesh_);
    note(report_, "degenerate_faces", flat, flat);
    const std::int64_t doubled = drop_doubles(mesh_);
    note(report_, "duplicate_faces", doubled, doubled);
    return flat + doubled > 0;
  }

  // Whether it changed anything.
  bool shape() {
    const bool removed = remove_meaningless();
    return cut_junctions() || removed;
  }

  bool cut_junctions() {
    const ManifoldChanges changes = make_manifold(mesh_);
    note(report_, "nonmanifold_edges", changes.junction_edges, changes.junction_edges);
    note(report_, "nonmanifold_vertices", changes.split_vertices, changes.split_vertices);
    note(report_, "turned_faces", changes.turned_faces, changes.turned_faces);
    note(report_, "one_sided_edges", changes.cut_edges, changes.cut_edges);
    return changes.junction_edges + changes.split_vertices + changes.turned_faces +
               changes.cut_edges >
           0;
  }

  void drop_debris() {
    const std::int64_t dropped =
        drop_shells(mesh_, [this](const Shell& shell, const ShellTotals& all) {
          const bool debris = !shell.closed && shell.area <= options_.debris * all.area;
          const bool unwanted = options_.keep == Keep::largest && shell.area < all.largest;
          return debris || unwanted || shell.faces < options_.min_faces;
        });
    note(report_, "debris_faces", dropped, dropped);
  }

  // Whether the mesh has more faces now.
  bool close(const Progress& progress) {
    const HoleChanges changes = close_rings(
        mesh_,
        [this](const WorkMesh& mesh, const std::vector<std::int32_t>& ring) {
          return wanted(mesh, ring);
        },
        sheets_ == Sheets::close, ground_, {}, progress);
    note(report_, "rings", changes.rings, changes.closed);
    crossing_patches_ += changes.crossing + changes.refused;
    if (sheets_ != Sheets::back || options_.holes != Holes::all) return changes.closed > 0;
    const SheetChanges sheets = back_sheets(mesh_, ground_);
    note(report_, "sheets", sheets.sheets, sheets.backed);
    sheets_ = Sheets::close;  // what a later round cuts open isn't a sheet
    return changes.closed + sheets.backed > 0;
  }

  bool wanted(const WorkMesh& mesh, const std::vector<std::int32_t>& ring) const {
    if (options_.holes == Holes::all) return true;
    if (static_cast<std::int64_t>(ring.size()) > options_.max_ring_edges) return false;
    double walked = 0;
    double across = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
      const Point& p = mesh.point(ring[i]);
      walked += distance(p, mesh.point(ring[(i + 1) % ring.size()]));
      across = std::max(across, distance(p, mesh.point(ring[0])));
    }
    return walked <= options_.max_ring_length && across <= options_.max_ring_diameter;
  }

  const RepairOptions& options_;
  Sheets sheets_;
  RepairReport& report_;
  WorkMesh mesh_;
  Ground ground_;
  std::int64_t crossing_patches_ = 0;
};

std::int64_t defects(const Health& h) {
  return h.open_edges + h.nonmanifold_edges + h.twisted_edges + h.nonmanifold_vertices +
         h.duplicate_faces + h.degenerate_faces + h.nonfinite_faces + h.self_intersections +
         h.inward_components;
}

bool ends_as_wanted(const Health& health, const RepairOptions& options) {
  const bool open_allowed = options.holes != Holes::all;
  Health judged = health;
  if (!options.intersections) judged.self_intersections = 0;
  return judged.healthy() || (open_allowed && judged.healthy_but_open());
}

// Coordinates that the rounding to floats touched and nothing else come back, where the mesh is as
// healthy with them.
void restore_doubles(const TriangleMesh& input, RepairResult& result) {
  TriangleMesh restored = result.mesh;
  bool differs = false;
  for (std::size_t v = 0; v < restored.points.size(); ++v) {
    const std::int32_t from = result.report.origin.points[v];
    if (from < 0) continue;
    const Point& original = input.points[static_cast<std::size_t>(from)];
    if (restored.points[v] == original || restored.points[v] != rounded_to_floats(original))
      continue;
    restored.points[v] = original;
    differs = true;
  }
  if (differs && defects(inspect(restored)) <= defects(inspect(result.mesh))) {
    result.mesh = std::move(restored);
  }
}

void measure_changes(const TriangleMesh& input, RepairResult& result) {
  RepairReport& report = result.report;
  std::vector<bool> kept(input.points.size(), false);
  for (std::size_t v = 0; v < result.mesh.points.size(); ++v) {
    const std::int32_t from = report.origin.points[v];
    if (from < 0) continue;
    const Point& original = input.points[static_cast<std::size_t>(from)];
    if (original == result.mesh.points[v]) kept[static_cast<std::size_t>(from)] = true;
    report.largest_movement =
        std::max(report.largest_movement, distance(original, result.mesh.points[v]));
  }
  report.points_kept = std::count(kept.begin(), kept.end(), true);
  std::vector<bool> still(input.triangles.size(), false);
  for (const std::int32_t from : report.origin.triangles) {
    if (from < 0) {
      ++report.faces_added;
    } else {
      still[static_cast<std::size_t>(from)] = true;
    }
  }
  report.faces_removed = std::count(still.begin(), still.end(), false);
}

RepairResult unchanged(const TriangleMesh& mesh, RepairReport report, RepairState state) {
  RepairResult result{mesh, std::move(report)};
  result.report.state = state;
  result.report.after = result.report.before;
  result.report.origin = {};
  for (std::size_t v = 0; v < mesh.points.size(); ++v) {
    result.report.origin.points.push_back(static_cast<std::int32_t>(v));
  }
  for (std::size_t f = 0; f < mesh.triangles.size(); ++f) {
    result.report.origin.triangles.push_back(static_cast<std::int32_t>(f));
  }
  result.report.points_kept = result.report.before.vertices;
  return result;
}

RepairResult attempt(const TriangleMesh& mesh, const RepairOptions& options, Sheets sheets,
                     const RepairReport& report, bool& patches_cross) {
  RepairResult result;
  result.report = report;
  Repair repair(mesh, options, sheets, result.report);
  result.mesh = repair.run().result(mesh, result.report.origin);
  patches_cross = repair.patches_cross();
  if (options.for_float_files) restore_doubles(mesh, result);
  InspectOptions look;
  look.as_stored_in_floats = options.for_float_files;
  look.progress = share_of(options.progress, 0.9, 1, "inspect");
  result.report.after = inspect(result.mesh, look);
  measure_changes(mesh, result);
  if (ends_as_wanted(result.report.after, options)) {
    result.report.state = RepairState::repaired;
  } else if (defects(result.report.after) < defects(report.before)) {
    result.report.state = RepairState::improved;
  }
  return result;
}

// Health first, then what was kept of the input.
bool better(const RepairResult& a, const RepairResult& b) {
  if (a.report.state != b.report.state) return a.report.state < b.report.state;
  return a.report.points_kept > b.report.points_kept;
}

constexpr std::size_t kMostPlaces = 100;

// Healthy, and nearly all points are there still: no second way is tried.
bool kept_enough(const RepairResult& result) {
  constexpr double kEnough = 0.99;
  return result.report.state == RepairState::repaired &&
         static_cast<double>(result.report.points_kept) >=
             kEnough * static_cast<double>(result.report.before.vertices);
}

RepairResult repair_valid(const TriangleMesh& mesh, const RepairOptions& options) {
  RepairReport report;
  InspectOptions look;
  look.as_stored_in_floats = options.for_float_files;
  look.progress = share_of(options.progress, 0, 0.1, "inspect");
  report.before = inspect(mesh, look);
  const bool nothing_to_close = report.before.rings == 0 || options.holes == Holes::none;
  if (ends_as_wanted(report.before, options) && nothing_to_close && options.keep == Keep::all &&
      options.min_faces == 0) {
    return unchanged(mesh, std::move(report), RepairState::healthy);
  }
  bool patches_cross = false;
  const Sheets first = options.sheets == Sheets::back ? Sheets::back : Sheets::close;
  RepairResult result = attempt(mesh, options, first, report, patches_cross);
  if (options.sheets == Sheets::best && patches_cross && !kept_enough(result)) {
    RepairResult other = attempt(mesh, options, Sheets::back, report, patches_cross);
    if (better(other, result)) result = std::move(other);
  }
  if (result.mesh != mesh && result.report.state != RepairState::unchanged) {
    if (!result.report.after.healthy()) {
      result.report.remaining = remaining_places(result.mesh, result.report.after, kMostPlaces);
    }
    return result;
  }
  const bool as_wanted = ends_as_wanted(report.before, options);
  return unchanged(mesh, std::move(report),
                   as_wanted ? RepairState::healthy : RepairState::unchanged);
}

}  // namespace

RepairResult repair(const TriangleMesh& mesh, const RepairOptions& options) {
  require_valid(mesh);
  const auto start = std::chrono::steady_clock::now();
  RepairResult result = repair_valid(mesh, options);
  result.report.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return result;
}

}  // namespace scanmesh
