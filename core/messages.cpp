#include "core/messages.h"

#include <cstdio>
#include <iostream>
#include <memory>
#include <mutex>
#include <utility>

namespace scanmesh {

namespace {

using Sink = std::function<void(const char* text)>;

struct Receiver {
  std::mutex lock;
  std::shared_ptr<const Sink> sink;
};

// Never destroyed: threads of a host may still print while the program ends.
Receiver& receiver() {
  static Receiver& only = *std::make_unique<Receiver>().release();
  return only;
}

thread_local int quiet_guards = 0;

// Without memory of its own: one of the texts says that there is none.
std::shared_ptr<const Sink> current_sink() {
  Receiver& here = receiver();
  const std::lock_guard<std::mutex> hold(here.lock);
  return here.sink;
}

void print_to(std::ostream& stream, std::string_view text) {
  stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void print_to(std::FILE* stream, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace

void set_message_sink(std::function<void(const char* text)> sink) {
  std::shared_ptr<const Sink> next;
  if (sink) next = std::make_shared<const Sink>(std::move(sink));
  Receiver& here = receiver();
  {
    const std::lock_guard<std::mutex> hold(here.lock);
    here.sink.swap(next);
  }
  // The old sink, if this was its last owner, is destroyed here, outside the lock.
}

QuietThread::QuietThread() {
  ++quiet_guards;
}

QuietThread::~QuietThread() {
  --quiet_guards;
}

Message::Message(Channel channel) : channel_(channel) {
  // Two calls: of one with a choice between the streams, GCC 12 under its sanitizer makes a null.
  if (channel == Channel::error) {
    text_.copyfmt(std::cerr);
  } else {
    text_.copyfmt(std::cout);
  }
}

void print_message(Channel channel, std::string_view text) {
  if (quiet_guards > 0 || text.empty()) return;
  if (const std::shared_ptr<const Sink> sink = current_sink()) return (*sink)(text.data());
  switch (channel) {
    case Channel::output:
      return print_to(std::cout, text);
    case Channel::output_flushed:
      print_to(std::cout, text);
      std::cout.flush();
      return;
    case Channel::c_output:
      return print_to(stdout, text);
    case Channel::error:
      return print_to(std::cerr, text);
    case Channel::c_error:
      return print_to(stderr, text);
  }
}

}  // namespace scanmesh
