// Makes a mesh of oriented points: estimates their spacing, lets balls roll over them, reports what
// stayed open, saves.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "reconstruct.h"
#include "support/console.h"
#include "support/stl_file.h"

namespace {

struct Options {
  std::string points;
  std::string result;
  demo::Reconstructor kind = demo::Reconstructor::ball;
  double spacing = 0;  // 0: estimated
};

int usage() {
  std::fputs(
      "usage: points_to_mesh POINTS OUT.stl [options]\n"
      "POINTS are lines of x y z and a normal, or the vertices of a binary .stl file.\n"
      "  --class ball|xball  the reconstructor (default ball)\n"
      "  --spacing S         of the points, in their units (default: estimated)\n",
      stderr);
  return 2;
}

int fail(const std::string& file, const std::string& reason) {
  std::fprintf(stderr, "points_to_mesh: %s: %s\n", file.c_str(), reason.c_str());
  return 1;
}

bool parse(int argc, char** argv, Options& options) {
  if (argc < 3 || argc % 2 == 0) return false;
  options.points = argv[1];
  options.result = argv[2];
  for (int i = 3; i < argc; i += 2) {
    const std::string name = argv[i];
    const std::string value = argv[i + 1];
    if (name == "--spacing") {
      options.spacing = std::atof(value.c_str());
    } else if (name == "--class" && (value == "ball" || value == "xball")) {
      options.kind = value == "ball" ? demo::Reconstructor::ball : demo::Reconstructor::xball;
    } else {
      return false;
    }
  }
  return true;
}

void report(Mesh_M::Mesh& mesh, double spacing, double seconds) {
  const demo::MeshCounts n = demo::count_all(mesh);
  demo::Table table({"reconstruction", ""});
  table.add({"points", demo::count(n.points)});
  table.add({"spacing", demo::number(spacing, 4)});
  table.add({"points in faces, %",
             demo::number(
                 100.0 * static_cast<double>(n.used_points) / static_cast<double>(n.points), 2)});
  table.add({"faces", demo::count(n.faces)});
  table.add({"open edges", demo::count(n.open_edges)});
  table.add({"edges with more than two faces", demo::count(n.crowded_edges)});
  table.add({"holes", demo::count(n.rings)});
  table.add({"longest of them, edges", demo::count(n.longest_ring)});
  table.add({"seconds", demo::number(seconds, 3)});
  std::printf("%s", table.text().c_str());
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) return usage();
  demo::PointSet set;
  std::string reason;
  if (!demo::read_points(options.points, set, reason)) return fail(options.points, reason);
  const double spacing = options.spacing > 0 ? options.spacing : demo::estimate_spacing(set);
  if (!(spacing > 0)) return fail(options.points, "too few points to tell their spacing");
  if (!demo::File(std::fopen(options.result.c_str(), "wb"))) {
    return fail(options.result, "can't be written");
  }

  // The library's tolerances are in a scanner's units, so the points get a spacing of 1.
  demo::scale(set, 1 / spacing);
  Mesh_M::Mesh mesh;
  const demo::Stopwatch watch;
  demo::reconstruct(options.kind, set, 1, mesh);
  report(mesh, spacing, watch.seconds());
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i) {
    auto& p = mesh.vertex[i]->point;
    for (float* c : {&p.x, &p.y, &p.z}) *c = static_cast<float>(*c * spacing);
  }
  mesh.output_STL(options.result.c_str());
  return 0;
}
