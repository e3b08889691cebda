// Two scans of one object in one mesh.
#include <algorithm>
#include <cmath>

#include "scanmesh/messages.h"
#include "scanmesh/toolkit/building.h"
#include "scanmesh/toolkit/compare.h"
#include "scanmesh/x_ball_pivoting.h"
#include "toolkit/engine_mesh.h"
#include "toolkit/hole_closing.h"
#include "toolkit/progress.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

// Bits of a tag, as scanning applications set them.
constexpr unsigned char kFine = 0x20;
constexpr unsigned char kAtSeam = 0x80;

// In edges of the coarse mesh. Its faces go where a corner is this near to the fine surface, which
// leaves a gap of half an edge to one and a half.
constexpr double kUnderFine = 0.6;
constexpr double kSeamOfCoarse = 2.5;
constexpr double kSeamOfFine = 1.7;  // and three of its own
constexpr double kMeeting = 1.0;

std::vector<double> distances(const TriangleMesh& from, const TriangleMesh& to) {
  std::vector<double> apart = compare(from, to).a_to_b.of_points;
  for (double& d : apart) d = std::abs(d);
  return apart;
}

// Both meshes' points and triangles, and the tag of each point.
struct Pair {
  TriangleMesh mesh;
  std::vector<unsigned char> tags;
  std::size_t coarse_points = 0;
};

void append_point(const TriangleMesh& from, std::size_t i, bool colors, bool normals, Pair& pair) {
  pair.mesh.points.push_back(from.points[i]);
  if (colors) pair.mesh.colors.push_back(from.colors[i]);
  if (normals) pair.mesh.normals.push_back(from.normals[i]);
}

// The part of a mesh that is kept, points without triangles left out: a ball would rest on them.
void append(const TriangleMesh& from, const std::vector<Triangle>& triangles, bool colors,
            bool normals, Pair& pair) {
  std::vector<std::int32_t> number(from.points.size(), -1);
  for (const Triangle& t : triangles) {
    for (const std::int32_t v : t) number[static_cast<std::size_t>(v)] = 0;
  }
  for (std::size_t i = 0; i < number.size(); ++i) {
    if (number[i] < 0) continue;
    number[i] = static_cast<std::int32_t>(pair.mesh.points.size());
    append_point(from, i, colors, normals, pair);
  }
  for (Triangle t : triangles) {
    for (std::int32_t& v : t) v = number[static_cast<std::size_t>(v)];
    pair.mesh.triangles.push_back(t);
  }
}

// The coarse triangles with no corner at the fine surface.
std::vector<Triangle> beside(const TriangleMesh& coarse, const std::vector<double>& apart,
                             double edge) {
  std::vector<Triangle> kept;
  for (const Triangle& t : usable_triangles(coarse)) {
    const bool under = std::any_of(t.begin(), t.end(), [&](std::int32_t v) {
      return apart[static_cast<std::size_t>(v)] < kUnderFine * edge;
    });
    if (!under) kept.push_back(t);
  }
  return kept;
}

void require_meeting(const TriangleMesh& coarse, const std::vector<double>& apart, double edge) {
  for (const Triangle& t : coarse.triangles) {
    for (const std::int32_t v : t) {
      if (apart[static_cast<std::size_t>(v)] < kMeeting * edge) return;
    }
  }
  throw Error(ErrorCode::invalid_argument,
              "the meshes don't meet: no point of the coarse one is "
              "within an edge of the fine one");
}

void set_tags(Pair& pair, double coarse_edge, double fine_edge) {
  TriangleMesh coarse;
  TriangleMesh fine;
  coarse.points.assign(pair.mesh.points.begin(),
                       pair.mesh.points.begin() + static_cast<std::ptrdiff_t>(pair.coarse_points));
  fine.points.assign(pair.mesh.points.begin() + static_cast<std::ptrdiff_t>(pair.coarse_points),
                     pair.mesh.points.end());
  const auto shift = static_cast<std::int32_t>(pair.coarse_points);
  for (const Triangle& t : pair.mesh.triangles) {
    if (t[0] < shift) {
      coarse.triangles.push_back(t);
    } else {
      fine.triangles.push_back({t[0] - shift, t[1] - shift, t[2] - shift});
    }
  }
  const Comparison apart = compare(coarse, fine);
  for (const double d : apart.a_to_b.of_points) {
    pair.tags.push_back(std::abs(d) < kSeamOfCoarse * coarse_edge ? kAtSeam : 0);
  }
  for (const double d : apart.b_to_a.of_points) {
    const bool at_seam = std::abs(d) < kSeamOfFine * coarse_edge + 3 * fine_edge;
    pair.tags.push_back(static_cast<unsigned char>(at_seam ? kFine | kAtSeam : kFine));
  }
}

// The engine knows seams at ratios of about 4 and 8, with a sample in the middle of each coarse
// edge or two at its thirds, and balls to match; others pass as the nearer one. Where the meshes
// are nearly as fine as one another its ordinary balls fit.
double ratio_told(double ratio) {
  constexpr double kOrdinary = 2.5;
  constexpr double kBetween = 5.6;
  if (ratio < kOrdinary) return std::max(ratio, 1.0);
  return ratio < kBetween ? 4 : 8;
}

// The corners of faces that the engine may have taken away: those with a corner at the seam.
std::vector<bool> reach_of_seam(const Pair& pair) {
  std::vector<bool> reach(pair.tags.size(), false);
  for (const Triangle& t : pair.mesh.triangles) {
    const bool touched = std::any_of(t.begin(), t.end(), [&](std::int32_t v) {
      return (pair.tags[static_cast<std::size_t>(v)] & kAtSeam) != 0;
    });
    for (const std::int32_t v : t) {
      if (touched) reach[static_cast<std::size_t>(v)] = true;
    }
  }
  return reach;
}

// The holes that the balls leave between the two.
void close_seam(WorkMesh& work, const Pair& pair, const Progress& progress) {
  const std::vector<bool> reach = reach_of_seam(pair);
  const auto at_seam = [&](const WorkMesh& mesh, const std::vector<std::int32_t>& ring) {
    return std::all_of(ring.begin(), ring.end(), [&](std::int32_t v) {
      const std::int32_t from = mesh.point_from[static_cast<std::size_t>(v)];
      return from < 0 || reach[static_cast<std::size_t>(from)];
    });
  };
  TriangleMesh shape;
  shape.points = work.points;
  shape.triangles = work.triangles;
  Ground ground;
  ground.floats = false;
  ground.diagonal = bounding_box(shape).diagonal();
  close_rings(work, at_seam, false, ground, {}, progress);
}

}  // namespace

TriangleMesh stitch(const TriangleMesh& coarse, const TriangleMesh& fine,
                    const Progress& progress) {
  require_valid(coarse);
  require_valid(fine);
  const std::vector<Triangle> fine_triangles = usable_triangles(fine);
  if (usable_triangles(coarse).empty() || fine_triangles.empty()) {
    throw Error(ErrorCode::invalid_argument, "both meshes must have triangles");
  }
  report(progress, 0, "stitch");
  const QuietThread quiet;
  const double coarse_edge = mean_side(coarse);
  const double fine_edge = mean_side(fine);
  const std::vector<double> apart = distances(coarse, fine);
  require_meeting(coarse, apart, coarse_edge);
  const bool colors = !coarse.colors.empty() && !fine.colors.empty();
  const bool normals = !coarse.normals.empty() && !fine.normals.empty();
  Pair pair;
  append(coarse, beside(coarse, apart, coarse_edge), colors, normals, pair);
  if (pair.mesh.triangles.empty()) return fine;  // it covers all of the coarse one
  pair.coarse_points = pair.mesh.points.size();
  append(fine, fine_triangles, colors, normals, pair);
  set_tags(pair, coarse_edge, fine_edge);
  report(progress, 0.3, "stitch");
  const EngineFrame frame(bounding_box(pair.mesh), fine_edge);
  EngineMesh copy(pair.mesh, frame, pair.tags);
  const auto spacing = static_cast<float>(frame.length_inside(fine_edge));
  const auto told = static_cast<float>(ratio_told(coarse_edge / fine_edge));
  copy.engine().setResolutionParam({told * spacing, spacing, true});
  xbpa::XBallPivoting ball;
  ball.stitchMesh(copy.engine());
  report(progress, 0.8, "stitch");
  WorkMesh work = copy.work_mesh(pair.mesh);
  close_seam(work, pair, share_of(progress, 0.8, 1, "stitch"));
  report(progress, 1, "stitch");
  Origin origin;
  return work.result(pair.mesh, origin);
}

}  // namespace scanmesh
