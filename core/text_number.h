// Numbers as text, the same in every locale.
#ifndef SCANMESH_CORE_TEXT_NUMBER_H
#define SCANMESH_CORE_TEXT_NUMBER_H

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace scanmesh {

// A value as "%f" prints it, in exact integer arithmetic; returns the end. Room: kFixedBytes.
constexpr std::size_t kFixedBytes = 48;
char* write_fixed(float value, char* out);
// A value as "%d" prints it; returns the end. Room: kDecimalBytes.
constexpr std::size_t kDecimalBytes = 11;
inline char* write_decimal(int32_t value, char* out) {
  return std::to_chars(out, out + kDecimalBytes, value).ptr;
}

// One line of text, built without allocation. Room for a dozen numbers.
class LineBuilder {
 public:
  // As "%f" prints it: six decimals.
  LineBuilder& fixed(float value) {
    end_ = write_fixed(value, end_);
    return *this;
  }
  LineBuilder& text(const char* words) {
    const std::size_t length = std::strlen(words);
    std::memcpy(end_, words, length);
    end_ += length;
    return *this;
  }
  const char* data() const { return buffer_; }
  std::size_t size() const { return static_cast<std::size_t>(end_ - buffer_); }

 private:
  char buffer_[1024];
  char* end_ = buffer_;
};

// One number in [text, end) as "%f" would read it, whatever the locale; returns where it ends, null
// when there is none. Beyond the range of float it is an infinity, or zero.
const char* parse_float(const char* text, const char* end, float& out);

// Reads `count` numbers as "%f %f ..." would, whatever the locale; false when one is missing.
bool parse_floats(const char* text, float* out, int count);

}  // namespace scanmesh

#endif  // SCANMESH_CORE_TEXT_NUMBER_H
