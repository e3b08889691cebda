// Text into a file, through one buffer: what a writer makes of a mesh takes no memory beyond it,
// and where there is none left, a scan can still be saved.
#ifndef SCANMESH_FORMATS_TEXT_OUTPUT_H
#define SCANMESH_FORMATS_TEXT_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "core/text_number.h"
#include "scanmesh/geometry.h"

namespace scanmesh {

// Numbers are printed as "%f" and "%d" do in the classic locale.
class TextOutput {
 public:
  // Takes the file over. Of a null one nothing comes: the caller's path couldn't be opened.
  explicit TextOutput(FILE* file) : file_(file), large_(new (std::nothrow) char[kBufferBytes]) {
    if (large_ != nullptr) {
      buffer_ = large_.get();
      capacity_ = kBufferBytes;
    }
  }
  ~TextOutput() {
    flush();
    if (file_ == nullptr) return;
    std::fflush(file_);
    std::fclose(file_);
  }
  TextOutput(const TextOutput&) = delete;
  TextOutput& operator=(const TextOutput&) = delete;

  TextOutput& text(std::string_view words) {
    if (words.size() > capacity_ - used_) flush();
    if (words.size() > capacity_) {
      if (file_ != nullptr) std::fwrite(words.data(), 1, words.size(), file_);
      return *this;
    }
    std::memcpy(buffer_ + used_, words.data(), words.size());
    used_ += words.size();
    return *this;
  }
  TextOutput& number(float value) {
    char* const place = room(kFixedBytes);
    used_ += static_cast<std::size_t>(write_fixed(value, place) - place);
    return *this;
  }
  TextOutput& number(int32_t value) {
    char* const place = room(kDecimalBytes);
    used_ += static_cast<std::size_t>(write_decimal(value, place) - place);
    return *this;
  }
  // Three numbers, with a separator behind the first two and an end behind the third.
  TextOutput& row(const MemS::Point3v<float>& p, std::string_view between, std::string_view end) {
    return number(p.x).text(between).number(p.y).text(between).number(p.z).text(end);
  }
  TextOutput& row(int32_t a, int32_t b, int32_t c, std::string_view end) {
    return number(a).text(" ").number(b).text(" ").number(c).text(end);
  }

 private:
  static constexpr std::size_t kBufferBytes = std::size_t{1} << 18;

  char* room(std::size_t count) {
    if (count > capacity_ - used_) flush();
    return buffer_ + used_;
  }
  void flush() {
    if (file_ != nullptr) std::fwrite(buffer_, 1, used_, file_);
    used_ = 0;
  }

  FILE* file_;
  std::unique_ptr<char[]> large_;
  char small_[1024];
  char* buffer_ = small_;
  std::size_t capacity_ = sizeof(small_);
  std::size_t used_ = 0;
};

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_TEXT_OUTPUT_H
