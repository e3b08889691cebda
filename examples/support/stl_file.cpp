#include "support/stl_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>

namespace demo {
namespace {

constexpr std::size_t kHeaderSize = 84;  // 80 bytes of text and the facet count
constexpr std::size_t kFacetSize = 50;

File open_file(const std::string& path, const char* mode) {
  return File(std::fopen(path.c_str(), mode));
}

std::uint32_t read_u32(const unsigned char* bytes) {
  return bytes[0] | (static_cast<std::uint32_t>(bytes[1]) << 8) |
         (static_cast<std::uint32_t>(bytes[2]) << 16) |
         (static_cast<std::uint32_t>(bytes[3]) << 24);
}

void put_u32(unsigned char* bytes, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
}

void put_float(unsigned char* bytes, double value) {
  const float narrow = static_cast<float>(value);
  std::uint32_t bits = 0;
  std::memcpy(&bits, &narrow, sizeof bits);
  put_u32(bytes, bits);
}

double get_float(const unsigned char* bytes) {
  const std::uint32_t bits = read_u32(bytes);
  float value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return static_cast<double>(value);
}

char lower_case(char c) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// The beginning of an ASCII file: printable, "solid" first, and one of the words that follow it.
bool looks_like_text(std::string head) {
  const bool printable = std::all_of(head.begin(), head.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 || (byte >= '\t' && byte <= '\r');
  });
  std::transform(head.begin(), head.end(), head.begin(), lower_case);
  const std::size_t start = head.find_first_not_of(" \t\r\n");
  return printable && start != std::string::npos && head.compare(start, 5, "solid") == 0 &&
         (head.find("facet") != std::string::npos || head.find("endsolid") != std::string::npos);
}

}  // namespace

StlKind stl_kind(const std::string& path) {
  const File file = open_file(path, "rb");
  if (!file) return StlKind::unknown;
  std::array<char, 2048> head{};
  const std::size_t got = std::fread(head.data(), 1, head.size(), file.get());
  const bool seekable = std::fseek(file.get(), 0, SEEK_END) == 0;
  const long end = seekable ? std::ftell(file.get()) : -1;
  if (got == 0 || end < 0) return StlKind::unknown;
  const auto size = static_cast<std::uint64_t>(end);
  if (got < kHeaderSize) {
    return looks_like_text({head.data(), got}) ? StlKind::ascii : StlKind::unknown;
  }
  const std::uint64_t count = read_u32(reinterpret_cast<unsigned char*>(head.data()) + 80);
  // In text, the four count bytes are letters and promise tens of gigabytes: a size that fits is
  // proof.
  if (size == kHeaderSize + kFacetSize * count) return StlKind::binary;
  if (looks_like_text({head.data(), got})) return StlKind::ascii;
  return count > 0 && size >= kHeaderSize + kFacetSize ? StlKind::binary : StlKind::unknown;
}

File plain_ascii_stl(const std::string& path) {
  const File source = open_file(path, "rb");
  File plain(std::tmpfile());
  if (!source || !plain) return nullptr;
  std::array<char, 1024> buffer{};
  bool at_start = true;  // a line longer than the buffer arrives in pieces
  while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), source.get()) != nullptr) {
    std::string line(buffer.data());
    const bool complete = !line.empty() && line.back() == '\n';
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())) != 0) {
      line.pop_back();
    }
    if (at_start) line.erase(0, std::min(line.find_first_not_of(" \t\r"), line.size()));
    std::transform(line.begin(), line.end(), line.begin(), lower_case);
    if (at_start && !line.empty() && std::fprintf(plain.get(), "%s\n", line.c_str()) < 0) {
      return nullptr;
    }
    at_start = complete;
  }
  std::rewind(plain.get());
  return plain;
}

bool write_stl(const std::string& path, const std::vector<Triangle>& triangles) {
  File file = open_file(path, "wb");
  if (!file) return false;
  std::array<unsigned char, kHeaderSize> header{};
  std::memcpy(header.data(), "scan of an object, millimetres", 30);
  put_u32(header.data() + 80, static_cast<std::uint32_t>(triangles.size()));
  bool good = std::fwrite(header.data(), header.size(), 1, file.get()) == 1;
  for (const Triangle& t : triangles) {
    const Vec3 normal = unit(cross(t[1] - t[0], t[2] - t[0]));
    std::array<unsigned char, kFacetSize> facet{};
    unsigned char* out = facet.data();
    for (const Vec3* p : {&normal, &t[0], &t[1], &t[2]}) {
      for (int axis = 0; axis < 3; ++axis, out += 4) put_float(out, (*p)[axis]);
    }
    good = good && std::fwrite(facet.data(), facet.size(), 1, file.get()) == 1;
  }
  return std::fclose(file.release()) == 0 && good;
}

bool read_stl(const std::string& path, std::vector<Triangle>& triangles) {
  triangles.clear();
  const File file = open_file(path, "rb");
  std::array<unsigned char, kHeaderSize> header{};
  if (!file || std::fread(header.data(), header.size(), 1, file.get()) != 1) return false;
  const std::uint32_t count = read_u32(header.data() + 80);
  std::array<unsigned char, kFacetSize> facet{};
  while (triangles.size() < count && std::fread(facet.data(), facet.size(), 1, file.get()) == 1) {
    Triangle t;
    for (std::size_t k = 0; k < 3; ++k) {
      const unsigned char* const corner = facet.data() + 12 * (k + 1);
      t[k] = {get_float(corner), get_float(corner + 4), get_float(corner + 8)};
    }
    triangles.push_back(t);
  }
  return !triangles.empty();
}

}  // namespace demo
