#include "reconstruct.h"

#include <algorithm>
#include <memory>

#include "scanmesh/ball_pivoting.h"
#include "scanmesh/x_ball_pivoting.h"

namespace demo {
namespace {

using FloatArray = MemS::MemAllo<float[3]>;

// The reconstructors take arrays of this kind, and free them.
FloatArray array_of(const std::vector<Vec3>& vectors) {
  FloatArray array;
  array.inalize(100000, 1000);
  for (const Vec3& v : vectors) {
    float(&slot)[3] = array.allocate_mem();
    for (int d = 0; d < 3; ++d) slot[d] = static_cast<float>(v[d]);
  }
  return array;
}

Surface surface_of(Mesh_R::Vertex& vertices, Mesh_R::Face& faces) {
  Surface surface;
  for (int i = 0; i < vertices.get_vertnum(); ++i) {
    const auto& p = vertices[i]->point;
    surface.points.push_back({p.x, p.y, p.z});
  }
  for (int i = 0; i < faces.get_facenum(); ++i) {
    const Mesh_R::_face& face = *faces[i];
    if (face.state == Mesh_R::kStateDeleted) continue;
    surface.faces.push_back({vertices.get_vert_no(face.vert[0]), vertices.get_vert_no(face.vert[1]),
                             vertices.get_vert_no(face.vert[2])});
  }
  return surface;
}

void fill(const Surface& surface, Mesh_M::Mesh& mesh) {
  std::vector<float> points;
  std::vector<int> corners;
  for (const Vec3& p : surface.points) {
    for (int d = 0; d < 3; ++d) points.push_back(static_cast<float>(p[d]));
  }
  for (const Corners& f : surface.faces) corners.insert(corners.end(), f.begin(), f.end());
  std::vector<unsigned char> tags(surface.points.size(), 0);
  mesh.rebuild(points.data(), static_cast<int>(surface.points.size()), tags.data(), corners.data(),
               static_cast<int>(surface.faces.size()));
}

}  // namespace

void reconstruct(Reconstructor kind, const PointSet& set, double spacing, Mesh_M::Mesh& mesh) {
  FloatArray points = array_of(set.points);
  FloatArray normals = array_of(set.normals);
  const int count = static_cast<int>(set.points.size());
  if (kind == Reconstructor::ball) {
    // Builds in stores of its own.
    BPA::Ball_Pivoting ball;
    ball.init(static_cast<float>(spacing));
    ball.build_mesh(points, normals, count);
    fill(surface_of(ball.vert_store, ball.face_store), mesh);
    ball.free();
    return;
  }
  // Builds right in the mesh.
  mesh.inalize();
  xbpa::XBallPivoting ball;
  ball.setDataPointer(&mesh.face, &mesh.vertex, &mesh.edge);
  ball.init(static_cast<float>(spacing));
  ball.build_mesh(points, normals, count);
  mesh.inlin_inalize_mesh();
}

Surface surface_of(Mesh_M::Mesh& mesh) {
  return surface_of(mesh.vertex, mesh.face);
}

MeshCounts count_all(Mesh_M::Mesh& mesh) {
  MeshCounts n;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    n.faces += mesh.face[i]->state != Mesh_R::kStateDeleted;
  }
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const Mesh_R::_vert& vert = *mesh.vertex[i];
    n.points += vert.state != Mesh_R::kStateDeleted;
    n.used_points += vert.face_num > 0;
  }
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    const int faces = mesh.edge[i]->face_num;
    n.open_edges += faces == 1;
    n.crowded_edges += faces > 2;
  }
  mesh.destroy_hole();
  mesh.build_hole();
  for (int i = 0; i < mesh.get_hole_num(); ++i) {
    if (mesh.hole[i] == nullptr) continue;
    ++n.rings;
    n.longest_ring = std::max<long long>(n.longest_ring, mesh.hole[i]->edges->size());
  }
  return n;
}

}  // namespace demo
