#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_mesh_processing/border.h>
#include <CGAL/Polygon_mesh_processing/orient_polygon_soup.h>
#include <CGAL/Polygon_mesh_processing/polygon_soup_to_polygon_mesh.h>
#include <CGAL/Polygon_mesh_processing/triangulate_hole.h>
#include <CGAL/Surface_mesh.h>

#include <iterator>
#include <tuple>

#include "peers/hole_fillers.h"
#include "support/console.h"

namespace peers {
namespace {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using TriMesh = CGAL::Surface_mesh<Kernel::Point_3>;
namespace pmp = CGAL::Polygon_mesh_processing;

TriMesh mesh_from(const demo::Surface& surface) {
  std::vector<Kernel::Point_3> points;
  for (const demo::Vec3& p : surface.points) points.emplace_back(p.x, p.y, p.z);
  std::vector<std::vector<std::size_t>> polygons;
  for (const demo::Corners& f : surface.faces) polygons.emplace_back(f.begin(), f.end());
  pmp::orient_polygon_soup(points, polygons);
  TriMesh mesh;
  pmp::polygon_soup_to_polygon_mesh(points, polygons, mesh);
  return mesh;
}

demo::Vec3 position(const TriMesh& mesh, TriMesh::Vertex_index v) {
  const Kernel::Point_3& p = mesh.point(v);
  return {p.x(), p.y(), p.z()};
}

bool passes_through(const TriMesh& mesh, TriMesh::Halfedge_index ring, const demo::Vec3& point) {
  for (const TriMesh::Halfedge_index h : mesh.halfedges_around_face(ring)) {
    if (demo::distance(position(mesh, mesh.target(h)), point) < same_point) return true;
  }
  return false;
}

}  // namespace

FilledSurface cgal_fill(const demo::Surface& surface, const demo::Vec3* rim_point) {
  TriMesh mesh = mesh_from(surface);
  std::vector<TriMesh::Halfedge_index> rings;
  pmp::extract_boundary_cycles(mesh, std::back_inserter(rings));
  FilledSurface result;
  for (const TriMesh::Halfedge_index ring : rings) {
    if (rim_point != nullptr && !passes_through(mesh, ring, *rim_point)) continue;
    ++result.rings;
    std::vector<TriMesh::Face_index> faces;
    std::vector<TriMesh::Vertex_index> vertices;
    const demo::Stopwatch watch;
    pmp::triangulate_refine_and_fair_hole(mesh, ring, std::back_inserter(faces),
                                          std::back_inserter(vertices));
    result.seconds += watch.seconds();
    if (faces.empty()) ++result.refused;
    if (faces.empty()) continue;
    std::vector<demo::Triangle>& patch = result.patches.emplace_back();
    for (const TriMesh::Face_index f : faces) {
      const TriMesh::Halfedge_index h = mesh.halfedge(f);
      patch.push_back({position(mesh, mesh.source(h)), position(mesh, mesh.target(h)),
                       position(mesh, mesh.target(mesh.next(h)))});
    }
  }
  for (const TriMesh::Edge_index e : mesh.edges()) result.open_edges += mesh.is_border(e);
  return result;
}

}  // namespace peers
