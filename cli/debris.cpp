// `debris`: small components dropped.
#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "scanmesh/toolkit/steps.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
  DebrisOptions debris;
};

int run(const Options& options, Session& session) {
  Target target(options.output, session);
  const Loaded loaded = load(options.input, session);
  const StepResult result = remove_debris(loaded.mesh, options.debris);

  Json document = document_of("debris", options.input.path, options.output.path);
  document["joined_points"] = loaded.joined_points;
  document["faces_before"] = loaded.mesh.triangles.size();
  document["faces"] = result.mesh.triangles.size();
  document["faces_removed"] = result.changed;
  deliver(
      target, result.mesh, session, document,
      fmt::format("{} of {} faces were debris\n", result.changed, loaded.mesh.triangles.size()));
  return kDone;
}

}  // namespace

void add_debris(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command = line.add("debris", "Drops small components; the largest stays",
                              "scanmesh debris scan.stl clean.stl --share 1%");
  command.input(options->input);
  command.output(options->output);
  command.share("--share", options->debris.share,
                "Components up to this share of the area go (default: 0.5%)");
  command.count("--min-faces", options->debris.min_faces, 0, kAnyCount,
                "Small ones with at least so many faces stay (default: 0)");
  command.input_options(options->input);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
