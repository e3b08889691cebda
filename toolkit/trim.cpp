// Openings, cut by the engine one after the other.
#include <algorithm>
#include <cmath>
#include <string>

#include "scanmesh/messages.h"
#include "scanmesh/toolkit/building.h"
#include "toolkit/engine_mesh.h"
#include "toolkit/progress.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

using Shape = Opening::Shape;

[[noreturn]] void refuse(std::size_t number, const std::string& why) {
  throw Error(ErrorCode::invalid_argument, "opening " + std::to_string(number) + ": " + why);
}

bool positive(double size) {
  return std::isfinite(size) && size > 0;
}

// The opening with unit axes, the direction at a right angle to the normal.
Opening checked(Opening opening, std::size_t number) {
  opening.normal = unit(opening.normal);
  if (!finite(opening.centre) || !finite(opening.normal) || opening.normal == Point{}) {
    refuse(number, "centre and normal must be finite, the normal of some length");
  }
  if (!positive(opening.half_length)) refuse(number, "the half length must be positive");
  if (!std::isfinite(opening.depth) || opening.depth < 0) {
    refuse(number, "the depth must be finite and not negative");
  }
  if (opening.shape == Shape::circle) {
    const bool along_x = std::abs(opening.normal.x) < 0.7;
    opening.direction = unit(cross(opening.normal, along_x ? Point{1, 0, 0} : Point{0, 1, 0}));
    opening.half_width = opening.half_length;
    return opening;
  }
  if (!positive(opening.half_width)) refuse(number, "the half width must be positive");
  if (opening.half_width > opening.half_length) refuse(number, "it is wider than it is long");
  const Point raw = unit(opening.direction);
  const Point flat = raw - opening.normal * dot(raw, opening.normal);
  constexpr double kParallel = 1e-6;
  if (!finite(flat) || length(flat) < kParallel) {
    refuse(number, "the direction must be finite and not along the normal");
  }
  opening.direction = unit(flat);
  return opening;
}

// The engine cuts nothing along the curve of a circle or rectangle below 1.4, of a slot below 2.
double least_size(const Opening& opening) {
  if (opening.shape == Shape::slot) return opening.half_length / 2.2;
  return std::min(opening.half_length, opening.half_width) / 1.5;
}

// The engine looks 3 of its units up and down from the tool's plane, so that a coarse scale reaches
// furthest around a round surface: the spacing becomes 0.25 to 0.5, or more for a small opening.
EngineFrame frame_for(const TriangleMesh& mesh, const Opening& opening, double spacing) {
  return {bounding_box(mesh), std::min(2 * spacing, least_size(opening) / 2)};
}

std::vector<float> floats_of(const Point& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}
Point doubles_of(const MemS::Point3v<float>& p) {
  return {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)};
}

// An opening in the engine's units.
struct Tool {
  Opening opening;
  double spacing = 0;
  double margin =
      0;  // the search reaches some edges beyond the curve, so as to find all faces on it

  Tool(const Opening& outside, const EngineFrame& frame, double outside_spacing)
      : opening(outside), spacing(frame.length_inside(outside_spacing)), margin(3 * spacing) {
    opening.centre = doubles_of(frame.inside(outside.centre));
    opening.half_length = frame.length_inside(outside.half_length);
    opening.half_width = frame.length_inside(outside.half_width);
    opening.depth = frame.length_inside(outside.depth);
  }
};

// The tool's plane must pass through the rim of what the coarse cut removes, not through the top of
// a curved surface: moves the centre along the axis to the mean height at the search's reach.
void settle(Mesh_M::Mesh& engine, Tool& tool) {
  Opening& opening = tool.opening;
  const double reach = opening.half_length + tool.margin;
  double sum = 0;
  double count = 0;
  for (int i = 0; i < engine.vertex.get_vertnum(); ++i) {
    const Mesh_R::_vert& vert = *engine.vertex[i];
    if (vert.state == Mesh_R::kStateDeleted || vert.face_num == 0) continue;
    const Point off = doubles_of(vert.point) - opening.centre;
    const double height = dot(off, opening.normal);
    const double away = length(off - opening.normal * height);
    const bool faces_tool = dot(doubles_of(vert.vector), opening.normal) >= 0.5;
    if (std::abs(away - reach) > tool.spacing || std::abs(height) > reach || !faces_tool) continue;
    sum += height;
    count += 1;
  }
  if (count > 0) opening.centre = opening.centre + opening.normal * (sum / count);
}

void cut(Mesh_M::Mesh& engine, const Tool& tool) {
  const Opening& opening = tool.opening;
  const auto spacing = static_cast<float>(tool.spacing);
  const auto a = static_cast<float>(opening.half_length);
  const auto b = static_cast<float>(opening.half_width);
  const auto margin = static_cast<float>(tool.margin);
  const std::vector<float> centre = floats_of(opening.centre);
  const std::vector<float> normal = floats_of(opening.normal);
  const std::vector<float> along = floats_of(opening.direction);
  const bool wall = opening.depth > 0;
  const float depth = wall ? static_cast<float>(opening.depth) : 1.0F;
  // The search reaches b + c - a along the direction: as far as the half length.
  const float c = 2 * a - b + margin;
  if (opening.shape == Shape::circle) {
    engine.trimWithCircle({a}, {a + margin}, spacing, centre, normal, depth, wall);
  } else if (opening.shape == Shape::slot) {
    engine.trimWithOval({a}, {b}, {c}, spacing, centre, normal, along, depth, wall);
  } else {
    engine.trimWithRectangle({a}, {b}, {c}, spacing, centre, normal, along, depth, wall);
  }
}

// The axis through a point of the opening, and how far along it a face counts.
struct Probe {
  Point at;
  Point axis;
  double reach;

  bool hits(const Point& a, const Point& b, const Point& c) const {
    const Point normal = area_vector(a, b, c);
    const double facing = dot(normal, axis);
    if (!(facing > 0)) return false;
    const auto left_of = [&](const Point& p, const Point& q) {
      return dot(cross(p - at, q - at), axis) >= 0;
    };
    if (!left_of(a, b) || !left_of(b, c) || !left_of(c, a)) return false;
    return std::abs(dot(a - at, normal) / facing) <= reach;
  }
};

// Whether a face that looks along the tool lies in the opening, which the engine doesn't tell.
bool covered(const Mesh_M::Mesh& engine, const Tool& tool) {
  const Opening& opening = tool.opening;
  const Point along = opening.direction * (0.8 * opening.half_length);
  const Point across = cross(opening.normal, opening.direction) * (0.8 * opening.half_width);
  const double reach = 3 + opening.half_width;
  const Mesh_R::Face& faces = engine.face;
  for (const Point& at : {Point{}, along, Point{} - along, across, Point{} - across}) {
    const Probe probe{opening.centre + at, opening.normal, reach};
    for (int i = 0; i < faces.records.size(); ++i) {
      const Mesh_R::_face& face = faces.records[i];
      if (face.state == Mesh_R::kStateDeleted) continue;
      if (probe.hits(doubles_of(face.vert[0]->point), doubles_of(face.vert[1]->point),
                     doubles_of(face.vert[2]->point))) {
        return true;
      }
    }
  }
  return false;
}

TriangleMesh with_opening(const TriangleMesh& mesh, const Opening& opening, std::size_t number,
                          double spacing) {
  const EngineFrame frame = frame_for(mesh, opening, spacing);
  EngineMesh copy(mesh, frame);
  Tool tool(opening, frame, spacing);
  settle(copy.engine(), tool);
  if (!covered(copy.engine(), tool)) refuse(number, "the mesh has no surface there");
  cut(copy.engine(), tool);
  if (covered(copy.engine(), tool)) {
    refuse(number, "the mesh doesn't hold it: it would pass through a border or another opening");
  }
  return copy.result(mesh);
}

}  // namespace

TriangleMesh trim(const TriangleMesh& mesh, const std::vector<Opening>& openings,
                  const Progress& progress) {
  require_valid(mesh);
  std::vector<Opening> checked_openings;
  for (std::size_t i = 0; i < openings.size(); ++i) {
    checked_openings.push_back(checked(openings[i], i + 1));
  }
  const QuietThread quiet;
  TriangleMesh result = mesh;
  const double spacing = mean_side(mesh);
  for (std::size_t i = 0; i < openings.size(); ++i) {
    report(progress, static_cast<double>(i) / static_cast<double>(openings.size()), "trim");
    result = with_opening(result, checked_openings[i], i + 1, spacing);
  }
  report(progress, 1, "trim");
  return result;
}

}  // namespace scanmesh
