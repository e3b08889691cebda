#include "cli/values.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <limits>

namespace scanmesh::cli {
namespace {

// All of the text, or nothing. Neither locale nor a leading 0 has a say.
template <typename Number>
bool parse_whole(std::string_view text, Number& value) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end;
}

double parse_finite(std::string_view text) {
  double value = 0;
  if (!parse_whole(text, value)) throw UsageError(fmt::format("\"{}\" is no number", text));
  if (!std::isfinite(value)) throw UsageError(fmt::format("\"{}\" isn't finite", text));
  return value;
}

bool is_percentage(std::string_view& text) {
  if (text.empty() || text.back() != '%') return false;
  text.remove_suffix(1);
  return true;
}

}  // namespace

std::int64_t parse_count(std::string_view text, std::int64_t least, std::int64_t most) {
  std::int64_t value = 0;
  if (!parse_whole(text, value)) throw UsageError(fmt::format("\"{}\" is no whole number", text));
  if (value >= least && value <= most) return value;
  if (most == std::numeric_limits<std::int64_t>::max()) {
    throw UsageError(fmt::format("{} is below {}", value, least));
  }
  throw UsageError(fmt::format("{} doesn't lie within {} and {}", value, least, most));
}

double parse_number(std::string_view text, double least, double most) {
  const double value = parse_finite(text);
  if (value >= least && value <= most) return value;
  throw UsageError(fmt::format("{} doesn't lie within {} and {}", text, least, most));
}

double parse_share(std::string_view text) {
  std::string_view number = text;
  const double value = is_percentage(number) ? parse_finite(number) / 100 : parse_finite(number);
  if (value >= 0 && value <= 1) return value;
  throw UsageError(fmt::format("{} doesn't lie within 0 and 1, or 0% and 100%", text));
}

Length parse_length(std::string_view text) {
  Length length;
  std::string_view number = text;
  length.percent = is_percentage(number);
  length.value = parse_finite(number);
  if (length.value > 0) return length;
  throw UsageError(fmt::format("a length is above 0, not {}", text));
}

}  // namespace scanmesh::cli
