#include "cli/openings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>

#include "cli/values.h"

namespace scanmesh::cli {
namespace {

namespace fs = std::filesystem;

// Far above any list of openings; what is larger is something else.
constexpr std::uintmax_t kMostBytes = std::uintmax_t{16} << 20;
constexpr double kMostNumber = std::numeric_limits<double>::max();

std::vector<std::string_view> split(std::string_view text, std::string_view separators) {
  std::vector<std::string_view> parts;
  while (!text.empty()) {
    const std::size_t begin = text.find_first_not_of(separators);
    if (begin == std::string_view::npos) break;
    text.remove_prefix(begin);
    const std::size_t end = std::min(text.find_first_of(separators), text.size());
    parts.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return parts;
}

std::vector<double> numbers_of(const std::vector<std::string_view>& words, std::size_t from) {
  std::vector<double> numbers;
  for (std::size_t i = from; i < words.size(); ++i) {
    numbers.push_back(parse_number(words[i], -kMostNumber, kMostNumber));
  }
  return numbers;
}

void require_count(const std::vector<double>& numbers, std::size_t count) {
  // The depth may follow.
  if (numbers.size() == count || numbers.size() == count + 1) return;
  throw UsageError(fmt::format("has {} numbers, not {} or {}", numbers.size(), count, count + 1));
}

void require_sound(const Opening& opening) {
  const bool directed = opening.shape != Opening::Shape::circle;
  const Point none;
  if (opening.normal == none) throw UsageError("has no direction of the tool");
  if (directed && opening.direction == none)
    throw UsageError("has no direction of its longer side");
  if (!(opening.half_length > 0) || (directed && !(opening.half_width > 0))) {
    throw UsageError("has a size that isn't above 0");
  }
  if (!(opening.depth >= 0)) throw UsageError("has a depth below 0");
}

Opening circle_of(const std::vector<double>& n) {
  require_count(n, 7);
  Opening opening;
  opening.centre = {n[0], n[1], n[2]};
  opening.normal = {n[3], n[4], n[5]};
  opening.half_length = n[6];
  opening.depth = n.size() > 7 ? n[7] : 0;
  require_sound(opening);
  return opening;
}

Opening long_one_of(Opening::Shape shape, const std::vector<double>& n) {
  require_count(n, 11);
  Opening opening;
  opening.shape = shape;
  opening.centre = {n[0], n[1], n[2]};
  opening.normal = {n[3], n[4], n[5]};
  opening.direction = {n[6], n[7], n[8]};
  opening.half_length = n[9];
  opening.half_width = n[10];
  opening.depth = n.size() > 11 ? n[11] : 0;
  require_sound(opening);
  return opening;
}

std::optional<Opening> opening_of_line(std::string_view line) {
  const std::vector<std::string_view> words = split(line.substr(0, line.find('#')), " \t\r,");
  if (words.empty()) return std::nullopt;
  const std::vector<double> numbers = numbers_of(words, 1);
  if (words[0] == "circle") return circle_of(numbers);
  if (words[0] == "slot") return long_one_of(Opening::Shape::slot, numbers);
  if (words[0] == "rectangle") return long_one_of(Opening::Shape::rectangle, numbers);
  throw UsageError(fmt::format("begins with \"{}\", not circle, slot or rectangle", words[0]));
}

}  // namespace

std::vector<Opening> parse_openings(std::string_view text, const std::string& name) {
  std::vector<Opening> openings;
  for (std::int64_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    try {
      if (const auto opening = opening_of_line(text.substr(0, end))) openings.push_back(*opening);
    } catch (const UsageError& error) {
      throw Error(ErrorCode::cannot_read,
                  fmt::format("{}, line {}: {}", name, number, error.what()));
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  if (openings.empty()) throw Error(ErrorCode::cannot_read, name + " holds no openings");
  return openings;
}

std::vector<Opening> read_openings(const std::string& path) {
  const fs::path file = fs::u8path(path);
  const auto refuse = [&path](const std::string& what) {
    throw Error(ErrorCode::cannot_read, path + " " + what);
  };
  std::error_code error;
  if (!fs::exists(file, error)) refuse("does not exist");
  if (fs::is_directory(file, error)) refuse("is a folder");
  if (fs::is_regular_file(file, error) && fs::file_size(file, error) > kMostBytes) {
    refuse("is too large for a list of openings");
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream) refuse(std::string("can't be opened: ") + std::strerror(errno));
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  if (stream.bad()) refuse("can't be read");
  return parse_openings(text, path);
}

Opening parse_circle(std::string_view text) {
  std::vector<double> numbers;
  try {
    numbers = numbers_of(split(text, ","), 0);
    if (numbers.size() != 7) throw UsageError("has other than 7 numbers");
    return circle_of(numbers);
  } catch (const UsageError& error) {
    throw UsageError(fmt::format("x,y,z,nx,ny,nz,r is a circle; \"{}\" {}", text, error.what()));
  }
}

}  // namespace scanmesh::cli
