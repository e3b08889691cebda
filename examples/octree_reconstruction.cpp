// From oriented samples to a mesh: a scan with marker holes and two resolutions becomes a triangle
// soup, the soup a mesh with its holes found.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "reconstruction.h"
#include "scanmesh/mesh.h"
#include "support/console.h"
#include "support/stl_file.h"
#include "support/surface.h"

namespace {

struct Options {
  std::string soup;
  std::string mesh;
  std::string shape = "part";
  double half = 0;  // half of an ordinary cell's edge; 0: what suits the shape
};

struct Input {
  demo::SampleScan scan;
  double half = 0.5;
  int levels = 0;
};

// The part's boss is scanned at twice the resolution, with markers on the plate and on the boss.
demo::SampleScanSettings part_settings(double half) {
  demo::SampleScanSettings settings;
  settings.half = half;
  settings.fine_levels = 1;
  settings.fine_centre = {12, 0, 24};
  settings.fine_radius = 24;
  settings.markers = 8;
  settings.marker_radius = 3;
  return settings;
}

// The points of an STL file's own surface, one or two to a cell: a quarter of it at twice the
// resolution, with markers laid on it.
bool load(const std::string& path, Input& input) {
  std::vector<demo::Triangle> triangles;
  if (!demo::read_stl(path, triangles)) return false;
  const demo::Surface surface = demo::weld(triangles);
  if (!(input.half > 0)) input.half = 0.5 * demo::mean_edge_length(surface);
  input.levels = 1;
  input.scan = demo::samples_of(surface, input.half);
  demo::Vec3 low = surface.points.front();
  demo::Vec3 high = low;
  for (const demo::Vec3& p : surface.points) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
  }
  demo::refine_region(input.scan, surface, input.half, high, 0.5 * demo::distance(low, high));
  demo::lay_markers(input.scan, 6, 3, 11);
  return true;
}

bool make_input(const Options& options, Input& input) {
  input.half = options.half;
  if (options.shape == "part" || options.shape == "sculpture") {
    if (!(input.half > 0)) input.half = 0.5;
    demo::SampleScanSettings settings = part_settings(input.half);
    if (options.shape == "sculpture") settings.fine_centre = {30, 6, 16};
    input.levels = settings.fine_levels;
    input.scan = demo::scan_solid(
        options.shape == "part" ? demo::machined_solid() : demo::sculpted_solid(), settings);
    return true;
  }
  return load(options.shape, input);
}

MemS::Point3v<float> corner(const demo::Vec3& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

// A mesh welds corners closer than 0.0005 on each axis, so that the soup's facets join.
void insert_soup(const std::vector<demo::Triangle>& soup, Mesh_M::Mesh& mesh) {
  double reach = 1;
  for (const demo::Triangle& t : soup) {
    for (const demo::Vec3& p : t) {
      for (const double x : {p.x, p.y, p.z}) {
        if (x > reach || -x > reach) reach = x < 0 ? -x : x;
      }
    }
  }
  MemS::Point3v<float> centre{0, 0, 0};
  mesh.inalize_oct(centre, static_cast<float>(1.01 * reach));
  for (const demo::Triangle& t : soup) {
    MemS::Point3v<float> a = corner(t[0]);
    MemS::Point3v<float> b = corner(t[1]);
    MemS::Point3v<float> c = corner(t[2]);
    MemS::Point3v<float> normal{0, 0, 1};  // computed anew
    mesh.insert(a, b, c, normal);
  }
  mesh.inalize_mesh();
}

// Rings of boundary edges, the longest first.
std::vector<int> ring_lengths(Mesh_M::Mesh& mesh) {
  std::vector<int> lengths;
  mesh.build_hole();
  for (int i = 0; i < mesh.get_hole_num(); ++i) {
    int floats = 0;
    delete[] mesh.get_hole_index(i, floats);
    if (floats > 0) lengths.push_back(floats / 6);
  }
  std::sort(lengths.rbegin(), lengths.rend());
  mesh.destroy_hole();
  return lengths;
}

bool parse(int argc, char** argv, Options& options) {
  if (argc < 3) return false;
  options.soup = argv[1];
  options.mesh = argv[2];
  if (argc > 3) options.shape = argv[3];
  if (argc > 4) options.half = std::atof(argv[4]);
  return argc <= 5;
}

int fail(const std::string& file, const char* reason) {
  std::fprintf(stderr, "octree_reconstruction: %s: %s\n", file.c_str(), reason);
  return 1;
}

void print_row(const char* what, const std::string& value) {
  std::printf("%-34s %s\n", what, value.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
    std::fputs(
        "usage: octree_reconstruction SOUP.stl MESH.stl [part|sculpture|FILE.stl [HALF]]\n"
        "  HALF  half of an ordinary cell's edge\n",
        stderr);
    return 2;
  }
  Input input;
  if (!make_input(options, input)) return fail(options.shape, "is no binary STL file");
  const demo::Reconstruction made =
      demo::reconstruct(input.scan, input.half, input.levels, options.soup);
  const std::vector<demo::Triangle> soup = demo::read_soup(options.soup);
  if (soup.empty()) return fail(options.soup, "can't be written, or there is nothing to write");

  Mesh_M::Mesh mesh;
  insert_soup(soup, mesh);
  const std::vector<int> rings = ring_lengths(mesh);
  if (!demo::File(std::fopen(options.mesh.c_str(), "wb"))) {
    return fail(options.mesh, "can't be written");
  }
  mesh.output_STL(options.mesh.c_str());

  int across_markers = 0;
  for (const demo::TreeSample& s : made.samples) across_markers += s.tag == 1 ? 1 : 0;
  print_row("samples", demo::count(static_cast<long long>(input.scan.samples.size())));
  print_row("kept, one to a cell", demo::count(static_cast<long long>(made.samples.size())));
  print_row("new ones across markers",
            demo::count(across_markers) + " across " + std::to_string(input.scan.markers.size()));
  print_row("facets", demo::count(static_cast<long long>(soup.size())));
  print_row("faces of the mesh", demo::count(mesh.face.get_real_facenum()));
  print_row("rings of open edges",
            demo::count(static_cast<long long>(rings.size())) +
                (rings.empty() ? "" : ", the longest of " + std::to_string(rings.front())));
  print_row("seconds to insert", demo::number(made.insert_seconds, 3));
  print_row("seconds to close markers", demo::number(made.marker_seconds, 3));
  print_row("seconds for field and facets", demo::number(made.triangulation_seconds, 3));
  print_row("seconds to write", demo::number(made.write_seconds, 3));
  return 0;
}
