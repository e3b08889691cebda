// The exported reader: streams and files, flags in and out, messages on the standard error stream.
#include "scanmesh/ply_reader.h"

#include "core/messages.h"
#include "core/platform.h"
#include "formats/ply_input.h"

namespace ply_reader_writer {

using scanmesh::PlyBody;
using scanmesh::PlyGrammar;
using scanmesh::PlyHeader;

// Hosts' logs hold what the readers say.
using scanmesh::Channel;
using scanmesh::Message;

namespace {

void keep(const PLY_Reader& reader, PlyHeader& header) {
  reader.file_options = header.options;
  reader.vertexCount = header.vertex_count;
  reader.faceCount = header.face_count;
  reader.vertexDimension = header.dimension;
  reader.elements.swap(header.elements);
}

bool told(const PlyBody& body, const TriMeshData& data, Message& messages) {
  if (body.complete) scanmesh::tell_invalid_faces(body.invalid, data.nb_face, messages.stream());
  return body.complete;
}

}  // namespace

std::string PLY_Base::get_description() const {
  return "PLY polygon file format";
}

std::wstring PLY_Base::get_extensions() const {
  return L"ply";
}

std::wstring PLY_Base::get_magic() const {
  return L"PLY";
}

bool PLY_Reader::read(const std::wstring& file, TriMeshData& data, Options& options) {
  Message messages(Channel::error);
  request = options;
  PlyHeader header;
  scanmesh::StreamOwner stream(scanmesh::open_file(file.c_str(), "rb"));
  const PlyBody body = scanmesh::read_ply_file(std::move(stream), scanmesh::utf8(file), header,
                                               data, messages.stream());
  if (header.body != 0) options = header.options;
  keep(*this, header);
  return told(body, data, messages);
}

bool PLY_Reader::read(std::istream& stream, TriMeshData& data, Options& options) {
  Message messages(Channel::error);
  request = options;
  if (!stream.good()) {
    messages << "[PLYReader] : cannot not use stream\n";
    return false;
  }
  const std::istream::pos_type start = stream.tellg();
  scanmesh::FileBytes bytes;
  scanmesh::read_ply_bytes(stream, bytes);
  PlyHeader header;
  bool ran_out = false;
  if (!scanmesh::parse_ply_header(bytes.begin(), bytes.end(), PlyGrammar::kRead, header,
                                  messages.stream(), ran_out)) {
    messages << "[PLYReader] : cannot not read header\n";
    keep(*this, header);
    stream.setstate(std::ios::failbit);
    return false;
  }
  options = header.options;
  const PlyBody body = scanmesh::read_ply_after_header(header, bytes, data, messages.stream());
  keep(*this, header);
  if (!body.complete) {
    stream.setstate(std::ios::failbit);
  } else if (start != std::istream::pos_type(-1)) {
    stream.seekg(start + std::istream::off_type(body.stop - bytes.begin()));
  }
  return told(body, data, messages);
}

bool PLY_Reader::can_u_read(const std::wstring& file) const {
  Message messages(Channel::error);
  const scanmesh::StreamOwner stream(scanmesh::open_file(file.c_str(), "rb"));
  PlyHeader header;
  const bool sound =
      stream != nullptr &&
      scanmesh::read_ply_header(stream.get(), PlyGrammar::kCheck, header, messages.stream());
  keep(*this, header);
  return sound;
}

bool PLY_Reader::can_u_read(std::istream& stream) const {
  Message messages(Channel::error);
  if (!stream.good()) return false;
  const std::istream::pos_type start = stream.tellg();
  PlyHeader header;
  const bool sound =
      scanmesh::read_ply_header(stream, PlyGrammar::kCheck, header, messages.stream());
  keep(*this, header);
  if (start != std::istream::pos_type(-1)) stream.seekg(start);
  return sound;
}

bool PLY_Reader::readHeader(const std::wstring& file, Options& options) const {
  Message messages(Channel::error);
  const scanmesh::StreamOwner stream(scanmesh::open_file(file.c_str(), "rb"));
  PlyHeader header;
  const bool sound = stream != nullptr && scanmesh::read_ply_header(stream.get(), PlyGrammar::kRead,
                                                                    header, messages.stream());
  if (sound) options = header.options;
  keep(*this, header);
  return sound;
}

bool PLY_Reader::readHeader(std::istream& stream, Options& options) const {
  Message messages(Channel::error);
  if (!stream.good()) return false;
  const std::istream::pos_type start = stream.tellg();
  PlyHeader header;
  const bool sound =
      scanmesh::read_ply_header(stream, PlyGrammar::kRead, header, messages.stream());
  if (!sound) {
    stream.setstate(std::ios::failbit);
  } else {
    options = header.options;
    if (start != std::istream::pos_type(-1)) {
      stream.seekg(start + std::istream::off_type(header.body));
    }
  }
  keep(*this, header);
  return sound;
}

}  // namespace ply_reader_writer
