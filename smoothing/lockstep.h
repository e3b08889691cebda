// Workers in lock step with the main thread. Between two barriers the workers either only read the
// mesh, or write disjoint parts of it.
#ifndef SCANMESH_SMOOTHING_LOCKSTEP_H
#define SCANMESH_SMOOTHING_LOCKSTEP_H

#include <atomic>
#include <cstddef>
#include <future>
#include <vector>

#include "core/parallel.h"
#include "core/progress.h"
#include "core/semaphore.h"

namespace scanmesh {

// A worker's end of a barrier.
struct Barrier {
  Semap::Semaphore* to_worker;
  Semap::Semaphore* to_main;

  void arrive() const {
    to_main->signal();
    to_worker->wait();
  }
};

// The semaphore through which a lane's worker waits. A worker that is started by its semaphores
// alone finds its run here.
struct LaneSemaphore : Semap::Semaphore {
  void* run = nullptr;
};

// What belongs to one worker: its half-open range, which the main thread rewrites between stages,
// and the pair of semaphores.
struct Lane {
  int begin = 0;
  int end = 0;
  LaneSemaphore to_worker;
  Semap::Semaphore to_main;
  std::atomic<bool> gone{true};  // no task runs, or it arrives at no barrier any more
  std::future<void> task;
};

// The main thread's side. When it is left early, by a callback that throws, the workers run to
// their end first; a worker that throws leaves the
// others in step, and finish() passes it on.
class Lockstep {
 public:
  explicit Lockstep(int workers, void* run = nullptr) : lanes_(static_cast<std::size_t>(workers)) {
    for (Lane& lane : lanes_) lane.to_worker.run = run;
  }
  Lockstep(const Lockstep&) = delete;
  Lockstep& operator=(const Lockstep&) = delete;
  ~Lockstep() {
    for (Lane& lane : lanes_) {
      while (!lane.gone) cross();
    }
  }

  int workers() const { return static_cast<int>(lanes_.size()); }

  // n items in equal ranges, the last takes the rest.
  void share(int items) {
    for (int i = 0; i < workers(); ++i) {
      const auto range = slice(items, workers(), i);
      lanes_[static_cast<std::size_t>(i)].begin = static_cast<int>(range.first);
      lanes_[static_cast<std::size_t>(i)].end = static_cast<int>(range.second);
    }
  }

  // Starts one task per worker: body(lane).
  template <typename Body>
  void start(Body body) {
    for (Lane& lane : lanes_) {
      lane.gone = false;
      try {
        lane.task = std::async(std::launch::async, [&lane, body] {
          const Leaving leaving(lane);
          body(lane);
        });
      } catch (...) {
        lane.gone = true;
        throw;
      }
    }
  }

  // One barrier: every worker has arrived, `between` is done, every worker goes on.
  template <typename Between>
  void cross(Between between) {
    for (Lane& lane : lanes_) {
      if (!lane.gone) lane.to_main.wait();
    }
    // Should it fail, the workers must go on all the same, to find out and to end.
    const Release release(lanes_);
    between();
  }
  void cross() {
    cross([] {});
  }
  void cross(int times) {
    for (int i = 0; i < times; ++i) cross();
  }

  // Waits for the tasks to end.
  void finish() {
    for (Lane& lane : lanes_) lane.task.get();
  }

 private:
  // However a task ends, nobody waits for it any more.
  struct Leaving {
    explicit Leaving(Lane& worker) : lane(worker) {}
    ~Leaving() {
      lane.gone = true;
      lane.to_main.signal();
    }
    Leaving(const Leaving&) = delete;
    Leaving& operator=(const Leaving&) = delete;
    Lane& lane;
  };

  struct Release {
    explicit Release(std::vector<Lane>& all) : lanes(all) {}
    ~Release() {
      for (Lane& lane : lanes) lane.to_worker.signal();
    }
    Release(const Release&) = delete;
    Release& operator=(const Release&) = delete;
    std::vector<Lane>& lanes;
  };

  std::vector<Lane> lanes_;
};

// Counts the steps of a run and reports each.
class Progress {
 public:
  Progress(const Mesh_M::ProcessStepCallback& callback, int step_count)
      : callback_(callback), step_count_(step_count) {}
  void next() { report_step(callback_, ++step_, step_count_); }

 private:
  const Mesh_M::ProcessStepCallback& callback_;
  int step_count_;
  int step_ = 0;
};

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_LOCKSTEP_H
