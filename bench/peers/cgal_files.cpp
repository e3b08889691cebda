#include <CGAL/IO/OBJ.h>
#include <CGAL/IO/PLY.h>
#include <CGAL/IO/STL.h>
#include <CGAL/IO/read_xyz_points.h>
#include <CGAL/Simple_cartesian.h>

#include <array>

#include "peers/file_peers.h"

namespace peers {
namespace {

using Kernel = CGAL::Simple_cartesian<double>;
using Point = Kernel::Point_3;
using Polygons = std::vector<std::array<std::size_t, 3>>;

struct Soup {
  std::vector<Point> points;
  Polygons polygons;
};

bool ends_with(const std::string& path, const std::string& extension) {
  return path.size() >= extension.size() &&
         path.compare(path.size() - extension.size(), extension.size(), extension) == 0;
}

// Its reader of OBJ takes polygons of any size, and only those.
bool read_obj(const std::string& path, Soup& soup) {
  std::vector<std::vector<std::size_t>> polygons;
  if (!CGAL::IO::read_OBJ(path, soup.points, polygons)) return false;
  for (const auto& polygon : polygons) {
    if (polygon.size() == 3) soup.polygons.push_back({polygon[0], polygon[1], polygon[2]});
  }
  return true;
}

bool read_soup(const std::string& path, Soup& soup) {
  if (ends_with(path, ".ply")) return CGAL::IO::read_PLY(path, soup.points, soup.polygons);
  if (ends_with(path, ".stl")) return CGAL::IO::read_STL(path, soup.points, soup.polygons);
  return ends_with(path, ".obj") && read_obj(path, soup);
}

Job load(const std::string& path) {
  auto soup = std::make_shared<Soup>();
  return [path, soup]() -> long long {
    if (!read_soup(path, *soup)) return -1;
    return static_cast<long long>(soup->polygons.size());
  };
}

void append(std::vector<float>& points, const Point& p) {
  for (int axis = 0; axis < 3; ++axis) points.push_back(static_cast<float>(p[axis]));
}

bool read(const std::string& path, IndexedMesh& out) {
  Soup soup;
  if (!read_soup(path, soup)) return false;
  for (const Point& p : soup.points) append(out.points, p);
  for (const auto& polygon : soup.polygons) {
    for (const std::size_t corner : polygon) {
      out.corners.push_back(static_cast<unsigned int>(corner));
    }
  }
  return true;
}

Job save(const IndexedMesh& source, const std::string& path, FileKind kind) {
  if (kind >= FileKind::xyz) return {};
  auto soup = std::make_shared<Soup>();
  for (std::size_t i = 0; i + 2 < source.points.size(); i += 3) {
    soup->points.emplace_back(source.points[i], source.points[i + 1], source.points[i + 2]);
  }
  for (std::size_t i = 0; i + 2 < source.corners.size(); i += 3) {
    soup->polygons.push_back({source.corners[i], source.corners[i + 1], source.corners[i + 2]});
  }
  return [soup, path, kind]() -> long long {
    const bool binary = kind == FileKind::ply_binary || kind == FileKind::stl_binary;
    const auto how = CGAL::parameters::use_binary_mode(binary).stream_precision(9);
    bool sound = false;
    if (kind == FileKind::obj) {
      sound = CGAL::IO::write_OBJ(path, soup->points, soup->polygons, how);
    } else if (kind == FileKind::stl_binary || kind == FileKind::stl_ascii) {
      sound = CGAL::IO::write_STL(path, soup->points, soup->polygons, how);
    } else {
      sound = CGAL::IO::write_PLY(path, soup->points, soup->polygons, how);
    }
    return sound ? static_cast<long long>(soup->polygons.size()) : -1;
  };
}

}  // namespace

FilePeer cgal_files() {
  return {"CGAL", load, read, save};
}

bool cgal_points_of(const std::string& path, std::vector<float>& points) {
  std::vector<std::pair<Point, Kernel::Vector_3>> read;
  if (!CGAL::IO::read_XYZ(
          path, std::back_inserter(read),
          CGAL::parameters::point_map(
              CGAL::First_of_pair_property_map<std::pair<Point, Kernel::Vector_3>>())
              .normal_map(
                  CGAL::Second_of_pair_property_map<std::pair<Point, Kernel::Vector_3>>()))) {
    return false;
  }
  for (const auto& p : read) append(points, p.first);
  return true;
}

}  // namespace peers
