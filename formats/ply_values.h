// The values of a PLY body, one after the other: as text, or binary in either byte order. Both
// kinds answer the same questions, so that the rows are read by one piece of code.
#ifndef SCANMESH_FORMATS_PLY_VALUES_H
#define SCANMESH_FORMATS_PLY_VALUES_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "formats/ply_header.h"
#include "formats/text_cursor.h"

namespace scanmesh {

// Towards zero; the nearest number there is where it doesn't fit, and 0 for what is no number.
inline int32_t truncated(double value) {
  if (std::isnan(value)) return 0;
  if (value >= 2147483647.0) return std::numeric_limits<int32_t>::max();
  if (value <= -2147483648.0) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value);
}

// The types of a header say nothing here: every value is read as what it is wanted for.
class AsciiValues {
 public:
  using ValueType = ply_reader_writer::PLY_Base::ValueType;
  using Property = ply_reader_writer::PLY_Base::Property;

  AsciiValues(const char* begin, const char* end) : text_(begin, end) {}

  const char* at() const { return text_.at(); }
  bool failed() const { return text_.failed(); }
  float real(ValueType) { return text_.real(); }
  int32_t integer(ValueType) { return text_.integer(); }
  int32_t length(ValueType) { return text_.integer(); }
  void skip_value(ValueType) { text_.skip_word(); }
  void skip_entries(ValueType, int32_t count) {
    for (int32_t i = 0; i < count && !text_.failed(); ++i) text_.skip_word();
  }
  // The least that a value takes: a sign or a point may stand for the blank between two.
  static std::size_t least_bytes(const Property&) { return 1; }
  static bool knows(ValueType) { return true; }
  // Nothing can be passed over unread.
  static constexpr bool kFixedSize = false;
  void skip_bytes(std::size_t) {}

 private:
  TextCursor text_;
};

template <bool kSwapped>
class BinaryValues {
 public:
  using PLY_Base = ply_reader_writer::PLY_Base;
  using ValueType = PLY_Base::ValueType;
  using Property = PLY_Base::Property;

  BinaryValues(const char* begin, const char* end) : at_(begin), end_(end) {}

  const char* at() const { return at_; }
  bool failed() const { return failed_; }

  float real(ValueType type) {
    if (type == PLY_Base::TypeFloat || type == PLY_Base::TypeFloat32) return take<float>();
    return convert<float>(type, [](auto value) { return static_cast<float>(value); });
  }
  int32_t integer(ValueType type) {
    return convert<int32_t>(type, [](auto value) {
      if constexpr (std::is_floating_point_v<decltype(value)>) {
        return truncated(static_cast<double>(value));
      } else {
        return static_cast<int32_t>(value);
      }
    });
  }
  int32_t length(ValueType type) {
    return ply_type_size(type) == 1 ? take<uint8_t>() : take<uint16_t>();
  }
  void skip_value(ValueType type) { skip_bytes(ply_type_size(type)); }
  void skip_entries(ValueType type, int32_t count) {
    skip_bytes(ply_type_size(type) * static_cast<std::size_t>(count));
  }
  void skip_bytes(std::size_t count) {
    if (has(count)) at_ += count;
  }
  static std::size_t least_bytes(const Property& property) {
    const bool list = property.length_type != PLY_Base::Unsupported;
    return ply_type_size(list ? property.length_type : property.type);
  }
  static bool knows(ValueType type) { return type != PLY_Base::Unsupported; }
  static constexpr bool kFixedSize = true;

 private:
  bool has(std::size_t count) {
    if (static_cast<std::size_t>(end_ - at_) >= count) return !failed_;
    failed_ = true;
    return false;
  }

  template <typename T>
  T take() {
    if (!has(sizeof(T))) return T{0};
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, at_, sizeof(T));
    if constexpr (kSwapped) {
      for (std::size_t i = 0; i < sizeof(T) / 2; ++i) {
        const unsigned char byte = bytes[i];
        bytes[i] = bytes[sizeof(T) - 1 - i];
        bytes[sizeof(T) - 1 - i] = byte;
      }
    }
    at_ += sizeof(T);
    T value{};
    std::memcpy(&value, bytes, sizeof(T));
    return value;
  }

  // The value of the file's type, turned by `to` into the one that is wanted.
  template <typename Wanted, typename To>
  Wanted convert(ValueType type, To to) {
    switch (type) {
      case PLY_Base::TypeInt8:
      case PLY_Base::TypeChar:
        return to(take<int8_t>());
      case PLY_Base::TypeUint8:
      case PLY_Base::TypeUchar:
        return to(take<uint8_t>());
      case PLY_Base::TypeInt16:
      case PLY_Base::TypeShort:
        return to(take<int16_t>());
      case PLY_Base::TypeUint16:
      case PLY_Base::TypeUshort:
        return to(take<uint16_t>());
      case PLY_Base::TypeInt32:
      case PLY_Base::TypeInt:
        return to(take<int32_t>());
      case PLY_Base::TypeUint32:
      case PLY_Base::TypeUint:
        return to(take<uint32_t>());
      case PLY_Base::TypeFloat32:
      case PLY_Base::TypeFloat:
        return to(take<float>());
      case PLY_Base::TypeFloat64:
      case PLY_Base::TypeDouble:
        return to(take<double>());
      case PLY_Base::Unsupported:
        break;
    }
    return Wanted{0};
  }

  const char* at_;
  const char* end_;
  bool failed_ = false;
};

}  // namespace scanmesh

#endif  // SCANMESH_FORMATS_PLY_VALUES_H
