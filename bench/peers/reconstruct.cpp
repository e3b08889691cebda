// Points with normals to a surface, against other mesh libraries. The points are those of an STL
// file's own surface.
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "peers/contestants.h"

namespace {

constexpr int kDepth = 9;

// Normals as the mean over the faces, weighted by area; spacing as the mean edge.
peers::OrientedPoints oriented(const peers::IndexedMesh& mesh) {
  peers::OrientedPoints cloud;
  cloud.points = mesh.points;
  cloud.normals.assign(mesh.points.size(), 0.0F);
  double edges = 0;
  for (std::size_t i = 0; i + 2 < mesh.corners.size(); i += 3) {
    const float* p[3];
    for (std::size_t k = 0; k < 3; ++k) p[k] = &mesh.points[3 * mesh.corners[i + k]];
    const float u[3] = {p[1][0] - p[0][0], p[1][1] - p[0][1], p[1][2] - p[0][2]};
    const float v[3] = {p[2][0] - p[0][0], p[2][1] - p[0][1], p[2][2] - p[0][2]};
    const float n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                        u[0] * v[1] - u[1] * v[0]};
    for (std::size_t k = 0; k < 3; ++k) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        cloud.normals[3 * mesh.corners[i + k] + axis] += n[axis];
      }
    }
    edges += std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
  }
  for (std::size_t i = 0; i < cloud.normals.size(); i += 3) {
    float* const n = &cloud.normals[i];
    const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    for (int k = 0; k < 3 && length > 0; ++k) n[k] /= length;
  }
  cloud.spacing =
      static_cast<float>(edges / std::fmax(1.0, static_cast<double>(mesh.corners.size()) / 3));
  return cloud;
}

}  // namespace

int main(int argc, char** argv) {
  const peers::Arguments arguments = peers::parse_arguments(argc, argv);
  const std::string out =
      (std::filesystem::temp_directory_path() / "peers_reconstruct.stl").string();
  for (const std::string& file : arguments.files) {
    const peers::IndexedMesh mesh = peers::read_indexed(file);
    if (mesh.corners.empty()) {
      std::fprintf(stderr, "%s: can't be read\n", file.c_str());
      return 1;
    }
    const peers::OrientedPoints cloud = oriented(mesh);
    const auto outcomes =
        peers::compare(peers::reconstruct_contestants(cloud, out, kDepth), arguments.rounds);
    std::printf("Reconstructing %zu points, median of %d; Poisson's depth is %d:\n\n%s\n",
                cloud.points.size() / 3, arguments.rounds, kDepth,
                peers::ratio_table(outcomes).c_str());
  }
  std::remove(out.c_str());
  return arguments.files.empty() ? 2 : 0;
}
