#include <OpenMesh/Core/IO/MeshIO.hh>
#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>
#include <OpenMesh/Tools/Decimater/DecimaterT.hh>
#include <OpenMesh/Tools/Decimater/ModQuadricT.hh>
#include <OpenMesh/Tools/Subdivider/Uniform/LoopT.hh>
#include <memory>

#include "peers/contestants.h"

namespace peers {
namespace {

using TriMesh = OpenMesh::TriMesh_ArrayKernelT<>;

std::shared_ptr<TriMesh> mesh_of(const IndexedMesh& mesh) {
  auto copy = std::make_shared<TriMesh>();
  std::vector<TriMesh::VertexHandle> handles;
  for (std::size_t i = 0; i + 2 < mesh.points.size(); i += 3) {
    handles.push_back(
        copy->add_vertex(TriMesh::Point(mesh.points[i], mesh.points[i + 1], mesh.points[i + 2])));
  }
  for (std::size_t i = 0; i + 2 < mesh.corners.size(); i += 3) {
    copy->add_face(handles[mesh.corners[i]], handles[mesh.corners[i + 1]],
                   handles[mesh.corners[i + 2]]);
  }
  return copy;
}

}  // namespace

Contestant openmesh_load(const std::string& path) {
  return {"OpenMesh", [path]() -> Job {
            auto mesh = std::make_shared<TriMesh>();
            mesh->request_face_normals();
            mesh->request_vertex_normals();
            return [mesh, path]() -> long long {
              OpenMesh::IO::Options options(OpenMesh::IO::Options::Binary);
              if (!OpenMesh::IO::read_mesh(*mesh, path, options)) return -1;
              mesh->update_normals();
              return static_cast<long long>(mesh->n_faces());
            };
          }};
}

Contestant openmesh_simplify(const IndexedMesh& mesh, int target) {
  return {"OpenMesh", [&mesh, target]() -> Job {
            auto copy = mesh_of(mesh);
            return [copy, target]() -> long long {
              OpenMesh::Decimater::DecimaterT<TriMesh> decimater(*copy);
              OpenMesh::Decimater::ModQuadricT<TriMesh>::Handle quadric;
              decimater.add(quadric);
              decimater.module(quadric).unset_max_err();
              decimater.initialize();
              decimater.decimate_to_faces(0, static_cast<std::size_t>(target));
              copy->garbage_collection();
              return static_cast<long long>(copy->n_faces());
            };
          }};
}

Contestant openmesh_subdivide(const IndexedMesh& mesh) {
  return {"OpenMesh", [&mesh]() -> Job {
            auto copy = mesh_of(mesh);
            return [copy]() -> long long {
              OpenMesh::Subdivider::Uniform::LoopT<TriMesh> loop;
              loop.attach(*copy);
              loop(1);
              loop.detach();
              return static_cast<long long>(copy->n_faces());
            };
          }};
}

}  // namespace peers
