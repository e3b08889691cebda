// What differs between operating systems, in one place.
#ifndef SCANMESH_CORE_PLATFORM_H
#define SCANMESH_CORE_PLATFORM_H

#include <cstdint>
#include <cstdio>
#include <string>

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
// Applies a mask to the calling thread; an empty one changes nothing. What a std::thread calls its
// native handle isn't one of the system's with every compiler.
void set_thread_affinity(uint64_t mask);

// Bytes from the current position to the end of a seekable stream, -1 when that can't be told. The
// position is kept.
int64_t remaining_bytes(FILE* stream);

// A wide text as UTF-8. What is no character becomes U+FFFD.
std::string utf8(const std::wstring& text);
// The text as wide characters; false for what is no UTF-8.
bool widen(const char* text, std::wstring& wide);
// fopen with a wide path, and with one in UTF-8, whatever the locale. Null for a null path. On
// Windows a narrow path that is no UTF-8 is taken as the system's own encoding.
FILE* open_file(const wchar_t* path, const char* mode);
FILE* open_file(const char* path, const char* mode);

}  // namespace scanmesh

#endif  // SCANMESH_CORE_PLATFORM_H
