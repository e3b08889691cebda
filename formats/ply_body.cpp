#include "formats/ply_body.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "formats/ply_values.h"

namespace scanmesh {

using ply_reader_writer::Options;
using ply_reader_writer::PLY_Base;
using ply_reader_writer::TriMeshData;
using Element = PLY_Base::Element;
using Property = PLY_Base::Property;

namespace {

constexpr float kColourRange = 255.0F;

bool is_list(const Property& property) {
  return property.length_type != PLY_Base::Unsupported;
}

// Rows of an element: of vertices and faces the number that was given last, should there be two.
int32_t rows_of(const Element& element, const PlyHeader& header) {
  if (element.kind == PLY_Base::VertexElement) return header.vertex_count;
  if (element.kind == PLY_Base::FaceElement) return header.face_count;
  return element.count;
}

bool has_corners(const PlyHeader& header) {
  for (const Element& element : header.elements) {
    if (element.kind != PLY_Base::FaceElement) continue;
    for (const Property& property : element.properties) {
      if (property.meaning == PLY_Base::VertexList) return true;
    }
  }
  return false;
}

// Rows whose coordinates take no bytes could be claimed in any number.
bool knows_coordinates(const PlyHeader& header) {
  for (const Element& element : header.elements) {
    if (element.kind != PLY_Base::VertexElement) continue;
    for (const Property& property : element.properties) {
      if (property.meaning <= PLY_Base::Z && property.type == PLY_Base::Unsupported) return false;
    }
  }
  return true;
}

// A channel by channel colour, as the file's rows give it.
struct Colour {
  int32_t channel[4] = {0, 0, 0, 0};

  void store(float* rgba) const {
    for (int i = 0; i < 4; ++i) {
      rgba[i] = static_cast<float>(static_cast<double>(channel[i]) / kColourRange);
    }
  }
};

// Properties without the ones that take no bytes: of types that aren't known.
template <typename Values>
std::vector<Property> readable(const Element& element, std::ostream& messages) {
  std::vector<Property> kept;
  for (const Property& property : element.properties) {
    if (is_list(property) || Values::knows(property.type)) {
      kept.push_back(property);
      continue;
    }
    const PLY_Base::Meaning m = property.meaning;
    const bool to_float =
        m <= PLY_Base::TextureV || (m >= PLY_Base::NormalX && m <= PLY_Base::NormalZ);
    messages << (to_float ? "unsupported conversion type to float: " : "unsupported type")
             << (to_float ? "0\n" : "\n");
  }
  return kept;
}

template <typename Values>
class BodyReader {
 public:
  BodyReader(const PlyHeader& header, const char* begin, const char* end, TriMeshData& data,
             std::ostream& messages)
      : header_(header), values_(begin, end), end_(end), data_(data), messages_(messages) {}

  PlyBody read() {
    PlyBody body;
    if (fits() && make_arrays()) {
      for (const Element& element : header_.elements) {
        if (values_.failed()) break;
        read_element(element);
      }
      clear_missing();
      body.complete = !values_.failed();
    }
    if (!body.complete && !out_of_memory_) messages_ << "Unexpected end of file while reading.\n";
    body.invalid = invalid_;
    body.stop = values_.at();
    body.out_of_memory = out_of_memory_;
    return body;
  }

 private:
  std::size_t left() const { return static_cast<std::size_t>(end_ - values_.at()); }

  static std::size_t least_row_bytes(const Element& element) {
    std::size_t bytes = 0;
    for (const Property& property : element.properties) bytes += Values::least_bytes(property);
    return bytes;
  }

  // Whether the bytes may hold all the rows: the reading would come up against the end anyway, and
  // no memory is made for rows that can't be there.
  bool fits() const {
    std::size_t room = left();
    for (const Element& element : header_.elements) {
      const std::size_t rows = static_cast<std::size_t>(rows_of(element, header_));
      const std::size_t row = least_row_bytes(element);
      if (row != 0 && rows > room / row) return false;
      room -= rows * row;
    }
    return static_cast<std::size_t>(header_.vertex_count) <= left();
  }

  bool make_arrays() {
    // A face that is kept takes a length and three indices.
    const std::size_t faces =
        has_corners(header_)
            ? std::min<std::size_t>(left() / 4, static_cast<std::size_t>(header_.face_count))
            : 0;
    capacity_ = static_cast<int32_t>(faces);
    const Options& o = header_.options;
    const int status = data_.initData(header_.vertex_count, capacity_, o.vertex_has_normal(),
                                      o.vertex_has_color(), o.vertex_has_texcoord(), o.has_flags(),
                                      o.face_has_texcoord(), o.face_has_color());
    out_of_memory_ = status != 0;
    data_.nb_face = 0;
    return !out_of_memory_;
  }

  void read_element(const Element& element) {
    const int32_t rows = rows_of(element, header_);
    const std::vector<Property> properties = readable<Values>(element, messages_);
    const std::size_t row = least_row_bytes(element);
    if (row == 0) return;
    if (element.kind == PLY_Base::VertexElement) {
      read_vertices(properties, rows);
    } else if (element.kind == PLY_Base::FaceElement) {
      read_faces(properties, rows);
    } else if (Values::kFixedSize && std::none_of(properties.begin(), properties.end(), is_list)) {
      values_.skip_bytes(row * static_cast<std::size_t>(rows));
    } else {
      for (int32_t i = 0; i < rows && !values_.failed(); ++i) {
        for (const Property& property : properties) skip(property);
      }
    }
  }

  void skip(const Property& property) {
    if (is_list(property)) {
      values_.skip_entries(property.type, values_.length(property.length_type));
    } else {
      values_.skip_value(property.type);
    }
  }

  // Colours of the two float names count from 0 to 1; every other type, the wide one too, holds the
  // integer itself.
  int32_t channel(const Property& property) {
    if (property.type == PLY_Base::TypeFloat32 || property.type == PLY_Base::TypeFloat) {
      return truncated(static_cast<double>(values_.real(property.type) * kColourRange));
    }
    return values_.integer(property.type);
  }

  void read_vertices(const std::vector<Property>& properties, int32_t rows) {
    for (int32_t i = 0; i < rows; ++i) {
      read_vertex(properties, static_cast<std::size_t>(i));
      if (values_.failed()) return;
      vertices_ = std::max(vertices_, i + 1);
    }
  }

  void read_vertex(const std::vector<Property>& properties, std::size_t i) {
    float point[3] = {0, 0, 0};
    float normal[3] = {0, 0, 0};
    float texture[2] = {0, 0};
    Colour colour;
    int32_t flag = 0;
    for (const Property& property : properties) {
      const int m = property.meaning;
      if (m <= PLY_Base::Z) {
        point[m] = values_.real(property.type);
      } else if (m <= PLY_Base::TextureV) {
        texture[m - PLY_Base::TextureU] = values_.real(property.type);
      } else if (m <= PLY_Base::Alpha) {
        colour.channel[m - PLY_Base::Red] = channel(property);
      } else if (m <= PLY_Base::NormalZ) {
        normal[m - PLY_Base::NormalX] = values_.real(property.type);
      } else if (m == PLY_Base::VertexFlags) {
        flag = values_.integer(property.type);
      } else {
        skip(property);
      }
    }
    std::copy_n(point, 3, data_.xyz + 3 * i);
    if (data_.hasnormal) std::copy_n(normal, 3, data_.ijk + 3 * i);
    if (data_.hastexcoord) std::copy_n(texture, 2, data_.uv + 2 * i);
    if (data_.hascolor) colour.store(data_.rgba + 4 * i);
    if (data_.hasflags) data_.flags[i] = flag;
  }

  void read_faces(const std::vector<Property>& properties, int32_t rows) {
    data_.nb_face = 0;
    for (int32_t i = 0; i < rows && !values_.failed(); ++i) read_face(properties);
  }

  void read_face(const std::vector<Property>& properties) {
    int32_t corner[3] = {0, 0, 0};
    float texture[6] = {0, 0, 0, 0, 0, 0};
    Colour colour;
    bool stored = false;
    for (const Property& property : properties) {
      if (property.meaning == PLY_Base::VertexList) {
        stored = read_list(property, 3, true,
                           [&](int k) { corner[k] = values_.integer(property.type); });
      } else if (property.meaning == PLY_Base::TextureList) {
        // Its fault is counted, and the face stays.
        read_list(property, 6, stored, [&](int k) { texture[k] = values_.real(property.type); });
      } else if (property.meaning >= PLY_Base::Red && property.meaning <= PLY_Base::Alpha) {
        colour.channel[property.meaning - PLY_Base::Red] = channel(property);
      } else {
        skip(property);
      }
    }
    if (!stored || values_.failed() || data_.nb_face == capacity_) return;
    const std::size_t i = static_cast<std::size_t>(data_.nb_face++);
    std::copy_n(corner, 3, data_.faceindex + 3 * i);
    if (data_.hasfacetexcoord) std::copy_n(texture, 6, data_.faceuv + 6 * i);
    if (data_.hasfacecolor) colour.store(data_.facergba + 4 * i);
  }

  // Reads a list of the wanted length; one that isn't wanted is read away and counted.
  template <typename Take>
  bool read_list(const Property& property, int32_t wanted, bool takes, Take take) {
    const int32_t length = values_.length(property.length_type);
    if (values_.failed()) return false;
    if (length == wanted && takes) {
      for (int k = 0; k < wanted; ++k) take(k);
      return true;
    }
    ++invalid_;
    values_.skip_entries(property.type, length);
    return false;
  }

  // Rows that the file doesn't have, or that hold nothing.
  void clear_missing() {
    const std::size_t from = static_cast<std::size_t>(vertices_);
    const std::size_t to = static_cast<std::size_t>(data_.nb_vertex);
    const auto clear = [&](auto* values, std::size_t width) {
      if (values != nullptr) std::fill(values + width * from, values + width * to, 0);
    };
    clear(data_.xyz, 3);
    clear(data_.ijk, 3);
    clear(data_.uv, 2);
    clear(data_.rgba, 4);
    clear(data_.flags, 1);
  }

  const PlyHeader& header_;
  Values values_;
  const char* const end_;
  TriMeshData& data_;
  std::ostream& messages_;
  int32_t capacity_ = 0;  // faces there is room for
  int32_t vertices_ = 0;  // rows that are set
  int64_t invalid_ = 0;
  bool out_of_memory_ = false;
};

bool machine_is_big_endian() {
  const uint16_t one = 1;
  unsigned char first = 0;
  std::memcpy(&first, &one, 1);
  return first == 0;
}

}  // namespace

PlyBody read_ply_body(const PlyHeader& header, const char* begin, const char* end,
                      TriMeshData& data, std::ostream& messages) {
  if (header.dimension != 3) {
    messages << "[PLYReader] : Only vertex dimension 3 is supported.\n";
    return {false, 0, begin};
  }
  if (!knows_coordinates(header)) {
    messages << "unsupported conversion type to float: 0\n";
    return {false, 0, begin};
  }
  if (!header.options.is_binary()) {
    return BodyReader<AsciiValues>(header, begin, end, data, messages).read();
  }
  const bool swap = header.options.check(Options::BigEndian) != machine_is_big_endian();
  if (swap) return BodyReader<BinaryValues<true>>(header, begin, end, data, messages).read();
  return BodyReader<BinaryValues<false>>(header, begin, end, data, messages).read();
}

void tell_invalid_faces(int64_t invalid, int32_t added, std::ostream& messages) {
  if (invalid == 0) return;
  messages << "The reader encountered invalid faces, that could not be added.\n"
           << "invalid: " << invalid << ", added: " << added << '\n';
}

}  // namespace scanmesh
