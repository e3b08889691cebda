// Reading PLY files, ASCII and binary of both byte orders, into flat arrays.
#ifndef SCANMESH_PLY_READER_H
#define SCANMESH_PLY_READER_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "scanmesh/export.h"

namespace ply_reader_writer {

/// A word of flags: going in, what a caller wants; coming out, what the file has.
class Options {
 public:
  /// The bits.
  enum Flag : int32_t {
    Default = 0,
    Binary = 0x0001,
    BigEndian = 0x0002,     // of a binary file
    LittleEndian = 0x0004,  // of a binary file
    Swap = 0x0008,          // swap the bytes of binary values
    VertexNormal = 0x0010,
    VertexColor = 0x0020,
    VertexTexCoord = 0x0040,
    EdgeColor = 0x0080,
    FaceNormal = 0x0100,
    FaceColor = 0x0200,
    FaceTexCoord = 0x0400,
    ColorAlpha = 0x0800,
    ColorFloat = 0x1000,
    TexFileName = 0x2000,
    Flags = 0x4000,
    Custom = 0x8000  // properties that the reader has no place for
  };

  /// Made of a word, of one of its bits, or empty; and used as a word.
  Options() = default;
  Options(Flag flag) : word_(flag) {}
  Options(int word) : word_(word) {}
  Options(const Options&) = default;
  Options& operator=(const Options&) = default;
  Options& operator=(int word) {
    word_ = word;
    return *this;
  }
  ~Options() = default;
  /// The word.
  operator int() const { return word_; }
  bool operator==(int word) const { return word_ == word; }
  bool operator!=(int word) const { return word_ != word; }

  /// Sets bits; the others stay.
  void set(int bits) { word_ |= bits; }
  Options& operator+=(int bits) {
    word_ |= bits;
    return *this;
  }
  /// Clears bits; the others stay.
  void unset(int bits) { word_ &= ~bits; }
  Options& operator-=(int bits) {
    word_ &= ~bits;
    return *this;
  }
  /// Whether all of the bits are set.
  bool check(int bits) const { return (word_ & bits) == bits; }
  /// No bit is set, and whether that is so.
  void clear() { word_ = 0; }
  void cleanup() { word_ = 0; }
  bool is_empty() const { return word_ == 0; }

  /// One bit each.
  bool is_binary() const { return check(Binary); }
  bool vertex_has_normal() const { return check(VertexNormal); }
  bool vertex_has_color() const { return check(VertexColor); }
  bool vertex_has_texcoord() const { return check(VertexTexCoord); }
  bool edge_has_color() const { return check(EdgeColor); }
  bool face_has_normal() const { return check(FaceNormal); }
  bool face_has_color() const { return check(FaceColor); }
  bool face_has_texcoord() const { return check(FaceTexCoord); }
  bool color_has_alpha() const { return check(ColorAlpha); }
  bool color_is_float() const { return check(ColorFloat); }
  bool has_texfilename() const { return check(TexFileName); }
  bool has_flags() const { return check(Flags); }

 private:
  int32_t word_ = 0;
};

/// A triangle mesh as flat arrays. It owns them (new[]) and frees them; an array that a mesh
/// doesn't have is null.
class SCANMESH_API TriMeshData {
 public:
  float* xyz = nullptr;      // 3 per vertex, mesh units
  float* ijk = nullptr;      // 3 per vertex: normals
  float* rgba = nullptr;     // 4 per vertex
  float* uv = nullptr;       // 2 per vertex
  int32_t* flags = nullptr;  // 1 per vertex
  int32_t nb_vertex = 0;
  int32_t nb_face = 0;
  int32_t* faceindex = nullptr;  // 3 per face, as the file has them: not held against nb_vertex
  float* faceuv = nullptr;       // 6 per face
  float* facergba = nullptr;     // 4 per face
  bool hasnormal = false;
  bool hascolor = false;
  bool hastexcoord = false;
  bool hasflags = false;
  bool hasfacetexcoord = false;
  bool hasfacecolor = false;
  bool hastexfilename = false;
  std::wstring texfilename;

  TriMeshData();
  ~TriMeshData();
  TriMeshData(const TriMeshData&) = delete;
  TriMeshData& operator=(const TriMeshData&) = delete;

  /// Stores both counts and makes the arrays: xyz and faceindex always, each other one when it is
  /// asked for. What the object held before is freed; the values of the arrays aren't set. Returns
  /// 0, or -2 with no array at all when memory doesn't suffice.
  int initData(int nvertex, int nface, bool normals, bool colors, bool texcoords, bool with_flags,
               bool facetex, bool facecolor);

  /// The fields, for those who prefer calls.
  float* getxyz() { return xyz; }
  const float* getxyz() const { return xyz; }
  float* getijk() { return ijk; }
  const float* getijk() const { return ijk; }
  float* getrgba() { return rgba; }
  const float* getrgba() const { return rgba; }
  float* getuv() { return uv; }
  const float* getuv() const { return uv; }
  int32_t* getflags() { return flags; }
  const int32_t* getflags() const { return flags; }
  int32_t* getfaceindex() { return faceindex; }
  const int32_t* getfaceindex() const { return faceindex; }
  float* getfacergba() { return facergba; }
  const float* getfacergba() const { return facergba; }
  float* getfaceuv() { return faceuv; }
  const float* getfaceuv() const { return faceuv; }
  const std::wstring& gettexfilename() const { return texfilename; }
  int get_nb_vertex() const { return nb_vertex; }
  int get_nb_face() const { return nb_face; }

  /// They store the value and touch no array.
  void setnvertex(int n) { nb_vertex = n; }
  void setnface(int n) { nb_face = n; }
  void settexfilename(const std::wstring& name);

 private:
  void free();
};

/// What reader and writers of the format share.
class SCANMESH_API PLY_Base {
 public:
  /// The types of a value, one per name.
  enum ValueType : int32_t {
    Unsupported,
    TypeInt8,
    TypeChar,
    TypeUint8,
    TypeUchar,
    TypeInt16,
    TypeShort,
    TypeUint16,
    TypeUshort,
    TypeInt32,
    TypeInt,
    TypeUint32,
    TypeUint,
    TypeFloat32,
    TypeFloat,
    TypeFloat64,
    TypeDouble
  };
  /// What a property means.
  enum Meaning : int32_t {
    X,
    Y,
    Z,
    TextureU = 3,
    TextureV,
    Red,
    Green,
    Blue,
    Alpha,
    NormalX,
    NormalY,
    NormalZ,
    CustomProperty,  // or one that isn't supported
    VertexList,
    TextureList,
    VertexFlags
  };
  /// What the rows of an element describe.
  enum ElementKind : int32_t { VertexElement, FaceElement, UnknownElement };

  /// A line `property` of a header.
  struct Property {
    Meaning meaning = CustomProperty;
    ValueType type = Unsupported;  // of a list: of its entries
    std::string name;
    ValueType length_type = Unsupported;  // of a list; otherwise Unsupported
  };
  /// A line `element` of a header, and its properties.
  struct Element {
    ElementKind kind = UnknownElement;
    std::string name;
    int32_t count = 0;
    std::vector<Property> properties;  // in file order
  };

  /// What a file dialogue shows, and the first word of a file.
  std::string get_description() const;
  std::wstring get_extensions() const;
  std::wstring get_magic() const;
};

/// Reads a PLY file. Every fault is told by false and a line on the standard error stream. An
/// object holds the state of one read, and belongs to one thread at a time.
///
/// Faces are lists of three; others are dropped and counted in a message. Indices aren't held
/// against the number of vertices. Memory follows what the file holds, not what its header says.
class SCANMESH_API PLY_Reader : public PLY_Base {
 public:
  // Of the header that was read last; the request is what the options of the last read asked for.
  mutable Options file_options;
  mutable Options request;
  mutable int32_t vertexCount = 0;
  mutable int32_t faceCount = 0;
  mutable int32_t vertexDimension = 0;  // properties x, y and z
  mutable std::vector<Element> elements;

  /// Checks the header, then reads the file. `options`: going in, what the caller wants, which the
  /// body ignores; coming out, what the file has, once its header was read. After false `data`
  /// holds what had been read until then, or what it held before.
  bool read(const std::wstring& file, TriMeshData& data, Options& options);
  /// From the stream's position on. A stream that can seek stands behind the body afterwards.
  bool read(std::istream& stream, TriMeshData& data, Options& options);

  /// Whether the header is one that the reader takes. It knows fewer properties than a real read:
  /// no flags, no texture lists, no colours of faces. The stream stays where it is when it can
  /// seek.
  bool can_u_read(const std::wstring& file) const;
  bool can_u_read(std::istream& stream) const;

  /// Reads the header alone; the stream stands at the first byte of data afterwards.
  bool readHeader(const std::wstring& file, Options& options) const;
  bool readHeader(std::istream& stream, Options& options) const;
};

}  // namespace ply_reader_writer

#endif  // SCANMESH_PLY_READER_H
