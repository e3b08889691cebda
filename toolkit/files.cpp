#include "scanmesh/toolkit/files.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <system_error>

#include "toolkit/assimp_reading.h"
#include "toolkit/formatting.h"
#include "toolkit/parsing.h"
#include "toolkit/progress.h"
#include "toolkit/text_scanner.h"
#include "toolkit/validity.h"

namespace scanmesh {
namespace {

namespace fs = std::filesystem;

struct Named {
  std::string_view extension;
  Format format;
};
constexpr Named kFormats[] = {{"stl", Format::stl}, {"ply", Format::ply}, {"obj", Format::obj},
                              {"off", Format::off}, {"glb", Format::glb}, {"xyz", Format::xyz},
                              {"wrl", Format::wrl}, {"x3d", Format::x3d}, {"dae", Format::dae}};

std::string shown(const fs::path& path) {
  return path.u8string();
}

[[noreturn]] void refuse(const std::string& name, const std::string& what) {
  throw Error(ErrorCode::cannot_read, name + " " + what);
}

std::string load(const fs::path& path, const Progress& progress) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) refuse(shown(path), "does not exist");
  if (fs::is_directory(status)) refuse(shown(path), "is a folder");
  std::ifstream stream(path, std::ios::binary);
  if (!stream) refuse(shown(path), std::string("can't be opened: ") + std::strerror(errno));
  std::string bytes;
  const std::uintmax_t size = fs::is_regular_file(status) ? fs::file_size(path, error) : 0;
  if (!error && size > 0) bytes.reserve(static_cast<std::size_t>(size));
  std::string block(1 << 22, '\0');
  while (stream) {
    stream.read(block.data(), static_cast<std::streamsize>(block.size()));
    bytes.append(block, 0, static_cast<std::size_t>(stream.gcount()));
    report(progress,
           size > 0 ? 0.5 * static_cast<double>(bytes.size()) / static_cast<double>(size) : 0,
           "read");
  }
  if (!stream.eof()) refuse(shown(path), std::string("can't be read: ") + std::strerror(errno));
  return bytes;
}

bool starts_with(std::string_view bytes, std::string_view word) {
  return bytes.substr(0, word.size()) == word;
}

// The first line that says something, of a text.
std::string_view first_line(std::string_view bytes) {
  TextScanner text(bytes.substr(0, 4096));
  while (!text.at_end()) {
    const std::string_view line = text.line();
    if (!line.empty() && line.front() != '#') return line;
  }
  return {};
}

bool is_text(std::string_view bytes) {
  const std::string_view head = bytes.substr(0, 4096);
  return std::none_of(head.begin(), head.end(), [](char c) {
    return static_cast<unsigned char>(c) < 9 || (c > 13 && c < 32 && c != 27);
  });
}

bool is_off_head(std::string_view line) {
  const std::string_view word = TextScanner(line).word();
  return word.size() >= 3 && word.size() <= 8 && word.substr(word.size() - 3) == "OFF";
}

std::string quoted(std::string_view line) {
  return "\"" + std::string(line.substr(0, 40)) + (line.size() > 40 ? "...\"" : "\"");
}

TriangleMesh parse(std::string_view bytes) {
  if (bytes.empty()) throw ParseError("is empty");
  if (starts_with(bytes, "ply\n") || starts_with(bytes, "ply\r")) return parse_ply(bytes);
  if (looks_like_stl_binary(bytes)) return parse_stl_binary(bytes);
  if (!is_text(bytes)) {
    // What has no mark of its own can only be binary STL; it then says how much is missing.
    if (bytes.size() >= 84 && starts_with(bytes, "solid") == false) {
      TriangleMesh mesh;
      if (read_by_assimp(bytes, mesh)) return mesh;
      return parse_stl_binary(bytes);
    }
    throw ParseError("is no mesh: its bytes fit no format that is read here");
  }
  const std::string_view line = first_line(bytes);
  if (is_off_head(line)) return parse_off(bytes);
  const std::string_view word = TextScanner(line).word();
  if (word == "solid" || word == "SOLID" || word == "Solid") return parse_stl_text(bytes);
  for (const std::string_view known : {"v", "vn", "vt", "f", "o", "g", "mtllib", "usemtl", "s"}) {
    if (word == known) return parse_obj(bytes);
  }
  TriangleMesh mesh;
  if (read_by_assimp(bytes, mesh)) return mesh;
  throw ParseError("is a text but no mesh: it begins " + quoted(line));
}

void require_faces(const TriangleMesh& mesh) {
  if (mesh.triangles.empty()) throw ParseError("has no faces");
}

// A name beside the target that nobody else takes.
fs::path temporary_beside(const fs::path& target) {
  static std::atomic<unsigned> count{0};
  std::random_device device;
  fs::path name = target.filename();
  name += ".part-" + std::to_string(device()) + "-" + std::to_string(count++);
  return target.parent_path() / name;
}

// Goes again unless it has taken the target's place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const fs::path& target)
      : target_(target), path_(temporary_beside(target)) {
    stream_.open(path_, std::ios::binary | std::ios::trunc);
    if (!stream_) fail(errno);
  }
  ~TemporaryFile() {
    if (done_) return;
    stream_.close();
    std::error_code ignored;
    fs::remove(path_, ignored);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void write(std::string_view bytes) {
    stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream_) fail(errno);
    written_ += bytes.size();
  }

  void take_place() {
    stream_.close();
    if (!stream_) fail(errno);
    std::error_code error;
    if (fs::file_size(path_, error) != written_ || error) fail(error ? error.value() : ENOSPC);
    fs::rename(path_, target_, error);
    if (error)
      throw Error(ErrorCode::cannot_write,
                  shown(target_) + " can't be replaced: " + error.message());
    done_ = true;
  }

 private:
  [[noreturn]] void fail(int code) const {
    throw Error(ErrorCode::cannot_write,
                shown(target_) + " can't be written: " + std::generic_category().message(code));
  }

  fs::path target_;
  fs::path path_;
  std::ofstream stream_;
  std::uintmax_t written_ = 0;
  bool done_ = false;
};

}  // namespace

Format format_of_extension(std::string_view extension) {
  if (!extension.empty() && extension.front() == '.') extension.remove_prefix(1);
  std::string lower(extension);
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
  for (const Named& known : kFormats) {
    if (known.extension == lower) return known.format;
  }
  std::string all;
  for (const Named& known : kFormats)
    all += (all.empty() ? "" : ", ") + std::string(known.extension);
  throw Error(ErrorCode::unknown_format,
              "\"" + std::string(extension) + "\" is no format; there are " + all);
}

Format format_of_path(const fs::path& path) {
  if (path.extension().empty()) {
    throw Error(ErrorCode::unknown_format, shown(path) + " has no extension to tell its format");
  }
  return format_of_extension(path.extension().u8string());
}

TriangleMesh parse_mesh(std::string_view bytes, const std::string& name) {
  try {
    TriangleMesh mesh = parse(bytes);
    require_faces(mesh);
    return mesh;
  } catch (const ParseError& error) {
    refuse(name, error.what());
  }
}

TriangleMesh read_mesh(const fs::path& path, const Progress& progress) {
  const std::string bytes = load(path, progress);
  TriangleMesh mesh = parse_mesh(bytes, shown(path));
  report(progress, 1, "read");
  return mesh;
}

TriangleMesh parse_points(std::string_view bytes, const std::string& name) {
  TriangleMesh mesh;
  try {
    if (bytes.empty()) throw ParseError("is empty");
    if (!starts_with(bytes, "ply") && !is_text(bytes))
      throw ParseError("holds no points: it is no text");
    mesh = starts_with(bytes, "ply") ? parse_ply(bytes) : parse_xyz(bytes);
    if (mesh.points.empty()) throw ParseError("has no points");
    if (mesh.normals.empty()) {
      throw ParseError(
          "has points without normals; none are estimated: take a file with x y z nx ny nz");
    }
  } catch (const ParseError& error) {
    refuse(name, error.what());
  }
  mesh.triangles.clear();
  return mesh;
}

TriangleMesh read_points(const fs::path& path) {
  return parse_points(load(path, {}), shown(path));
}

void format_into(ByteSink& sink, const TriangleMesh& mesh, Format format,
                 const WriteOptions& options) {
  switch (format) {
    case Format::stl:
      return format_stl(sink, mesh, options.text);
    case Format::ply:
      return format_ply(sink, mesh, options.text, options.doubles);
    case Format::obj:
      return format_obj(sink, mesh);
    case Format::off:
      return format_off(sink, mesh);
    case Format::glb:
      return format_glb(sink, mesh);
    case Format::xyz:
      return format_xyz(sink, mesh);
    case Format::wrl:
      return format_wrl(sink, mesh);
    case Format::x3d:
      return format_x3d(sink, mesh);
    case Format::dae:
      return format_dae(sink, mesh);
  }
}

std::string format_mesh(const TriangleMesh& mesh, Format format, const WriteOptions& options) {
  require_valid(mesh);
  std::string all;
  ByteSink sink([&all](std::string_view bytes) { all += bytes; });
  format_into(sink, mesh, format, options);
  sink.flush();
  return all;
}

void write_mesh(const TriangleMesh& mesh, const fs::path& path, const WriteOptions& options) {
  require_valid(mesh);
  const Format format = format_of_path(path);
  std::error_code error;
  if (fs::is_directory(path, error)) {
    throw Error(ErrorCode::cannot_write, shown(path) + " is a folder");
  }
  TemporaryFile file(path);
  std::uintmax_t written = 0;
  ByteSink sink([&](std::string_view bytes) {
    file.write(bytes);
    written += bytes.size();
    // About a hundred bytes a triangle, in the mean of the formats.
    const double expected = 100.0 * static_cast<double>(mesh.triangles.size()) + 1;
    report(options.progress, std::min(0.99, static_cast<double>(written) / expected), "write");
  });
  format_into(sink, mesh, format, options);
  sink.flush();
  file.take_place();
}

}  // namespace scanmesh
