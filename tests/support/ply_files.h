// PLY files of the tests, put together piece by piece.
#ifndef SCANMESH_TESTS_SUPPORT_PLY_FILES_H
#define SCANMESH_TESTS_SUPPORT_PLY_FILES_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <type_traits>

#include "tests/support/files.h"

namespace test_support {

enum class PlyForm { kAscii, kLittle, kBig };
constexpr PlyForm kAllForms[] = {PlyForm::kAscii, PlyForm::kLittle, PlyForm::kBig};

inline std::string format_line(PlyForm form) {
  return form == PlyForm::kAscii    ? "format ascii 1.0\n"
         : form == PlyForm::kLittle ? "format binary_little_endian 1.0\n"
                                    : "format binary_big_endian 1.0\n";
}

const char* const kXyz = "property float x\nproperty float y\nproperty float z\n";
const char* const kCorners = "property list uchar int vertex_indices\n";

// A body in any of the three forms out of the same calls.
class PlyBodyText {
 public:
  explicit PlyBodyText(PlyForm form) : form_(form) {}

  template <typename T>
  PlyBodyText& add(T value) {
    if (form_ == PlyForm::kAscii) {
      bytes_ += (bytes_.empty() || bytes_.back() == '\n' ? "" : " ") + text_of(value);
      return *this;
    }
    std::string raw;
    append_value(raw, value);
    if (form_ == PlyForm::kBig) std::reverse(raw.begin(), raw.end());
    bytes_ += raw;
    return *this;
  }
  template <typename T>
  PlyBodyText& all(std::initializer_list<T> values) {
    for (const T value : values) add(value);
    return *this;
  }
  // A list with a length of one byte.
  template <typename T>
  PlyBodyText& list(std::initializer_list<T> values) {
    add(static_cast<uint8_t>(values.size()));
    return all(values);
  }
  PlyBodyText& end_row() {
    if (form_ == PlyForm::kAscii) bytes_ += '\n';
    return *this;
  }
  const std::string& bytes() const { return bytes_; }

 private:
  template <typename T>
  static std::string text_of(T value) {
    if (std::is_integral_v<T>) return std::to_string(static_cast<int64_t>(value));
    char text[64];
    std::snprintf(text, sizeof(text), "%.9g", static_cast<double>(value));
    return text;
  }

  PlyForm form_;
  std::string bytes_;
};

// A header of the usual kind around element descriptions.
inline std::string ply_header(PlyForm form, const std::string& elements) {
  return "ply\n" + format_line(form) + elements + "end_header\n";
}

inline std::string usual_elements(std::size_t vertices, std::size_t faces) {
  return "element vertex " + std::to_string(vertices) + "\n" + kXyz + "element face " +
         std::to_string(faces) + "\n" + kCorners;
}

inline std::string ply_of(const Soup& soup, PlyForm form) {
  PlyBodyText body(form);
  for (const Vec3f& p : soup.points) body.all({p.x, p.y, p.z}).end_row();
  for (const auto& t : soup.triangles) body.list({t[0], t[1], t[2]}).end_row();
  return ply_header(form, usual_elements(soup.points.size(), soup.triangles.size())) + body.bytes();
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_PLY_FILES_H
