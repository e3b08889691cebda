#include "mesh_file.h"

#include <cstdio>
#include <filesystem>
#include <vector>

#include "load_scan.h"
#include "scanmesh/mesh_block.h"
#include "support/stl_file.h"

namespace demo {
namespace {

std::wstring wide(const std::string& path) {
  return std::filesystem::u8path(path).wstring();
}

// All live faces as one block: the library writes binary PLY from blocks.
void save_binary_ply(const std::string& path, Mesh_M::Mesh& mesh) {
  std::vector<std::vector<Mesh_R::_face*>> blocks(1);
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    if (mesh.face[i]->state != Mesh_R::kStateDeleted) blocks[0].push_back(mesh.face[i]);
  }
  Mesh_M::MeshBlockData data;
  Mesh_M::MeshBlock::getMeshBlock(&mesh, blocks, {mesh.vertex.get_vertnum()}, data);
  Mesh_M::MeshBlock::outputPLYFormMeshBlock(data, wide(path));
}

}  // namespace

std::string extension_of(const std::string& path) {
  const std::size_t point = path.find_last_of("./\\");
  if (point == std::string::npos || path[point] != '.') return "";
  std::string extension = path.substr(point);
  for (char& c : extension) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return extension;
}

bool load_mesh(const std::string& path, Mesh_M::Mesh& mesh, std::string& reason) {
  const std::string extension = extension_of(path);
  bool read = false;
  if (extension == ".stl") {
    read = load_scan(path, mesh);
  } else if (extension == ".ply") {
    read = mesh.input_ply_data(path.c_str()) == 0;
  } else {
    reason = "can't be read: the library reads .stl and .ply";
    return false;
  }
  if (!read) {
    reason = "can't be read as " + extension.substr(1) + ", or is too large for the memory at hand";
    return false;
  }
  mesh.inalize_mesh();
  return true;
}

bool save_mesh(const std::string& path, Mesh_M::Mesh& mesh, PlyKind ply, std::string& reason) {
  const std::string extension = extension_of(path);
  const bool known = extension == ".stl" || extension == ".ply" || extension == ".obj" ||
                     extension == ".wrl" || extension == ".x3d" || extension == ".dae" ||
                     extension == ".xyz";
  if (!known) {
    reason = "can't be written: the library writes .stl .ply .obj .wrl .x3d .dae .xyz";
    return false;
  }
  // The writers report no failure, so the path is tried first.
  if (!File(std::fopen(path.c_str(), "wb"))) {
    reason = "can't be opened for writing";
    return false;
  }
  if (extension == ".obj") {
    mesh.output_OBJ(wide(path).c_str());
  } else if (extension == ".ply" && ply == PlyKind::binary) {
    save_binary_ply(path, mesh);
  } else if (extension == ".ply") {
    mesh.output_PLY(wide(path).c_str());
  } else {
    std::string dispatched = extension;
    mesh.output_data(path.c_str(), dispatched, false);
  }
  return true;
}

}  // namespace demo
