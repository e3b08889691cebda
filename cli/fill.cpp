// `fill`: rings of open edges closed, nothing else.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "cli/command_line.h"
#include "cli/ring_limits.h"
#include "scanmesh/toolkit/steps.h"

namespace scanmesh::cli {
namespace {

// The toolkit's reason for a ring that a limit leaves.
constexpr const char* kBeyondLimits = "larger than asked for";

struct Options {
  InputFile input;
  OutputFile output;
  RingLimits rings;
  bool allow_crossing = false;
};

Json json_of(const RingReport& ring) {
  Json json = {{"edges", ring.edges},
               {"length", ring.length},
               {"centre", {ring.centre.x, ring.centre.y, ring.centre.z}},
               {"filled", ring.filled}};
  json["reason"] = ring.filled ? Json(nullptr) : Json(ring.reason);
  return json;
}

std::string line_of(const RingReport& ring) {
  return fmt::format("ring of {} edges, {:.6g} long, at ({:.6g}, {:.6g}, {:.6g}): {}\n", ring.edges,
                     ring.length, ring.centre.x, ring.centre.y, ring.centre.z,
                     ring.filled ? "filled" : "left, " + ring.reason);
}

// Rings beyond the limits are left as asked for.
bool every_wanted_ring_filled(const FillResult& result) {
  return std::all_of(result.rings.begin(), result.rings.end(), [](const RingReport& ring) {
    return ring.filled || ring.reason == kBeyondLimits;
  });
}

int run(const Options& options, Session& session) {
  Target target(options.output, session);
  const Loaded loaded = load(options.input, session);
  FillOptions filling;
  options.rings.put_into(filling, bounding_box(loaded.mesh).diagonal());
  filling.allow_crossing = options.allow_crossing;
  filling.for_float_files = !options.output.doubles;
  filling.progress = session.progress();
  const FillResult result = fill_holes(loaded.mesh, filling);

  Json document = document_of("fill", options.input.path, options.output.path);
  document["joined_points"] = loaded.joined_points;
  document["faces_added"] = result.mesh.triangles.size() - loaded.mesh.triangles.size();
  document["rings"] = Json::array();
  std::string text;
  std::size_t filled = 0;
  for (const RingReport& ring : result.rings) {
    document["rings"].push_back(json_of(ring));
    text += line_of(ring);
    filled += ring.filled ? 1 : 0;
  }
  document["filled"] = filled;
  document["left"] = result.rings.size() - filled;
  text += fmt::format("{} of {} rings filled\n", filled, result.rings.size());
  deliver(target, result.mesh, session, document, text);
  return every_wanted_ring_filled(result) ? kDone : kDoneButNo;
}

}  // namespace

void add_fill(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command = line.add("fill", "Closes rings of open edges, and changes nothing else",
                              "scanmesh fill scan.stl filled.stl --longest-ring 5%");
  command.input(options->input);
  command.output(options->output);
  options->rings.add_to(command);
  command.flag("--allow-crossing", options->allow_crossing,
               "Takes patches that pass through something where no other is found");
  command.input_options(options->input);
  command.output_options(options->output);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
