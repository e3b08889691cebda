#include "processors.h"

#include <cstdlib>
#include <thread>

#if defined(__linux__)
#include <dirent.h>
#include <sched.h>
#endif

namespace bench {

namespace {

void keep_on(unsigned count) {
#if defined(__linux__)
  cpu_set_t set;
  CPU_ZERO(&set);
  for (unsigned i = 0; i < count; ++i) CPU_SET(i, &set);
  DIR* const tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return;
  while (const dirent* const task = readdir(tasks)) {
    const int id = std::atoi(task->d_name);
    if (id > 0) sched_setaffinity(id, sizeof(set), &set);
  }
  closedir(tasks);
#else
  static_cast<void>(count);
#endif
}

}  // namespace

Processors::Processors(int count) {
  keep_on(static_cast<unsigned>(count));
}

Processors::~Processors() {
  keep_on(std::thread::hardware_concurrency());
}

}  // namespace bench
