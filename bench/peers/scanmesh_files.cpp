#include <cstdio>
#include <fstream>

#include "peers/file_peers.h"
#include "peers/scanmesh_mesh.h"
#include "scanmesh/mesh.h"
#include "scanmesh/mesh_block.h"
#include "scanmesh/ply_reader.h"

namespace peers {
namespace {

bool has_extension(const std::string& path, const std::string& extension) {
  return path.size() > extension.size() &&
         path.compare(path.size() - extension.size(), extension.size(), extension) == 0;
}

// Binary when the size says so.
bool read_stl(const std::string& path, Mesh_M::Mesh& mesh) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return false;
  std::fseek(file, 0, SEEK_END);
  const long size = std::ftell(file);
  unsigned char count[4] = {};
  std::fseek(file, 80, SEEK_SET);
  const bool counted = std::fread(count, 1, 4, file) == 4;
  const long facets = count[0] | count[1] << 8 | count[2] << 16 | static_cast<long>(count[3]) << 24;
  if (counted && size == 84 + 50 * facets) return mesh.input_data(file) == 0;
  std::rewind(file);
  const bool sound = mesh.input_data_ASCII(file);
  std::fclose(file);
  return sound;
}

bool read_mesh(const std::string& path, Mesh_M::Mesh& mesh) {
  if (has_extension(path, ".ply")) return mesh.input_ply_data(path.c_str()) == 0;
  if (has_extension(path, ".stl")) return read_stl(path, mesh);
  return false;
}

bool read(const std::string& path, IndexedMesh& out) {
  Mesh_M::Mesh mesh;
  if (!read_mesh(path, mesh)) return false;
  mesh.refresh_point_index();
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const auto& p = mesh.vertex[i]->point;
    out.points.insert(out.points.end(), {p.x, p.y, p.z});
  }
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    for (const auto* corner : mesh.face[i]->vert) {
      out.corners.push_back(static_cast<unsigned int>(corner->index));
    }
  }
  return true;
}

Job load(const std::string& path) {
  auto data = std::make_shared<ply_reader_writer::TriMeshData>();
  return [path, data]() -> long long {
    ply_reader_writer::PLY_Reader reader;
    ply_reader_writer::Options options;
    if (!reader.read(std::wstring(path.begin(), path.end()), *data, options)) return -1;
    return data->nb_face;
  };
}

// The whole mesh as one block.
std::shared_ptr<Mesh_M::MeshBlockData> block_of(Mesh_M::Mesh& mesh) {
  auto data = std::make_shared<Mesh_M::MeshBlockData>();
  std::vector<std::vector<Mesh_R::_face*>> blocks(1);
  for (int i = 0; i < mesh.face.get_facenum(); ++i) blocks[0].push_back(mesh.face[i]);
  Mesh_M::MeshBlock::getMeshBlock(&mesh, blocks, {mesh.vertex.get_vertnum()}, *data);
  return data;
}

Job save(const IndexedMesh& source, const std::string& path, FileKind kind) {
  const auto mesh = mesh_of(source);
  const long long faces = mesh->face.real_num;
  const std::wstring wide(path.begin(), path.end());
  switch (kind) {
    case FileKind::ply_binary: {
      const auto block = block_of(*mesh);
      return [mesh, block, wide, faces] {
        Mesh_M::MeshBlock::outputPLYFormMeshBlock(*block, wide);
        return faces;
      };
    }
    case FileKind::ply_ascii:
      return [mesh, wide, faces] {
        mesh->output_PLY(wide.c_str());
        return faces;
      };
    case FileKind::obj:
      return [mesh, wide, faces] {
        mesh->output_OBJ(wide.c_str());
        return faces;
      };
    case FileKind::stl_binary:
      return [mesh, path, faces] {
        mesh->output_STL(path.c_str());
        return faces;
      };
    case FileKind::xyz:
      return [mesh, path, faces] {
        mesh->output_XYZ(path.c_str());
        return faces;
      };
    case FileKind::wrl:
    case FileKind::x3d:
    case FileKind::dae:
      return [mesh, path, kind, faces] {
        std::string extension = extension_of(kind);
        mesh->output_data(path.c_str(), extension, false);
        return faces;
      };
    default:
      return {};
  }
}

}  // namespace

FilePeer scanmesh_files() {
  return {"scanmesh", load, read, save};
}

Job scanmesh_mesh_of_ply(const std::string& path) {
  auto mesh = std::make_shared<Mesh_M::Mesh>();
  return [path, mesh]() -> long long {
    if (mesh->input_ply_data(path.c_str()) != 0) return -1;
    return mesh->face.real_num;
  };
}

}  // namespace peers
