// `orient`: triangles turned until the outside is out.
#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "scanmesh/toolkit/steps.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
};

int run(const Options& options, Session& session) {
  Target target(options.output, session);
  const Loaded loaded = load(options.input, session);
  const OrientResult result = orient(loaded.mesh);

  Json document = document_of("orient", options.input.path, options.output.path);
  document["joined_points"] = loaded.joined_points;
  document["turned_faces"] = result.turned_faces;
  document["turned_components"] = result.turned_components;
  document["cavities"] = result.cavities;
  document["undecided"] = result.undecided;
  document["cut_edges"] = result.cut_edges;
  std::string text =
      fmt::format("{} of {} faces turned, {} components, {} cavities\n", result.turned_faces,
                  result.mesh.triangles.size(), result.turned_components, result.cavities);
  if (result.cut_edges > 0) {
    text += fmt::format("cut along {} edges: a surface has one side only\n", result.cut_edges);
  }
  if (result.undecided > 0) {
    text += fmt::format("{} open components show as much of one side as of the other\n",
                        result.undecided);
  }
  deliver(target, result.mesh, session, document, text);
  return result.undecided == 0 ? kDone : kDoneButNo;
}

}  // namespace

void add_orient(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command =
      line.add("orient", "Turns triangles until neighbours agree and the outside is out",
               "scanmesh orient scan.stl turned.stl");
  command.input(options->input);
  command.output(options->output);
  command.input_options(options->input);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
