#include <cstring>
#include <string>

#include "toolkit/parsing.h"
#include "toolkit/text_scanner.h"

namespace scanmesh {
namespace {

constexpr std::size_t kHeader = 84;
constexpr std::size_t kFacet = 50;

std::uint32_t little_endian(const char* at) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<unsigned char>(at[i]);
  return value;
}

double float_at(const char* at) {
  const std::uint32_t bits = little_endian(at);
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return static_cast<double>(value);
}

bool same_word(std::string_view word, std::string_view lower) {
  if (word.size() != lower.size()) return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if ((word[i] | 0x20) != lower[i]) return false;
  }
  return true;
}

}  // namespace

bool looks_like_stl_binary(std::string_view bytes) {
  if (bytes.size() < kHeader) return false;
  const std::size_t count = little_endian(bytes.data() + 80);
  // Some programs write a few bytes behind the last facet.
  return count > 0 && bytes.size() >= kHeader + kFacet * count &&
         bytes.size() <= kHeader + kFacet * (count + 1);
}

TriangleMesh parse_stl_binary(std::string_view bytes) {
  if (bytes.size() < kHeader) throw ParseError("ends within its header");
  const std::size_t count = little_endian(bytes.data() + 80);
  const std::size_t there = (bytes.size() - kHeader) / kFacet;
  if (there < count) {
    throw ParseError("is a shortened STL file: " + std::to_string(there) + " of " +
                     std::to_string(count) + " facets are there");
  }
  if (count == 0) throw ParseError("is an STL file without facets");
  TriangleMesh mesh;
  mesh.points.reserve(3 * count);
  mesh.triangles.reserve(count);
  for (std::size_t f = 0; f < count; ++f) {
    const char* at = bytes.data() + kHeader + kFacet * f + 12;
    const auto first = static_cast<std::int32_t>(mesh.points.size());
    for (int k = 0; k < 3; ++k, at += 12) {
      mesh.points.push_back({float_at(at), float_at(at + 4), float_at(at + 8)});
    }
    mesh.triangles.push_back({first, first + 1, first + 2});
  }
  return mesh;
}

TriangleMesh parse_stl_text(std::string_view bytes) {
  TextScanner text(bytes);
  TriangleMesh mesh;
  std::size_t in_facet = 0;
  bool ended = false;
  while (true) {
    const std::string_view word = text.word();
    if (word.empty()) break;
    if (same_word(word, "endsolid")) {
      ended = true;
      text.line();
    } else if (same_word(word, "solid")) {
      ended = false;
      text.line();
    } else if (same_word(word, "facet")) {
      in_facet = 0;
    } else if (same_word(word, "vertex")) {
      Point p;
      if (!text.number(p.x) || !text.number(p.y) || !text.number(p.z)) {
        throw ParseError("has a vertex without three numbers, in facet " +
                         std::to_string(mesh.triangles.size()));
      }
      mesh.points.push_back(p);
      if (++in_facet == 3) {
        const auto first = static_cast<std::int32_t>(mesh.points.size()) - 3;
        mesh.triangles.push_back({first, first + 1, first + 2});
      }
    }
  }
  if (mesh.triangles.empty()) throw ParseError("is an STL file without facets");
  if (!ended || mesh.points.size() != 3 * mesh.triangles.size()) {
    throw ParseError("is a shortened STL file: it ends after " +
                     std::to_string(mesh.triangles.size()) + " facets without its last line");
  }
  return mesh;
}

}  // namespace scanmesh
