// Workers that stay up between the many small batches of one call.
#ifndef SCANMESH_CORE_THREAD_POOL_H
#define SCANMESH_CORE_THREAD_POOL_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Mesh_M {

// A pool lives on the stack frame of the call that uses it. One owner enqueues and destroys; tasks
// run in order of enqueueing, on workers that keep off the first two processors. Destruction runs
// everything that is still queued. An exception in a task goes to its future.
class ThreadPool {
 public:
  // `core_count` processors shape the affinity mask; `thread_count` workers are started. A pool of
  // 0 workers never runs a task.
  ThreadPool(std::size_t core_count, std::size_t thread_count);
  virtual ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  // Queues a call and returns the future of its result. Blocks while queue_limit tasks are queued,
  // and raises std::runtime_error after the pool was stopped. References go in with std::ref.
  template <typename Callable, typename... Arguments>
  auto enqueue(Callable&& callable, Arguments&&... arguments) {
    using Result = std::invoke_result_t<std::decay_t<Callable>, std::decay_t<Arguments>...>;
    auto task = std::make_shared<std::packaged_task<Result()>>(
        [call = std::decay_t<Callable>(std::forward<Callable>(callable)),
         bound = std::tuple<std::decay_t<Arguments>...>(std::forward<Arguments>(
             arguments)...)]() mutable { return std::apply(std::move(call), std::move(bound)); });
    std::future<Result> future = task->get_future();
    push([task] { (*task)(); });
    return future;
  }

 private:
  friend struct ThreadPoolAccess;  // tests of the queue limit

  enum class Next { kRun, kWaitAgain, kEnd };

  void push(std::function<void()> task);
  void work(std::size_t index);
  Next next_task(std::size_t index, std::function<void()>& task, bool& made_room);
  bool retire();
  void shut_down(std::unique_lock<std::mutex>& lock);
  void finished_one();

  std::vector<std::thread> workers;
  uint64_t thread_count;
  uint64_t core_count;
  std::deque<std::function<void()>> tasks;
  uint64_t queue_limit = 100000;
  bool stop = false;
  std::unordered_map<std::thread::id, uint64_t> worker_index;
  std::mutex queue_lock;              // tasks, stop, workers, thread_count, worker_index
  std::condition_variable not_full;   // enqueue waits on it
  std::condition_variable not_empty;  // workers wait on it
  std::mutex idle_lock;
  std::condition_variable idle;  // broadcast when the last task in flight has finished
  std::atomic<int64_t> in_flight{0};
};

}  // namespace Mesh_M

#endif  // SCANMESH_CORE_THREAD_POOL_H
