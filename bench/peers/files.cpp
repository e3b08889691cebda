// Reading PLY and writing OBJ, PLY and STL, against other mesh libraries.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "peers/file_peers.h"

namespace {

using peers::FileKind;

class Folder {
 public:
  Folder() {
    const char* const directory = std::getenv("TMPDIR");
    stem_ = std::string(directory == nullptr ? "/tmp" : directory) + "/peers_files_" +
            std::to_string(getpid()) + "_";
  }
  ~Folder() {
    for (const std::string& path : paths_) std::remove(path.c_str());
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string path(const std::string& name) {
    paths_.push_back(stem_ + name);
    return paths_.back();
  }

 private:
  std::string stem_;
  std::vector<std::string> paths_;
};

void compare_reading(const peers::IndexedMesh& mesh, FileKind kind, int rounds) {
  Folder folder;
  const std::string path = folder.path("in.ply");
  peers::scanmesh_files().save(mesh, path, kind)();
  std::vector<peers::Contestant> all;
  for (const peers::FilePeer& peer : peers::file_peers()) {
    all.push_back({peer.name, [peer, path] { return peer.load(path); }});
  }
  all.push_back({"scanmesh, into a Mesh", [path] { return peers::scanmesh_mesh_of_ply(path); }});
  std::printf("Reading %s:\n\n%s\n", peers::name_of(kind),
              peers::ratio_table(peers::compare(all, rounds)).c_str());
}

void compare_writing(const peers::IndexedMesh& mesh, FileKind kind, int rounds) {
  Folder folder;
  std::vector<peers::Contestant> all;
  for (const peers::FilePeer& peer : peers::file_peers()) {
    const std::string path = folder.path(peer.name + "_out" + peers::extension_of(kind));
    all.push_back({peer.name, [peer, path, kind, &mesh] { return peer.save(mesh, path, kind); }});
  }
  std::printf("Writing %s:\n\n%s\n", peers::name_of(kind),
              peers::ratio_table(peers::compare(all, rounds)).c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const peers::Arguments arguments = peers::parse_arguments(argc, argv);
  for (const std::string& file : arguments.files) {
    const peers::IndexedMesh mesh = peers::read_indexed(file);
    if (mesh.corners.empty()) return 1;
    std::printf("Files of %zu points and %zu faces, median of %d:\n\n", mesh.points.size() / 3,
                mesh.corners.size() / 3, arguments.rounds);
    for (const FileKind kind : {FileKind::ply_binary, FileKind::ply_ascii}) {
      compare_reading(mesh, kind, arguments.rounds);
    }
    for (const FileKind kind :
         {FileKind::obj, FileKind::ply_ascii, FileKind::ply_binary, FileKind::stl_binary}) {
      compare_writing(mesh, kind, arguments.rounds);
    }
  }
  return arguments.files.empty() ? 2 : 0;
}
