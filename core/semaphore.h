// A plain counting semaphore. Pairs of them make the barriers between workers and the main thread;
// one that is signalled once acts as a mutex.
#ifndef SCANMESH_CORE_SEMAPHORE_H
#define SCANMESH_CORE_SEMAPHORE_H

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace Semap {

class Semaphore {
 public:
  Semaphore() = default;
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  // Takes one from the count, waiting while it is below 1.
  void wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (count_ < 1) condition_.wait(lock);
    --count_;
  }

  // Adds one and wakes one waiter, after the lock is released: the waiter finds it free.
  void signal() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      ++count_;
    }
    condition_.notify_one();
  }

 private:
  std::mutex mutex_;
  std::condition_variable condition_;
  int32_t count_ = 0;
};

// Holds a semaphore that acts as a mutex.
class SemaphoreLock {
 public:
  explicit SemaphoreLock(Semaphore& semaphore) : semaphore_(semaphore) { semaphore_.wait(); }
  ~SemaphoreLock() { semaphore_.signal(); }
  SemaphoreLock(const SemaphoreLock&) = delete;
  SemaphoreLock& operator=(const SemaphoreLock&) = delete;

 private:
  Semaphore& semaphore_;
};

}  // namespace Semap

#endif  // SCANMESH_CORE_SEMAPHORE_H
