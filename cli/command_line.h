// The whole command line: which commands there are, which is asked for, and how it ends.
#ifndef SCANMESH_CLI_COMMAND_LINE_H
#define SCANMESH_CLI_COMMAND_LINE_H

#include <memory>
#include <string>
#include <vector>

#include "cli/command.h"

namespace scanmesh::cli {

class CommandLine {
 public:
  explicit CommandLine(Session& session);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // A command. The example is a line that runs; without one the command stays out of lists.
  Command& add(const char* name, const char* summary, const char* example);

  // The exit code. Errors are told on standard error.
  int run(const std::vector<std::string>& arguments);

  const CLI::App& app() const { return *app_; }

 private:
  int parse_and_run(const std::vector<std::string>& arguments);
  const CLI::App& chosen() const;

  Session& session_;
  std::unique_ptr<CLI::App> app_;
  std::vector<std::unique_ptr<Command>> commands_;
};

// One per file, in the order of the help.
void add_info(CommandLine& line);
void add_repair(CommandLine& line);
void add_fill(CommandLine& line);
void add_orient(CommandLine& line);
void add_debris(CommandLine& line);
void add_spikes(CommandLine& line);
void add_smooth(CommandLine& line);
void add_simplify(CommandLine& line);
void add_subdivide(CommandLine& line);
void add_compare(CommandLine& line);
void add_convert(CommandLine& line);
void add_manual(CommandLine& line);
void add_denoise(CommandLine& line);
void add_reconstruct(CommandLine& line);
void add_stitch(CommandLine& line);
void add_trim(CommandLine& line);

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_COMMAND_LINE_H
