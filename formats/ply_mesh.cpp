// A PLY file as a mesh: every vertex in file order, then the faces between them.
#include <cmath>
#include <memory>
#include <new>

#include "core/messages.h"
#include "core/platform.h"
#include "core/vector_math.h"
#include "formats/ply_input.h"
#include "formats/reading_failure.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

using Mesh_R::_vert;
using ply_reader_writer::TriMeshData;
using scanmesh::Vec3f;

namespace {

constexpr int kRead = 0;
constexpr int kNotEnoughMemory = -1;
constexpr int kOutOfMemory = -2;
constexpr int kRefused = -3;

// Faces that name a vertex that isn't there; they are left out.
int64_t count_astray(const TriMeshData& data) {
  const uint32_t vertices = static_cast<uint32_t>(data.nb_vertex);
  int64_t astray = 0;
  const int32_t* corner = data.faceindex;
  for (int32_t i = 0; i < data.nb_face; ++i, corner += 3) {
    // A negative index is beyond the last vertex too.
    astray += static_cast<uint32_t>(corner[0]) >= vertices ||
              static_cast<uint32_t>(corner[1]) >= vertices ||
              static_cast<uint32_t>(corner[2]) >= vertices;
  }
  return astray;
}

void insert_vertices(Mesh& mesh, const TriMeshData& data) {
  const float* p = data.xyz;
  for (int32_t i = 0; i < data.nb_vertex; ++i, p += 3) {
    Vec3f point{p[0], p[1], p[2]};
    mesh.vertex.insert_vert(point);
  }
}

void insert_faces(Mesh& mesh, const TriMeshData& data) {
  const uint32_t vertices = static_cast<uint32_t>(data.nb_vertex);
  const int32_t* index = data.faceindex;
  for (int32_t i = 0; i < data.nb_face; ++i, index += 3) {
    _vert* corner[3];
    bool astray = false;
    for (int k = 0; k < 3; ++k) {
      astray = astray || static_cast<uint32_t>(index[k]) >= vertices;
      corner[k] = astray ? nullptr : mesh.vertex[index[k]];
    }
    if (astray) continue;
    Vec3f normal = scanmesh::unit_normal(corner[0]->point, corner[1]->point, corner[2]->point);
    if (std::isnan(normal.x)) continue;
    mesh.insert_face(corner[0], corner[1], corner[2], normal);
  }
}

int load(Mesh& mesh, FILE* file, const std::string& name, TriMeshData& data) {
  // Hosts' logs hold what the reader says.
  scanmesh::Message messages(scanmesh::Channel::error);
  scanmesh::StreamOwner stream(file);
  if (!scanmesh::memory_suffices(scanmesh::memory_status())) return kNotEnoughMemory;
  try {
    scanmesh::PlyHeader header;
    const scanmesh::PlyBody body =
        scanmesh::read_ply_file(std::move(stream), name, header, data, messages.stream());
    if (body.out_of_memory) throw std::bad_alloc();
    if (!body.complete) return kRefused;
    const int64_t astray = count_astray(data);
    scanmesh::tell_invalid_faces(body.invalid + astray, static_cast<int32_t>(data.nb_face - astray),
                                 messages.stream());
    mesh.inalize();
    mesh.face.real_num = 0;  // of what the mesh held before nothing is left
    insert_vertices(mesh, data);
    insert_faces(mesh, data);
  } catch (const std::bad_alloc&) {
    scanmesh::free_after_failure(mesh);
    return kOutOfMemory;
  }
  return kRead;
}

template <typename Path>
int load_data(Mesh& mesh, const Path* path, const std::string& name) {
  TriMeshData data;
  return load(mesh, scanmesh::open_file(path, "rb"), name, data);
}

template <typename Path>
float* load_colours(Mesh& mesh, const Path* path, const std::string& name) {
  TriMeshData data;
  if (load(mesh, scanmesh::open_file(path, "rb"), name, data) != kRead || !data.hascolor) {
    return nullptr;
  }
  const std::size_t vertices = static_cast<std::size_t>(data.nb_vertex);
  float* const colours = new (std::nothrow) float[3 * vertices];
  if (colours == nullptr) return nullptr;
  for (std::size_t i = 0; i < vertices; ++i) {
    for (std::size_t k = 0; k < 3; ++k) colours[3 * i + k] = data.rgba[4 * i + k];
  }
  return colours;
}

std::string name_of(const wchar_t* path) {
  return path == nullptr ? std::string() : scanmesh::utf8(path);
}
std::string name_of(const char* path) {
  return path == nullptr ? std::string() : path;
}

}  // namespace

int Mesh::input_ply_data(const wchar_t* path) {
  return load_data(*this, path, name_of(path));
}
int Mesh::input_ply_data(const std::wstring& path) {
  return input_ply_data(path.c_str());
}
int Mesh::input_ply_data(const char* path) {
  return load_data(*this, path, name_of(path));
}

float* Mesh::input_ply(const wchar_t* path) {
  return load_colours(*this, path, name_of(path));
}
float* Mesh::input_ply(const std::wstring& path) {
  return input_ply(path.c_str());
}
float* Mesh::input_ply(const char* path) {
  return load_colours(*this, path, name_of(path));
}

}  // namespace Mesh_M
