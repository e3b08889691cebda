#include "support/console.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <locale>
#include <sstream>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace demo {
namespace {

constexpr int kBarWidth = 24;
constexpr auto kRedrawPause = std::chrono::milliseconds(80);
// Algorithms that run until they are done announce a cap of thousands of steps and end after
// dozens.
constexpr int kOpenEnded = 1000;

bool on_terminal() {
#if defined(__unix__) || defined(__APPLE__)
  return isatty(STDERR_FILENO) != 0;
#else
  return false;
#endif
}

// Columns, not bytes: a continuation byte of UTF-8 takes none.
std::size_t width(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
  }));
}

}  // namespace

void ProgressBar::start(const std::string& title) {
  title_ = title;
  begin_ = std::chrono::steady_clock::now();
  drawn_ = begin_ - kRedrawPause;
  if (on_terminal()) draw(0, "");
}

void ProgressBar::update(int step, int step_count) {
  const auto now = std::chrono::steady_clock::now();
  if (!on_terminal() || step_count < 1 || now - drawn_ < kRedrawPause) return;
  drawn_ = now;
  const double part = step_count >= kOpenEnded
                          ? std::log1p(step) / std::log1p(step_count)
                          : static_cast<double>(step) / static_cast<double>(step_count);
  draw(part,
       std::to_string(step) + (step_count >= kOpenEnded ? "" : "/" + std::to_string(step_count)));
}

double ProgressBar::finish() {
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
  draw(1, number(seconds, 2) + " s");
  std::fputc('\n', stderr);
  return seconds;
}

void ProgressBar::draw(double part, const std::string& note) {
  const int filled =
      static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * static_cast<double>(kBarWidth)));
  const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                          std::string(static_cast<std::size_t>(kBarWidth - filled), '.');
  std::fprintf(stderr, "%s%-26s [%s] %-12s", on_terminal() ? "\r" : "", title_.c_str(), bar.c_str(),
               note.c_str());
  std::fflush(stderr);
}

std::string Table::text() const {
  std::vector<std::size_t> widths(rows_.front().size(), 3);
  for (const auto& row : rows_) {
    for (std::size_t k = 0; k < widths.size() && k < row.size(); ++k) {
      widths[k] = std::max(widths[k], width(row[k]));
    }
  }
  std::string out;
  for (std::size_t r = 0; r < rows_.size(); ++r) {
    for (std::size_t k = 0; k < widths.size(); ++k) {
      const std::string cell = k < rows_[r].size() ? rows_[r][k] : "";
      const std::string pad(widths[k] - width(cell), ' ');
      if (k == 0) {
        out.append("| ").append(cell).append(pad);
      } else {
        out.append(" ").append(pad).append(cell);
      }
      out.append(" |");
    }
    out += '\n';
    if (r != 0) continue;
    for (std::size_t k = 0; k < widths.size(); ++k) {
      const std::string dashes(widths[k], '-');
      out += k == 0 ? "| " + dashes + " |" : " " + dashes + ":|";
    }
    out += '\n';
  }
  return out;
}

std::string number(double value, int digits) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.setf(std::ios::fixed);
  out.precision(digits);
  out << value;
  return out.str();
}

std::string count(long long value) {
  std::string digits = std::to_string(value);
  const std::size_t first = value < 0 ? 1 : 0;
  for (std::size_t end = digits.size(); end > first + 3; end -= 3) digits.insert(end - 3, ",");
  return digits;
}

double peak_memory_mib() {
#if defined(__unix__) || defined(__APPLE__)
  struct rusage usage {};
  if (getrusage(RUSAGE_SELF, &usage) != 0) return 0;
#if defined(__APPLE__)
  return static_cast<double>(usage.ru_maxrss) / (1024.0 * 1024.0);
#else
  return static_cast<double>(usage.ru_maxrss) / 1024.0;
#endif
#else
  return 0;
#endif
}

double resident_memory_mib() {
#if defined(__linux__)
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr) return 0;
  long total = 0;
  long resident = 0;
  const int got = std::fscanf(file, "%ld %ld", &total, &resident);
  std::fclose(file);
  if (got != 2) return 0;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) /
         (1024.0 * 1024.0);
#else
  return 0;
#endif
}

}  // namespace demo
