// `convert`: another format, the same mesh: winding, order and points as they are.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "cli/command_line.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
};

bool is_float(double value) {
  // NaN is one too.
  return !(static_cast<double>(static_cast<float>(value)) != value) || value != value;
}

std::int64_t beyond_floats(const TriangleMesh& mesh) {
  return std::count_if(mesh.points.begin(), mesh.points.end(), [](const Point& p) {
    return !is_float(p.x) || !is_float(p.y) || !is_float(p.z);
  });
}

// PLY takes doubles where floats would round; binary STL and GLB have floats only.
std::int64_t rounded_points(const TriangleMesh& mesh, const Options& options, Target& target) {
  const Format format = target.format();
  if (format == Format::ply) {
    if (!options.output.text && beyond_floats(mesh) > 0) target.use_doubles();
    return 0;
  }
  const bool floats = (format == Format::stl && !options.output.text) || format == Format::glb;
  return floats ? beyond_floats(mesh) : 0;
}

int run(const Options& options, Session& session) {
  Target target(options.output, session);
  const TriangleMesh mesh = read_as_is(options.input, session);
  const bool points_only = mesh.triangles.empty();
  if (points_only && target.format() != Format::ply && target.format() != Format::xyz) {
    throw UsageError("points without triangles go into ply or xyz");
  }
  const std::int64_t rounded = rounded_points(mesh, options, target);
  const bool colors_lost =
      !mesh.colors.empty() && (target.format() == Format::stl || target.format() == Format::xyz);

  Json document = document_of("convert", options.input.path, options.output.path);
  document["points"] = mesh.points.size();
  document["faces"] = mesh.triangles.size();
  document["rounded_points"] = rounded;
  document["colors_lost"] = colors_lost;
  std::string text =
      fmt::format("{} points, {} faces\n", mesh.points.size(), mesh.triangles.size());
  if (rounded > 0) text += fmt::format("{} points rounded to floats\n", rounded);
  if (colors_lost) text += "the format has no colours: they are left out\n";
  deliver(target, mesh, session, document, text);
  return kDone;
}

}  // namespace

void add_convert(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command =
      line.add("convert", "Writes a mesh in another format, its points and triangles as they are",
               "scanmesh convert scan.stl scan.ply");
  command.input(options->input);
  command.output(options->output);
  command.input_options(options->input, false);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
