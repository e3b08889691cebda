#include <cstdio>
#include <memory>
#include <vector>

#include "peers/contestants.h"
#include "peers/scanmesh_mesh.h"
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
            const auto copy = mesh_of(mesh);
            return [copy, target]() -> long long {
              copy->Mesh_simplify(target, true);
              return copy->face.get_real_facenum();
            };
          }};
}

Contestant scanmesh_smooth(const IndexedMesh& mesh) {
  return {"scanmesh", [&mesh]() -> Job {
            const auto copy = mesh_of(mesh);
            return [copy]() -> long long {
              copy->meshSmooth(10);
              return copy->face.get_real_facenum();
            };
          }};
}

// Both halves: the facets, and the welded mesh made of them.
Contestant scanmesh_subdivide(const IndexedMesh& mesh) {
  return {"scanmesh", [&mesh]() -> Job {
            const auto source = mesh_of(mesh);
            const auto made = std::make_shared<Mesh_M::Mesh>();
            return [source, made]() -> long long {
              fmx::sub_mid facets = source->Mesh_loop_subdividion_step1();
              Mesh_M::Mesh* target = made.get();
              const int status = source->Mesh_loop_subdividion_step2(target, facets);
              delete[] facets.faces;
              return status == 0 ? made->face.get_real_facenum() : -1;
            };
          }};
}

}  // namespace peers
