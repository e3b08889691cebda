// Fills every ring of an OFF model and writes three meshes for the POV-Ray renderer, scaled to
// extent 1: `before`, and after the filling `rest` and `patches`.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "scanmesh/mesh.h"
#include "support/stl_file.h"
#include "support/surface.h"

namespace {

// POV-Ray's coordinates are left-handed: the z axis is turned round.
void write_vectors(std::FILE* out, const char* name, const std::vector<demo::Vec3>& vectors) {
  std::fprintf(out, "  %s { %zu", name, vectors.size());
  for (const demo::Vec3& v : vectors) std::fprintf(out, ",\n    <%.6g,%.6g,%.6g>", v.x, v.y, -v.z);
  std::fputs(" }\n", out);
}

// The faces from `first` to before `last`, shaded by the normals of the whole surface, so that no
// seam shows that isn't in the shape.
void write_mesh(std::FILE* out, const char* name, const demo::Surface& surface, std::size_t first,
                std::size_t last) {
  std::fprintf(out, "#declare %s = mesh2 {\n", name);
  write_vectors(out, "vertex_vectors", surface.points);
  write_vectors(out, "normal_vectors", demo::point_normals(surface));
  std::fprintf(out, "  face_indices { %zu", last - first);
  for (std::size_t i = first; i < last; ++i) {
    const demo::Corners& f = surface.faces[i];
    std::fprintf(out, ",\n    <%d,%d,%d>", f[0], f[1], f[2]);
  }
  std::fputs(" }\n}\n", out);
}

std::vector<demo::Triangle> fill_all(const demo::Surface& surface) {
  std::vector<float> points;
  std::vector<int> corners;
  for (const demo::Vec3& p : surface.points) {
    for (int axis = 0; axis < 3; ++axis) points.push_back(static_cast<float>(p[axis]));
  }
  for (const demo::Corners& f : surface.faces) corners.insert(corners.end(), f.begin(), f.end());
  Mesh_M::Mesh mesh;
  mesh.rebuild(points.data(), static_cast<int>(surface.points.size()), corners.data(),
               static_cast<int>(surface.faces.size()));
  mesh.build_hole();
  const auto half_spacing = static_cast<float>(0.5 * demo::mean_edge_length(surface));
  for (int i = 0; i < mesh.get_hole_num(); ++i) {
    if (mesh.hole[i] != nullptr) mesh.fill_hole_No(i, half_spacing);
  }
  std::vector<demo::Triangle> faces;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    if (mesh.face[i]->state != Mesh_R::kStateLive) continue;
    demo::Triangle& t = faces.emplace_back();
    for (std::size_t k = 0; k < 3; ++k) {
      const auto& p = mesh.face[i]->vert[k]->point;
      t[k] = {p.x, p.y, p.z};
    }
  }
  return faces;
}

}  // namespace

int main(int argc, char** argv) {
  demo::Surface model;
  std::string error = "usage: fill_to_pov MODEL.off OUT.inc";
  if (argc != 3 || !demo::read_off(argv[1], model, error)) {
    std::fprintf(stderr, "fill_to_pov: %s\n", error.c_str());
    return 2;
  }
  // The library's tolerances are in a scanner's units, so the model gets a scan's mean edge of 1.
  demo::scale_to_extent(model, 1);
  const double unit = demo::mean_edge_length(model);
  for (demo::Vec3& p : model.points) p = p * (1 / unit);
  const demo::Surface before = demo::weld(demo::triangles_of(model));
  demo::Surface after = demo::weld(fill_all(before));
  for (demo::Vec3& p : after.points) p = p * unit;
  for (demo::Vec3& p : model.points) p = p * unit;
  const demo::File out(std::fopen(argv[2], "wb"));
  if (!out) {
    std::fprintf(stderr, "fill_to_pov: %s: can't be written\n", argv[2]);
    return 1;
  }
  write_mesh(out.get(), "before", model, 0, model.faces.size());
  write_mesh(out.get(), "rest", after, 0, before.faces.size());
  write_mesh(out.get(), "patches", after, before.faces.size(), after.faces.size());
  return 0;
}
