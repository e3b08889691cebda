#include "core/platform.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <pthread.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#endif

namespace scanmesh {

#if defined(_WIN32)

int processor_count() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return std::max(1, static_cast<int>(info.dwNumberOfProcessors));
}

MemoryStatus memory_status() {
  MEMORYSTATUSEX status;
  status.dwLength = sizeof(status);
  if (!GlobalMemoryStatusEx(&status)) return {};
  return {status.ullTotalPhys, status.ullAvailPhys, status.ullTotalPageFile,
          status.ullAvailPageFile};
}

void set_thread_affinity(uint64_t mask) {
  if (mask != 0) SetThreadAffinityMask(GetCurrentThread(), static_cast<DWORD_PTR>(mask));
}

int64_t remaining_bytes(FILE* stream) {
  const int64_t here = _ftelli64(stream);
  if (here < 0 || _fseeki64(stream, 0, SEEK_END) != 0) return -1;
  const int64_t end = _ftelli64(stream);
  if (_fseeki64(stream, here, SEEK_SET) != 0) return -1;
  return end < here ? 0 : end - here;
}

FILE* open_file(const wchar_t* path, const char* mode) {
  if (path == nullptr) return nullptr;
  return _wfopen(path, std::wstring(mode, mode + std::strlen(mode)).c_str());
}

FILE* open_file(const char* path, const char* mode) {
  if (path == nullptr) return nullptr;
  std::wstring wide;
  return widen(path, wide) ? open_file(wide.c_str(), mode) : std::fopen(path, mode);
}

#else

FILE* open_file(const wchar_t* path, const char* mode) {
  return path == nullptr ? nullptr : std::fopen(utf8(path).c_str(), mode);
}

FILE* open_file(const char* path, const char* mode) {
  return path == nullptr ? nullptr : std::fopen(path, mode);
}

int processor_count() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count < 1 ? 1 : static_cast<int>(count);
}

namespace {

// The value of one line of /proc/meminfo, in bytes; 0 when it isn't there.
uint64_t memory_line(const char* text, const char* name) {
  const char* const line = std::strstr(text, name);
  unsigned long long kibibytes = 0;
  if (line == nullptr || std::sscanf(line + std::strlen(name), "%llu", &kibibytes) != 1) return 0;
  return kibibytes * 1024;
}

}  // namespace

MemoryStatus memory_status() {
  char text[4096] = {};
  if (FILE* const file = std::fopen("/proc/meminfo", "r")) {
    const std::size_t read = std::fread(text, 1, sizeof(text) - 1, file);
    text[read] = 0;
    std::fclose(file);
  }
  MemoryStatus status{};
  status.physical_total = memory_line(text, "MemTotal:");
  status.physical_free = memory_line(text, "MemAvailable:");
  if (status.physical_total == 0) {
    // Without /proc the kernel still tells about physical memory.
    const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    status.physical_total = static_cast<uint64_t>(sysconf(_SC_PHYS_PAGES)) * page;
    status.physical_free = static_cast<uint64_t>(sysconf(_SC_AVPHYS_PAGES)) * page;
  }
  status.page_total = status.physical_total + memory_line(text, "SwapTotal:");
  status.page_free = status.physical_free + memory_line(text, "SwapFree:");
  return status;
}

void set_thread_affinity(uint64_t mask) {
  if (mask == 0) return;
  cpu_set_t set;
  CPU_ZERO(&set);
  for (int i = 0; i < 64; ++i) {
    if ((mask >> i) & 1U) CPU_SET(static_cast<std::size_t>(i), &set);
  }
  pthread_setaffinity_np(pthread_self(), sizeof(set), &set);
}

int64_t remaining_bytes(FILE* stream) {
  struct stat info;
  if (fstat(fileno(stream), &info) != 0 || !S_ISREG(info.st_mode)) return -1;
  const off_t here = ftello(stream);
  if (here < 0) return -1;
  return info.st_size < here ? 0 : static_cast<int64_t>(info.st_size - here);
}

#endif

namespace {

void append_utf8(std::string& out, uint32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
    return;
  }
  const int more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
  constexpr uint32_t kLead[] = {0, 0xC0, 0xE0, 0xF0};
  out += static_cast<char>(kLead[more] | c >> (6 * more));
  for (int i = more - 1; i >= 0; --i) out += static_cast<char>(0x80 | (c >> (6 * i) & 0x3F));
}

// Wide characters of 16 bits take two for what lies beyond them.
void append_wide(std::wstring& out, uint32_t c) {
  if (sizeof(wchar_t) == 2 && c >= 0x10000) {
    out += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
    c = 0xDC00 + (c & 0x3FF);
  }
  out += static_cast<wchar_t>(c);
}

bool is_high_surrogate(uint32_t c) {
  return c >= 0xD800 && c < 0xDC00;
}
bool is_low_surrogate(uint32_t c) {
  return c >= 0xDC00 && c < 0xE000;
}

}  // namespace

std::string utf8(const std::wstring& text) {
  // Pairs of surrogates are joined also where a wide character holds 32 bits: texts come from hosts
  // where it holds 16.
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    uint32_t c = static_cast<uint32_t>(text[i]);
    const uint32_t next = i + 1 < text.size() ? static_cast<uint32_t>(text[i + 1]) : 0;
    if (is_high_surrogate(c) && is_low_surrogate(next)) {
      c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
      ++i;
    } else if (is_high_surrogate(c) || is_low_surrogate(c) || c > 0x10FFFF) {
      c = 0xFFFD;
    }
    append_utf8(out, c);
  }
  return out;
}

bool widen(const char* text, std::wstring& wide) {
  wide.clear();
  for (const auto* p = reinterpret_cast<const unsigned char*>(text); *p != 0;) {
    const uint32_t lead = *p++;
    const int more = lead < 0x80 ? 0 : lead < 0xC0 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    // A byte that only goes on, or one that no character begins with.
    if (more < 0 || lead >= 0xF8) return false;
    uint32_t c = more == 0 ? lead : lead & (0x3FU >> more);
    for (int i = 0; i < more; ++i, ++p) {
      if ((*p & 0xC0) != 0x80) return false;
      c = c << 6 | (*p & 0x3FU);
    }
    // In more bytes than it needs, half of a pair, or beyond the last character there is.
    constexpr uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    if (c < kLeast[more] || is_high_surrogate(c) || is_low_surrogate(c) || c > 0x10FFFF) {
      return false;
    }
    append_wide(wide, c);
  }
  return true;
}

uint64_t worker_affinity_mask(uint64_t core_count) {
  const uint64_t all = core_count >= 64 ? ~uint64_t{0} : (uint64_t{1} << core_count) - 1;
  return all & ~uint64_t{3};
}

bool memory_suffices(const MemoryStatus& status) {
  constexpr double kGibibyte = 1073741824.0;
  const double physical = static_cast<double>(status.physical_total) / kGibibyte;
  const double page = static_cast<double>(status.page_total) / kGibibyte;
  // Equal totals mean that there is no page file, so that only free memory counts.
  if (std::fabs(physical - page) < 0.2) {
    return static_cast<double>(status.physical_free) / kGibibyte >= 0.5;
  }
  if (page <= 15.0) return true;
  const double reserve = std::clamp(0.1 * page, 0.5, 1.5);
  return static_cast<double>(status.page_free) / kGibibyte >= reserve;
}

}  // namespace scanmesh
