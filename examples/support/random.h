// Random numbers that are the same on every machine and with every standard library.
#ifndef SCANMESH_EXAMPLES_SUPPORT_RANDOM_H
#define SCANMESH_EXAMPLES_SUPPORT_RANDOM_H

#include <cstddef>
#include <cstdint>

#include "support/vec3.h"

namespace demo {

/// SplitMix64 (Steele, Lea, Flood 2014).
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {
    std::uint64_t z = state_ += 0x9e3779b97f4a7c15u;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  }

  /// In [0, 1).
  double uniform() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
  double uniform(double low, double high) { return low + (high - low) * uniform(); }
  std::size_t below(std::size_t n) { return static_cast<std::size_t>(next() % n); }

  /// Mean 0, deviation 1. A sum of twelve: sums round alike everywhere, logarithms don't.
  double normal() {
    double sum = -6;
    for (int i = 0; i < 12; ++i) sum += uniform();
    return sum;
  }

  Vec3 direction() { return unit({normal(), normal(), normal()}); }

 private:
  std::uint64_t state_;
};

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_SUPPORT_RANDOM_H
