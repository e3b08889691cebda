#include "reconstruction.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>

#include "scanmesh/marching.h"
#include "support/console.h"
#include "support/stl_file.h"

namespace demo {
namespace {

// Arrays that the library hands out belong to the caller.
template <typename T>
using Array = std::unique_ptr<T[]>;

// Points and normals as the library takes them. It keeps pointers to the normals.
struct Floats {
  std::vector<float> points;
  std::vector<float> normals;

  template <typename Range>
  explicit Floats(const Range& range) {
    points.reserve(3 * range.size());
    normals.reserve(3 * range.size());
    for (const auto& one : range) {
      add(points, place(one));
      add(normals, one.normal);
    }
  }

 private:
  static const Vec3& place(const OrientedSample& s) { return s.point; }
  static const Vec3& place(const MarkerDisc& m) { return m.centre; }
  static void add(std::vector<float>& out, const Vec3& v) {
    for (const double x : {v.x, v.y, v.z}) out.push_back(static_cast<float>(x));
  }
};

// A cube of 2^n ordinary cells about the samples, with room around them. It is a little off the
// middle: a flat face that lies exactly on the walls of cells has no inside within any of them, and
// so yields no facets.
struct Cube {
  float centre[3] = {0, 0, 0};
  float half = 0;

  Cube(const SampleScan& scan, double cell) {
    Vec3 low = scan.samples.front().point;
    Vec3 high = low;
    for (const OrientedSample& s : scan.samples) {
      low = {std::min(low.x, s.point.x), std::min(low.y, s.point.y), std::min(low.z, s.point.z)};
      high = {std::max(high.x, s.point.x), std::max(high.y, s.point.y),
              std::max(high.z, s.point.z)};
    }
    const Vec3 middle = (low + high) * 0.5;
    const Vec3 size = high - low;
    centre[0] = static_cast<float>(middle.x + 0.137 * cell);
    centre[1] = static_cast<float>(middle.y + 0.271 * cell);
    centre[2] = static_cast<float>(middle.z + 0.411 * cell);
    double reach = cell;
    while (reach < std::max({size.x, size.y, size.z}) / 2 + 4 * cell) reach *= 2;
    half = static_cast<float>(reach);
  }
};

std::vector<TreeSample> samples_in(MC_Triangulation& pipeline) {
  float* points = nullptr;
  float* normals = nullptr;
  float* halves = nullptr;
  short* tags = nullptr;
  int count = 0;
  pipeline.output_Point_data(points, normals, count, halves, tags);
  const Array<float> own_points(points);
  const Array<float> own_normals(normals);
  const Array<float> own_halves(halves);
  const Array<short> own_tags(tags);
  std::vector<TreeSample> out;
  for (int i = 0; i < count; ++i) {
    const float* const p = points + 3 * static_cast<std::ptrdiff_t>(i);
    const float* const n = normals + 3 * static_cast<std::ptrdiff_t>(i);
    out.push_back({{p[0], p[1], p[2]}, {n[0], n[1], n[2]}, halves[i], tags[i]});
  }
  return out;
}

}  // namespace

Reconstruction reconstruct(const SampleScan& scan, double half, int levels,
                           const std::string& path) {
  Reconstruction result;
  if (scan.samples.empty()) return result;
  Floats samples(scan.samples);
  Floats markers(scan.markers);
  const auto count = static_cast<int>(scan.samples.size());
  Cube cube(scan, half);

  MC_Triangulation pipeline;
  const Stopwatch insertion;
  pipeline.inalize(cube.centre, count, cube.half, levels, static_cast<float>(half));
  pipeline.inalize_mark();
  // The ordinary samples go first: a cell on the seam is then theirs as a whole. The other way
  // round fine samples would claim it, and the part of it that they don't reach would stay bare.
  for (const bool fine : {false, true}) {
    for (std::size_t i = 0; i < scan.samples.size(); ++i) {
      if ((scan.samples[i].half < half) != fine) continue;
      pipeline.insert_data(&samples.points[3 * i], &samples.normals[3 * i],
                           static_cast<float>(scan.samples[i].half), 0);
    }
  }
  for (std::size_t i = 0; i < scan.markers.size(); ++i) {
    const MarkerDisc& marker = scan.markers[i];
    pipeline.insert_marker(&markers.points[3 * i], &markers.normals[3 * i],
                           static_cast<float>(marker.half), static_cast<float>(marker.radius));
  }
  result.insert_seconds = insertion.seconds();

  const Stopwatch filling;
  pipeline.Fill_marker();
  result.marker_seconds = filling.seconds();
  result.samples = samples_in(pipeline);

  const Stopwatch triangulation;
  pipeline.mc_triangulation();
  result.triangulation_seconds = triangulation.seconds();

  const Stopwatch writing;
  pipeline.mc_output_data(path.c_str());
  result.write_seconds = writing.seconds();
  pipeline.tree.free_mark();
  return result;
}

std::vector<Triangle> read_soup(const std::string& path) {
  constexpr std::size_t kHeader = 84;
  std::vector<Triangle> triangles;
  const File file(std::fopen(path.c_str(), "rb"));
  std::array<char, kHeader> header{};
  if (!file || std::fread(header.data(), header.size(), 1, file.get()) != 1) return triangles;
  std::array<char, 50> record{};
  while (std::fread(record.data(), record.size(), 1, file.get()) == 1) {
    std::array<float, 12> values{};  // the normal, then three corners
    std::memcpy(values.data(), record.data(), sizeof(values));
    triangles.emplace_back();
    for (std::size_t k = 0; k < 3; ++k) {
      triangles.back()[k] = {values[3 * k + 3], values[3 * k + 4], values[3 * k + 5]};
    }
  }
  return triangles;
}

}  // namespace demo
