// `smooth`: the engine's filters.
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
  Filter filter = Filter::taubin;
  std::int64_t level = -1;  // -1: the filter's own
};

struct Levels {
  Filter filter;
  const char* name;
  std::int64_t least;
  std::int64_t most;
  std::int64_t usual;
};
constexpr Levels kLevels[] = {{Filter::taubin, "taubin", 1, 10000, 10},
                              {Filter::bilateral, "bilateral", 0, 3, 1},
                              {Filter::two_step, "two-step", 0, 3, 1},
                              {Filter::fast, "fast", 1, 6, 3}};

const Levels& levels_of(Filter filter) {
  for (const Levels& levels : kLevels) {
    if (levels.filter == filter) return levels;
  }
  return kLevels[0];
}

int level_of(const Options& options) {
  const Levels& levels = levels_of(options.filter);
  if (options.level < 0) return static_cast<int>(levels.usual);
  if (options.level < levels.least || options.level > levels.most) {
    throw UsageError(fmt::format("--level: {} takes {} to {}, not {}", levels.name, levels.least,
                                 levels.most, options.level));
  }
  return static_cast<int>(options.level);
}

int run(const Options& options, Session& session) {
  SmoothOptions smoothing;
  smoothing.filter = options.filter;
  smoothing.level = level_of(options);
  smoothing.progress = session.progress();
  Target target(options.output, session);
  const Loaded loaded = load(options.input, session);
  const TriangleMesh result = smooth(loaded.mesh, smoothing);
  const Moved moved = moved_points(loaded.mesh, result);

  Json document = document_of("smooth", options.input.path, options.output.path);
  document["joined_points"] = loaded.joined_points;
  document["filter"] = levels_of(options.filter).name;
  document["level"] = smoothing.level;
  document.update(json_of(moved));
  deliver(target, result, session, document, text_of(moved));
  return kDone;
}

}  // namespace

void add_smooth(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command = line.add("smooth", "Smooths by one of four filters",
                              "scanmesh smooth scan.stl smooth.stl --filter taubin --level 20");
  command.input(options->input);
  command.output(options->output);
  command.choice<Filter>("--filter", options->filter,
                         {{"taubin", Filter::taubin},
                          {"bilateral", Filter::bilateral},
                          {"two-step", Filter::two_step},
                          {"fast", Filter::fast}},
                         "The first smooths everything, the others keep edges (default: taubin)");
  command.count("--level", options->level, 0, kLevels[0].most,
                "taubin: rounds (default: 10); bilateral, two-step: 0 to 3 (default: 1); fast: 1 "
                "to 6 (default: 3)");
  command.input_options(options->input);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
