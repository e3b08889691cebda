#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>

#include "peers/file_peers.h"

namespace peers {
namespace {

Job load(const std::string& path) {
  auto importer = std::make_shared<Assimp::Importer>();
  return [path, importer]() -> long long {
    const aiScene* const scene = importer->ReadFile(path, 0);
    if (scene == nullptr || scene->mNumMeshes == 0) return -1;
    return scene->mMeshes[0]->mNumFaces;
  };
}

bool read(const std::string& path, IndexedMesh& out) {
  Assimp::Importer importer;
  const aiScene* const scene = importer.ReadFile(path, 0);
  if (scene == nullptr || scene->mNumMeshes == 0) return false;
  const aiMesh& mesh = *scene->mMeshes[0];
  for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
    const aiVector3D& p = mesh.mVertices[i];
    out.points.insert(out.points.end(), {p.x, p.y, p.z});
  }
  for (unsigned int i = 0; i < mesh.mNumFaces; ++i) {
    const aiFace& face = mesh.mFaces[i];
    out.corners.insert(out.corners.end(), face.mIndices, face.mIndices + face.mNumIndices);
  }
  return true;
}

// A scene of one mesh, which owns everything below it.
std::shared_ptr<aiScene> scene_of(const IndexedMesh& source) {
  auto scene = std::make_shared<aiScene>();
  scene->mMaterials = new aiMaterial* [1] { new aiMaterial };
  scene->mNumMaterials = 1;
  auto* const mesh = new aiMesh;
  scene->mMeshes = new aiMesh* [1] { mesh };
  scene->mNumMeshes = 1;
  scene->mRootNode = new aiNode;
  scene->mRootNode->mMeshes = new unsigned int[1]{0};
  scene->mRootNode->mNumMeshes = 1;
  mesh->mPrimitiveTypes = aiPrimitiveType_TRIANGLE;
  mesh->mNumVertices = static_cast<unsigned int>(source.points.size() / 3);
  mesh->mVertices = new aiVector3D[mesh->mNumVertices];
  for (unsigned int i = 0; i < mesh->mNumVertices; ++i) {
    const float* const p = &source.points[3 * static_cast<std::size_t>(i)];
    mesh->mVertices[i] = aiVector3D(p[0], p[1], p[2]);
  }
  mesh->mNumFaces = static_cast<unsigned int>(source.corners.size() / 3);
  mesh->mFaces = new aiFace[mesh->mNumFaces];
  for (unsigned int i = 0; i < mesh->mNumFaces; ++i) {
    const unsigned int* const c = &source.corners[3 * static_cast<std::size_t>(i)];
    mesh->mFaces[i].mNumIndices = 3;
    mesh->mFaces[i].mIndices = new unsigned int[3]{c[0], c[1], c[2]};
  }
  return scene;
}

const char* format_of(FileKind kind) {
  switch (kind) {
    case FileKind::ply_binary:
      return "plyb";
    case FileKind::ply_ascii:
      return "ply";
    case FileKind::obj:
      return "objnomtl";
    case FileKind::stl_binary:
      return "stlb";
    case FileKind::stl_ascii:
      return "stl";
    default:
      return nullptr;
  }
}

Job save(const IndexedMesh& source, const std::string& path, FileKind kind) {
  const char* const format = format_of(kind);
  if (format == nullptr) return {};
  const auto scene = scene_of(source);
  return [scene, path, format]() -> long long {
    Assimp::Exporter exporter;
    if (exporter.Export(scene.get(), format, path) != aiReturn_SUCCESS) return -1;
    return scene->mMeshes[0]->mNumFaces;
  };
}

}  // namespace

FilePeer assimp_files() {
  return {"assimp", load, read, save};
}

}  // namespace peers
