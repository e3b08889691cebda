// `trim`: openings cut along their exact curves.
#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "cli/openings.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
  std::string openings;
  std::vector<Opening> circles;
};

int run(const Options& options, Session& session) {
  if (options.openings.empty() && options.circles.empty()) {
    throw UsageError("a file of openings or --circle has to be given");
  }
  Target target(options.output, session);
  std::vector<Opening> openings;
  if (!options.openings.empty()) openings = read_openings(options.openings);
  openings.insert(openings.end(), options.circles.begin(), options.circles.end());
  const Loaded loaded = load(options.input, session);
  const TriangleMesh result = trim(loaded.mesh, openings, session.progress());

  Json document = document_of("trim", options.input.path, options.output.path);
  document["joined_points"] = loaded.joined_points;
  document["openings"] = openings.size();
  document["faces_before"] = loaded.mesh.triangles.size();
  document["faces"] = result.triangles.size();
  deliver(target, result, session, document,
          fmt::format("{} openings cut: {} faces of {}\n", openings.size(), result.triangles.size(),
                      loaded.mesh.triangles.size()));
  return kDone;
}

}  // namespace

void add_trim(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command = line.add("trim", "Cuts openings along their exact curves",
                              "scanmesh trim part.stl cut.stl --circle 0,0,10,0,0,1,2.5");
  command.input(options->input);
  command.output(options->output);
  command.argument(options->openings, "OPENINGS",
                   "Text, a line each: circle x y z nx ny nz r [depth]; slot or rectangle x y z nx "
                   "ny nz dx dy dz half-length half-width [depth]",
                   false);
  command.word(
      "--circle", "x,y,z,nx,ny,nz,r",
      [options](const std::string& text) { options->circles.push_back(parse_circle(text)); },
      "A circle, in mesh units");
  command.input_options(options->input);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
