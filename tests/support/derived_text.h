// The written formats once more, with nothing but printf and a loop per section: what the writers'
// bytes are held against.
#ifndef SCANMESH_TESTS_SUPPORT_DERIVED_TEXT_H
#define SCANMESH_TESTS_SUPPORT_DERIVED_TEXT_H

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "scanmesh/mesh.h"

namespace test_support {

__attribute__((format(printf, 1, 2))) inline std::string printed(const char* format, ...) {
  char line[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  return line;
}

inline bool is_finite(const MemS::Point3v<float>& p) {
  const auto fine = [](float x) { return std::fabs(x - x) < 0.0005F; };
  return fine(p.x) && fine(p.y) && fine(p.z);
}

inline std::string three(const char* format, const MemS::Point3v<float>& p) {
  char line[512];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(line, sizeof(line), format, static_cast<double>(p.x), static_cast<double>(p.y),
                static_cast<double>(p.z));
#pragma GCC diagnostic pop
  return line;
}

// What is live in a mesh, gathered before a writer runs.
struct LiveMesh {
  std::vector<const Mesh_R::_vert*> verts;
  std::vector<const Mesh_R::_face*> faces;
  std::map<const Mesh_R::_vert*, int> number;  // from 0, in the file
  int records = 0;                             // of faces

  // With `only_finite`, what the writers leave out that filter.
  LiveMesh(Mesh_M::Mesh& mesh, bool only_finite) : records(mesh.face.get_facenum()) {
    for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
      const Mesh_R::_vert* const v = mesh.vertex[i];
      if (v->state == 3 || (only_finite && !is_finite(v->point))) continue;
      number[v] = static_cast<int>(verts.size());
      verts.push_back(v);
    }
    for (int i = 0; i < mesh.face.get_facenum(); ++i) {
      const Mesh_R::_face* const f = mesh.face[i];
      bool kept = f->state != 3;
      for (const Mesh_R::_vert* v : f->vert) kept = kept && (!only_finite || is_finite(v->point));
      if (kept) faces.push_back(f);
    }
  }
  int corner(const Mesh_R::_face* f, int k) const { return number.at(f->vert[k]); }
};

inline std::string derived_obj(Mesh_M::Mesh& mesh) {
  const LiveMesh live(mesh, true);
  std::string text;
  for (const auto* v : live.verts) text += three("v %f %f %f\n", v->point);
  for (const auto* v : live.verts) {
    text +=
        three("vn %f %f %f\n", is_finite(v->vector) ? v->vector : MemS::Point3v<float>{0, 0, 1});
  }
  for (const auto* f : live.faces) {
    text += printed("f %d %d %d\n", live.corner(f, 0) + 1, live.corner(f, 1) + 1,
                    live.corner(f, 2) + 1);
  }
  return text;
}

inline std::string derived_ply(Mesh_M::Mesh& mesh) {
  const LiveMesh live(mesh, true);
  std::string text = printed(
      "ply\nformat ascii 1.0\ncomment modified by Korvanel\nelement vertex %d\nproperty float x\n"
      "property float y\nproperty float z\nelement face %d\n"
      "property list uint8 int32 vertex_indices\nend_header\n",
      static_cast<int>(live.verts.size()), static_cast<int>(live.faces.size()));
  for (const auto* v : live.verts) text += three("%f %f %f\n", v->point);
  for (const auto* f : live.faces) {
    text += printed("3 %d %d %d\n", live.corner(f, 0), live.corner(f, 1), live.corner(f, 2));
  }
  return text;
}

// The rows of a WRL file between its head and its end.
inline std::string derived_wrl_rows(Mesh_M::Mesh& mesh) {
  const LiveMesh live(mesh, false);
  std::string text;
  for (const auto* v : live.verts) text += three("%f, %f, %f,\n", v->point);
  text += "]\n}\ncoordIndex\n[\n";
  for (const auto* f : live.faces) {
    text += printed("%d %d %d -1\n", live.corner(f, 0), live.corner(f, 1), live.corner(f, 2));
  }
  return text;
}

inline std::string derived_x3d_rows(Mesh_M::Mesh& mesh) {
  const LiveMesh live(mesh, false);
  std::string text;
  for (const auto* f : live.faces) {
    text += printed("%d %d %d -1 ", live.corner(f, 0), live.corner(f, 1), live.corner(f, 2));
  }
  text += "\">\n<Coordinate point = \"";
  for (const auto* v : live.verts) text += three("%f %f %f ", v->point);
  text += "\" / >\n<Normal vector=\"";
  for (const auto* f : live.faces) text += three("%f %f %f ", f->vector);
  return text;
}

inline std::string derived_xyz(Mesh_M::Mesh& mesh) {
  const LiveMesh live(mesh, false);
  std::string text;
  for (const auto* v : live.verts) {
    text += three("%f %f %f ", v->point) + three("%f %f %f\n", v->vector);
  }
  return text;
}

// Between the pieces that hold the counts.
struct DerivedDae {
  std::string points;
  std::string normals;
  std::string corners;
};
inline DerivedDae derived_dae(Mesh_M::Mesh& mesh) {
  const LiveMesh live(mesh, false);
  DerivedDae text;
  for (const auto* v : live.verts) text.points += three("%f %f %f ", v->point);
  int number = 0;
  for (const auto* f : live.faces) {
    text.normals += three("%f %f %f ", f->vector);
    text.corners += printed("%d %d %d %d %d %d ", live.corner(f, 0), number, live.corner(f, 1),
                            number, live.corner(f, 2), number);
    ++number;
  }
  return text;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_DERIVED_TEXT_H
