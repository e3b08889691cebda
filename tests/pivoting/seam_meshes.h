// Meshes sampled at two resolutions, and the three forms of stitching once more, plainly.
#ifndef SCANMESH_TESTS_PIVOTING_SEAM_MESHES_H
#define SCANMESH_TESTS_PIVOTING_SEAM_MESHES_H

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <set>
#include <vector>

#include "scanmesh/mesh.h"
#include "tests/pivoting/reference_pivoting.h"
#include "tests/support/shapes.h"

namespace test_support {

// A sheet of n x m cells of the given size from x on, uneven, over gentle waves.
inline Soup seam_sheet(int n, int m, float cell, float x, uint64_t seed) {
  Random random(seed);
  Soup soup;
  for (int j = 0; j <= m; ++j) {
    for (int i = 0; i <= n; ++i) {
      const float px = x + cell * (static_cast<float>(i) + 0.15F * random.signed_unit());
      const float py = cell * (static_cast<float>(j) + 0.15F * random.signed_unit());
      soup.points.push_back({px, py, 2 * std::sin(0.07F * px) * std::cos(0.06F * py)});
    }
  }
  for (int j = 0; j < m; ++j) {
    for (int i = 0; i < n; ++i) {
      const int a = j * (n + 1) + i;
      soup.triangles.push_back({a, a + 1, a + n + 2});
      soup.triangles.push_back({a, a + n + 2, a + n + 1});
    }
  }
  return soup;
}

// A coarse sheet, and a fine one `gap` beside it. Tags are set as a scanner would: 0x20 where it is
// fine, 0x80 around the seam.
inline std::unique_ptr<Mesh_M::Mesh> seam_mesh(int ratio, float gap, uint64_t seed) {
  const int n = 8;
  const auto coarse_cell = static_cast<float>(ratio);
  Soup soup = seam_sheet(n, n, coarse_cell, 0, seed);
  const auto coarse_points = soup.points.size();
  const float seam = coarse_cell * n;
  const Soup fine = seam_sheet(4 * ratio, n * ratio, 1, seam + gap, seed + 1);
  for (auto t : fine.triangles) {
    for (int& corner : t) corner += static_cast<int>(coarse_points);
    soup.triangles.push_back(t);
  }
  soup.points.insert(soup.points.end(), fine.points.begin(), fine.points.end());
  auto mesh = soup.mesh();
  for (int i = 0; i < mesh->vertex.get_vertnum(); ++i) {
    Mesh_R::_vert& v = *mesh->vertex[i];
    const bool is_fine = static_cast<std::size_t>(i) >= coarse_points;
    const bool at_seam = std::fabs(v.point.x - seam) < 2.5F * (is_fine ? 2.0F : coarse_cell);
    v.tag = static_cast<uint8_t>((is_fine ? 0x20 : 0) | (at_seam ? 0x80 : 0));
  }
  mesh->setResolutionParam({coarse_cell, 1, true});
  return mesh;
}

// A live face by the places of its corners.
using PlacedFace = std::array<float, 12>;

inline PlacedFace placed(const Vec3f& a, const Vec3f& b, const Vec3f& c, const Vec3f& n) {
  return {a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z, n.x, n.y, n.z};
}

inline std::vector<PlacedFace> placed_faces(Mesh_R::Face& faces) {
  std::vector<PlacedFace> out;
  for (int i = 0; i < faces.get_facenum(); ++i) {
    const Mesh_R::_face& f = *faces[i];
    if (f.state == Mesh_R::kStateDeleted) continue;
    out.push_back(placed(f.vert[0]->point, f.vert[1]->point, f.vert[2]->point, f.vector));
  }
  return out;
}

inline std::vector<PlacedFace> placed_faces(ReferencePivoting& r) {
  std::vector<PlacedFace> out;
  for (const auto& f : r.faces) {
    if (f.dead) continue;
    out.push_back(
        placed(r.vert(f.v[0]).point, r.vert(f.v[1]).point, r.vert(f.v[2]).point, f.normal));
  }
  return out;
}

// A mesh with all its records as index lists.
inline ReferencePivoting imported(Mesh_M::Mesh& mesh) {
  ReferencePivoting r;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const Mesh_R::_vert& v = *mesh.vertex[i];
    r.add_vertex(v.point, v.vector, v.tag);
    r.verts.back().state = v.state;
    for (int k = 0; k < v.edge_num; ++k) {
      r.verts.back().edges.push_back(mesh.edge.get_edge_no(v.edge[k]));
    }
    for (int k = 0; k < v.face_num; ++k) {
      r.verts.back().faces.push_back(mesh.face.get_face_no(v.face[k]));
    }
  }
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    const Mesh_R::_edge& e = *mesh.edge[i];
    r.edges.push_back({mesh.vertex.get_vert_no(e.vert[0]), mesh.vertex.get_vert_no(e.vert[1]), {}});
    r.edges.back().dead = e.state == Mesh_R::kStateDeleted;
    for (int k = 0; k < e.face_num; ++k) {
      r.edges.back().faces.push_back(mesh.face.get_face_no(e.face[k]));
    }
  }
  for (int i = 0; i < mesh.face.get_facenum(); ++i) {
    const Mesh_R::_face& f = *mesh.face[i];
    ReferencePivoting::Face copy{{}, {}, f.vector};
    for (std::size_t k = 0; k < 3; ++k) {
      copy.v[k] = mesh.vertex.get_vert_no(f.vert[k]);
      copy.e[k] = mesh.edge.get_edge_no(f.edge[k]);
    }
    copy.dead = f.state == Mesh_R::kStateDeleted;
    r.faces.push_back(copy);
  }
  return r;
}

class ReferenceStitching {
 public:
  using P = ReferencePivoting::P;

  explicit ReferenceStitching(Mesh_M::Mesh& mesh)
      : before_(imported(mesh)),
        coarse_(mesh.resolution.resolution),
        fine_(mesh.resolution.resolution_fine) {}

  int samples = 0;
  int midpoints = 0;
  int kept_count = 0;

  // BPA: a working copy, all borders.
  ReferencePivoting by_copy() {
    ReferencePivoting r;
    r.init(coarse_);
    const std::vector<int> numbers = copy_vertices(r);
    densify(before_, r);
    for (std::size_t i = 0; i < r.verts.size(); ++i) r.points.push_back(static_cast<int>(i));
    copy_faces(
        r, numbers, [&](int f) { return near_boundary(f); }, false);
    finish(r);
    return r;
  }

  // xbpa from one mesh into another: a copy, but for the band at the seam.
  ReferencePivoting into_another() {
    ReferencePivoting r;
    r.float_sums = true;
    x_radii(r);
    const std::vector<int> numbers = copy_vertices(r);
    densify(before_, r);
    copy_faces(
        r, numbers, [&](int f) { return near_boundary(f) && at_seam(f); }, mode() > 1);
    for (std::size_t i = 0; i < r.verts.size(); ++i) r.points.push_back(static_cast<int>(i));
    finish(r);
    return r;
  }

  // xbpa in place.
  ReferencePivoting in_place() {
    ReferencePivoting r = before_;
    r.float_sums = true;
    x_radii(r);
    densify(before_, r);
    std::vector<int> going;
    for (std::size_t f = 0; f < before_.faces.size(); ++f) {
      const int number = static_cast<int>(f);
      if (before_.faces[f].dead) continue;
      if (!near_boundary(number) || !at_seam(number)) {
        ++kept_count;
        continue;
      }
      going.push_back(number);
      if (mode() > 1) add_midpoint(number, r);
    }
    for (const int f : going) {
      r.delete_face(f, -1);
      for (const int v : r.face(f).v) {
        if (r.vert(v).state == 3) lost.insert(v);
      }
    }
    for (std::size_t i = 0; i < r.verts.size(); ++i) {
      const int number = static_cast<int>(i);
      if (r.verts[i].state == 3 && lost.count(number) == 0) continue;
      r.verts[i].state = 8;
      r.points.push_back(number);
    }
    finish(r);
    return r;
  }

  std::set<int> lost;  // vertices that lost their last face

 private:
  int mode() const {
    if (coarse_ > 3.5 * fine_ && 4.5 * fine_ > coarse_) return 2;
    if (coarse_ > 7.5 * fine_ && 8.5 * fine_ > coarse_) return 3;
    return 1;
  }

  void x_radii(ReferencePivoting& r) const {
    r.init(coarse_);
    const double base = 1.5 * coarse_;
    if (mode() == 2) r.set_radii({0.2 * base, 0.35 * base, 0.5 * base, 0.8 * base, 1.1 * base});
    if (mode() == 3) r.set_radii({0.1 * base, 0.3 * base, 0.5 * base, 0.8 * base, 1.1 * base});
    if (mode() > 1) r.max_dist = 2 * base;
  }

  std::vector<int> copy_vertices(ReferencePivoting& r) {
    std::vector<int> numbers;
    for (const auto& v : before_.verts) {
      numbers.push_back(v.state == 3 ? -1 : r.add_vertex(v.point, v.normal, v.tag));
    }
    return numbers;
  }

  static P sum(const P& a, const P& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
  static P times(const P& a, double s) {
    return {static_cast<float>(a.x * s), static_cast<float>(a.y * s), static_cast<float>(a.z * s)};
  }

  void add_sample(const ReferencePivoting::Edge& e, const P& p, ReferencePivoting& r) {
    const auto& a = before_.vert(e.a);
    r.add_vertex(p, a.normal, a.tag | before_.vert(e.b).tag);
  }

  void densify(ReferencePivoting& from, ReferencePivoting& r) {
    for (const auto& e : from.edges) {
      if (e.dead || e.faces.size() != 1) continue;
      if (((from.vert(e.a).tag | from.vert(e.b).tag) & 160) != 128) continue;
      const P a = from.vert(e.a).point;
      const P b = from.vert(e.b).point;
      if (mode() == 2) add_sample(e, times(sum(a, b), 0.5), r);
      if (mode() == 3) {
        add_sample(e, sum(times(a, 0.3333333333333333), times(b, 0.6666666666666666)), r);
        add_sample(e, sum(times(b, 0.3333333333333333), times(a, 0.6666666666666666)), r);
      }
      samples += mode() - 1;
    }
  }

  bool near_boundary(int f) {
    for (const int v : before_.face(f).v) {
      for (const int g : before_.vert(v).faces) {
        for (const int e : before_.face(g).e) {
          if (before_.edge(e).faces.size() == 1) return true;
        }
      }
    }
    return false;
  }

  bool at_seam(int f) {
    int tags = 0;
    for (const int v : before_.face(f).v) tags |= before_.vert(v).tag;
    return (tags & 0x80) != 0;
  }

  void add_midpoint(int f, ReferencePivoting& r) {
    std::vector<int> closed;
    for (const int e : before_.face(f).e) {
      if (before_.edge(e).faces.size() != 1) closed.push_back(e);
    }
    if (closed.size() != 1) return;
    const auto& e = before_.edge(closed[0]);
    add_sample(e, times(sum(before_.vert(e.a).point, before_.vert(e.b).point), 0.5), r);
    ++midpoints;
  }

  template <typename Goes>
  void copy_faces(ReferencePivoting& r, const std::vector<int>& numbers, Goes goes, bool midpoint) {
    for (std::size_t f = 0; f < before_.faces.size(); ++f) {
      const auto& face = before_.faces[f];
      if (face.dead) continue;
      if (goes(static_cast<int>(f))) {
        if (midpoint) add_midpoint(static_cast<int>(f), r);
        continue;
      }
      const auto copy = [&](std::size_t k) { return numbers[static_cast<std::size_t>(face.v[k])]; };
      r.make(copy(0), copy(1), copy(2), face.normal);
      ++kept_count;
    }
  }

  void finish(ReferencePivoting& r) const {
    std::vector<int> open;
    r.mark_states(open);
    r.grow(open.empty() ? 1 : 0);
    r.delete_spurs(static_cast<std::size_t>(kept_count));
    r.refresh(static_cast<std::size_t>(kept_count));
  }

  ReferencePivoting before_;
  double coarse_;
  double fine_;
};

}  // namespace test_support

#endif  // SCANMESH_TESTS_PIVOTING_SEAM_MESHES_H
