#include "cli/session.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "cli/platform.h"

namespace scanmesh::cli {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;
constexpr auto kBetweenDrawings = std::chrono::milliseconds(100);

void to_standard_error(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

}  // namespace

// One line that is drawn over itself, and leaves nothing.
class ProgressBar {
 public:
  void draw(double fraction, std::string_view step) {
    const auto now = std::chrono::steady_clock::now();
    if (width_ > 0 && now - drawn_ < kBetweenDrawings) return;
    drawn_ = now;
    const int percent =
        std::isfinite(fraction) ? static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100) : 0;
    const auto full = static_cast<std::size_t>(percent / 4);
    std::string line = "[" + std::string(full, '#') + std::string(25 - full, '.') + "] " +
                       std::to_string(percent) + " % " + std::string(step.substr(0, 30));
    const std::size_t width = line.size();
    if (width < width_) line.append(width_ - width, ' ');
    width_ = width;
    to_standard_error("\r" + line);
  }

  void clear() {
    if (width_ > 0) to_standard_error("\r" + std::string(width_, ' ') + "\r");
    width_ = 0;
  }

 private:
  std::size_t width_ = 0;  // of what stands there
  std::chrono::steady_clock::time_point drawn_;
};

Session::Session() : output_(take_standard_output()), bar_(std::make_unique<ProgressBar>()) {
  listen_for_interrupts();
}

Session::~Session() {
  bar_->clear();
}

Progress Session::progress() {
  const bool drawn = !quiet && standard_error_is_terminal();
  return [this, drawn](double fraction, std::string_view step) {
    if (drawn) bar_->draw(fraction, step);
    return !interrupted();
  };
}

void Session::check() const {
  if (interrupted()) throw Cancelled();
}

void Session::report(const Json& document, const std::string& text) {
  if (json) {
    answer(document, text);
  } else {
    say(text);
  }
}

void Session::answer(const Json& document, const std::string& text) {
  bar_->clear();
  // A file name needn't be UTF-8; a JSON document is.
  write_output(json ? document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n" : text);
}

void Session::say(const std::string& text) {
  if (!quiet) complain(text);
}

void Session::complain(const std::string& text) {
  bar_->clear();
  to_standard_error(text);
}

std::string Session::read_input() const {
  std::string all;
  std::string block(kBlock, '\0');
  for (;;) {
    const std::ptrdiff_t count = cli::read_input(block.data(), block.size());
    check();
    if (count == 0) return all;
    if (count > 0) {
      all.append(block, 0, static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throw Error(ErrorCode::cannot_read,
                  std::string("standard input can't be read: ") + std::strerror(errno));
    }
  }
}

void Session::write_output(std::string_view bytes) {
  const auto fail = [](const char* why) {
    throw Error(ErrorCode::cannot_write, std::string("standard output can't be written: ") + why);
  };
  if (output_ < 0) fail("it is closed");
  while (!bytes.empty()) {
    check();
    const std::ptrdiff_t count = write_to(output_, bytes.data(), std::min(bytes.size(), kBlock));
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      fail(std::strerror(errno));
    }
  }
  // Some file systems tell only here that the disk is full.
  const bool closed = close_handle(output_);
  output_ = -1;
  if (!closed) fail(std::strerror(errno));
}

}  // namespace scanmesh::cli
