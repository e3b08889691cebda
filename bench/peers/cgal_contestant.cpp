#include <CGAL/IO/STL.h>
#include <CGAL/Polygon_mesh_processing/compute_normal.h>
#include <CGAL/Polygon_mesh_processing/orient_polygon_soup.h>
#include <CGAL/Polygon_mesh_processing/polygon_soup_to_polygon_mesh.h>
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/Surface_mesh_simplification/Policies/Edge_collapse/Count_stop_predicate.h>
#include <CGAL/Surface_mesh_simplification/Policies/Edge_collapse/GarlandHeckbert_plane_policies.h>
#include <CGAL/Surface_mesh_simplification/edge_collapse.h>
#include <CGAL/subdivision_method_3.h>

#include <array>
#include <memory>
#include <vector>

#include "peers/contestants.h"

namespace peers {
namespace {

using Kernel = CGAL::Simple_cartesian<double>;
using Point = Kernel::Point_3;
using TriMesh = CGAL::Surface_mesh<Point>;
using Polygons = std::vector<std::vector<std::size_t>>;
namespace pmp = CGAL::Polygon_mesh_processing;
namespace sms = CGAL::Surface_mesh_simplification;

void fill_from_soup(std::vector<Point>& points, Polygons& polygons, TriMesh& mesh) {
  pmp::orient_polygon_soup(points, polygons);
  pmp::polygon_soup_to_polygon_mesh(points, polygons, mesh);
}

std::shared_ptr<TriMesh> mesh_of(const IndexedMesh& mesh) {
  std::vector<Point> points;
  Polygons polygons;
  for (std::size_t i = 0; i + 2 < mesh.points.size(); i += 3) {
    points.emplace_back(mesh.points[i], mesh.points[i + 1], mesh.points[i + 2]);
  }
  for (std::size_t i = 0; i + 2 < mesh.corners.size(); i += 3) {
    polygons.push_back({mesh.corners[i], mesh.corners[i + 1], mesh.corners[i + 2]});
  }
  auto copy = std::make_shared<TriMesh>();
  fill_from_soup(points, polygons, *copy);
  return copy;
}

}  // namespace

Contestant cgal_load(const std::string& path) {
  return {"CGAL", [path]() -> Job {
            auto mesh = std::make_shared<TriMesh>();
            return [mesh, path]() -> long long {
              std::vector<Point> points;
              Polygons polygons;
              if (!CGAL::IO::read_STL(path, points, polygons)) return -1;
              fill_from_soup(points, polygons, *mesh);
              auto normals =
                  mesh->add_property_map<TriMesh::Vertex_index, Kernel::Vector_3>("v:normal").first;
              pmp::compute_vertex_normals(*mesh, normals);
              return static_cast<long long>(mesh->number_of_faces());
            };
          }};
}

Contestant cgal_simplify(const IndexedMesh& mesh, int target) {
  return {
      "CGAL", [&mesh, target]() -> Job {
        auto copy = mesh_of(mesh);
        return [copy, target]() -> long long {
          using Policies = sms::GarlandHeckbert_plane_policies<TriMesh, Kernel>;
          const Policies policies(*copy);
          // It counts edges: three for every two faces.
          const sms::Count_stop_predicate<TriMesh> stop(static_cast<std::size_t>(target) * 3 / 2);
          sms::edge_collapse(*copy, stop,
                             CGAL::parameters::get_cost(policies.get_cost())
                                 .get_placement(policies.get_placement()));
          return static_cast<long long>(copy->number_of_faces());
        };
      }};
}

Contestant cgal_subdivide(const IndexedMesh& mesh) {
  return {"CGAL", [&mesh]() -> Job {
            auto copy = mesh_of(mesh);
            return [copy]() -> long long {
              CGAL::Subdivision_method_3::Loop_subdivision(
                  *copy, CGAL::parameters::number_of_iterations(1));
              return static_cast<long long>(copy->number_of_faces());
            };
          }};
}

}  // namespace peers
