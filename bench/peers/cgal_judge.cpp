// Judges meshes as another library sees them: reads STL files, joins equal points, and prints for
// each whether it is one closed, manifold, consistently oriented, outward surface without
// self-intersections, and the first of these that fails. Not shipped.
//   peers_judge FILE.stl...
// A line per file: NAME, verdict, reason, components, vertices, faces; tab-separated.
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_mesh_processing/connected_components.h>
#include <CGAL/Polygon_mesh_processing/orient_polygon_soup.h>
#include <CGAL/Polygon_mesh_processing/orientation.h>
#include <CGAL/Polygon_mesh_processing/polygon_soup_to_polygon_mesh.h>
#include <CGAL/Polygon_mesh_processing/self_intersections.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/boost/graph/helpers.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using Mesh = CGAL::Surface_mesh<Kernel::Point_3>;
namespace pmp = CGAL::Polygon_mesh_processing;

struct Soup {
  std::vector<Kernel::Point_3> points;
  std::vector<std::array<std::size_t, 3>> triangles;
};

// Equal corners become one point; nothing else is changed.
Soup read_soup(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
  Soup soup;
  std::map<std::array<float, 3>, std::size_t> numbers;
  for (std::size_t at = 84; at + 50 <= bytes.size(); at += 50) {
    std::array<std::size_t, 3> triangle;
    for (std::size_t k = 0; k < 3; ++k) {
      std::array<float, 3> p;
      std::memcpy(p.data(), bytes.data() + at + 12 * (k + 1), sizeof p);
      const auto [number, fresh] = numbers.emplace(p, soup.points.size());
      if (fresh) soup.points.emplace_back(p[0], p[1], p[2]);
      triangle[k] = number->second;
    }
    soup.triangles.push_back(triangle);
  }
  return soup;
}

struct Verdict {
  std::string reason;  // empty: healthy
  std::size_t components = 0;
};

Verdict judge(const Soup& soup) {
  if (soup.triangles.empty()) return {"empty", 0};
  for (const auto& t : soup.triangles) {
    if (t[0] == t[1] || t[1] == t[2] || t[2] == t[0]) return {"degenerate", 0};
    if (CGAL::collinear(soup.points[t[0]], soup.points[t[1]], soup.points[t[2]])) {
      return {"degenerate", 0};
    }
  }
  if (!pmp::is_polygon_soup_a_polygon_mesh(soup.triangles))
    return {"not manifold or not oriented", 0};
  Mesh mesh;
  pmp::polygon_soup_to_polygon_mesh(soup.points, soup.triangles, mesh);
  Verdict verdict;
  std::vector<std::size_t> number(num_faces(mesh));
  verdict.components = pmp::connected_components(mesh, CGAL::make_property_map(number));
  if (!CGAL::is_closed(mesh)) {
    verdict.reason = "open";
  } else if (pmp::does_self_intersect(mesh)) {
    verdict.reason = "self-intersections";
  } else if (!pmp::does_bound_a_volume(mesh)) {
    verdict.reason = "orientation of components";
  } else if (!pmp::is_outward_oriented(mesh)) {
    verdict.reason = "inside out";
  }
  return verdict;
}

}  // namespace

int main(int count, char** paths) {
  for (int i = 1; i < count; ++i) {
    const Soup soup = read_soup(paths[i]);
    Verdict verdict;
    try {
      verdict = judge(soup);
    } catch (const std::exception& error) {
      verdict.reason = "judge failed";
    }
    const std::string path = paths[i];
    std::cout << path.substr(path.rfind('/') + 1) << '\t'
              << (verdict.reason.empty() ? "healthy" : "not") << '\t'
              << (verdict.reason.empty() ? "-" : verdict.reason) << '\t' << verdict.components
              << '\t' << soup.points.size() << '\t' << soup.triangles.size() << std::endl;
  }
}
