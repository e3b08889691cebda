// Faults on demand: allocations of the library that fail, and writes that do.
//
// The executable replaces operator new and delete, and its linker sends malloc, calloc, realloc,
// free, mmap, munmap and fwrite of everything linked into it through wrappers (see faults.cpp).
// What the C library asks for its own streams isn't counted.
#ifndef SCANMESH_TESTS_FAULTS_FAULTS_H
#define SCANMESH_TESTS_FAULTS_FAULTS_H

#include <cstddef>

namespace faults {

enum class Extent { kOne, kAllFromThere };

// Counts what is allocated while it lives.
class AllocationFaults {
 public:
  AllocationFaults();
  // Lets the `number`-th allocation, from 0, fail, and with kAllFromThere every later one.
  AllocationFaults(long number, Extent extent);
  ~AllocationFaults() { disarm(); }
  AllocationFaults(const AllocationFaults&) = delete;
  AllocationFaults& operator=(const AllocationFaults&) = delete;

  // No more faults; the figures stay.
  void disarm();
  // Allocations so far, failed ones included.
  long allocations() const;
};

// Blocks that are allocated and not freed yet.
long live_blocks();

// Lets the `number`-th fwrite, from 0, and every later one write nothing.
class WriteFaults {
 public:
  explicit WriteFaults(long number);
  ~WriteFaults();
  WriteFaults(const WriteFaults&) = delete;
  WriteFaults& operator=(const WriteFaults&) = delete;

  // Calls so far, failed ones included.
  long writes() const;
};

}  // namespace faults

#endif  // SCANMESH_TESTS_FAULTS_FAULTS_H
