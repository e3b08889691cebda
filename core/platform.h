// What differs between operating systems, in one place.
#ifndef SCANMESH_CORE_PLATFORM_H
#define SCANMESH_CORE_PLATFORM_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>

namespace scanmesh {

// Number of processors, read at each use; at least 1.
int processor_count();

// Memory of the machine, in bytes. A page file counts physical memory in, as hosts expect.
struct MemoryStatus {
  uint64_t physical_total;
  uint64_t physical_free;
  uint64_t page_total;
  uint64_t page_free;
};
MemoryStatus memory_status();

// Whether a machine in this state may load a file.
bool memory_suffices(const MemoryStatus& status);

// The affinity mask of a pool worker: one bit per processor, the first two left to the application.
// Counts beyond 64 fill the mask.
uint64_t worker_affinity_mask(uint64_t core_count);
// Applies a mask; an empty one changes nothing.
void set_thread_affinity(std::thread& thread, uint64_t mask);

// Bytes from the current position to the end of a seekable stream, -1 when that can't be told. The
// position is kept.
int64_t remaining_bytes(FILE* stream);

// A wide text as UTF-8. What is no character becomes U+FFFD.
std::string utf8(const std::wstring& text);
// fopen with a wide path, and with one in UTF-8, whatever the locale. Null for a null path.
FILE* open_file(const wchar_t* path, const char* mode);
FILE* open_file(const char* path, const char* mode);

}  // namespace scanmesh

#endif  // SCANMESH_CORE_PLATFORM_H
