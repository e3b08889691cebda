// Meshes from files and standard input, and back.
#ifndef SCANMESH_CLI_MESH_FILES_H
#define SCANMESH_CLI_MESH_FILES_H

#include <cstdint>
#include <filesystem>
#include <string>

#include "cli/session.h"
#include "scanmesh/toolkit/files.h"

namespace scanmesh::cli {

struct InputFile {
  std::string path;
  std::string from;      // of standard input: the name of a format
  bool no_weld = false;  // points at one place stay apart
};

struct OutputFile {
  std::string path;
  std::string to;  // of standard output: the name of a format
  bool text = false;
  bool doubles = false;
};

struct Loaded {
  TriangleMesh mesh;
  std::int64_t joined_points = 0;
};

// Reads a mesh as it stands. Points, where it is one of XYZ.
TriangleMesh read_as_is(const InputFile& file, Session& session);
// Reads a mesh and joins points at exactly one place, which STL repeats for each facet.
Loaded load(const InputFile& file, Session& session);
TriangleMesh load_points(const InputFile& file, Session& session);

// Where the result goes. Made before the work begins: it refuses what can't be written then.
class Target {
 public:
  Target(const OutputFile& file, Session& session);
  ~Target();
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

  Format format() const { return format_; }
  // Of what is staged from now on.
  void use_doubles() { options_.doubles = true; }

  // The result's bytes are whole and stand aside; nothing has changed yet.
  void stage(const TriangleMesh& mesh);
  // The target becomes the result.
  void commit();

 private:
  void check_file();

  Session& session_;
  bool to_output_;
  Format format_ = Format::stl;
  WriteOptions options_;
  std::filesystem::path path_;
  std::filesystem::path staged_;
  std::string bytes_;
};

// Stages, reports and commits, so that a report that can't be written leaves the target alone.
void deliver(Target& target, const TriangleMesh& mesh, Session& session, const Json& document,
             const std::string& text);

// A document's head, the same for every command.
Json document_of(const char* command, const std::string& input, const std::string& output);

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_MESH_FILES_H
