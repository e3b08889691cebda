// `denoise`: noise out, edges sharp.
#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "scanmesh/toolkit/filters.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
  DenoiseOptions denoise;
  Length max_displacement;
};

int run(const Options& options, Session& session) {
  Target target(options.output, session);
  const Loaded loaded = load(options.input, session);
  DenoiseOptions denoising = options.denoise;
  denoising.max_displacement = options.max_displacement.of(bounding_box(loaded.mesh).diagonal());
  denoising.progress = session.progress();
  const DenoiseResult result = denoise(loaded.mesh, denoising);

  Json document = document_of("denoise", options.input.path, options.output.path);
  document["joined_points"] = loaded.joined_points;
  document["strength"] = denoising.strength;
  document["noise_before"] = result.noise_before;
  document["noise_after"] = result.noise_after;
  document["largest_move"] = result.largest_move;
  document["volume_change"] = result.volume_change;
  deliver(target, result.mesh, session, document,
          fmt::format("noise {:.6g} before, {:.6g} after; points moved by {:.6g} at most, volume "
                      "by {:.4g}%\n",
                      result.noise_before, result.noise_after, result.largest_move,
                      100 * result.volume_change));
  return kDone;
}

}  // namespace

void add_denoise(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command = line.add("denoise", "Takes noise out and keeps edges sharp",
                              "scanmesh denoise scan.stl clean.stl --strength 0.5");
  command.input(options->input);
  command.output(options->output);
  command.number("--strength", options->denoise.strength, 0, 1,
                 "0 leaves the mesh, 1 takes out what can be (default: 0.5)");
  command.length("--max-displacement", options->max_displacement,
                 "Points move at most this far (default: three times the noise)");
  command.input_options(options->input);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
