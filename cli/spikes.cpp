// `spikes`: single spikes and pits levelled.
#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "cli/moved_points.h"
#include "scanmesh/toolkit/filters.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
  std::int64_t level = 50;
};

int run(const Options& options, Session& session) {
  Target target(options.output, session);
  const Loaded loaded = load(options.input, session);
  const TriangleMesh result =
      remove_spikes(loaded.mesh, static_cast<int>(options.level), session.progress());
  const Moved moved = moved_points(loaded.mesh, result);

  Json document = document_of("spikes", options.input.path, options.output.path);
  document["joined_points"] = loaded.joined_points;
  document["level"] = options.level;
  document.update(json_of(moved));
  deliver(target, result, session, document, text_of(moved));
  return kDone;
}

}  // namespace

void add_spikes(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command =
      line.add("spikes", "Levels single spikes and pits", "scanmesh spikes scan.stl level.stl");
  command.input(options->input);
  command.output(options->output);
  command.count("--level", options->level, 0, 100, "The more, the more points (default: 50)");
  command.input_options(options->input);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
