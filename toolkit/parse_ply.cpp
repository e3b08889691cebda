// PLY: text and binary of both byte orders, any scalar types, polygons, colours and normals.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>

#include "toolkit/parsing.h"
#include "toolkit/text_scanner.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

enum class Type { i8, u8, i16, u16, i32, u32, f32, f64 };

std::size_t size_of(Type type) {
  constexpr std::array<std::size_t, 8> kSizes{1, 1, 2, 2, 4, 4, 4, 8};
  return kSizes[static_cast<std::size_t>(type)];
}

Type type_named(std::string_view name) {
  struct Named {
    std::string_view name;
    Type type;
  };
  static constexpr Named kTypes[] = {
      {"char", Type::i8},   {"int8", Type::i8},     {"uchar", Type::u8},   {"uint8", Type::u8},
      {"short", Type::i16}, {"int16", Type::i16},   {"ushort", Type::u16}, {"uint16", Type::u16},
      {"int", Type::i32},   {"int32", Type::i32},   {"uint", Type::u32},   {"uint32", Type::u32},
      {"float", Type::f32}, {"float32", Type::f32}, {"double", Type::f64}, {"float64", Type::f64}};
  for (const Named& known : kTypes) {
    if (known.name == name) return known.type;
  }
  throw ParseError("has a property of unknown type \"" + std::string(name) + "\"");
}

struct Property {
  std::string name;
  Type type = Type::f32;
  bool list = false;
  Type count_type = Type::u8;
};

struct Element {
  std::string name;
  std::uint64_t count = 0;
  std::vector<Property> properties;
};

enum class Encoding { text, little, big };

struct Header {
  Encoding encoding = Encoding::text;
  std::vector<Element> elements;
};

void parse_property(TextScanner& line, Header& header) {
  if (header.elements.empty()) throw ParseError("has a property before any element");
  Property property;
  std::string_view type = line.word();
  property.list = type == "list";
  if (property.list) {
    property.count_type = type_named(line.word());
    type = line.word();
  }
  property.type = type_named(type);
  property.name = line.word();
  header.elements.back().properties.push_back(std::move(property));
}

Header parse_header(TextScanner& text) {
  Header header;
  text.line();
  bool has_format = false;
  while (!text.at_end()) {
    TextScanner line(text.line());
    const std::string_view kind = line.word();
    if (kind == "end_header") {
      if (!has_format) throw ParseError("is a PLY file without a format");
      return header;
    }
    if (kind == "format") {
      const std::string_view name = line.word();
      has_format = true;
      if (name == "binary_little_endian") {
        header.encoding = Encoding::little;
      } else if (name == "binary_big_endian") {
        header.encoding = Encoding::big;
      } else if (name != "ascii") {
        throw ParseError("is a PLY file of unknown format \"" + std::string(name) + "\"");
      }
    } else if (kind == "element") {
      Element element;
      element.name = line.word();
      if (!line.number(element.count)) throw ParseError("has an element without a count");
      header.elements.push_back(std::move(element));
    } else if (kind == "property") {
      parse_property(line, header);
    }
  }
  throw ParseError("is a shortened PLY file: its header has no end");
}

// One value after the other, from text or bytes.
class Values {
 public:
  Values(std::string_view bytes, Encoding encoding)
      : text_(bytes), at_(bytes.data()), end_(at_ + bytes.size()), encoding_(encoding) {}

  double next(Type type) {
    if (encoding_ == Encoding::text) {
      double value = 0;
      if (!text_.number(value)) throw ParseError("");
      return value;
    }
    const std::size_t size = size_of(type);
    if (static_cast<std::size_t>(end_ - at_) < size) throw ParseError("");
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const std::size_t from = encoding_ == Encoding::little ? size - 1 - i : i;
      bits = bits << 8 | static_cast<unsigned char>(at_[from]);
    }
    at_ += size;
    return value_of(bits, type);
  }
  // How many more values of a byte or more there could be.
  std::uint64_t at_most() const { return static_cast<std::uint64_t>(end_ - at_); }

 private:
  static double value_of(std::uint64_t bits, Type type) {
    switch (type) {
      case Type::i8:
        return static_cast<std::int8_t>(bits);
      case Type::u8:
        return static_cast<std::uint8_t>(bits);
      case Type::i16:
        return static_cast<std::int16_t>(bits);
      case Type::u16:
        return static_cast<std::uint16_t>(bits);
      case Type::i32:
        return static_cast<std::int32_t>(bits);
      case Type::u32:
        return static_cast<std::uint32_t>(bits);
      case Type::f32: {
        const auto word = static_cast<std::uint32_t>(bits);
        float value;
        std::memcpy(&value, &word, sizeof value);
        return static_cast<double>(value);
      }
      case Type::f64:
        break;
    }
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

  TextScanner text_;
  const char* at_;
  const char* end_;
  Encoding encoding_;
};

std::size_t find_property(const Element& element, std::string_view name) {
  for (std::size_t i = 0; i < element.properties.size(); ++i) {
    if (element.properties[i].name == name) return i;
  }
  return element.properties.size();
}

// Reads a row; lists go to `list` when they are the property asked for.
void read_row(Values& values, const Element& element, std::vector<double>& row,
              std::size_t wanted_list, std::vector<double>& list) {
  row.clear();
  for (std::size_t i = 0; i < element.properties.size(); ++i) {
    const Property& property = element.properties[i];
    if (!property.list) {
      row.push_back(values.next(property.type));
      continue;
    }
    const double count = values.next(property.count_type);
    if (!(count >= 0) || count > static_cast<double>(values.at_most())) throw ParseError("");
    row.push_back(count);
    if (i == wanted_list) list.clear();
    for (std::uint64_t k = 0; k < static_cast<std::uint64_t>(count); ++k) {
      const double value = values.next(property.type);
      if (i == wanted_list) list.push_back(value);
    }
  }
}

std::uint8_t color_of(double value, Type type) {
  const bool of_one = type == Type::f32 || type == Type::f64;
  const double scaled = type == Type::u16 ? value / 257 : of_one ? value * 255 : value;
  return static_cast<std::uint8_t>(std::lround(std::clamp(scaled, 0.0, 255.0)));
}

void read_points_of(Values& values, const Element& element, TriangleMesh& mesh) {
  const std::array<std::size_t, 3> at{find_property(element, "x"), find_property(element, "y"),
                                      find_property(element, "z")};
  const std::size_t none = element.properties.size();
  if (std::find(at.begin(), at.end(), none) != at.end())
    throw ParseError("has points without x, y, z");
  const std::array<std::size_t, 3> normal{
      find_property(element, "nx"), find_property(element, "ny"), find_property(element, "nz")};
  const std::array<std::size_t, 4> color{
      find_property(element, "red"), find_property(element, "green"),
      find_property(element, "blue"), find_property(element, "alpha")};
  const bool has_normal = std::find(normal.begin(), normal.end(), none) == normal.end();
  const bool has_color = std::find(color.begin(), color.begin() + 3, none) == color.begin() + 3;
  std::vector<double> row;
  std::vector<double> unused;
  for (std::uint64_t v = 0; v < element.count; ++v) {
    read_row(values, element, row, none, unused);
    mesh.points.push_back({row[at[0]], row[at[1]], row[at[2]]});
    if (has_normal) mesh.normals.push_back({row[normal[0]], row[normal[1]], row[normal[2]]});
    if (!has_color) continue;
    Color c{0, 0, 0, 255};
    for (std::size_t k = 0; k < 4; ++k) {
      if (color[k] != none) c[k] = color_of(row[color[k]], element.properties[color[k]].type);
    }
    mesh.colors.push_back(c);
  }
}

void read_faces_of(Values& values, const Element& element, TriangleMesh& mesh) {
  std::size_t corners_at = find_property(element, "vertex_indices");
  if (corners_at == element.properties.size()) corners_at = find_property(element, "vertex_index");
  std::vector<double> row;
  std::vector<double> list;
  for (std::uint64_t f = 0; f < element.count; ++f) {
    read_row(values, element, row, corners_at, list);
    std::vector<std::int32_t> corners;
    for (const double index : list) {
      if (!(std::abs(index) < 4.3e9))
        throw ParseError("face " + std::to_string(f) + " names no point");
      corners.push_back(checked_index(static_cast<std::int64_t>(index), mesh.points.size(), f));
    }
    add_polygon(mesh, corners);
  }
}

}  // namespace

TriangleMesh parse_ply(std::string_view bytes) {
  TextScanner text(bytes);
  const Header header = parse_header(text);
  const auto body_at = static_cast<std::size_t>(text.position() - bytes.data());
  Values values(bytes.substr(body_at), header.encoding);
  TriangleMesh mesh;
  for (const Element& element : header.elements) {
    // Rows without values would never meet the end of the file.
    if (element.properties.empty() && element.count > 0) {
      throw ParseError("has " + element.name + " elements without properties");
    }
    try {
      if (element.name == "vertex") {
        read_points_of(values, element, mesh);
      } else if (element.name == "face") {
        read_faces_of(values, element, mesh);
      } else {
        std::vector<double> row;
        std::vector<double> unused;
        for (std::uint64_t i = 0; i < element.count; ++i) {
          read_row(values, element, row, element.properties.size(), unused);
        }
      }
    } catch (const ParseError& error) {
      if (error.what()[0] != 0) throw;
      throw ParseError("is a shortened PLY file: its " + element.name + " elements end early");
    }
  }
  return mesh;
}

}  // namespace scanmesh
