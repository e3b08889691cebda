// Cuts openings into a surface. Each line of the list is one, as seen along its axis:
//   circle     x y z  nx ny nz             radius
//   slot       x y z  nx ny nz  dx dy dz   half_length half_width
//   rectangle  x y z  nx ny nz  dx dy dz   half_length half_width
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "load_scan.h"
#include "scanmesh/mesh.h"

namespace {

using Floats = std::vector<float>;

bool read(std::istream& line, Floats& values, bool unit) {
  for (float& value : values) line >> value;
  if (unit) {
    const float length = std::hypot(values[0], values[1], values[2]);
    for (float& value : values) value /= length;
  }
  return static_cast<bool>(line);
}

// The tool's plane must pass through the rim of what the coarse cut removes, not through the top of
// a curved surface: moves the centre along the axis to the mean height at the search's reach.
void settle(Mesh_M::Mesh& mesh, Floats& centre, const Floats& n, float reach, float spacing) {
  double sum = 0;
  int count = 0;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const Mesh_R::_vert* const v = mesh.vertex[i];
    if (v->state == Mesh_R::kStateDeleted) continue;
    const float d[3] = {v->point.x - centre[0], v->point.y - centre[1], v->point.z - centre[2]};
    const float height = d[0] * n[0] + d[1] * n[1] + d[2] * n[2];
    const float away = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2] - height * height);
    const float side = v->vector.x * n[0] + v->vector.y * n[1] + v->vector.z * n[2];
    if (std::fabs(away - reach) > spacing || std::fabs(height) > reach || side < 0.5F) continue;
    sum += height;
    ++count;
  }
  const auto shift = static_cast<float>(count > 0 ? sum / count : 0);
  for (std::size_t k = 0; k < 3; ++k) centre[k] += shift * n[k];
}

struct Wall {
  float depth = 1;
  bool wanted = false;
};

bool cut(Mesh_M::Mesh& mesh, const std::string& text, float spacing, const Wall& wall) {
  std::istringstream line(text);
  std::string shape;
  Floats centre(3);
  Floats normal(3);
  Floats dir(3);
  Floats size(2);
  // The search reaches a few edges beyond the curve, so that every face on the curve is found.
  const float margin = 3 * spacing;
  line >> shape;
  if (!read(line, centre, false) || !read(line, normal, true)) return false;
  if (shape == "circle") {
    size.resize(1);
    if (!read(line, size, false)) return false;
    settle(mesh, centre, normal, size[0] + margin, spacing);
    mesh.trimWithCircle(size, {size[0] + margin}, spacing, centre, normal, wall.depth, wall.wanted);
    return true;
  }
  if (!read(line, dir, true) || !read(line, size, false)) return false;
  settle(mesh, centre, normal, size[0] + margin, spacing);
  const Floats a{size[0]};
  const Floats b{size[1]};
  // It reaches half_width + c - half_length along the direction: as far as the half length.
  const Floats c{2 * size[0] - size[1] + margin};
  if (shape == "slot") {
    mesh.trimWithOval(a, b, c, spacing, centre, normal, dir, wall.depth, wall.wanted);
  } else if (shape == "rectangle") {
    mesh.trimWithRectangle(a, b, c, spacing, centre, normal, dir, wall.depth, wall.wanted);
  } else {
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 && argc != 5) {
    std::fputs("usage: trim_openings IN.stl OUT.stl OPENINGS.txt [WALL_DEPTH]\n", stderr);
    return 2;
  }
  Mesh_M::Mesh mesh;
  if (!demo::load_scan(argv[1], mesh)) {
    std::fprintf(stderr, "trim_openings: %s: is no STL file\n", argv[1]);
    return 1;
  }
  mesh.inalize_mesh();
  const auto spacing = static_cast<float>(demo::mean_edge_length(mesh));
  const Wall wall{argc == 5 ? static_cast<float>(std::atof(argv[4])) : 1, argc == 5};
  std::ifstream list(argv[3]);
  for (std::string line; std::getline(list, line);) {
    if (!cut(mesh, line, spacing, wall)) {
      std::fprintf(stderr, "trim_openings: no opening: %s\n", line.c_str());
      return 1;
    }
  }
  if (!demo::save_scan(argv[2], mesh)) {
    std::fprintf(stderr, "trim_openings: %s: can't be written\n", argv[2]);
    return 1;
  }
  return 0;
}
