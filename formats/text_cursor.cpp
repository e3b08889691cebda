#include "formats/text_cursor.h"

#include <cmath>

#include "core/text_number.h"

namespace scanmesh {

namespace {

// Exact as doubles, all of them.
constexpr double kPowerOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int kMostPower = 22;
constexpr uint64_t kMostExact = uint64_t{1} << 53;
// Nineteen digits fit into 64 bits.
constexpr int kMostDigits = 19;
constexpr int kMostExponent = 100000;

// Nearest float to mantissa * 10^power; false where that takes more than this. The double is the
// nearest one, for product and quotient of two exact values are rounded once. Rounding it again
// gives the nearest float unless the double lies midway between two floats: only then may the true
// value lie on the other side of the middle.
bool quick_float(uint64_t mantissa, long power, float& out) {
  if (mantissa > kMostExact || power > kMostPower || power < -kMostPower) return false;
  const double exact = static_cast<double>(mantissa);
  const double value = power < 0 ? exact / kPowerOfTen[-power] : exact * kPowerOfTen[power];
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  constexpr uint64_t kBelowFloat = (uint64_t{1} << 29) - 1;
  constexpr uint64_t kMidway = uint64_t{1} << 28;
  if ((bits & kBelowFloat) == kMidway) return false;
  out = static_cast<float>(value);
  return true;
}

}  // namespace

float TextCursor::real() {
  const char* p = begin_value();
  if (p == nullptr) return 0;
  const char* const first = p;
  const bool negative = *p == '-';
  if (negative || *p == '+') ++p;

  uint64_t mantissa = 0;
  long power = 0;
  const char* const digits = p;
  while (p != end_ && is_digit(*p)) mantissa = 10 * mantissa + static_cast<uint64_t>(*p++ - '0');
  long count = p - digits;
  if (p != end_ && *p == '.') {
    const char* const fraction = ++p;
    while (p != end_ && is_digit(*p)) mantissa = 10 * mantissa + static_cast<uint64_t>(*p++ - '0');
    count += p - fraction;
    power = fraction - p;
  }
  bool whole = count > 0;
  if (whole && p != end_ && (*p == 'e' || *p == 'E')) {
    ++p;
    const bool small = p != end_ && *p == '-';
    if (p != end_ && (*p == '-' || *p == '+')) ++p;
    whole = p != end_ && is_digit(*p);
    int exponent = 0;
    for (; p != end_ && is_digit(*p); ++p) {
      if (exponent < kMostExponent) exponent = 10 * exponent + (*p - '0');
    }
    power += small ? -exponent : exponent;
  }
  at_ = p;
  if (p == end_) touched_end_ = true;
  if (!whole) {
    failed_ = true;
    return 0;
  }
  float value = 0;
  if (count > kMostDigits || !quick_float(mantissa, power, value)) return slow_real(first);
  return negative ? -value : value;
}

// The number that ends here, which is one by its characters.
float TextCursor::slow_real(const char* first) {
  float value = 0;
  parse_float(first, at_, value);
  if (std::isinf(value)) {
    failed_ = true;
    value = std::copysign(std::numeric_limits<float>::max(), value);
  }
  return value;
}

}  // namespace scanmesh
