// The one way by which the library prints.
#ifndef SCANMESH_CORE_MESSAGES_H
#define SCANMESH_CORE_MESSAGES_H

#include <ostream>
#include <sstream>
#include <string_view>

#include "scanmesh/messages.h"

namespace scanmesh {

// Where a text goes without a sink. Hosts catch the C++ and the C stream apart.
enum class Channel {
  output,          // std::cout
  output_flushed,  // the same, flushed
  c_output,        // stdout
  error,           // std::cerr
  c_error          // stderr
};

// The text ends with a zero: it is what a sink gets.
void print_message(Channel channel, std::string_view text);

// Collects one text and prints it at its end. Numbers look as they do on the stream in question,
// whatever a host has set there.
class Message {
 public:
  explicit Message(Channel channel = Channel::output);
  ~Message() { print_message(channel_, text_.str()); }
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  std::ostream& stream() { return text_; }

  template <typename T>
  Message& operator<<(const T& value) {
    text_ << value;
    return *this;
  }

 private:
  Channel channel_;
  std::ostringstream text_;
};

}  // namespace scanmesh

#endif  // SCANMESH_CORE_MESSAGES_H
