// `repair`: a healthy mesh out of a broken one.
#include "scanmesh/toolkit/repair.h"

#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "cli/ring_limits.h"
#include "scanmesh/toolkit/resolution.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
  RepairOptions repair;
  RingLimits rings;
  Length weld;
  std::int64_t rounds = RepairOptions().max_rounds;
  bool keep_holes = false;
  bool keep_intersections = false;
  std::int64_t faces = 0;  // 0: as many as come of it
};

RepairOptions toolkit_options(const Options& options, double diagonal, Session& session) {
  RepairOptions repair = options.repair;
  options.rings.put_into(repair, diagonal);
  if (options.rings.any()) repair.holes = Holes::up_to;
  if (options.keep_holes) repair.holes = Holes::none;
  if (options.weld.value > 0 && diagonal > 0) repair.weld = options.weld.of(diagonal) / diagonal;
  repair.intersections = !options.keep_intersections;
  repair.max_rounds = static_cast<int>(options.rounds);
  repair.for_float_files = !options.output.doubles;
  repair.progress = session.progress();
  return repair;
}

bool well(RepairState state) {
  return state == RepairState::healthy || state == RepairState::repaired;
}

// Health as the repair was asked for it.
bool as_wanted(const TriangleMesh& mesh, const RepairOptions& repair) {
  InspectOptions inspecting;
  inspecting.as_stored_in_floats = repair.for_float_files;
  inspecting.progress = repair.progress;
  Health health = inspect(mesh, inspecting);
  if (!repair.intersections) health.self_intersections = 0;
  return health.healthy() || (repair.holes != Holes::all && health.healthy_but_open());
}

// The repaired mesh with fewer faces, where it has more; false where it ends short of that, or
// isn't well any more.
bool lighten(RepairResult& result, const Options& options, const RepairOptions& repair,
             Json& document, std::string& text) {
  const auto before = static_cast<std::int64_t>(result.mesh.triangles.size());
  if (options.faces == 0 || before <= options.faces) return true;
  SimplifyOptions simplifying;
  simplifying.faces = options.faces;
  simplifying.for_float_files = repair.for_float_files;
  simplifying.progress = repair.progress;
  SimplifyResult lighter = simplify(result.mesh, simplifying);
  result.mesh = std::move(lighter.mesh);
  const std::size_t after = result.mesh.triangles.size();
  const bool good = !well(result.report.state) || as_wanted(result.mesh, repair);
  document["simplified"] = {
      {"faces_before", before}, {"faces", after}, {"error", lighter.error}, {"healthy", good}};
  text +=
      fmt::format("simplified: {} of {} faces, {:.6g} off at most\n", after, before, lighter.error);
  return good && lighter.stop == SimplifyStop::target;
}

int run(const Options& options, Session& session) {
  if (options.keep_holes && options.rings.any()) {
    throw UsageError("--keep-holes and a limit on rings contradict each other");
  }
  Target target(options.output, session);
  const TriangleMesh mesh = read_as_is(options.input, session);
  const RepairOptions repairing = toolkit_options(options, bounding_box(mesh).diagonal(), session);
  RepairResult result = repair(mesh, repairing);
  Json document = document_of("repair", options.input.path, options.output.path);
  document.update(Json::parse(to_json(result.report)));
  std::string text = describe(result.report);
  bool good = well(result.report.state);
  good = lighten(result, options, repairing, document, text) && good;
  deliver(target, result.mesh, session, document, text);
  return good ? kDone : kDoneButNo;
}

void add_steps(Command& command, Options& options) {
  RepairOptions& repair = options.repair;
  command.choice<Keep>("--keep", repair.keep, {{"all", Keep::all}, {"largest", Keep::largest}},
                       "Components to keep (default: all but debris)");
  command.share("--debris", repair.debris,
                "Open components up to this share of the area go (default: 0.01%)");
  command.count("--min-faces", repair.min_faces, 0, kAnyCount,
                "Components with fewer faces go (default: 0)");
  options.rings.add_to(command);
  command.flag("--keep-holes", options.keep_holes, "No ring is filled");
  command.choice<Sheets>(
      "--sheets", repair.sheets,
      {{"best", Sheets::best}, {"close", Sheets::close}, {"back", Sheets::back}},
      "Planes and shells: a patch all the same, a thin plate, or the better one (default: best)");
  command.flag("--keep-intersections", options.keep_intersections, "Self-intersections stay");
  command.length("--weld", options.weld,
                 "Points this close are joined along edges and cracks (default: 0.00012%)");
  command.count("--rounds", options.rounds, 1, 1000, "Rounds at most (default: 12)");
  command.count("--faces", options.faces, 4, kAnyCount,
                "Simplifies the result to so many faces (default: not)");
}

}  // namespace

void add_repair(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command =
      line.add("repair", "Makes a mesh closed, manifold, oriented and free of self-intersections",
               "scanmesh repair scan.stl fixed.stl");
  command.input(options->input);
  command.output(options->output);
  add_steps(command, *options);
  command.input_options(options->input, false);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
