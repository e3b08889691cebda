// How a command talks: data on standard output, talk on standard error, and when it ends.
#ifndef SCANMESH_CLI_SESSION_H
#define SCANMESH_CLI_SESSION_H

#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "scanmesh/toolkit/error.h"

namespace scanmesh::cli {

using Json = nlohmann::ordered_json;

// What the process returns. Scripts rely on each.
enum ExitCode {
  kDone = 0,
  kDoneButNo = 1,  // done, and the answer is no: not healthy, not within, target not reached
  kWrongCall = 2,
  kCannotRead = 3,
  kCannotWrite = 4,
  kNoMemory = 5,
  kInterrupted = 130
};

// The call is wrong: nothing was begun.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ProgressBar;

class Session {
 public:
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  bool json = false;
  bool quiet = false;
  int threads = 0;  // 0: all processors

  // Draws on a terminal, and says no once the process is interrupted.
  Progress progress();
  // Throws Cancelled once the process is interrupted: for between steps that don't ask.
  void check() const;

  // What was done, in words on standard error or as a document on standard output.
  void report(const Json& document, const std::string& text);
  // What was asked for: the same, but the words go to standard output too.
  void answer(const Json& document, const std::string& text);
  // Words on standard error: errors always, others unless quiet.
  void say(const std::string& text);
  void complain(const std::string& text);

  // All of standard input. Throws Error(cannot_read), or Cancelled.
  std::string read_input() const;
  // Data to standard output, the whole of it, which is closed then. Throws Error(cannot_write).
  void write_output(std::string_view bytes);

 private:
  int output_;
  std::unique_ptr<ProgressBar> bar_;
};

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_SESSION_H
