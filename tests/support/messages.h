// What an operation says on the standard error stream.
#ifndef SCANMESH_TESTS_SUPPORT_MESSAGES_H
#define SCANMESH_TESTS_SUPPORT_MESSAGES_H

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

namespace test_support {

// Catches the stream as long as it lives.
class Messages {
 public:
  Messages() : before_(std::cerr.rdbuf(text_.rdbuf())) {}
  ~Messages() { std::cerr.rdbuf(before_); }
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  std::string text() const { return text_.str(); }

 private:
  std::ostringstream text_;
  std::streambuf* before_;
};

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_MESSAGES_H
