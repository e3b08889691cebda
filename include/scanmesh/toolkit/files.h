// Meshes from files and into files.
#ifndef SCANMESH_TOOLKIT_FILES_H
#define SCANMESH_TOOLKIT_FILES_H

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "scanmesh/toolkit/error.h"
#include "scanmesh/toolkit/export.h"
#include "scanmesh/toolkit/triangle_mesh.h"

namespace scanmesh {

/// The formats. All are written; stl, ply, obj and off are read as meshes, xyz and ply as points.
enum class Format { stl, ply, obj, off, glb, xyz, wrl, x3d, dae };

/// The format that an extension stands for, with or without its point, in any case. Throws
/// Error(unknown_format) for others.
SCANMESH_TOOLKIT_API Format format_of_extension(std::string_view extension);
SCANMESH_TOOLKIT_API Format format_of_path(const std::filesystem::path& path);

struct WriteOptions {
  bool text = false;  // STL and PLY as text
  /// PLY with doubles, so that it reads back bit for bit; floats else. Text always has all digits.
  bool doubles = false;
  Progress progress;
};

/// Reads a mesh. The content decides on the format, not the extension. Order and count are the
/// file's; faces of more than three corners become triangles; of STL, which repeats its corners,
/// three points per facet are left: see weld(). Throws Error(cannot_read) with a sentence that says
/// what was found: missing, a folder, empty, no mesh, shortened.
SCANMESH_TOOLKIT_API TriangleMesh read_mesh(const std::filesystem::path& path,
                                            const Progress& progress = {});
/// The same from memory; `name` stands in messages.
SCANMESH_TOOLKIT_API TriangleMesh parse_mesh(std::string_view bytes, const std::string& name);

/// Points with normals, from XYZ (x y z nx ny nz a line) or PLY; triangles of a PLY are left out.
/// Throws as read_mesh, also where there are no normals.
SCANMESH_TOOLKIT_API TriangleMesh read_points(const std::filesystem::path& path);
SCANMESH_TOOLKIT_API TriangleMesh parse_points(std::string_view bytes, const std::string& name);

/// Writes a mesh in the format of the extension: into a temporary file beside the target first,
/// which takes the target's place when it is whole. A full disk, a crash or Cancelled leave the
/// target as it was. Throws Error(cannot_write) or Error(unknown_format).
SCANMESH_TOOLKIT_API void write_mesh(const TriangleMesh& mesh, const std::filesystem::path& path,
                                     const WriteOptions& options = {});
/// The bytes of such a file.
SCANMESH_TOOLKIT_API std::string format_mesh(const TriangleMesh& mesh, Format format,
                                             const WriteOptions& options = {});

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_FILES_H
