#include <OpenMesh/Core/IO/MeshIO.hh>
#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>

#include "peers/file_peers.h"

namespace peers {
namespace {

using TriMesh = OpenMesh::TriMesh_ArrayKernelT<>;
using IoOptions = OpenMesh::IO::Options;

Job load(const std::string& path) {
  auto mesh = std::make_shared<TriMesh>();
  return [path, mesh]() -> long long {
    IoOptions options;
    if (!OpenMesh::IO::read_mesh(*mesh, path, options)) return -1;
    return static_cast<long long>(mesh->n_faces());
  };
}

bool read(const std::string& path, IndexedMesh& out) {
  TriMesh mesh;
  IoOptions options;
  if (!OpenMesh::IO::read_mesh(mesh, path, options)) return false;
  for (const auto v : mesh.vertices()) {
    const TriMesh::Point p = mesh.point(v);
    out.points.insert(out.points.end(), {p[0], p[1], p[2]});
  }
  for (const auto f : mesh.faces()) {
    for (auto corner = mesh.cfv_iter(f); corner.is_valid(); ++corner) {
      out.corners.push_back(static_cast<unsigned int>(corner->idx()));
    }
  }
  return true;
}

Job save(const IndexedMesh& source, const std::string& path, FileKind kind) {
  if (kind >= FileKind::xyz) return {};
  auto mesh = std::make_shared<TriMesh>();
  std::vector<TriMesh::VertexHandle> handles;
  for (std::size_t i = 0; i + 2 < source.points.size(); i += 3) {
    handles.push_back(mesh->add_vertex(
        TriMesh::Point(source.points[i], source.points[i + 1], source.points[i + 2])));
  }
  for (std::size_t i = 0; i + 2 < source.corners.size(); i += 3) {
    mesh->add_face(handles[source.corners[i]], handles[source.corners[i + 1]],
                   handles[source.corners[i + 2]]);
  }
  IoOptions options;
  if (kind == FileKind::ply_binary || kind == FileKind::stl_binary) options += IoOptions::Binary;
  if (kind == FileKind::obj) {
    mesh->request_face_normals();
    mesh->request_vertex_normals();
    mesh->update_normals();
    options += IoOptions::VertexNormal;
  }
  // As many decimals as "%f" has at the size of the models.
  return [mesh, path, options]() -> long long {
    if (!OpenMesh::IO::write_mesh(*mesh, path, options, 9)) return -1;
    return static_cast<long long>(mesh->n_faces());
  };
}

}  // namespace

FilePeer openmesh_files() {
  return {"OpenMesh", load, read, save};
}

}  // namespace peers
