// Scratch memory of a search.
#ifndef SCANMESH_PIVOTING_SMALL_BUFFER_H
#define SCANMESH_PIVOTING_SMALL_BUFFER_H

#include <cstddef>
#include <memory>

namespace scanmesh {

// `count` elements without a value: on the stack up to kMost, on the heap beyond.
template <typename T, int kMost>
class SmallBuffer {
 public:
  explicit SmallBuffer(int count) {
    if (count > kMost) heap_.reset(new T[static_cast<std::size_t>(count)]);
    data_ = heap_ ? heap_.get() : small_;
  }
  SmallBuffer(const SmallBuffer&) = delete;
  SmallBuffer& operator=(const SmallBuffer&) = delete;

  T* data() { return data_; }
  T& operator[](int i) { return data_[i]; }
  const T& operator[](int i) const { return data_[i]; }

 private:
  T* data_;
  std::unique_ptr<T[]> heap_;
  T small_[kMost];
};

}  // namespace scanmesh

#endif  // SCANMESH_PIVOTING_SMALL_BUFFER_H
