// `simplify`: fewer triangles.
#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "scanmesh/toolkit/resolution.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
  SimplifyOptions simplify;
  Length max_error;
  bool allow_intersections = false;
};

const char* name_of(SimplifyStop stop) {
  switch (stop) {
    case SimplifyStop::target:
      return "target";
    case SimplifyStop::error:
      return "error";
    case SimplifyStop::topology:
      break;
  }
  return "topology";
}

const char* sentence_of(SimplifyStop stop) {
  switch (stop) {
    case SimplifyStop::target:
      return "the target is reached";
    case SimplifyStop::error:
      return "more would be further off than allowed";
    case SimplifyStop::topology:
      break;
  }
  return "more would close a hole, tear or cross";
}

int run(const Options& options, Session& session) {
  const bool counted = options.simplify.faces >= 0 || options.simplify.ratio >= 0;
  if (!counted && options.max_error.value == 0) {
    throw UsageError("one of --faces, --ratio and --error has to be given");
  }
  Target target(options.output, session);
  const Loaded loaded = load(options.input, session);
  SimplifyOptions simplifying = options.simplify;
  if (options.max_error.value > 0) {
    simplifying.max_error = options.max_error.of(bounding_box(loaded.mesh).diagonal());
  }
  simplifying.avoid_intersections = !options.allow_intersections;
  simplifying.for_float_files = !options.output.doubles;
  simplifying.progress = session.progress();
  const SimplifyResult result = simplify(loaded.mesh, simplifying);

  const std::size_t before = loaded.mesh.triangles.size();
  const std::size_t after = result.mesh.triangles.size();
  Json document = document_of("simplify", options.input.path, options.output.path);
  document["joined_points"] = loaded.joined_points;
  document["faces_before"] = before;
  document["faces"] = after;
  document["error"] = result.error;
  document["stop"] = name_of(result.stop);
  deliver(target, result.mesh, session, document,
          fmt::format("{} of {} faces, {:.6g} off at most: {}\n", after, before, result.error,
                      sentence_of(result.stop)));
  // An error alone is a limit, not a target: nothing was missed.
  const bool missed = counted && result.stop == SimplifyStop::topology;
  return missed ? kDoneButNo : kDone;
}

}  // namespace

void add_simplify(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command =
      line.add("simplify", "Takes triangles away until the first of the given targets is reached",
               "scanmesh simplify scan.stl light.stl --ratio 0.25");
  command.input(options->input);
  command.output(options->output);
  command.count("--faces", options->simplify.faces, 0, kAnyCount, "So many triangles are left");
  command.share("--ratio", options->simplify.ratio, "So large a share of them is left");
  command.length("--error", options->max_error, "No further off than this");
  command.flag("--lock-boundary", options->simplify.lock_boundary, "Open edges stay as they are");
  command.flag("--allow-intersections", options->allow_intersections,
               "Faster; triangles may come to cross");
  command.input_options(options->input);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
