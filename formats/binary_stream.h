// Values of binary files: little-endian, whatever the machine.
#ifndef SCANMESH_FORMATS_BINARY_STREAM_H
#define SCANMESH_FORMATS_BINARY_STREAM_H

#include <cstdint>
#include <cstring>

namespace scanmesh {

inline uint32_t load_u32(const unsigned char* bytes) {
  return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
         static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}
inline int32_t load_i32(const unsigned char* bytes) {
  const uint32_t bits = load_u32(bytes);
  int32_t value = 0;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}
inline float load_f32(const unsigned char* bytes) {
  const uint32_t bits = load_u32(bytes);
  float value = 0;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

inline void store_u32(uint32_t value, unsigned char* bytes) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
}
inline void store_f32(float value, unsigned char* bytes) {
  uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  store_u32(bits, bytes);
}

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_BINARY_STREAM_H
