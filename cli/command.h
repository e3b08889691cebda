// A command as its own file describes it: arguments, options, an example, and what it does.
#ifndef SCANMESH_CLI_COMMAND_H
#define SCANMESH_CLI_COMMAND_H

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "cli/mesh_files.h"
#include "cli/session.h"
#include "cli/values.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace scanmesh::cli {

constexpr std::int64_t kAnyCount = std::numeric_limits<std::int64_t>::max();
constexpr double kAnyNumber = std::numeric_limits<double>::max();

class Command {
 public:
  // Returns an exit code, or throws.
  using Run = std::function<int(Session&)>;

  // Gives it the options that all have.
  Command(CLI::App& app, Session& session);

  void run_by(Run run) { run_ = std::move(run); }
  int run(Session& session) const { return run_(session); }
  bool chosen() const;

  void input(InputFile& file, const char* name = "IN",
             const char* text = "Mesh to read; - for standard input");
  void output(OutputFile& file, const char* name = "OUT",
              const char* text = "Mesh to write; - for standard output");
  // --from, --no-weld; --to, --text, --doubles: once per command.
  void input_options(InputFile& file, bool welds = true);
  void output_options(OutputFile& file);

  // Further arguments by place.
  void argument(std::string& target, const char* name, const char* text, bool required = true);
  void arguments(std::vector<std::string>& target, const char* name, const char* text);

  void flag(const char* name, bool& target, const char* text);
  // The target keeps its value where the option isn't given. Names are as "--faces".
  void count(const char* name, std::int64_t& target, std::int64_t least, std::int64_t most,
             const char* text);
  void number(const char* name, double& target, double least, double most, const char* text);
  void share(const char* name, double& target, const char* text);
  void length(const char* name, Length& target, const char* text);
  // Any text; `take` may throw UsageError. `value` stands for it in the help; words with | between
  // them are those that complete.
  void word(const char* name, const char* value, std::function<void(const std::string&)> take,
            const char* text);
  template <typename Value>
  void choice(const char* name, Value& target, std::vector<std::pair<std::string, Value>> values,
              const char* text);

 private:
  CLI::App& app_;
  Run run_;
};

// One of the names, or a sentence that lists them.
std::string list_of_names(const std::vector<std::string>& names, const char* between);

template <typename Value>
void Command::choice(const char* name, Value& target,
                     std::vector<std::pair<std::string, Value>> values, const char* text) {
  std::vector<std::string> names;
  for (const auto& value : values) names.push_back(value.first);
  const std::string shown = list_of_names(names, "|");
  word(
      name, shown.c_str(),
      [&target, values, names](const std::string& given) {
        for (const auto& value : values) {
          if (value.first == given) {
            target = value.second;
            return;
          }
        }
        throw UsageError("\"" + given + "\" is none of " + list_of_names(names, ", "));
      },
      text);
}

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_COMMAND_H
