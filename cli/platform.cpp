#include "cli/platform.h"

#include <fcntl.h>

#include <csignal>
#if defined(_WIN32)
#include <io.h>
#include <windows.h>
// After windows.h, whose types it needs.
#include <shellapi.h>
#else
#include <unistd.h>
#endif

namespace scanmesh::cli {
namespace {

volatile std::sig_atomic_t interrupts = 0;

extern "C" void note_interrupt(int signal_number) {
  interrupts = 1;
  std::signal(signal_number, SIG_DFL);
}

}  // namespace

bool interrupted() {
  return interrupts != 0;
}

#if defined(_WIN32)

std::vector<std::string> arguments(int, char**) {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> all;
  for (int i = 1; wide != nullptr && i < count; ++i) {
    all.push_back(std::filesystem::path(wide[i]).u8string());
  }
  LocalFree(wide);
  SetConsoleOutputCP(CP_UTF8);
  return all;
}

int take_standard_output() {
  const int handle = _dup(1);
  const int nothing = _open("NUL", _O_WRONLY);
  if (nothing >= 0) _dup2(nothing, 1);
  if (handle >= 0) _setmode(handle, _O_BINARY);
  _setmode(0, _O_BINARY);
  return handle;
}

std::ptrdiff_t read_input(char* bytes, std::size_t count) {
  return _read(0, bytes, static_cast<unsigned>(count));
}

std::ptrdiff_t write_to(int handle, const char* bytes, std::size_t count) {
  return _write(handle, bytes, static_cast<unsigned>(count));
}

bool close_handle(int handle) {
  return _close(handle) == 0;
}

bool standard_error_is_terminal() {
  return _isatty(2) != 0;
}

bool may_write(const std::filesystem::path& path) {
  return _waccess(path.c_str(), 2) == 0;
}

void listen_for_interrupts() {
  std::signal(SIGINT, note_interrupt);
  std::signal(SIGTERM, note_interrupt);
}

#else

std::vector<std::string> arguments(int count, char** values) {
  return count > 1 ? std::vector<std::string>(values + 1, values + count)
                   : std::vector<std::string>();
}

int take_standard_output() {
  const bool closed = fcntl(1, F_GETFD) < 0;
  for (int stream = 0; stream < 3; ++stream) {
    // The lowest free number is given out, which is the closed stream's.
    if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0) return -1;
  }
  const int handle = closed ? -1 : fcntl(1, F_DUPFD_CLOEXEC, 3);
  const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nothing < 0) return handle;
  dup2(nothing, 1);
  close(nothing);
  return handle;
}

std::ptrdiff_t read_input(char* bytes, std::size_t count) {
  return read(0, bytes, count);
}

std::ptrdiff_t write_to(int handle, const char* bytes, std::size_t count) {
  return write(handle, bytes, count);
}

bool close_handle(int handle) {
  return close(handle) == 0;
}

bool standard_error_is_terminal() {
  return isatty(2) != 0;
}

bool may_write(const std::filesystem::path& path) {
  return access(path.c_str(), W_OK) == 0;
}

void listen_for_interrupts() {
  struct sigaction action = {};
  action.sa_handler = note_interrupt;  // without SA_RESTART: a waiting read ends
  for (const int signal_number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before = {};
    // nohup and shells in the background ask for a signal to be ignored.
    sigaction(signal_number, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(signal_number, &action, nullptr);
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

#endif

}  // namespace scanmesh::cli
