// How many processors the process may use.
#ifndef SCANMESH_BENCH_PROCESSORS_H
#define SCANMESH_BENCH_PROCESSORS_H

#include <memory>

namespace bench {

/// Keeps all threads of the process, and those that they start, on the first `count` of the
/// processors that it may use, while it lives. Where the system can't do that, nothing changes. The
/// library still sees all processors, and starts as many workers as ever.
class Processors {
 public:
  explicit Processors(int count);
  ~Processors();
  Processors(const Processors&) = delete;
  Processors& operator=(const Processors&) = delete;

 private:
  struct Mask;
  std::unique_ptr<Mask> before_;
};

}  // namespace bench

#endif  // SCANMESH_BENCH_PROCESSORS_H
