#include "peers/file_peers.h"

namespace peers {

namespace {

struct Form {
  const char* name;
  const char* extension;
};
// By kind.
constexpr Form kForms[] = {{"binary PLY", ".ply"}, {"ASCII PLY", ".ply"}, {"OBJ", ".obj"},
                           {"binary STL", ".stl"}, {"ASCII STL", ".stl"}, {"XYZ", ".xyz"},
                           {"VRML", ".wrl"},       {"X3D", ".x3d"},       {"COLLADA", ".dae"}};

}  // namespace

const char* name_of(FileKind kind) {
  return kForms[static_cast<int>(kind)].name;
}

const char* extension_of(FileKind kind) {
  return kForms[static_cast<int>(kind)].extension;
}

std::vector<FilePeer> file_peers() {
  std::vector<FilePeer> all{scanmesh_files()};
#ifdef SCANMESH_PEER_OPEN3D_FILES
  all.push_back(open3d_files());
#endif
#ifdef SCANMESH_PEER_OPENMESH_FILES
  all.push_back(openmesh_files());
#endif
#ifdef SCANMESH_PEER_ASSIMP_FILES
  all.push_back(assimp_files());
#endif
#ifdef SCANMESH_PEER_CGAL_FILES
  all.push_back(cgal_files());
#endif
  return all;
}

}  // namespace peers
