// The bytes of one run, taken one by one; zeros when they are used up.
#ifndef SCANMESH_FUZZ_INPUT_BYTES_H
#define SCANMESH_FUZZ_INPUT_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace fuzz {

class InputBytes {
 public:
  InputBytes(const uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

  bool empty() const { return at_ == end_; }
  int byte() { return at_ == end_ ? 0 : *at_++; }
  int below(int n) { return n < 1 ? 0 : (byte() * 256 + byte()) % n; }
  // In [0, 1).
  float fraction() { return static_cast<float>(byte()) / 256.0F; }

 private:
  const uint8_t* at_;
  const uint8_t* end_;
};

// A finding: what the fuzzer keeps the input for.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

}  // namespace fuzz

#endif  // SCANMESH_FUZZ_INPUT_BYTES_H
