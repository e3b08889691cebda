// From points with normals to a mesh, by the engine's two reconstructors.
#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "scanmesh/ball_pivoting.h"
#include "scanmesh/marching.h"
#include "scanmesh/messages.h"
#include "scanmesh/toolkit/building.h"
#include "scanmesh/toolkit/steps.h"
#include "toolkit/box_tree.h"
#include "toolkit/engine_mesh.h"
#include "toolkit/progress.h"
#include "toolkit/validity.h"
#include "toolkit/vector_math.h"
#include "toolkit/welding.h"

namespace scanmesh {
namespace {

// Samples that a reconstructor can use: finite, with a direction, each place once.
struct Samples {
  std::vector<Point> points;
  std::vector<Point> normals;
  std::vector<std::int32_t> from;
};

Samples usable_samples(const TriangleMesh& mesh) {
  Samples samples;
  const std::vector<std::int32_t> first = first_equal_points(mesh.points);
  for (std::size_t i = 0; i < mesh.points.size(); ++i) {
    const Point normal = unit(mesh.normals[i]);
    if (first[i] != static_cast<std::int32_t>(i) || !finite(mesh.points[i]) || !finite(normal) ||
        normal == Point{}) {
      continue;
    }
    samples.points.push_back(mesh.points[i]);
    samples.normals.push_back(normal);
    samples.from.push_back(static_cast<std::int32_t>(i));
  }
  return samples;
}

double squared_to(const Point& p, const FloatBox& box) {
  const double at[3] = {p.x, p.y, p.z};
  double squared = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double off = std::max({static_cast<double>(box.min[axis]) - at[axis],
                                 at[axis] - static_cast<double>(box.max[axis]), 0.0});
    squared += off * off;
  }
  return squared;
}

// The median over all points of the distance to the nearest other one.
double median_spacing(const std::vector<Point>& points) {
  std::vector<Triangle> places;
  std::vector<std::int32_t> items;
  for (std::int32_t i = 0; i < static_cast<std::int32_t>(points.size()); ++i) {
    places.push_back({i, i, i});
    items.push_back(i);
  }
  const BoxTree tree(points, places, std::move(items));
  std::vector<double> nearest(points.size());
  const auto count = static_cast<std::int64_t>(points.size());
#pragma omp parallel for schedule(dynamic, 1024)
  for (std::int64_t i = 0; i < count; ++i) {
    const Point& p = points[static_cast<std::size_t>(i)];
    double best = std::numeric_limits<double>::infinity();
    tree.nearest_first([&](const FloatBox& box) { return squared_to(p, box); },
                       [&](std::int32_t other) {
                         const Point off = points[static_cast<std::size_t>(other)] - p;
                         if (other != i) best = std::min(best, dot(off, off));
                         return best;
                       });
    nearest[static_cast<std::size_t>(i)] = std::sqrt(best);
  }
  const auto middle = nearest.begin() + static_cast<std::ptrdiff_t>(nearest.size() / 2);
  std::nth_element(nearest.begin(), middle, nearest.end());
  return *middle;
}

using FloatArray = MemS::MemAllo<float[3]>;

// The reconstructor frees arrays of this kind.
FloatArray array_of(const std::vector<MemS::Point3v<float>>& values) {
  FloatArray array;
  array.inalize(100000, 1000);
  for (const MemS::Point3v<float>& v : values) {
    float(&slot)[3] = array.allocate_mem();
    slot[0] = v.x;
    slot[1] = v.y;
    slot[2] = v.z;
  }
  return array;
}

MemS::Point3v<float> floats_of(const Point& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

// Its stores must be released by hand.
struct Ball {
  BPA::Ball_Pivoting engine;
  explicit Ball(double spacing) { engine.init(static_cast<float>(spacing)); }
  ~Ball() { engine.free(); }
  Ball(const Ball&) = delete;
  Ball& operator=(const Ball&) = delete;
};

std::vector<Triangle> roll_ball(const Samples& samples, const EngineFrame& frame, double spacing,
                                const Progress& progress) {
  std::vector<MemS::Point3v<float>> points;
  std::vector<MemS::Point3v<float>> normals;
  for (const Point& p : samples.points) points.push_back(frame.inside(p));
  for (const Point& n : samples.normals) normals.push_back(floats_of(n));
  Ball ball(frame.length_inside(spacing));
  EngineWatch watch(progress, "reconstruct");
  ball.engine.setProcessStepCallback(watch.callback());
  FloatArray point_array = array_of(points);
  FloatArray normal_array = array_of(normals);
  ball.engine.build_mesh(point_array, normal_array, static_cast<int>(points.size()));
  watch.finish();
  std::vector<Triangle> triangles;
  for (int i = 0; i < ball.engine.face_store.get_facenum(); ++i) {
    const Mesh_R::_face& face = *ball.engine.face_store[i];
    if (face.state == Mesh_R::kStateDeleted) continue;
    Triangle t{};
    for (std::size_t k = 0; k < 3; ++k) t[k] = ball.engine.vert_store.get_vert_no(face.vert[k]);
    triangles.push_back(t);
  }
  return triangles;
}

// The samples' own points, normals and colours; those without a triangle are left out.
TriangleMesh over_samples(const TriangleMesh& input, const Samples& samples,
                          std::vector<Triangle> triangles) {
  TriangleMesh mesh;
  std::vector<std::int32_t> number(samples.points.size(), -1);
  for (const Triangle& t : triangles) {
    for (const std::int32_t v : t) number[static_cast<std::size_t>(v)] = 0;
  }
  for (std::size_t i = 0; i < number.size(); ++i) {
    if (number[i] < 0) continue;
    number[i] = static_cast<std::int32_t>(mesh.points.size());
    const auto from = static_cast<std::size_t>(samples.from[i]);
    mesh.points.push_back(input.points[from]);
    mesh.normals.push_back(samples.normals[i]);
    if (!input.colors.empty()) mesh.colors.push_back(input.colors[from]);
  }
  for (Triangle& t : triangles) {
    for (std::int32_t& v : t) v = number[static_cast<std::size_t>(v)];
  }
  mesh.triangles = std::move(triangles);
  return mesh;
}

// Releases its facets whatever happens.
struct Pipeline {
  MC_Triangulation engine;
  Pipeline() = default;
  ~Pipeline() { engine.free_mem(); }
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;
};

// Half of a cube's edge: a power of two of cells, with room for four more about the points.
double half_of_cube(const Box& box, double cell) {
  const Point size = box.max - box.min;
  double half = cell / 2;
  while (half < std::max({size.x, size.y, size.z}) / 2 + 4 * cell) half *= 2;
  return half;
}

TriangleMesh soup_of(const MC_Triangulation& pipeline, const EngineFrame& frame) {
  constexpr std::int64_t kBlock = 100000;  // facets
  const std::int64_t count = pipeline.facet_block * kBlock + pipeline.facet_slot;
  TriangleMesh soup;
  for (std::int64_t i = 0; i < count; ++i) {
    const T_F& facet = pipeline.facet_blocks[i / kBlock][i % kBlock];
    const auto first = static_cast<std::int32_t>(soup.points.size());
    for (const Point3fv& p : facet.vertex) {
      soup.points.push_back(frame.outside({p.x, p.y, p.z}));
    }
    soup.triangles.push_back({first, first + 1, first + 2});
  }
  return soup;
}

// Spacings to a cell's edge. Points on an uneven grid are further apart than their nearest
// neighbours, and a cell without one leaves a gap.
constexpr double kCell = 1.5;

TriangleMesh march(const Samples& samples, const EngineFrame& frame, const Box& box,
                   double spacing) {
  const double cell = kCell * frame.length_inside(spacing);
  // A little off the middle: a face right on the walls of cells has no inside within any of them.
  float centre[3] = {static_cast<float>(0.137 * cell), static_cast<float>(0.271 * cell),
                     static_cast<float>(0.411 * cell)};
  Box inside = box;
  inside.max = {frame.length_inside(box.max.x - box.min.x),
                frame.length_inside(box.max.y - box.min.y),
                frame.length_inside(box.max.z - box.min.z)};
  inside.min = {};
  const auto half_cell = static_cast<float>(cell / 2);
  std::vector<float> points;
  std::vector<float> normals;
  for (std::size_t i = 0; i < samples.points.size(); ++i) {
    const MemS::Point3v<float> p = frame.inside(samples.points[i]);
    const MemS::Point3v<float> n = floats_of(samples.normals[i]);
    points.insert(points.end(), {p.x, p.y, p.z});
    normals.insert(normals.end(), {n.x, n.y, n.z});
  }
  Pipeline pipeline;
  pipeline.engine.inalize(centre, static_cast<int>(samples.points.size()),
                          static_cast<float>(half_of_cube(inside, cell)), 0, half_cell);
  for (std::size_t i = 0; i < points.size(); i += 3) {
    pipeline.engine.insert_data(&points[i], &normals[i], half_cell, 0);
  }
  pipeline.engine.mc_triangulation();
  return soup_of(pipeline.engine, frame);
}

// Corners of neighbouring facets are computed twice where rims are drawn towards samples.
TriangleMesh welded(const TriangleMesh& soup, const EngineFrame& frame) {
  constexpr double kSamePoint = 0.001;  // the engine's own soups are cut to this
  const TriangleMesh joined = weld(soup, frame.length_outside(kSamePoint)).mesh;
  return remove_degenerate(remove_duplicates(joined).mesh).mesh;
}

}  // namespace

TriangleMesh reconstruct(const TriangleMesh& samples, const ReconstructOptions& options) {
  require_valid(samples);
  if (samples.normals.empty()) {
    throw Error(ErrorCode::invalid_argument, "a reconstruction needs a normal at each point");
  }
  if (!std::isfinite(options.spacing) || options.spacing < 0) {
    throw Error(ErrorCode::invalid_argument, "the spacing must be finite, and not negative");
  }
  report(options.progress, 0, "reconstruct");
  const QuietThread quiet;
  const Samples usable = usable_samples(samples);
  TriangleMesh result;
  if (usable.points.size() > 2) {
    const double spacing = options.spacing > 0 ? options.spacing : median_spacing(usable.points);
    TriangleMesh cloud;
    cloud.points = usable.points;
    const Box box = bounding_box(cloud);
    const EngineFrame frame(box, spacing);
    report(options.progress, 0.1, "reconstruct");
    if (options.method == Method::pivoting) {
      const Progress rest = share_of(options.progress, 0.1, 1, "reconstruct");
      result = over_samples(samples, usable, roll_ball(usable, frame, spacing, rest));
    } else {
      result = welded(march(usable, frame, box, spacing), frame);
    }
  }
  if (result.triangles.empty()) {
    throw Error(ErrorCode::invalid_argument,
                "no face came of these points: they are too few, too "
                "far apart for the spacing, or face different sides");
  }
  report(options.progress, 1, "reconstruct");
  return result;
}

}  // namespace scanmesh
