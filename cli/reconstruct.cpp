// `reconstruct`: a mesh of points with normals.
#include <fmt/format.h>

#include <memory>

#include "cli/command_line.h"
#include "scanmesh/toolkit/building.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile input;
  OutputFile output;
  Method method = Method::pivoting;
  Length spacing;
};

int run(const Options& options, Session& session) {
  Target target(options.output, session);
  const TriangleMesh samples = load_points(options.input, session);
  session.check();
  ReconstructOptions reconstructing;
  reconstructing.method = options.method;
  reconstructing.spacing = options.spacing.of(bounding_box(samples).diagonal());
  reconstructing.progress = session.progress();
  const TriangleMesh result = reconstruct(samples, reconstructing);

  Json document = document_of("reconstruct", options.input.path, options.output.path);
  document["method"] = options.method == Method::pivoting ? "pivoting" : "octree";
  document["samples"] = samples.points.size();
  document["points"] = result.points.size();
  document["faces"] = result.triangles.size();
  deliver(target, result, session, document,
          fmt::format("{} faces over {} points, of {} samples\n", result.triangles.size(),
                      result.points.size(), samples.points.size()));
  return kDone;
}

}  // namespace

void add_reconstruct(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command =
      line.add("reconstruct", "Makes a mesh of points with normals; it estimates no normals",
               "scanmesh reconstruct points.xyz mesh.stl --method octree");
  command.input(options->input, "POINTS",
                "XYZ (x y z nx ny nz a line) or PLY; - for standard input");
  command.output(options->output);
  command.choice<Method>("--method", options->method,
                         {{"pivoting", Method::pivoting}, {"octree", Method::octree}},
                         "A ball that rolls over the points, which stay, or a field that is "
                         "marched, which averages them (default: pivoting)");
  command.length("--spacing", options->spacing,
                 "Distance of the points (default: the median to the nearest)");
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
