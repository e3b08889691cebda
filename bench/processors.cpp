#include "processors.h"

#if defined(__linux__)

#include <dirent.h>
#include <sched.h>

#include <cstdlib>

namespace bench {

namespace {

// All threads of the process, and so those that they will start.
void keep_on(const cpu_set_t& set) {
  DIR* const tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return;
  while (const dirent* const task = readdir(tasks)) {
    const int id = std::atoi(task->d_name);
    if (id > 0) sched_setaffinity(id, sizeof(set), &set);
  }
  closedir(tasks);
}

}  // namespace

struct Processors::Mask {
  cpu_set_t set;
};

Processors::Processors(int count) : before_(std::make_unique<Mask>()) {
  sched_getaffinity(0, sizeof(before_->set), &before_->set);
  cpu_set_t first;
  CPU_ZERO(&first);
  for (int i = 0; i < CPU_SETSIZE && count > 0; ++i) {
    if (!CPU_ISSET(i, &before_->set)) continue;
    CPU_SET(i, &first);
    --count;
  }
  keep_on(first);
}

Processors::~Processors() {
  keep_on(before_->set);
}

}  // namespace bench

#else

namespace bench {

struct Processors::Mask {};

Processors::Processors(int) {}
Processors::~Processors() {}

}  // namespace bench

#endif
