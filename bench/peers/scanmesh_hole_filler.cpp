#include <memory>

#include "mesh_from_surface.h"
#include "peers/hole_fillers.h"
#include "support/console.h"

namespace peers {
namespace {

bool passes_through(Mesh_M::Mesh& mesh, int ring, const demo::Vec3& point) {
  int count = 0;
  const std::unique_ptr<float[]> ends(mesh.get_hole_index(ring, count));
  for (int i = 0; i + 2 < count; i += 3) {
    if (demo::distance({ends[i], ends[i + 1], ends[i + 2]}, point) < same_point) return true;
  }
  return false;
}

std::vector<demo::Triangle> last_patch(Mesh_M::Mesh& mesh) {
  std::vector<demo::Triangle> patch;
  int count = 0;
  const std::unique_ptr<float[]> faces(mesh.return_add_face_data(count));
  for (int i = 0; i + 11 < count; i += 12) {
    demo::Triangle& t = patch.emplace_back();
    for (int k = 0; k < 3; ++k) {
      const float* const p = faces.get() + i + 3 + 3 * k;
      t[static_cast<std::size_t>(k)] = {p[0], p[1], p[2]};
    }
  }
  return patch;
}

void count_edges(Mesh_M::Mesh& mesh, FilledSurface& result) {
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    const Mesh_R::_edge* const edge = mesh.edge[i];
    if (edge->state != Mesh_R::kStateLive) continue;
    result.open_edges += edge->face_num == 1;
    result.crowded_edges += edge->face_num > 2;
  }
}

}  // namespace

FilledSurface scanmesh_fill(const demo::Surface& surface, const demo::Vec3* rim_point) {
  const std::unique_ptr<Mesh_M::Mesh> mesh = bench::mesh_from(surface);
  mesh->inalize_mesh();
  mesh->build_hole();
  const auto half_spacing = static_cast<float>(0.5 * demo::mean_edge_length(surface));
  FilledSurface result;
  for (int i = 0; i < mesh->get_hole_num(); ++i) {
    if (mesh->hole[i] == nullptr) continue;
    if (rim_point != nullptr && !passes_through(*mesh, i, *rim_point)) continue;
    ++result.rings;
    const demo::Stopwatch watch;
    mesh->fill_hole_No(i, half_spacing);
    result.seconds += watch.seconds();
    result.patches.push_back(last_patch(*mesh));
    if (!result.patches.back().empty()) continue;
    ++result.refused;
    result.patches.pop_back();
  }
  count_edges(*mesh, result);
  return result;
}

std::vector<HoleFiller> hole_fillers() {
  std::vector<HoleFiller> all{{"scanmesh", scanmesh_fill}};
#ifdef SCANMESH_PEER_CGAL_HOLES
  all.push_back({"CGAL", cgal_fill});
#endif
  return all;
}

}  // namespace peers
