// `compare`: how far two meshes are apart.
#include "scanmesh/toolkit/compare.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "cli/command_line.h"

namespace scanmesh::cli {
namespace {

struct Options {
  InputFile a;
  InputFile b;
  Length within;  // 0: not given
};

std::string row(const char* name, const Distances& d) {
  return fmt::format("  {:<8}{:>14.6g}{:>14.6g}{:>14.6g}{:>13.2f}%\n", name, d.mean, d.rms,
                     d.maximum, 100 * d.within);
}

int run(const Options& options, Session& session) {
  if (options.a.path == "-" && options.b.path == "-") {
    throw UsageError("only one of the two can come from standard input");
  }
  const Loaded a = load(options.a, session);
  const Loaded b = load(options.b, session);
  CompareOptions comparing;
  const bool judged = options.within.value > 0;
  const double tolerance =
      options.within.of(std::max(bounding_box(a.mesh).diagonal(), bounding_box(b.mesh).diagonal()));
  if (judged) comparing.within = tolerance;
  comparing.progress = session.progress();
  const Comparison result = compare(a.mesh, b.mesh, comparing);
  const bool good = !judged || result.maximum <= tolerance;

  Json document = {{"schema", 1},         {"command", "compare"}, {"a", options.a.path},
                   {"b", options.b.path}, {"judged", judged},     {"is_within", good}};
  document.update(Json::parse(to_json(result)));
  std::string text =
      fmt::format("  {:<8}{:>14}{:>14}{:>14}{:>14}\n", "", "mean", "rms", "maximum", "within");
  text += row("a to b", result.a_to_b) + row("b to a", result.b_to_a);
  text += fmt::format("  within: the share no further than {:.6g}\n", result.tolerance);
  if (judged) text += good ? "within\n" : "not within\n";
  session.answer(document, text);
  return good ? kDone : kDoneButNo;
}

}  // namespace

void add_compare(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command = line.add("compare", "Tells the distances between two meshes, both ways",
                              "scanmesh compare scan.stl fixed.stl --within 0.1%");
  command.input(options->a, "A");
  command.input(options->b, "B");
  command.length("--within", options->within,
                 "Exit with 1 where a distance is larger; % of the larger diagonal");
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
