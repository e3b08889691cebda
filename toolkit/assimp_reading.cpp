#include "toolkit/assimp_reading.h"

#ifdef SCANMESH_WITH_ASSIMP

#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <assimp/Importer.hpp>

namespace scanmesh {

bool read_by_assimp(std::string_view bytes, TriangleMesh& mesh) {
  Assimp::Importer importer;
  const aiScene* const scene = importer.ReadFileFromMemory(
      bytes.data(), bytes.size(), aiProcess_Triangulate | aiProcess_PreTransformVertices);
  if (scene == nullptr) return false;
  TriangleMesh read;
  for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
    const aiMesh& part = *scene->mMeshes[m];
    const auto first = static_cast<std::int32_t>(read.points.size());
    for (unsigned v = 0; v < part.mNumVertices; ++v) {
      const aiVector3D& p = part.mVertices[v];
      read.points.push_back(
          {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)});
    }
    for (unsigned f = 0; f < part.mNumFaces; ++f) {
      const aiFace& face = part.mFaces[f];
      if (face.mNumIndices != 3) continue;  // points and lines
      Triangle t;
      for (unsigned k = 0; k < 3; ++k) t[k] = first + static_cast<std::int32_t>(face.mIndices[k]);
      read.triangles.push_back(t);
    }
  }
  if (read.triangles.empty()) return false;
  mesh = std::move(read);
  return true;
}

}  // namespace scanmesh

#else

namespace scanmesh {

bool read_by_assimp(std::string_view, TriangleMesh&) {
  return false;
}

}  // namespace scanmesh

#endif
