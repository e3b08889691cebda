// What the example programs show: progress bars, tables, seconds and memory.
#ifndef SCANMESH_EXAMPLES_SUPPORT_CONSOLE_H
#define SCANMESH_EXAMPLES_SUPPORT_CONSOLE_H

#include <chrono>
#include <string>
#include <vector>

namespace demo {

/// A bar on the standard error stream, one line per step of the work. On a terminal it is redrawn
/// in place; elsewhere only the finished line is written.
class ProgressBar {
 public:
  /// Begins a line of its own.
  void start(const std::string& title);
  /// `step` of `step_count`, from 1 on. Redrawn at most a few times a second.
  void update(int step, int step_count);
  /// Fills the bar, notes the time, ends the line. Returns the seconds since start().
  double finish();

 private:
  void draw(double part, const std::string& note);

  std::string title_;
  std::chrono::steady_clock::time_point begin_;
  std::chrono::steady_clock::time_point drawn_;
};

/// A table of text, aligned for reading and at the same time valid Markdown.
class Table {
 public:
  explicit Table(std::vector<std::string> head) : rows_{std::move(head)} {}
  void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  /// The first column is aligned to the left, the others to the right.
  std::string text() const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

class Stopwatch {
 public:
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
  }

 private:
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

/// With so many digits after the point, whatever the locale.
std::string number(double value, int digits);
/// A count with its thousands set apart.
std::string count(long long value);

/// The most memory that this process had resident so far, and what it has now, in MiB; 0 where the
/// system doesn't tell.
double peak_memory_mib();
double resident_memory_mib();

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_CONSOLE_H
