// PLY of any bytes, through the door that a host uses: a path.
#ifndef SCANMESH_FUZZ_LOADED_PLY_H
#define SCANMESH_FUZZ_LOADED_PLY_H

#include <sys/mman.h>
#include <unistd.h>

#include <iostream>
#include <string>

#include "fuzz/loaded_mesh.h"

namespace fuzz {

// A file without a disk, under a path; the same one for every run.
class MemoryFile {
 public:
  MemoryFile() : descriptor_(memfd_create("input.ply", 0)) {
    require(descriptor_ >= 0, "a file in memory");
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
    std::cerr.setstate(std::ios::failbit);  // the reader's messages, thousands a second
  }
  const std::string& hold(const std::string& bytes) {
    require(ftruncate(descriptor_, 0) == 0, "an empty file");
    const auto size = static_cast<ssize_t>(bytes.size());
    require(pwrite(descriptor_, bytes.data(), bytes.size(), 0) == size, "a written file");
    return path_;
  }

 private:
  int descriptor_;
  std::string path_;
};

inline void run_ply(const std::string& bytes) {
  static MemoryFile file;
  const std::string& path = file.hold(bytes);
  Mesh_M::Mesh mesh;
  const int code = mesh.input_ply_data(path.c_str());
  require(code == 0 || code == -3, "a code of the reader");
  if (code != 0) {
    require(mesh.vertex.records.block == nullptr, "a mesh untouched by what was refused");
    return;
  }
  require(mesh.vertex.get_vertnum() <= static_cast<int>(bytes.size()),
          "no more vertices than the file holds");
  check_loaded(mesh);
}

}  // namespace fuzz

#endif  // SCANMESH_FUZZ_LOADED_PLY_H
