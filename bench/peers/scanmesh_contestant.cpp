#include <cstdio>
#include <memory>
#include <vector>

#include "peers/contestants.h"
#include "scanmesh/mesh.h"

namespace peers {

Contestant scanmesh_load(const std::string& path) {
  return {"scanmesh", [path]() -> Job {
            auto mesh = std::make_shared<Mesh_M::Mesh>();
            return [mesh, path]() -> long long {
              std::FILE* const file = std::fopen(path.c_str(), "rb");
              if (file == nullptr || mesh->input_data(file) != 0) return -1;
              mesh->inalize_mesh();
              return mesh->face.real_num;
            };
          }};
}

Contestant scanmesh_simplify(const IndexedMesh& mesh, int target) {
  return {"scanmesh", [&mesh, target]() -> Job {
            auto copy = std::make_shared<Mesh_M::Mesh>();
            std::vector<float> points(mesh.points);
            std::vector<int> corners(mesh.corners.begin(), mesh.corners.end());
            copy->rebuild(points.data(), static_cast<int>(points.size() / 3), corners.data(),
                          static_cast<int>(corners.size() / 3));
            return [copy, target]() -> long long {
              copy->Mesh_simplify(target, true);
              return copy->face.get_real_facenum();
            };
          }};
}

}  // namespace peers
