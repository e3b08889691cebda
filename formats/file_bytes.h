// A whole file, or what is left of a stream, in memory.
#ifndef SCANMESH_FORMATS_FILE_BYTES_H
#define SCANMESH_FORMATS_FILE_BYTES_H

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>

namespace scanmesh {

struct CloseStream {
  void operator()(FILE* stream) const { std::fclose(stream); }
};
using StreamOwner = std::unique_ptr<FILE, CloseStream>;

// Bytes that grow at the end, whose new places aren't set before they are read into.
class FileBytes {
 public:
  const char* begin() const { return bytes_.get(); }
  const char* end() const { return bytes_.get() + size_; }
  std::size_t size() const { return size_; }

  // Appends up to `count` bytes that `read_some(place, count)` delivers; false when there were
  // fewer.
  template <typename ReadSome>
  bool append(std::size_t count, ReadSome read_some) {
    reserve(size_ + count);
    const std::size_t got = read_some(bytes_.get() + size_, count);
    size_ += got;
    return got == count;
  }

  // All that is left. `expected` is a first guess of its size.
  template <typename ReadSome>
  void append_rest(std::size_t expected, ReadSome read_some) {
    std::size_t count = std::max(expected, kLeastChunk);
    while (append(count, read_some)) count = std::max(size_, kLeastChunk);
  }

  static constexpr std::size_t kLeastChunk = std::size_t{1} << 16;

 private:
  void reserve(std::size_t wanted) {
    if (wanted <= capacity_) return;
    std::unique_ptr<char[]> larger(new char[wanted]);
    if (size_ != 0) std::memcpy(larger.get(), bytes_.get(), size_);
    bytes_ = std::move(larger);
    capacity_ = wanted;
  }

  std::unique_ptr<char[]> bytes_{new char[1]};
  std::size_t size_ = 0;
  std::size_t capacity_ = 1;
};

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_FILE_BYTES_H
