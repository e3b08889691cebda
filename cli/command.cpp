#include "cli/command.h"

#include <CLI/CLI.hpp>

namespace scanmesh::cli {
namespace {

constexpr const char* kRead = "stl|ply|obj|off|xyz";
constexpr const char* kWritten = "stl|ply|obj|off|glb|xyz|wrl|x3d|dae";
constexpr std::int64_t kMostThreads = 1024;

}  // namespace

std::string list_of_names(const std::vector<std::string>& names, const char* between) {
  std::string all;
  for (const std::string& name : names) all += (all.empty() ? "" : between) + name;
  return all;
}

Command::Command(CLI::App& app, Session& session) : app_(app) {
  app_.set_help_flag("-h,--help", "This text");
  flag("--json", session.json, "One JSON document on standard output");
  flag("-q,--quiet", session.quiet, "Nothing on standard error but errors");
  word(
      "--threads", "N",
      [&session](const std::string& text) {
        session.threads = static_cast<int>(parse_count(text, 1, kMostThreads));
      },
      "Processors to use (default: all)");
}

bool Command::chosen() const {
  return app_.parsed();
}

void Command::input(InputFile& file, const char* name, const char* text) {
  argument(file.path, name, text);
}

void Command::output(OutputFile& file, const char* name, const char* text) {
  argument(file.path, name, text);
}

void Command::input_options(InputFile& file, bool welds) {
  word(
      "--from", kRead, [&file](const std::string& text) { file.from = text; },
      "Format of standard input (IN is -)");
  if (!welds) return;
  flag("--no-weld", file.no_weld,
       "Points at one place stay apart (default: joined, as STL needs it)");
}

void Command::output_options(OutputFile& file) {
  word(
      "--to", kWritten, [&file](const std::string& text) { file.to = text; },
      "Format of standard output (OUT is -)");
  flag("--text", file.text, "STL and PLY as text");
  flag("--doubles", file.doubles, "PLY with doubles instead of floats");
}

void Command::argument(std::string& target, const char* name, const char* text, bool required) {
  app_.add_option(name, target, text)->required(required);
}

void Command::arguments(std::vector<std::string>& target, const char* name, const char* text) {
  app_.add_option(name, target, text)->required();
}

void Command::flag(const char* name, bool& target, const char* text) {
  app_.add_flag(name, target, text);
}

void Command::word(const char* name, const char* value,
                   std::function<void(const std::string&)> take, const char* text) {
  const auto naming = [name, take = std::move(take)](const std::string& given) {
    try {
      take(given);
    } catch (const UsageError& error) {
      throw UsageError(std::string(name) + ": " + error.what());
    }
  };
  app_.add_option_function<std::string>(name, naming, text)->type_name(value);
}

void Command::count(const char* name, std::int64_t& target, std::int64_t least, std::int64_t most,
                    const char* text) {
  word(
      name, "N",
      [&target, least, most](const std::string& given) {
        target = parse_count(given, least, most);
      },
      text);
}

void Command::number(const char* name, double& target, double least, double most,
                     const char* text) {
  word(
      name, "X",
      [&target, least, most](const std::string& given) {
        target = parse_number(given, least, most);
      },
      text);
}

void Command::share(const char* name, double& target, const char* text) {
  word(
      name, "SHARE", [&target](const std::string& given) { target = parse_share(given); }, text);
}

void Command::length(const char* name, Length& target, const char* text) {
  word(
      name, "LENGTH", [&target](const std::string& given) { target = parse_length(given); }, text);
}

}  // namespace scanmesh::cli
