// Words and numbers of a text, whatever the locale.
#ifndef SCANMESH_TOOLKIT_TEXT_SCANNER_H
#define SCANMESH_TOOLKIT_TEXT_SCANNER_H

#include <charconv>
#include <cstdint>
#include <string_view>

namespace scanmesh {

class TextScanner {
 public:
  explicit TextScanner(std::string_view text) : at_(text.data()), end_(at_ + text.size()) {}

  bool at_end() {
    skip_blanks();
    return at_ == end_;
  }
  // The next word across lines, empty at the end. `comment` begins one that runs to the line's end;
  // 0 for none.
  std::string_view word(char comment = 0) {
    for (;;) {
      skip_blanks();
      if (at_ == end_ || comment == 0 || *at_ != comment) break;
      skip_line();
    }
    const char* const begin = at_;
    while (at_ != end_ && !blank(*at_)) ++at_;
    return {begin, static_cast<std::size_t>(at_ - begin)};
  }
  // What is left of the line, without its end.
  std::string_view line() {
    const char* const begin = at_;
    skip_line();
    const char* stop = at_;
    while (stop != begin && (stop[-1] == '\n' || stop[-1] == '\r')) --stop;
    return {begin, static_cast<std::size_t>(stop - begin)};
  }
  template <typename Number>
  bool number(Number& value, char comment = 0) {
    return to_number(word(comment), value);
  }
  const char* position() const { return at_; }

  // The whole word has to be the number; a plus in front is taken.
  template <typename Number>
  static bool to_number(std::string_view word, Number& value) {
    if (!word.empty() && word.front() == '+') word.remove_prefix(1);
    const char* const end = word.data() + word.size();
    const std::from_chars_result result = std::from_chars(word.data(), end, value);
    return !word.empty() && result.ptr == end && usable(result.ec, value);
  }

 private:
  static bool blank(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
  }
  // Out of range is a number all the same where it is one too small to be told from 0.
  static bool usable(std::errc error, double& value) {
    if (error == std::errc::result_out_of_range) value = 0;
    return error == std::errc() || error == std::errc::result_out_of_range;
  }
  template <typename Number>
  static bool usable(std::errc error, Number&) {
    return error == std::errc();
  }
  void skip_blanks() {
    while (at_ != end_ && blank(*at_)) ++at_;
  }
  void skip_line() {
    while (at_ != end_ && *at_ != '\n') ++at_;
    if (at_ != end_) ++at_;
  }

  const char* at_;
  const char* end_;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_TEXT_SCANNER_H
