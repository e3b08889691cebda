// What every reader is held to, whatever the bytes were.
#ifndef SCANMESH_FUZZ_LOADED_MESH_H
#define SCANMESH_FUZZ_LOADED_MESH_H

#include <cstdint>
#include <cstdio>

#include "fuzz/input_bytes.h"
#include "scanmesh/mesh.h"
#include "tests/support/invariants.h"

namespace fuzz {

inline FILE* open_bytes(const uint8_t* data, std::size_t size) {
  // An empty buffer can't be opened; a file that is empty can.
  if (size == 0) return std::fopen("/dev/null", "rb");
  FILE* const stream = fmemopen(const_cast<uint8_t*>(data), size, "rb");
  require(stream != nullptr, "the bytes open as a stream");
  return stream;
}

inline void require_adjacency(Mesh_M::Mesh& mesh, const char* when, bool parallel_edges = false) {
  const auto adjacency = test_support::adjacency_holds(mesh, {true, parallel_edges});
  if (!adjacency) std::fprintf(stderr, "%s\n", adjacency.message());
  require(adjacency, when);
}

// A mesh as a host goes on with it after a load.
inline void check_loaded(Mesh_M::Mesh& mesh) {
  require_adjacency(mesh, "adjacency after the load");
  mesh.inalize_mesh();
  require_adjacency(mesh, "adjacency after orientation");
  require(mesh.face.get_real_facenum() == mesh.face.real_num, "number of live faces");
  mesh.build_hole();
  mesh.destroy_hole();
  require_adjacency(mesh, "adjacency after finding the rings");
}

}  // namespace fuzz

#endif  // SCANMESH_FUZZ_LOADED_MESH_H
