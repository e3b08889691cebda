#include "cli/command_line.h"

#include <fmt/format.h>
#include <omp.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <new>
#include <stdexcept>

#include "cli/help.h"

namespace scanmesh::cli {
namespace {

int code_of(ErrorCode code) {
  switch (code) {
    case ErrorCode::invalid_argument:
    case ErrorCode::unknown_format:
      return kWrongCall;
    case ErrorCode::invalid_mesh:
    case ErrorCode::cannot_read:
      return kCannotRead;
    case ErrorCode::cannot_write:
      break;
  }
  return kCannotWrite;
}

void add_all(CommandLine& line) {
  add_info(line);
  add_repair(line);
  add_fill(line);
  add_orient(line);
  add_debris(line);
  add_spikes(line);
  add_smooth(line);
  add_denoise(line);
  add_simplify(line);
  add_subdivide(line);
  add_reconstruct(line);
  add_stitch(line);
  add_trim(line);
  add_compare(line);
  add_convert(line);
  add_manual(line);
}

}  // namespace

CommandLine::CommandLine(Session& session)
    : session_(session),
      app_(std::make_unique<CLI::App>("Inspects, repairs and converts triangle meshes",
                                      "scanmesh")) {
  app_->set_help_flag("-h,--help", "This text, or a command's: scanmesh COMMAND --help");
  app_->set_version_flag("--version", std::string("scanmesh " SCANMESH_VERSION), "The version");
  app_->footer("scanmesh repair scan.stl fixed.stl");
  app_->require_subcommand(1);
  add_all(*this);
}

CommandLine::~CommandLine() = default;

Command& CommandLine::add(const char* name, const char* summary, const char* example) {
  CLI::App* const app = app_->add_subcommand(name, summary);
  app->footer(example);
  if (*example == '\0') app->group("");
  commands_.push_back(std::make_unique<Command>(*app, session_));
  return *commands_.back();
}

const CLI::App& CommandLine::chosen() const {
  const std::vector<CLI::App*> commands = app_->get_subcommands();
  return commands.empty() ? *app_ : *commands.back();
}

int CommandLine::parse_and_run(const std::vector<std::string>& arguments) {
  if (arguments.empty()) throw UsageError("which command?");
  const bool known = !app_->get_subcommands([&arguments](const CLI::App* command) {
                            return command->get_name() == arguments[0];
                          })
                          .empty();
  if (!known && arguments[0].substr(0, 1) != "-") {
    throw UsageError(fmt::format("\"{}\" is no command", arguments[0]));
  }
  // The parser takes them from the end.
  app_->parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  if (session_.threads > 0) omp_set_num_threads(session_.threads);
  for (const auto& command : commands_) {
    if (command->chosen()) return command->run(session_);
  }
  throw UsageError("which command?");
}

int CommandLine::run(const std::vector<std::string>& arguments) {
  const auto tell = [this](int code, const std::string& sentence) {
    const std::string name = topic_of(chosen()).name;
    session_.complain(fmt::format("{}: {}\n", name, sentence));
    if (code == kWrongCall) session_.complain(fmt::format("{} --help tells more\n", name));
    return code;
  };
  try {
    try {
      return parse_and_run(arguments);
    } catch (const CLI::CallForHelp&) {
      session_.write_output(help_of(chosen()));
      return kDone;
    } catch (const CLI::CallForVersion& version) {
      session_.write_output(std::string(version.what()) + "\n");
      return kDone;
    }
  } catch (const UsageError& error) {
    return tell(kWrongCall, error.what());
  } catch (const CLI::Error& error) {
    return tell(kWrongCall, error.what());
  } catch (const Error& error) {
    return tell(code_of(error.code()), error.what());
  } catch (const Cancelled&) {
    return tell(kInterrupted, "interrupted");
  } catch (const std::bad_alloc&) {
    return tell(kNoMemory, "out of memory");
  } catch (const std::length_error&) {
    return tell(kNoMemory, "out of memory: too many elements");
  } catch (const std::exception& error) {
    // A want of threads or handles, for one: what the system refuses.
    return tell(kNoMemory, error.what());
  }
}

}  // namespace scanmesh::cli
