// `subdivide`: more triangles, on a smooth surface.
#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "scanmesh/toolkit/resolution.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
  std::int64_t steps = 1;
};

int run(const Options& options, Session& session) {
  Target target(options.output, session);
  const Loaded loaded = load(options.input, session);
  const TriangleMesh result =
      subdivide(loaded.mesh, static_cast<int>(options.steps), session.progress());

  const std::size_t before = loaded.mesh.triangles.size();
  Json document = document_of("subdivide", options.input.path, options.output.path);
  document["joined_points"] = loaded.joined_points;
  document["steps"] = options.steps;
  document["faces_before"] = before;
  document["faces"] = result.triangles.size();
  deliver(target, result, session, document,
          fmt::format("{} faces of {}\n", result.triangles.size(), before));
  return kDone;
}

}  // namespace

void add_subdivide(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command = line.add("subdivide", "Makes four triangles of each, by Loop's scheme",
                              "scanmesh subdivide part.stl fine.stl --steps 2");
  command.input(options->input);
  command.output(options->output);
  command.count("--steps", options->steps, 1, 8, "How often, 1 to 8 (default: 1)");
  command.input_options(options->input);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
