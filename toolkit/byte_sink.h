// Where formatted bytes go: a file or a string, through one buffer.
#ifndef SCANMESH_TOOLKIT_BYTE_SINK_H
#define SCANMESH_TOOLKIT_BYTE_SINK_H

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace scanmesh {

class ByteSink {
 public:
  // Called with full buffers; throws where they can't be taken.
  using Take = std::function<void(std::string_view)>;
  explicit ByteSink(Take take) : take_(std::move(take)) { buffer_.reserve(kFull + 4096); }

  ByteSink& operator<<(std::string_view text) {
    buffer_ += text;
    if (buffer_.size() >= kFull) flush();
    return *this;
  }
  ByteSink& operator<<(const char* text) { return *this << std::string_view(text); }
  // Shortest digits that read back as the same number, in every locale.
  ByteSink& operator<<(double value) { return number(value); }
  ByteSink& operator<<(float value) { return number(value); }
  ByteSink& operator<<(std::int64_t value) { return number(value); }
  ByteSink& operator<<(std::int32_t value) { return number(value); }

  // The bytes of a value, lowest first.
  template <typename Value>
  void binary(Value value) {
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    if (!kLittleEndian) std::reverse(bytes, bytes + sizeof value);
    buffer_.append(bytes, sizeof value);
    if (buffer_.size() >= kFull) flush();
  }

  void flush() {
    if (!buffer_.empty()) take_(buffer_);
    buffer_.clear();
  }

 private:
  static constexpr std::size_t kFull = 1 << 18;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  static constexpr bool kLittleEndian = false;
#else
  static constexpr bool kLittleEndian = true;
#endif

  template <typename Number>
  ByteSink& number(Number value) {
    char digits[40];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
  }

  Take take_;
  std::string buffer_;
};

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_BYTE_SINK_H
