// Raw threads for one step of work, as the octree's stages use them.
#ifndef SCANMESH_OCTREE_WORKERS_H
#define SCANMESH_OCTREE_WORKERS_H

#include <system_error>
#include <thread>
#include <vector>

namespace scanmesh {

// Calls work(block) for every block, each on a thread of its own, and waits for all. What gets no
// thread runs here.
template <typename Block, typename Work>
void run_workers(std::vector<Block>& blocks, Work work) {
  std::vector<std::thread> threads;
  threads.reserve(blocks.size());
  std::size_t i = 0;
  if (blocks.size() > 1) {
    try {
      for (; i < blocks.size(); ++i) threads.emplace_back(work, &blocks[i]);
    } catch (const std::system_error&) {
      // No more threads to be had.
    }
  }
  for (; i < blocks.size(); ++i) work(&blocks[i]);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace scanmesh

#endif  // SCANMESH_OCTREE_WORKERS_H
