// Large working arrays that are filled by several threads.
#ifndef SCANMESH_SMOOTHING_RAW_ARRAY_H
#define SCANMESH_SMOOTHING_RAW_ARRAY_H

#include <cstddef>
#include <memory>
#include <type_traits>

namespace scanmesh {

// A fixed number of elements that start without a value: whoever fills them touches the memory
// first, and nobody clears it before.
template <typename T>
class RawArray {
  static_assert(std::is_trivially_default_constructible_v<T>, "elements are left without a value");

 public:
  RawArray() = default;
  explicit RawArray(std::size_t size) : data_(new T[size]), size_(size) {}

  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  T& operator[](int i) { return data_[static_cast<std::size_t>(i)]; }
  const T& operator[](int i) const { return data_[static_cast<std::size_t>(i)]; }
  T* data() { return data_.get(); }
  const T* data() const { return data_.get(); }
  std::size_t size() const { return size_; }

 private:
  std::unique_ptr<T[]> data_;
  std::size_t size_ = 0;
};

}  // namespace scanmesh

#endif  // SCANMESH_SMOOTHING_RAW_ARRAY_H
