// `info`: what is wrong with meshes, and how large they are.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "cli/command_line.h"
#include "scanmesh/toolkit/inspect.h"

namespace scanmesh::cli {
namespace {

struct Options {
  std::vector<std::string> files;
  InputFile input;
  bool check = false;
};

// Scanned things lie between a coin and a house; null for what is neither in any unit. Inches can't
// be told from centimetres.
Json guessed_unit(double diagonal) {
  struct Range {
    double below;
    const char* unit;
  };
  constexpr double kLeast = 0.005;
  constexpr Range kRanges[] = {{5, "m"}, {20, "cm"}, {20000, "mm"}, {2e7, "um"}};
  if (!(diagonal >= kLeast)) return nullptr;
  for (const Range& range : kRanges) {
    if (diagonal < range.below) return range.unit;
  }
  return nullptr;
}

Json document_of(const std::string& file, const Loaded& loaded, const Health& health) {
  const Box& box = health.box;
  Json json = {{"file", file}, {"joined_points", loaded.joined_points}};
  json.update(Json::parse(to_json(health)));
  json["size"] = {box.max.x - box.min.x, box.max.y - box.min.y, box.max.z - box.min.z};
  json["diagonal"] = box.diagonal();
  json["unit_guess"] = guessed_unit(box.diagonal());
  json["colors"] = !loaded.mesh.colors.empty();
  json["normals"] = !loaded.mesh.normals.empty();
  return json;
}

std::string shown(const Json& value) {
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_number_float()) return fmt::format("{:.7g}", value.get<double>());
  if (value.is_string()) return value.get<std::string>();
  if (value.is_null()) return "-";
  if (!value.is_array()) return value.dump();
  std::string all;
  for (const Json& element : value) all += (all.empty() ? "" : " ") + shown(element);
  return all;
}

// The names of the document, so that what is seen can be looked up there.
std::string table_of(const Json& document, const Health& health) {
  std::string text = document["file"].get<std::string>() + "\n  " + describe(health) + "\n";
  for (const auto& [name, value] : document.items()) {
    if (name != "file") text += fmt::format("  {:<22}{}\n", name, shown(value));
  }
  return text;
}

int run(const Options& options, Session& session) {
  Json files = Json::array();
  std::string text;
  int code = kDone;
  for (const std::string& file : options.files) {
    try {
      InputFile input = options.input;
      input.path = file;
      const Loaded loaded = load(input, session);
      InspectOptions inspecting;
      inspecting.progress = session.progress();
      const Health health = inspect(loaded.mesh, inspecting);
      files.push_back(document_of(file, loaded, health));
      text += (text.empty() ? "" : "\n") + table_of(files.back(), health);
      if (options.check && !health.healthy()) code = std::max<int>(code, kDoneButNo);
    } catch (const Error& error) {
      if (error.code() != ErrorCode::cannot_read) throw;
      session.complain(fmt::format("scanmesh info: {}\n", error.what()));
      files.push_back({{"file", file}, {"error", error.what()}});
      code = kCannotRead;
    }
  }
  session.answer({{"schema", 1}, {"command", "info"}, {"files", files}}, text);
  return code;
}

}  // namespace

void add_info(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  Command& command = line.add("info", "Tells the health and the size of meshes",
                              "scanmesh info --check scan.stl && echo healthy");
  command.arguments(options->files, "FILE", "Meshes to read; - for standard input");
  command.flag("--check", options->check, "Exit with 1 where one isn't healthy");
  command.input_options(options->input);
  command.run_by([options](Session& session) { return run(*options, session); });
}

}  // namespace scanmesh::cli
