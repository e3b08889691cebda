// `stitch`: a fine mesh set into a coarse one.
#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "scanmesh/toolkit/building.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile coarse;
  InputFile fine;
  OutputFile output;
};

int run(const Options& options, Session& session) {
  if (options.coarse.path == "-" && options.fine.path == "-") {
    throw UsageError("only one of the two can come from standard input");
  }
  Target target(options.output, session);
  const Loaded coarse = load(options.coarse, session);
  const Loaded fine = load(options.fine, session);
  const TriangleMesh result = stitch(coarse.mesh, fine.mesh, session.progress());

  Json document = {{"schema", 1},
                   {"command", "stitch"},
                   {"coarse", options.coarse.path},
                   {"fine", options.fine.path},
                   {"output", options.output.path}};
  document["coarse_faces"] = coarse.mesh.triangles.size();
  document["fine_faces"] = fine.mesh.triangles.size();
  document["faces"] = result.triangles.size();
  deliver(target, result, session, document,
          fmt::format("{} faces, of {} coarse and {} fine ones\n", result.triangles.size(),
                      coarse.mesh.triangles.size(), fine.mesh.triangles.size()));
  return kDone;
}

}  // namespace

void add_stitch(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command = line.add("stitch", "Sets a fine mesh into a coarse one and closes the gap",
                              "scanmesh stitch body.stl detail.stl whole.stl");
  command.input(options->coarse, "COARSE");
  command.input(options->fine, "FINE");
  command.output(options->output);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
