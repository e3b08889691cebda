#include "core/text_number.h"

namespace scanmesh {
namespace {

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

constexpr int kMantissaBits = 23;
constexpr uint64_t kMillion = 1000000;

char* write_text(const char* text, char* out) {
  const std::size_t length = std::strlen(text);
  std::memcpy(out, text, length);
  return out + length;
}

// Six digits, with leading zeros.
void write_six(uint32_t value, char* out) {
  for (int i = 5; i >= 0; --i) {
    out[i] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
}

// mantissa / 2^shift in millionths, rounded to the nearest, ties to even.
uint64_t millionths(uint64_t mantissa, int shift) {
  const uint64_t product = mantissa * kMillion;  // below 2^44
  if (shift == 0) return product;
  if (shift > 44) return 0;
  const uint64_t quotient = product >> shift;
  const uint64_t rest = product & ((uint64_t{1} << shift) - 1);
  const uint64_t half = uint64_t{1} << (shift - 1);
  return quotient + (rest > half || (rest == half && (quotient & 1) != 0) ? 1 : 0);
}

}  // namespace

char* write_fixed(float value, char* out) {
  uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  if (bits >> 31 != 0) *out++ = '-';
  const int exponent = static_cast<int>(bits >> kMantissaBits & 0xFF);
  const uint64_t fraction = bits & ((1U << kMantissaBits) - 1);
  if (exponent == 0xFF) return write_text(fraction != 0 ? "nan" : "inf", out);
  // The value is mantissa * 2^power.
  const uint64_t mantissa = exponent == 0 ? fraction : fraction | (1U << kMantissaBits);
  const int power = (exponent == 0 ? 1 : exponent) - 127 - kMantissaBits;
  if (power > 63 - 24) {
    return std::to_chars(out, out + kFixedBytes - 1, std::fabs(static_cast<double>(value)),
                         std::chars_format::fixed, 6)
        .ptr;
  }
  const uint64_t scaled = power <= 0 ? millionths(mantissa, -power) : 0;
  const uint64_t whole = power <= 0 ? scaled / kMillion : mantissa << power;
  out = std::to_chars(out, out + 20, whole).ptr;
  *out++ = '.';
  write_six(static_cast<uint32_t>(scaled % kMillion), out);
  return out + 6;
}

// Skips what from_chars doesn't know: leading blanks, a plus sign, the prefix of a hexadecimal
// number.
const char* parse_float(const char* text, const char* end, float& out) {
  while (text != end && is_blank(*text)) ++text;
  bool negative = false;
  if (text != end && (*text == '+' || *text == '-')) {
    negative = *text == '-';
    ++text;
    if (text != end && (*text == '+' || *text == '-')) return nullptr;
  }
  auto format = std::chars_format::general;
  if (end - text > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    text += 2;
    format = std::chars_format::hex;
  }
  float value = 0;
  const auto result = std::from_chars(text, end, value, format);
  if (result.ec == std::errc::invalid_argument) return nullptr;
  if (result.ec == std::errc::result_out_of_range) {
    // Too large or too small for a float: a double tells which, and beyond that too, by its
    // exponent.
    double wide = 0;
    const auto again = std::from_chars(text, end, wide, format);
    if (again.ec == std::errc::result_out_of_range) {
      bool small = false;
      for (const char* c = text; c != again.ptr; ++c) {
        if ((*c == 'e' || *c == 'E' || *c == 'p' || *c == 'P') && c + 1 != again.ptr) {
          small = c[1] == '-';
        }
      }
      wide = small ? 0.0 : HUGE_VAL;
    }
    value = static_cast<float>(wide);
  }
  out = negative ? -value : value;
  return result.ptr;
}

bool parse_floats(const char* text, float* out, int count) {
  const char* const end = text + std::strlen(text);
  for (int i = 0; i < count; ++i) {
    text = parse_float(text, end, out[i]);
    if (text == nullptr) return false;
  }
  return true;
}

}  // namespace scanmesh
