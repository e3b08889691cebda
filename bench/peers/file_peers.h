// Mesh files read and written by other mesh libraries, for timing and for reading one another's.
#ifndef SCANMESH_BENCH_PEERS_FILE_PEERS_H
#define SCANMESH_BENCH_PEERS_FILE_PEERS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "peers/comparison.h"

namespace peers {

/// The kinds of file that some of the libraries have in common.
enum class FileKind { ply_binary, ply_ascii, obj, stl_binary, stl_ascii, xyz, wrl, x3d, dae };
const char* name_of(FileKind kind);
const char* extension_of(FileKind kind);

/// A library as a reader and writer of files. A function that is missing says that it doesn't know
/// the kind of file.
struct FilePeer {
  std::string name;
  /// Reads into the library's own structure. The job's result is the number of faces, -1 on
  /// failure.
  std::function<Job(const std::string& path)> load;
  /// Reads, and hands out points and corners; false on failure.
  std::function<bool(const std::string& path, IndexedMesh& mesh)> read;
  /// Prepares the library's own structure; the job writes it and returns the number of faces.
  std::function<Job(const IndexedMesh& mesh, const std::string& path, FileKind kind)> save;
};

FilePeer scanmesh_files();
FilePeer open3d_files();
FilePeer openmesh_files();
FilePeer assimp_files();
FilePeer cgal_files();

/// scanmesh first, then the peers that were found.
std::vector<FilePeer> file_peers();

/// Reading PLY by scanmesh into a mesh; its `load` reads into flat arrays.
Job scanmesh_mesh_of_ply(const std::string& path);

/// Points alone, three floats each, of a file of points with normals; not known to all.
bool open3d_points_of(const std::string& path, std::vector<float>& points);
bool cgal_points_of(const std::string& path, std::vector<float>& points);

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_FILE_PEERS_H
