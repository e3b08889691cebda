#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <assimp/Importer.hpp>
#include <memory>

#include "peers/contestants.h"

namespace peers {

Contestant assimp_load(const std::string& path) {
  return {"assimp", [path]() -> Job {
            auto importer = std::make_shared<Assimp::Importer>();
            // The file's facet normals would keep equal points apart.
            importer->SetPropertyInteger(AI_CONFIG_PP_RVC_FLAGS, aiComponent_NORMALS);
            return [importer, path]() -> long long {
              const aiScene* const scene = importer->ReadFile(
                  path, aiProcess_RemoveComponent | aiProcess_JoinIdenticalVertices);
              if (scene == nullptr || scene->mNumMeshes == 0) return -1;
              return scene->mMeshes[0]->mNumFaces;
            };
          }};
}

}  // namespace peers
