// What the library prints, and where it goes.
#ifndef SCANMESH_MESSAGES_H
#define SCANMESH_MESSAGES_H

#include <functional>

#include "scanmesh/export.h"

namespace scanmesh {

/// Replaces the sink of everything that operations print; empty for the default, which writes to
/// the standard output, and what tells of trouble with memory or a file to the standard error
/// stream. A text may hold several lines and ends as printed, mostly with a line feed; it is gone
/// when the sink returns. The sink is called on the thread that prints, and on several at once
/// where several operations run. Any thread may call this at any time; texts on their way then may
/// still reach the sink before. A sink must not throw.
SCANMESH_API void set_message_sink(std::function<void(const char* text)> sink);

/// As long as one lives, what the thread that made it prints reaches no sink. They nest; each is
/// destroyed on its own thread.
class SCANMESH_API QuietThread {
 public:
  QuietThread();
  ~QuietThread();
  QuietThread(const QuietThread&) = delete;
  QuietThread& operator=(const QuietThread&) = delete;
};

}  // namespace scanmesh

#endif  // SCANMESH_MESSAGES_H
