#include <open3d/geometry/PointCloud.h>
#include <open3d/geometry/TriangleMesh.h>
#include <open3d/io/PointCloudIO.h>
#include <open3d/io/TriangleMeshIO.h>

#include "peers/file_peers.h"

namespace peers {
namespace {

using TriangleMesh = open3d::geometry::TriangleMesh;

Job load(const std::string& path) {
  auto mesh = std::make_shared<TriangleMesh>();
  return [path, mesh]() -> long long {
    if (!open3d::io::ReadTriangleMesh(path, *mesh)) return -1;
    return static_cast<long long>(mesh->triangles_.size());
  };
}

bool read(const std::string& path, IndexedMesh& out) {
  TriangleMesh mesh;
  if (!open3d::io::ReadTriangleMesh(path, mesh)) return false;
  for (const auto& p : mesh.vertices_) {
    for (int axis = 0; axis < 3; ++axis) out.points.push_back(static_cast<float>(p[axis]));
  }
  for (const auto& t : mesh.triangles_) {
    for (int k = 0; k < 3; ++k) out.corners.push_back(static_cast<unsigned int>(t[k]));
  }
  return true;
}

Job save(const IndexedMesh& source, const std::string& path, FileKind kind) {
  if (kind == FileKind::stl_ascii || kind >= FileKind::xyz) return {};
  auto mesh = std::make_shared<TriangleMesh>();
  for (std::size_t i = 0; i + 2 < source.points.size(); i += 3) {
    mesh->vertices_.emplace_back(source.points[i], source.points[i + 1], source.points[i + 2]);
  }
  for (std::size_t i = 0; i + 2 < source.corners.size(); i += 3) {
    mesh->triangles_.emplace_back(static_cast<int>(source.corners[i]),
                                  static_cast<int>(source.corners[i + 1]),
                                  static_cast<int>(source.corners[i + 2]));
  }
  // Where scanmesh writes normals, so does it; STL needs those of the faces.
  const bool normals = kind == FileKind::obj;
  if (normals || kind == FileKind::stl_binary) mesh->ComputeVertexNormals();
  const bool ascii = kind == FileKind::ply_ascii || kind == FileKind::obj;
  return [mesh, path, ascii, normals]() -> long long {
    if (!open3d::io::WriteTriangleMesh(path, *mesh, ascii, false, normals, false, false)) return -1;
    return static_cast<long long>(mesh->triangles_.size());
  };
}

}  // namespace

FilePeer open3d_files() {
  return {"Open3D", load, read, save};
}

bool open3d_points_of(const std::string& path, std::vector<float>& points) {
  open3d::geometry::PointCloud cloud;
  open3d::io::ReadPointCloudOption option;
  option.format = "xyzn";
  option.remove_nan_points = false;
  if (!open3d::io::ReadPointCloud(path, cloud, option)) return false;
  for (const auto& p : cloud.points_) {
    for (int axis = 0; axis < 3; ++axis) points.push_back(static_cast<float>(p[axis]));
  }
  return true;
}

}  // namespace peers
