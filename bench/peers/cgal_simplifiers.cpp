#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/AABB_triangle_primitive.h>
#include <CGAL/Polygon_mesh_processing/polygon_soup_to_polygon_mesh.h>
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/Surface_mesh_simplification/Policies/Edge_collapse/Count_stop_predicate.h>
#include <CGAL/Surface_mesh_simplification/Policies/Edge_collapse/GarlandHeckbert_plane_policies.h>
#include <CGAL/Surface_mesh_simplification/Policies/Edge_collapse/LindstromTurk_cost.h>
#include <CGAL/Surface_mesh_simplification/Policies/Edge_collapse/LindstromTurk_placement.h>
#include <CGAL/Surface_mesh_simplification/edge_collapse.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <vector>

#include "peers/mesh_simplifiers.h"

namespace peers {
namespace {

using Kernel = CGAL::Simple_cartesian<double>;
using Place = Kernel::Point_3;
using SurfaceMesh = CGAL::Surface_mesh<Place>;
namespace pmp = CGAL::Polygon_mesh_processing;
namespace sms = CGAL::Surface_mesh_simplification;

SurfaceMesh surface_of(const scanmesh::TriangleMesh& mesh) {
  std::vector<Place> points;
  std::vector<std::array<std::size_t, 3>> polygons;
  for (const scanmesh::Point& p : mesh.points) points.emplace_back(p.x, p.y, p.z);
  for (const scanmesh::Triangle& t : mesh.triangles) {
    polygons.push_back({static_cast<std::size_t>(t[0]), static_cast<std::size_t>(t[1]),
                        static_cast<std::size_t>(t[2])});
  }
  SurfaceMesh surface;
  if (pmp::is_polygon_soup_a_polygon_mesh(polygons)) {
    pmp::polygon_soup_to_polygon_mesh(points, polygons, surface);
  }
  return surface;
}

scanmesh::TriangleMesh mesh_of(SurfaceMesh& surface) {
  surface.collect_garbage();
  scanmesh::TriangleMesh mesh;
  for (const auto v : surface.vertices()) {
    const Place& p = surface.point(v);
    mesh.points.push_back({p.x(), p.y(), p.z()});
  }
  for (const auto f : surface.faces()) {
    scanmesh::Triangle t{};
    std::size_t k = 0;
    for (const auto v : CGAL::vertices_around_face(surface.halfedge(f), surface)) {
      t[k++] = static_cast<std::int32_t>(v.idx());
    }
    mesh.triangles.push_back(t);
  }
  return mesh;
}

template <typename Collapse>
Simplified timed(const scanmesh::TriangleMesh& mesh, Collapse collapse) {
  SurfaceMesh surface = surface_of(mesh);
  const auto begin = std::chrono::steady_clock::now();
  collapse(surface);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  return {mesh_of(surface), took.count()};
}

// It counts edges: three for every two faces of a closed surface, and half of the open edges more.
sms::Count_stop_predicate<SurfaceMesh> stop_at(const SurfaceMesh& surface, std::size_t faces) {
  const double share = static_cast<double>(faces) / static_cast<double>(surface.number_of_faces());
  const double open = static_cast<double>(surface.number_of_edges()) -
                      1.5 * static_cast<double>(surface.number_of_faces());
  return sms::Count_stop_predicate<SurfaceMesh>(static_cast<std::size_t>(
      std::lround(1.5 * static_cast<double>(faces) + std::max(open, 0.0) * std::sqrt(share))));
}

Place place_of(const scanmesh::Point& p) {
  return Place(p.x, p.y, p.z);
}

}  // namespace

Simplified cgal_lindstrom_turk(const scanmesh::TriangleMesh& mesh, std::size_t faces) {
  return timed(mesh, [faces](SurfaceMesh& surface) {
    sms::edge_collapse(surface, stop_at(surface, faces),
                       CGAL::parameters::get_cost(sms::LindstromTurk_cost<SurfaceMesh>())
                           .get_placement(sms::LindstromTurk_placement<SurfaceMesh>()));
  });
}

Simplified cgal_garland_heckbert(const scanmesh::TriangleMesh& mesh, std::size_t faces) {
  return timed(mesh, [faces](SurfaceMesh& surface) {
    using Policies = sms::GarlandHeckbert_plane_policies<SurfaceMesh, Kernel>;
    const Policies policies(surface);
    sms::edge_collapse(
        surface, stop_at(surface, faces),
        CGAL::parameters::get_cost(policies.get_cost()).get_placement(policies.get_placement()));
  });
}

OneWay sampled_distance(const scanmesh::TriangleMesh& a, const scanmesh::TriangleMesh& b,
                        std::size_t samples) {
  using Triangles = std::vector<Kernel::Triangle_3>;
  using Primitive = CGAL::AABB_triangle_primitive<Kernel, Triangles::const_iterator>;
  Triangles triangles;
  for (const scanmesh::Triangle& t : b.triangles) {
    const Kernel::Triangle_3 triangle(place_of(b.points[static_cast<std::size_t>(t[0])]),
                                      place_of(b.points[static_cast<std::size_t>(t[1])]),
                                      place_of(b.points[static_cast<std::size_t>(t[2])]));
    if (!triangle.is_degenerate()) triangles.push_back(triangle);
  }
  CGAL::AABB_tree<CGAL::AABB_traits<Kernel, Primitive>> tree(triangles.begin(), triangles.end());
  tree.accelerate_distance_queries();
  std::vector<double> sums{0};
  for (const scanmesh::Triangle& t : a.triangles) {
    const double area =
        std::sqrt(CGAL::squared_area(place_of(a.points[static_cast<std::size_t>(t[0])]),
                                     place_of(a.points[static_cast<std::size_t>(t[1])]),
                                     place_of(a.points[static_cast<std::size_t>(t[2])])));
    sums.push_back(sums.back() + area);
  }
  OneWay way;
  std::size_t f = 0;
  for (std::size_t i = 0; i < samples; ++i) {
    const double along =
        (static_cast<double>(i) + 0.5) / static_cast<double>(samples) * sums.back();
    while (f + 1 < a.triangles.size() && sums[f + 1] <= along) ++f;
    // A sequence of even spread in the triangle: Roberts's.
    double s = std::fmod(0.7548776662466927 * static_cast<double>(i + 1), 1.0);
    double r = std::fmod(0.5698402909980532 * static_cast<double>(i + 1), 1.0);
    if (s + r > 1) {
      s = 1 - s;
      r = 1 - r;
    }
    const scanmesh::Triangle& t = a.triangles[f];
    const Place p = place_of(a.points[static_cast<std::size_t>(t[0])]);
    const Place q = place_of(a.points[static_cast<std::size_t>(t[1])]);
    const Place o = place_of(a.points[static_cast<std::size_t>(t[2])]);
    const double d = std::sqrt(tree.squared_distance(p + s * (q - p) + r * (o - p)));
    way.mean += d / static_cast<double>(samples);
    way.maximum = std::max(way.maximum, d);
  }
  return way;
}

}  // namespace peers
