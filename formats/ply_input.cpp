#include "formats/ply_input.h"

#include <istream>
#include <ostream>
#include <sstream>

#include "core/platform.h"

namespace scanmesh {

using ply_reader_writer::TriMeshData;

namespace {

auto reader_of(FILE* file) {
  return [file](char* place, std::size_t count) { return std::fread(place, 1, count, file); };
}

// From the buffer: the state of the stream stays as it is.
auto reader_of(std::istream& stream) {
  return [&stream](char* place, std::size_t count) {
    const std::streamsize got = stream.rdbuf()->sgetn(place, static_cast<std::streamsize>(count));
    return got > 0 ? static_cast<std::size_t>(got) : std::size_t{0};
  };
}

// What is no PLY file is given up after its first bytes, however long it is.
template <typename ReadSome>
void read_bytes(ReadSome read_some, std::size_t expected, FileBytes& bytes) {
  if (!bytes.append(FileBytes::kLeastChunk, read_some)) return;
  if (!begins_as_ply(bytes.begin(), bytes.end())) return;
  bytes.append_rest(expected, read_some);
}

// Messages are held back while more bytes may change them.
template <typename ReadSome>
bool read_header(ReadSome read_some, PlyGrammar grammar, PlyHeader& header,
                 std::ostream& messages) {
  FileBytes bytes;
  std::size_t count = FileBytes::kLeastChunk;
  while (true) {
    const bool more = bytes.append(count, read_some);
    std::ostringstream told;
    bool ran_out = false;
    const bool sound = parse_ply_header(bytes.begin(), bytes.end(), grammar, header, told, ran_out);
    if (!ran_out || !more) {
      messages << told.str();
      return sound;
    }
    count = bytes.size();
  }
}

}  // namespace

void read_ply_bytes(FILE* file, FileBytes& bytes) {
  const int64_t size = remaining_bytes(file);
  // One more than there is, so that the end is met at once.
  const std::size_t rest = size < 0 ? 0 : static_cast<std::size_t>(size) + 1;
  read_bytes(reader_of(file), rest, bytes);
}

void read_ply_bytes(std::istream& stream, FileBytes& bytes) {
  read_bytes(reader_of(stream), 0, bytes);
}

bool read_ply_header(FILE* file, PlyGrammar grammar, PlyHeader& header, std::ostream& messages) {
  return read_header(reader_of(file), grammar, header, messages);
}

bool read_ply_header(std::istream& stream, PlyGrammar grammar, PlyHeader& header,
                     std::ostream& messages) {
  return read_header(reader_of(stream), grammar, header, messages);
}

PlyBody read_ply_after_header(const PlyHeader& header, const FileBytes& bytes, TriMeshData& data,
                              std::ostream& messages) {
  // Also a text that ends with its header leaves nothing to go on with.
  if (header.body >= bytes.size() && (header.body > bytes.size() || !header.options.is_binary())) {
    messages << "[PLYReader] : cannot not use stream\n";
    return {false, 0, bytes.end()};
  }
  return read_ply_body(header, bytes.begin() + header.body, bytes.end(), data, messages);
}

PlyBody read_ply_file(StreamOwner file, const std::string& name, PlyHeader& header,
                      TriMeshData& data, std::ostream& messages) {
  if (file == nullptr) {
    messages << "[PLYReader] : cannot not open file " << name << '\n';
    return {};
  }
  FileBytes bytes;
  read_ply_bytes(file.get(), bytes);
  file.reset();
  bool ran_out = false;
  PlyHeader checked;
  if (!parse_ply_header(bytes.begin(), bytes.end(), PlyGrammar::kCheck, checked, messages,
                        ran_out) ||
      !parse_ply_header(bytes.begin(), bytes.end(), PlyGrammar::kRead, header, messages, ran_out)) {
    messages << "[PLYReader] : cannot not read header\n";
    return {};
  }
  return read_ply_after_header(header, bytes, data, messages);
}

}  // namespace scanmesh
