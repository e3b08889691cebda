// What the filters make of noisy copies of known surfaces, in Markdown.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "mesh_from_surface.h"
#include "scanmesh/mesh.h"
#include "smoothing_shapes.h"
#include "support/console.h"
#include "support/distance.h"
#include "support/stl_file.h"

namespace {

using demo::Surface;
using demo::Vec3;
using Mesh = Mesh_M::Mesh;

// Deviations of the noise, in mean edges. Pictures are made of the first.
constexpr double kNoise[] = {0.3, 0.1};

struct Filter {
  std::string name;
  std::string file;  // results that pictures are made of
  void (*run)(Mesh& mesh);
};

template <int level>
void fast(Mesh& mesh) {
  mesh.Fast_Eletric_Filter(level, 0, false);
}
template <int tenths>
void fast_by_value(Mesh& mesh) {
  mesh.Fast_Eletric_Filter(0, 0.1F * static_cast<float>(tenths), false);
}
template <int level>
void bilateral(Mesh& mesh) {
  mesh.bilateralNormalde(static_cast<Mesh::smooth_level>(level));
}
template <int level>
void two_step(Mesh& mesh) {
  mesh.Two_Step_Smooth(static_cast<Mesh::smooth_level>(level));
}
template <int iterations>
void taubin(Mesh& mesh) {
  mesh.meshSmooth(iterations);
}

std::vector<Filter> all_filters() {
  return {
      {"none: the noisy copy", "noisy", [](Mesh&) {}},
      {"`meshSmooth(5)`", "", &taubin<5>},
      {"`meshSmooth(10)`", "taubin", &taubin<10>},
      {"`meshSmooth(30)`", "", &taubin<30>},
      {"`Fast_Eletric_Filter` 1", "", &fast<1>},
      {"`Fast_Eletric_Filter` 2", "", &fast<2>},
      {"`Fast_Eletric_Filter` 3", "", &fast<3>},
      {"`Fast_Eletric_Filter` 4", "", &fast<4>},
      {"`Fast_Eletric_Filter` 5, `featureSharpening`", "sharp", &fast<5>},
      {"`Fast_Eletric_Filter` 6", "fast", &fast<6>},
      {"`Fast_Eletric_Filter` 0, value 0.1", "", &fast_by_value<1>},
      {"`Fast_Eletric_Filter` 0, value 0.3", "", &fast_by_value<3>},
      {"`Fast_Eletric_Filter` 0, value 0.5", "", &fast_by_value<5>},
      {"`Fast_Eletric_Filter` 0, value 0.7", "", &fast_by_value<7>},
      {"`Fast_Eletric_Filter` 0, value 0.9", "", &fast_by_value<9>},
      {"`Fast_Eletric_Filter` 1, pure Taubin", "",
       [](Mesh& mesh) { mesh.Fast_Eletric_Filter(1, 0, true); }},
      {"`bilateralNormalde` 0", "", &bilateral<0>},
      {"`bilateralNormalde` 1", "", &bilateral<1>},
      {"`bilateralNormalde` 2", "", &bilateral<2>},
      {"`bilateralNormalde` 3", "bilateral", &bilateral<3>},
      {"`Two_Step_Smooth` 0", "", &two_step<0>},
      {"`Two_Step_Smooth` 1", "", &two_step<1>},
      {"`Two_Step_Smooth` 2", "two_step", &two_step<2>},
      {"`Two_Step_Smooth` 3", "", &two_step<3>},
  };
}

struct Shape {
  std::string name;
  Surface clean;
  double edge;
  demo::NearestTriangle nearest;

  Shape(std::string title, const Surface& surface)
      : name(std::move(title)),
        clean(surface),
        edge(demo::mean_edge_length(surface)),
        nearest(demo::triangles_of(surface)) {}
};

// The positions as they are now; vertices keep their order and faces are those of the input.
Surface with_points_of(Mesh& mesh, const Surface& surface) {
  Surface result = surface;
  for (std::size_t i = 0; i < result.points.size(); ++i) {
    const MemS::Point3v<float>& p = mesh.vertex[static_cast<int>(i)]->point;
    result.points[i] = {p.x, p.y, p.z};
  }
  return result;
}

Vec3 normal_of(const Surface& surface, const demo::Corners& f) {
  const auto at = [&](int i) { return surface.points[static_cast<std::size_t>(i)]; };
  return demo::cross(at(f[1]) - at(f[0]), at(f[2]) - at(f[0]));
}

// Mean angle between the faces' normals and those of the clean surface, degrees. A face that has
// shrunk to nothing counts as turned by 90.
double normal_error(const Surface& clean, const Surface& now) {
  double sum = 0;
  for (const demo::Corners& f : clean.faces) {
    const Vec3 a = normal_of(clean, f);
    const Vec3 b = normal_of(now, f);
    sum += std::atan2(demo::length(demo::cross(a, b)), demo::dot(a, b));
  }
  return sum / static_cast<double>(clean.faces.size()) * 180 / 3.141592653589793;
}

void write(const std::string& directory, const std::string& name, const Surface& surface) {
  if (directory.empty()) return;
  const std::string path = directory + "/" + name + ".stl";
  if (!demo::write_stl(path, demo::triangles_of(surface))) {
    std::fprintf(stderr, "%s: can't be written\n", path.c_str());
  }
}

void print_noise_table(const std::vector<Shape>& shapes, double noise,
                       const std::string& directory) {
  std::vector<std::string> head = {"filter and level"};
  for (const Shape& shape : shapes) {
    head.push_back(shape.name + ": distance, %");
    head.push_back("normals, °");
  }
  std::vector<Surface> noisy;
  for (const Shape& shape : shapes) {
    noisy.push_back(bench::with_noise(shape.clean, noise * shape.edge, 7));
  }
  demo::Table table(head);
  for (const Filter& filter : all_filters()) {
    std::vector<std::string> row = {filter.name};
    for (std::size_t i = 0; i < shapes.size(); ++i) {
      const Shape& shape = shapes[i];
      const auto mesh = bench::mesh_from(noisy[i]);
      filter.run(*mesh);
      const Surface now = with_points_of(*mesh, shape.clean);
      const demo::Deviation off = demo::deviation(demo::triangles_of(now), shape.nearest);
      row.push_back(demo::number(100 * off.rms / shape.edge, 1));
      row.push_back(demo::number(normal_error(shape.clean, now), 1));
      if (!filter.file.empty()) write(directory, shape.name + "_" + filter.file, now);
    }
    table.add(row);
  }
  std::printf("Noise of %s mean edges:\n\n%s\n", demo::number(noise, 1).c_str(),
              table.text().c_str());
}

// Distances from the clean surface near the planted spikes, and everywhere else.
struct SpikeOutcome {
  int left = 0;
  double planted = 0;  // the largest
  double rest = 0;
  double rest_rms = 0;
  double moved = 0;  // the part of the rest that is more than 1 % of the mean edge off
};

SpikeOutcome measure_spikes(Mesh& mesh, const Shape& shape, const std::vector<Vec3>& tips) {
  const double near_enough = 4 * shape.edge;
  const double still_a_spike = 0.5 * shape.edge;
  std::vector<double> worst(tips.size(), 0);
  SpikeOutcome outcome;
  double squares = 0;
  int count = 0;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    const MemS::Point3v<float>& p = mesh.vertex[i]->point;
    const Vec3 here = {p.x, p.y, p.z};
    const double off = shape.nearest.distance_to(here);
    bool near = false;
    for (std::size_t k = 0; k < tips.size(); ++k) {
      if (demo::distance(here, tips[k]) > near_enough) continue;
      near = true;
      worst[k] = std::max(worst[k], off);
    }
    if (near) continue;
    outcome.rest = std::max(outcome.rest, off);
    squares += off * off;
    outcome.moved += off > 0.01 * shape.edge ? 1 : 0;
    ++count;
  }
  for (const double off : worst) {
    outcome.left += off > still_a_spike;
    outcome.planted = std::max(outcome.planted, off);
  }
  outcome.rest_rms = std::sqrt(squares / std::max(count, 1));
  outcome.moved /= std::max(count, 1);
  return outcome;
}

void print_spike_table(const Shape& shape, const std::string& directory) {
  std::vector<int> planted;
  const Surface spiky = bench::with_spikes(shape.clean, 100, 5, planted);
  std::vector<Vec3> tips;
  for (const int i : planted) tips.push_back(spiky.points[static_cast<std::size_t>(i)]);
  write(directory, shape.name + "_spiky", spiky);
  demo::Table table({"`remove_spikes_new`", "spikes left of " + std::to_string(tips.size()),
                     "farthest there, %", "elsewhere over 1 %, of vertices, %", "RMS elsewhere, %",
                     "farthest elsewhere, %"});
  const double percent = 100 / shape.edge;
  const auto add = [&](const std::string& name, Mesh& mesh) {
    const SpikeOutcome outcome = measure_spikes(mesh, shape, tips);
    table.add({name, std::to_string(outcome.left), demo::number(percent * outcome.planted, 1),
               demo::number(100 * outcome.moved, 2), demo::number(percent * outcome.rest_rms, 2),
               demo::number(percent * outcome.rest, 1)});
  };
  add("before", *bench::mesh_from(spiky));
  for (const int level : {0, 25, 50, 75, 100}) {
    const auto mesh = bench::mesh_from(spiky);
    mesh->remove_spikes_new(level);
    add("level " + std::to_string(level), *mesh);
    if (level == 50 && !directory.empty()) {
      mesh->output_STL((directory + "/" + shape.name + "_despiked.stl").c_str());
    }
  }
  for (const int level : {25, 50, 75}) {
    const auto mesh = bench::mesh_from(spiky);
    std::vector<Mesh_R::_vert*> suspects;
    for (const int i : planted) suspects.push_back(mesh->vertex[i]);
    mesh->remove_spikes_new(level, suspects);
    add("level " + std::to_string(level) + ", the planted ones listed", *mesh);
  }
  std::printf("%s\n", table.text().c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: %s SCAN.stl [DIRECTORY]\n", argv[0]);
    return 2;
  }
  std::vector<demo::Triangle> triangles;
  if (!demo::read_stl(argv[1], triangles)) {
    std::fprintf(stderr, "%s: can't be read\n", argv[1]);
    return 1;
  }
  const std::string directory = argc == 3 ? argv[2] : "";
  Surface scan = demo::weld(triangles);
  std::vector<Shape> shapes;
  shapes.emplace_back("part", bench::milled_part(120));
  shapes.emplace_back("sphere", bench::round_ball(6));
  shapes.emplace_back("scan", scan);
  for (const Shape& shape : shapes) {
    std::printf("%s: %zu faces, mean edge %s\n", shape.name.c_str(), shape.clean.faces.size(),
                demo::number(shape.edge, 2).c_str());
    write(directory, shape.name + "_clean", shape.clean);
  }
  std::printf("\n");
  for (const double noise : kNoise) {
    print_noise_table(shapes, noise, noise == kNoise[0] ? directory : "");
  }
  print_spike_table(shapes.back(), directory);
  return 0;
}
