#include "tests/faults/faults.h"

#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr long kNever = std::numeric_limits<long>::max();

std::atomic<long> live{0};
std::atomic<long> asked{0};
std::atomic<long> first_fault{kNever};
std::atomic<long> last_fault{kNever};
std::atomic<bool> counting{false};

std::atomic<long> writes_asked{0};
std::atomic<long> first_write_fault{kNever};

bool fails_now() {
  if (!counting) return false;
  const long number = asked++;
  return number >= first_fault && number <= last_fault;
}

}  // namespace

extern "C" {

// The linker's names for the real ones.
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __real_mmap(void* where, std::size_t size, int protection, int flags, int file, off_t at);
int __real_munmap(void* block, std::size_t size);
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t count, FILE* stream);

void* __wrap_malloc(std::size_t size) {
  void* const block = fails_now() ? nullptr : __real_malloc(size);
  if (block != nullptr) ++live;
  return block;
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  void* const block = fails_now() ? nullptr : __real_calloc(count, size);
  if (block != nullptr) ++live;
  return block;
}

void* __wrap_realloc(void* old, std::size_t size) {
  void* const block = fails_now() ? nullptr : __real_realloc(old, size);
  if (old == nullptr && block != nullptr) ++live;
  return block;
}

void __wrap_free(void* block) {
  if (block != nullptr) --live;
  __real_free(block);
}

void* __wrap_mmap(void* where, std::size_t size, int protection, int flags, int file, off_t at) {
  if (fails_now()) {
    errno = ENOMEM;
    return MAP_FAILED;
  }
  void* const block = __real_mmap(where, size, protection, flags, file, at);
  if (block != MAP_FAILED) ++live;
  return block;
}

int __wrap_munmap(void* block, std::size_t size) {
  --live;
  return __real_munmap(block, size);
}

std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, FILE* stream) {
  if (writes_asked++ >= first_write_fault) {
    errno = ENOSPC;
    return 0;
  }
  return __real_fwrite(data, size, count, stream);
}
}

void* operator new(std::size_t size) {
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
// A sanitizer has its own of these, which its free wouldn't match.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  std::free(block);
}

namespace faults {

AllocationFaults::AllocationFaults() : AllocationFaults(kNever, Extent::kOne) {}

AllocationFaults::AllocationFaults(long number, Extent extent) {
  asked = 0;
  first_fault = number;
  last_fault = extent == Extent::kOne ? number : kNever;
  counting = true;
}

void AllocationFaults::disarm() {
  counting = false;
}

long AllocationFaults::allocations() const {
  return asked;
}

long live_blocks() {
  return live;
}

WriteFaults::WriteFaults(long number) {
  writes_asked = 0;
  first_write_fault = number;
}

WriteFaults::~WriteFaults() {
  first_write_fault = kNever;
}

long WriteFaults::writes() const {
  return writes_asked;
}

}  // namespace faults
