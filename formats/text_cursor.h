// Numbers and words of a text in memory, taken one after the other as a standard stream takes them
// in the classic locale: the same characters, the same values, the same failures.
#ifndef SCANMESH_FORMATS_TEXT_CURSOR_H
#define SCANMESH_FORMATS_TEXT_CURSOR_H

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace scanmesh {

class TextCursor {
 public:
  TextCursor(const char* begin, const char* end) : at_(begin), end_(end) {}

  const char* at() const { return at_; }
  const char* end() const { return end_; }
  // Once failed, every further reading fails too.
  bool failed() const { return failed_; }
  void fail() { failed_ = true; }
  // Whether a reading came up against the end: more bytes might have changed it.
  bool touched_end() const { return touched_end_; }

  // The next word; empty on failure.
  std::string word() {
    const char* const first = begin_value();
    if (first == nullptr) return {};
    skip_letters();
    return {first, at_};
  }
  void skip_word() {
    if (begin_value() != nullptr) skip_letters();
  }

  // Stands at the end of this line afterwards, before its line feed and carriage return.
  void skip_line() {
    const void* const found = std::memchr(at_, '\n', static_cast<std::size_t>(end_ - at_));
    if (found == nullptr) touched_end_ = true;
    const char* stop = found == nullptr ? end_ : static_cast<const char*>(found);
    if (found != nullptr && stop != at_ && stop[-1] == '\r') --stop;
    at_ = stop;
  }

  // 0, or the nearest value there is, on failure.
  int32_t integer();
  float real();

 private:
  static bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
  static bool is_digit(char c) { return c >= '0' && c <= '9'; }

  // Skips blanks; null where nothing is left, which is a failure.
  const char* begin_value() {
    if (failed_) return nullptr;
    while (at_ != end_ && is_blank(*at_)) ++at_;
    if (at_ != end_) return at_;
    failed_ = touched_end_ = true;
    return nullptr;
  }
  void skip_letters() {
    while (at_ != end_ && !is_blank(*at_)) ++at_;
    if (at_ == end_) touched_end_ = true;
  }
  float slow_real(const char* first);

  const char* at_;
  const char* end_;
  bool failed_ = false;
  bool touched_end_ = false;
};

inline int32_t TextCursor::integer() {
  const char* p = begin_value();
  if (p == nullptr) return 0;
  const bool negative = *p == '-';
  if (negative || *p == '+') ++p;
  const char* const digits = p;
  constexpr int64_t kBeyond = int64_t{1} << 40;
  int64_t value = 0;
  for (; p != end_ && is_digit(*p); ++p) {
    if (value < kBeyond) value = 10 * value + (*p - '0');
  }
  at_ = p;
  if (p == end_) touched_end_ = true;
  if (negative) value = -value;
  if (p == digits) {
    failed_ = true;
  } else if (value > std::numeric_limits<int32_t>::max()) {
    failed_ = true;
    return std::numeric_limits<int32_t>::max();
  } else if (value < std::numeric_limits<int32_t>::min()) {
    failed_ = true;
    return std::numeric_limits<int32_t>::min();
  }
  return static_cast<int32_t>(value);
}

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_TEXT_CURSOR_H
