// Some algorithms write lines of their own; a table must not have them in between.
#ifndef SCANMESH_BENCH_QUIET_OUTPUT_H
#define SCANMESH_BENCH_QUIET_OUTPUT_H

namespace bench {

/// Sends the process's standard output nowhere while it lives.
class QuietOutput {
 public:
  QuietOutput();
  ~QuietOutput();
  QuietOutput(const QuietOutput&) = delete;
  QuietOutput& operator=(const QuietOutput&) = delete;

 private:
  int saved_;
};

}  // namespace bench

#endif  // SCANMESH_BENCH_QUIET_OUTPUT_H
