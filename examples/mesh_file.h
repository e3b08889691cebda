// Opening and saving a mesh by the extension of its file.
#ifndef SCANMESH_EXAMPLES_MESH_FILE_H
#define SCANMESH_EXAMPLES_MESH_FILE_H

#include <string>

#include "scanmesh/mesh.h"

namespace demo {

/// The extension with its point, in lower case; empty when there is none.
std::string extension_of(const std::string& path);

/// Reads .stl (binary or ASCII) or .ply into a fresh mesh, and computes its normals. False, with a
/// reason, for another extension and for a file that is refused.
bool load_mesh(const std::string& path, Mesh_M::Mesh& mesh, std::string& reason);

enum class PlyKind { ascii, binary };

/// Writes .stl, .ply, .obj, .wrl, .x3d, .dae or .xyz. False, with a reason, for another extension
/// and for a path that can't be written.
bool save_mesh(const std::string& path, Mesh_M::Mesh& mesh, PlyKind ply, std::string& reason);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_MESH_FILE_H
