// A hash of exact coordinates.
#ifndef SCANMESH_CORE_POINT_HASH_H
#define SCANMESH_CORE_POINT_HASH_H

#include <cstdint>
#include <cstring>

#include "scanmesh/geometry.h"

namespace scanmesh {

inline bool same_point(const MemS::Point3v<float>& a, const MemS::Point3v<float>& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z;
}

inline uint32_t coordinate_bits(float value) {
  uint32_t bits = 0;
  value += 0.0F;  // minus zero is the same coordinate as zero
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

// Take the upper bits: they are the ones that every coordinate has stirred.
inline uint64_t point_hash(const MemS::Point3v<float>& point) {
  const uint64_t h = coordinate_bits(point.x) * 0x9E3779B97F4A7C15ULL +
                     coordinate_bits(point.y) * 0xC2B2AE3D27D4EB4FULL +
                     coordinate_bits(point.z) * 0x165667B19E3779F9ULL;
  return (h ^ (h >> 32)) * 0xD6E8FEB86659FD93ULL;
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_POINT_HASH_H
