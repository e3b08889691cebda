#include "formats/ply_header.h"

#include <algorithm>
#include <ostream>
#include <string>

#include "formats/text_cursor.h"

namespace scanmesh {

using ply_reader_writer::Options;
using ply_reader_writer::PLY_Base;

namespace {

struct TypeName {
  const char* name;
  unsigned char size;
};

// By value type.
constexpr TypeName kTypes[] = {
    {"", 0},      {"int8", 1},    {"char", 1},   {"uint8", 1},   {"uchar", 1}, {"int16", 2},
    {"short", 2}, {"uint16", 2},  {"ushort", 2}, {"int32", 4},   {"int", 4},   {"uint32", 4},
    {"uint", 4},  {"float32", 4}, {"float", 4},  {"float64", 8}, {"double", 8}};

PLY_Base::ValueType type_of(const std::string& name) {
  for (int32_t i = 1; i <= PLY_Base::TypeDouble; ++i) {
    if (name == kTypes[i].name) return static_cast<PLY_Base::ValueType>(i);
  }
  return PLY_Base::Unsupported;
}

// A list is at most 65535 long: four bytes of length would let a broken file ask for anything.
bool is_length_type(PLY_Base::ValueType type) {
  return type == PLY_Base::TypeUint8 || type == PLY_Base::TypeUchar ||
         type == PLY_Base::TypeUint16 || type == PLY_Base::TypeUshort;
}

bool is_integer_type(PLY_Base::ValueType type) {
  return type != PLY_Base::Unsupported && !is_float_type(type);
}

struct NamedMeaning {
  const char* name;
  PLY_Base::Meaning meaning;
};

constexpr NamedMeaning kColours[] = {{"red", PLY_Base::Red},     {"diffuse_red", PLY_Base::Red},
                                     {"green", PLY_Base::Green}, {"diffuse_green", PLY_Base::Green},
                                     {"blue", PLY_Base::Blue},   {"diffuse_blue", PLY_Base::Blue},
                                     {"alpha", PLY_Base::Alpha}};
constexpr NamedMeaning kOfVertices[] = {{"x", PLY_Base::X},        {"y", PLY_Base::Y},
                                        {"z", PLY_Base::Z},        {"u", PLY_Base::TextureU},
                                        {"s", PLY_Base::TextureU}, {"v", PLY_Base::TextureV},
                                        {"t", PLY_Base::TextureV}, {"nx", PLY_Base::NormalX},
                                        {"ny", PLY_Base::NormalY}, {"nz", PLY_Base::NormalZ}};

template <std::size_t kCount>
PLY_Base::Meaning look_up(const NamedMeaning (&table)[kCount], const std::string& name) {
  for (const NamedMeaning& entry : table) {
    if (name == entry.name) return entry.meaning;
  }
  return PLY_Base::CustomProperty;
}

bool is_colour(PLY_Base::Meaning meaning) {
  return meaning >= PLY_Base::Red && meaning <= PLY_Base::Alpha;
}

// The keywords of one header, one after the other.
class HeaderParser {
 public:
  HeaderParser(const char* begin, const char* end, PlyGrammar grammar, PlyHeader& header,
               std::ostream& messages)
      : begin_(begin), text_(begin, end), grammar_(grammar), header_(header), messages_(messages) {}

  bool parse();
  bool touched_end() const { return text_.touched_end(); }

 private:
  bool parse_magic();
  bool parse_format();
  bool parse_keywords();
  bool parse_element();
  bool parse_property();
  bool parse_list();
  void parse_scalar(const std::string& type_name);
  void vertex_property(PLY_Base::Property& property);
  void face_property(PLY_Base::Property& property);
  void face_list(PLY_Base::Property& property);
  void note_colour(const PLY_Base::Property& property, int bit);
  void tell_unsupported_owner(const std::string& name);
  void place_body(const char* before_word);

  PLY_Base::ElementKind kind() const {
    return header_.elements.empty() ? PLY_Base::UnknownElement : header_.elements.back().kind;
  }
  // A property before the first element belongs to nothing, and nothing comes of it.
  void add(PLY_Base::Property&& property) {
    if (header_.elements.empty()) return;
    has_custom_ = has_custom_ || property.meaning == PLY_Base::CustomProperty;
    header_.elements.back().properties.push_back(std::move(property));
  }
  bool knows_all() const { return grammar_ == PlyGrammar::kRead; }

  const char* const begin_;
  TextCursor text_;
  const PlyGrammar grammar_;
  PlyHeader& header_;
  std::ostream& messages_;
  bool has_custom_ = false;  // among the properties of the last element so far
};

bool HeaderParser::parse() {
  header_ = PlyHeader();
  return parse_magic() && parse_format() && parse_keywords();
}

bool HeaderParser::parse_magic() {
  if (!begins_as_ply(begin_, text_.end())) return false;
  text_.skip_line();
  const std::string line(begin_, text_.at());
  return line == "ply" || line == "PLY";
}

bool HeaderParser::parse_format() {
  text_.skip_word();  // "format": what else could stand here is told by the next word
  const std::string format = text_.word();
  text_.real();
  if (text_.failed()) {
    messages_ << "Defect PLY header detected\n";
    return false;
  }
  if (format == "ascii") {
    header_.options.unset(Options::Binary);
  } else if (format == "binary_little_endian") {
    header_.options.set(Options::Binary | Options::LittleEndian);
  } else if (format == "binary_big_endian") {
    header_.options.set(Options::Binary | Options::BigEndian);
  } else {
    messages_ << "Unsupported PLY format: " << format << '\n';
    return false;
  }
  return true;
}

bool HeaderParser::parse_keywords() {
  while (true) {
    const char* const before = text_.at();
    const std::string keyword = text_.word();
    bool sound = true;
    if (keyword == "end_header") {
      place_body(before);
      return true;
    }
    if (keyword == "comment") {
      text_.skip_line();
    } else if (keyword == "element") {
      sound = parse_element();
    } else if (keyword == "property") {
      sound = parse_property();
    } else if (!text_.failed()) {
      messages_ << "Unsupported keyword : " << keyword << '\n';
    }
    if (text_.failed()) {
      messages_ << "Error while reading PLY file header\n";
      return false;
    }
    if (!sound) return false;
  }
}

bool HeaderParser::parse_element() {
  PLY_Base::Element element;
  element.name = text_.word();
  element.count = text_.integer();
  if (text_.failed()) return false;
  if (element.count < 0) {
    text_.fail();  // there is no such number of rows
    return false;
  }
  if (element.name == "vertex") {
    element.kind = PLY_Base::VertexElement;
    header_.vertex_count = element.count;
  } else if (element.name == "face") {
    element.kind = PLY_Base::FaceElement;
    header_.face_count = element.count;
  } else {
    messages_ << "PLY header unsupported element type: " << element.name << '\n';
  }
  header_.elements.push_back(std::move(element));
  has_custom_ = false;
  return true;
}

bool HeaderParser::parse_property() {
  const std::string word = text_.word();
  if (word == "list") return parse_list();
  parse_scalar(word);
  return true;
}

void HeaderParser::parse_scalar(const std::string& type_name) {
  PLY_Base::Property property;
  property.type = type_of(type_name);
  property.name = text_.word();
  if (text_.failed()) return;
  if (kind() == PLY_Base::VertexElement) {
    vertex_property(property);
  } else if (kind() == PLY_Base::FaceElement) {
    face_property(property);
  } else {
    tell_unsupported_owner(property.name);
  }
  add(std::move(property));
}

void HeaderParser::vertex_property(PLY_Base::Property& property) {
  Options& options = header_.options;
  property.meaning = look_up(kOfVertices, property.name);
  if (property.meaning == PLY_Base::CustomProperty) {
    property.meaning = look_up(kColours, property.name);
  }
  if (knows_all() && property.name == "flags") property.meaning = PLY_Base::VertexFlags;
  if (property.meaning <= PLY_Base::Z) {
    ++header_.dimension;
  } else if (property.meaning <= PLY_Base::TextureV) {
    options.set(Options::VertexTexCoord);
  } else if (is_colour(property.meaning)) {
    note_colour(property, Options::VertexColor);
  } else if (property.meaning <= PLY_Base::NormalZ) {
    options.set(Options::VertexNormal);
  } else if (property.meaning == PLY_Base::VertexFlags) {
    options.set(Options::Flags);
  } else {
    options.set(Options::Custom);
  }
}

void HeaderParser::face_property(PLY_Base::Property& property) {
  if (knows_all()) property.meaning = look_up(kColours, property.name);
  if (is_colour(property.meaning)) {
    note_colour(property, Options::FaceColor);
  } else {
    header_.options.set(Options::Custom);
  }
}

void HeaderParser::note_colour(const PLY_Base::Property& property, int bit) {
  header_.options.set(bit);
  if (property.meaning == PLY_Base::Alpha) header_.options.set(Options::ColorAlpha);
  if (property.type == PLY_Base::TypeFloat32 || property.type == PLY_Base::TypeFloat) {
    header_.options.set(Options::ColorFloat);
  }
}

bool HeaderParser::parse_list() {
  PLY_Base::Property property;
  const std::string length_name = text_.word();
  const std::string entry_name = text_.word();
  property.name = text_.word();
  if (text_.failed()) return false;
  property.length_type = type_of(length_name);
  property.type = type_of(entry_name);
  if (!is_length_type(property.length_type)) {
    messages_ << "Unsupported Index type for property list: " << length_name << '\n';
    return false;
  }
  const bool texture = kind() == PLY_Base::FaceElement && property.name == "texcoord";
  if (!is_integer_type(property.type) && !(texture && is_float_type(property.type))) {
    messages_ << "Unsupported Entry type for property list: " << entry_name << '\n';
    return false;
  }
  if (kind() == PLY_Base::FaceElement) {
    face_list(property);
  } else if (kind() == PLY_Base::VertexElement) {
    header_.options.set(Options::Custom);
  } else {
    tell_unsupported_owner(property.name);
  }
  add(std::move(property));
  return true;
}

void HeaderParser::face_list(PLY_Base::Property& property) {
  if (property.name == "vertex_index" || property.name == "vertex_indices") {
    property.meaning = PLY_Base::VertexList;
    if (has_custom_) {
      messages_ << "Custom face Properties defined, before 'vertex_indices' property was defined. "
                   "They will be skipped\n";
    }
  } else if (knows_all() && property.name == "texcoord") {
    property.meaning = PLY_Base::TextureList;
    header_.options.set(Options::FaceTexCoord);
  } else {
    header_.options.set(Options::Custom);
  }
}

void HeaderParser::tell_unsupported_owner(const std::string& name) {
  messages_ << "property " << name << " belongs to unsupported element "
            << (header_.elements.empty() ? std::string() : header_.elements.back().name) << '\n';
}

// Binary data are found by position: so many bytes after the word before this one, by the kind of
// line end that follows it. Writers exist whose header ends otherwise and that hosts know to read
// wrongly; nothing is guessed here.
void HeaderParser::place_body(const char* before_word) {
  const std::size_t before = static_cast<std::size_t>(before_word - begin_);
  if (!header_.options.is_binary()) {
    header_.body = static_cast<std::size_t>(text_.at() - begin_);
    return;
  }
  const bool carriage_return = before_word[0] == '\r' && before_word[1] == '\n';
  header_.body = before + (carriage_return ? 14 : 12);
}

}  // namespace

bool parse_ply_header(const char* begin, const char* end, PlyGrammar grammar, PlyHeader& header,
                      std::ostream& messages, bool& ran_out) {
  HeaderParser parser(begin, end, grammar, header, messages);
  const bool sound = parser.parse();
  ran_out = parser.touched_end();
  return sound;
}

bool begins_as_ply(const char* begin, const char* end) {
  const std::size_t count = std::min<std::size_t>(3, static_cast<std::size_t>(end - begin));
  return std::equal(begin, begin + count, "ply") || std::equal(begin, begin + count, "PLY");
}

std::size_t ply_type_size(PLY_Base::ValueType type) {
  return kTypes[type].size;
}

bool is_float_type(PLY_Base::ValueType type) {
  return type >= PLY_Base::TypeFloat32;
}

}  // namespace scanmesh
