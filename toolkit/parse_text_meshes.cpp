// OBJ, OFF and XYZ: text by lines or words.
#include <algorithm>
#include <cmath>
#include <string>

#include "scanmesh/cavity_patcher.h"
#include "toolkit/parsing.h"
#include "toolkit/text_scanner.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

std::uint8_t color_byte(double value, bool of_one) {
  return static_cast<std::uint8_t>(
      std::lround(std::clamp(of_one ? value * 255 : value, 0.0, 255.0)));
}

// Numbers up to the end of the line.
std::vector<double> numbers_of(std::string_view line, char comment) {
  std::vector<double> numbers;
  TextScanner text(line);
  double value = 0;
  while (text.number(value, comment)) numbers.push_back(value);
  return numbers;
}

bool convex(const TriangleMesh& mesh, const std::vector<std::int32_t>& corners) {
  const auto at = [&](std::size_t i) {
    return mesh.points[static_cast<std::size_t>(corners[i % corners.size()])];
  };
  Point normal;
  for (std::size_t i = 0; i + 2 < corners.size(); ++i) {
    normal = normal + area_vector(at(0), at(i + 1), at(i + 2));
  }
  for (std::size_t i = 0; i < corners.size(); ++i) {
    if (dot(area_vector(at(i), at(i + 1), at(i + 2)), normal) <= 0) return false;
  }
  return true;
}

}  // namespace

std::int32_t checked_index(std::int64_t index, std::size_t count, std::size_t face) {
  if (index >= 0 && index < static_cast<std::int64_t>(count)) {
    return static_cast<std::int32_t>(index);
  }
  throw ParseError("face " + std::to_string(face) + " names point " + std::to_string(index) +
                   ", the file has " + std::to_string(count));
}

void add_polygon(TriangleMesh& mesh, const std::vector<std::int32_t>& corners) {
  if (corners.size() < 3) return;
  if (corners.size() > 3 && !convex(mesh, corners)) {
    std::vector<double> line;
    for (const std::int32_t v : corners) {
      const Point& p = mesh.points[static_cast<std::size_t>(v)];
      line.insert(line.end(), {p.x, p.y, p.z});
    }
    std::vector<int> triples;
    if (Mesh_M::CavityPatcher::fillHolePolyline(line, triples) == 0) {
      const auto corner = [&](std::size_t i) {
        return corners[static_cast<std::size_t>(triples[i])];
      };
      for (std::size_t i = 0; i + 2 < triples.size(); i += 3) {
        mesh.triangles.push_back({corner(i), corner(i + 1), corner(i + 2)});
      }
      return;
    }
  }
  for (std::size_t i = 2; i < corners.size(); ++i) {
    mesh.triangles.push_back({corners[0], corners[i - 1], corners[i]});
  }
}

TriangleMesh parse_obj(std::string_view bytes) {
  TextScanner text(bytes);
  TriangleMesh mesh;
  std::vector<Color> colors;
  std::vector<std::vector<std::int64_t>> faces;
  while (!text.at_end()) {
    TextScanner line(text.line());
    const std::string_view kind = line.word();
    if (kind == "v") {
      const std::vector<double> v = numbers_of(line.line(), '#');
      if (v.size() < 3) {
        throw ParseError("point " + std::to_string(mesh.points.size() + 1) +
                         " has no three numbers");
      }
      mesh.points.push_back({v[0], v[1], v[2]});
      if (v.size() >= 6) {
        colors.push_back(
            {color_byte(v[3], true), color_byte(v[4], true), color_byte(v[5], true), 255});
      }
    } else if (kind == "f") {
      std::vector<std::int64_t> face;
      for (std::string_view word = line.word('#'); !word.empty(); word = line.word('#')) {
        std::int64_t index = 0;
        if (!TextScanner::to_number(word.substr(0, word.find('/')), index) || index == 0) {
          throw ParseError("face " + std::to_string(faces.size() + 1) +
                           " has a corner that is no number");
        }
        // Negative ones count back from the last point so far.
        face.push_back(index > 0 ? index - 1
                                 : static_cast<std::int64_t>(mesh.points.size()) + index);
      }
      faces.push_back(std::move(face));
    }
  }
  if (mesh.points.empty()) throw ParseError("has no points");
  for (std::size_t f = 0; f < faces.size(); ++f) {
    std::vector<std::int32_t> corners;
    for (const std::int64_t i : faces[f]) {
      corners.push_back(checked_index(i, mesh.points.size(), f + 1));
    }
    add_polygon(mesh, corners);
  }
  if (colors.size() == mesh.points.size()) mesh.colors = std::move(colors);
  return mesh;
}

TriangleMesh parse_off(std::string_view bytes) {
  TextScanner text(bytes);
  const std::string_view head = text.word('#');
  if (head.size() < 3 || head.substr(head.size() - 3) != "OFF") throw ParseError("is no OFF file");
  const bool colored = head.find('C') != std::string_view::npos;
  std::uint64_t points = 0;
  std::uint64_t faces = 0;
  std::uint64_t edges = 0;
  if (!text.number(points, '#') || !text.number(faces, '#') || !text.number(edges, '#')) {
    throw ParseError("is an OFF file without its counts");
  }
  if (points > bytes.size() || faces > bytes.size()) {
    throw ParseError("is a shortened OFF file: its counts are larger than it could hold");
  }
  TriangleMesh mesh;
  // What follows three numbers on a line is colour, normal or texture: of no interest but colour.
  const auto next_line = [&text] {
    std::vector<double> numbers;
    while (numbers.empty() && !text.at_end()) numbers = numbers_of(text.line(), '#');
    return numbers;
  };
  text.line();
  for (std::uint64_t v = 0; v < points; ++v) {
    const std::vector<double> n = next_line();
    if (n.size() < 3) {
      throw ParseError("is a shortened OFF file: " + std::to_string(v) + " of " +
                       std::to_string(points) + " points are there");
    }
    mesh.points.push_back({n[0], n[1], n[2]});
    if (colored && n.size() >= 6) {
      const bool of_one = n[3] <= 1 && n[4] <= 1 && n[5] <= 1;
      mesh.colors.push_back(
          {color_byte(n[3], of_one), color_byte(n[4], of_one), color_byte(n[5], of_one), 255});
    }
  }
  if (mesh.colors.size() != mesh.points.size()) mesh.colors.clear();
  for (std::uint64_t f = 0; f < faces; ++f) {
    const std::vector<double> n = next_line();
    if (n.empty() || !(n[0] >= 0) || n[0] > static_cast<double>(n.size() - 1)) {
      throw ParseError("is a shortened OFF file: " + std::to_string(f) + " of " +
                       std::to_string(faces) + " faces are there");
    }
    std::vector<std::int32_t> corners;
    for (std::size_t k = 1; k <= static_cast<std::size_t>(n[0]); ++k) {
      if (!(std::abs(n[k]) < 4e9))
        throw ParseError("face " + std::to_string(f) + " names no point");
      corners.push_back(checked_index(static_cast<std::int64_t>(n[k]), mesh.points.size(), f));
    }
    add_polygon(mesh, corners);
  }
  return mesh;
}

TriangleMesh parse_xyz(std::string_view bytes) {
  TextScanner text(bytes);
  TriangleMesh mesh;
  std::size_t number = 0;
  while (!text.at_end()) {
    ++number;
    const std::string_view line = text.line();
    const std::vector<double> n = numbers_of(line, '#');
    if (n.empty() && (line.empty() || line.front() == '#')) continue;
    if (n.size() != 3 && n.size() < 6) {
      throw ParseError("line " + std::to_string(number) + " has " + std::to_string(n.size()) +
                       " numbers; points have 3, with normals 6");
    }
    mesh.points.push_back({n[0], n[1], n[2]});
    if (n.size() >= 6) mesh.normals.push_back({n[3], n[4], n[5]});
  }
  if (mesh.normals.size() != mesh.points.size()) mesh.normals.clear();
  return mesh;
}

}  // namespace scanmesh
