#include "core/text_number.h"

namespace scanmesh {
namespace {

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

}  // namespace

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
