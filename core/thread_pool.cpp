#include "core/thread_pool.h"

#include "core/platform.h"

namespace Mesh_M {

ThreadPool::ThreadPool(std::size_t cores, std::size_t threads)
    : thread_count(threads), core_count(cores) {
  const uint64_t mask = scanmesh::worker_affinity_mask(core_count);
  // Held throughout, so that no worker looks at the list while it grows.
  std::unique_lock<std::mutex> lock(queue_lock);
  try {
    for (std::size_t i = 0; i < threads; ++i) {
      workers.emplace_back([this, i, mask] {
        scanmesh::set_thread_affinity(mask);
        work(i);
      });
    }
  } catch (...) {
    shut_down(lock);
    throw;
  }
}

ThreadPool::~ThreadPool() {
  std::unique_lock<std::mutex> lock(queue_lock);
  shut_down(lock);
}

void ThreadPool::shut_down(std::unique_lock<std::mutex>& lock) {
  stop = true;
  not_empty.notify_all();
  not_full.notify_all();
  thread_count = 0;
  // The workers take themselves out of the list, last one first, when nothing is queued any more.
  not_empty.wait(lock, [this] { return workers.empty(); });
}

void ThreadPool::push(std::function<void()> task) {
  std::unique_lock<std::mutex> lock(queue_lock);
  not_full.wait(lock, [this] { return tasks.size() < queue_limit || stop; });
  if (stop) throw std::runtime_error("enqueue on stopped ThreadPool");
  tasks.push_back(std::move(task));
  ++in_flight;
  not_empty.notify_one();
}

// Workers leave strictly from the end of the list. Called under the lock; the broadcast is the last
// touch of the pool, which may be gone as soon as the lock is released.
bool ThreadPool::retire() {
  if (workers.empty() || workers.back().get_id() != std::this_thread::get_id()) return false;
  worker_index.erase(std::this_thread::get_id());
  workers.back().detach();
  workers.pop_back();
  not_empty.notify_all();
  return true;
}

ThreadPool::Next ThreadPool::next_task(std::size_t index, std::function<void()>& task,
                                       bool& made_room) {
  std::unique_lock<std::mutex> lock(queue_lock);
  not_empty.wait(lock, [&] { return stop || !tasks.empty() || thread_count < index + 1; });
  const bool goes_on = stop ? !tasks.empty() : thread_count >= index + 1;
  if (!goes_on) {
    if (retire()) return Next::kEnd;
    // Not the last one: waits for the broadcast of the one behind, instead of asking again at once.
    not_empty.wait(lock);
    return Next::kWaitAgain;
  }
  if (tasks.empty()) return Next::kWaitAgain;
  made_room = tasks.size() == queue_limit || tasks.size() == 1;
  task = std::move(tasks.front());
  tasks.pop_front();
  return Next::kRun;
}

void ThreadPool::finished_one() {
  if (--in_flight == 0) {
    const std::lock_guard<std::mutex> lock(idle_lock);
    idle.notify_all();
  }
}

void ThreadPool::work(std::size_t index) {
  {
    const std::lock_guard<std::mutex> lock(queue_lock);
    worker_index.emplace(std::this_thread::get_id(), index);
  }
  for (;;) {
    std::function<void()> task;
    bool made_room = false;
    const Next next = next_task(index, task, made_room);
    if (next == Next::kEnd) return;
    if (next == Next::kWaitAgain) continue;
    if (made_room) {
      const std::lock_guard<std::mutex> lock(queue_lock);
      not_full.notify_all();
    }
    task();
    finished_one();
  }
}

}  // namespace Mesh_M
