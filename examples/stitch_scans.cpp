// Closes the seam between two scans of one object, a coarse and a fine one: makes both from a
// surface, reconstructs each at its own spacing, sets the tags as a scanner would, stitches, and
// writes the mesh before and after.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "reconstruct.h"
#include "scanmesh/ball_pivoting.h"
#include "scanmesh/x_ball_pivoting.h"
#include "support/console.h"
#include "support/stl_file.h"

namespace {

constexpr unsigned char kFine = 0x20;
constexpr unsigned char kAtSeam = 0x80;

struct Options {
  std::string points;
  std::string before;
  std::string after;
  double ratio = 4;  // of the two spacings
  std::string form = "in-place";
};

int usage() {
  std::fputs(
      "usage: stitch_scans POINTS BEFORE.stl AFTER.stl [options]\n"
      "POINTS are lines of x y z and a normal, or the vertices of a binary .stl file.\n"
      "  --ratio R                 of the coarse spacing to the fine one (default 4; 8)\n"
      "  --form in-place|into|copy how to stitch (default in-place)\n",
      stderr);
  return 2;
}

int fail(const std::string& file, const std::string& reason) {
  std::fprintf(stderr, "stitch_scans: %s: %s\n", file.c_str(), reason.c_str());
  return 1;
}

bool parse(int argc, char** argv, Options& options) {
  if (argc < 4 || argc % 2 != 0) return false;
  options.points = argv[1];
  options.before = argv[2];
  options.after = argv[3];
  for (int i = 4; i < argc; i += 2) {
    const std::string name = argv[i];
    const std::string value = argv[i + 1];
    if (name == "--ratio") {
      options.ratio = std::atof(value.c_str());
    } else if (name == "--form" && (value == "in-place" || value == "into" || value == "copy")) {
      options.form = value;
    } else {
      return false;
    }
  }
  return options.ratio >= 1;
}

// The points of one side of the cut across x.
demo::PointSet side_of(const demo::PointSet& set, double low, double high) {
  demo::PointSet side;
  for (std::size_t i = 0; i < set.points.size(); ++i) {
    if (set.points[i].x < low || set.points[i].x > high) continue;
    side.points.push_back(set.points[i]);
    side.normals.push_back(set.normals[i]);
  }
  return side;
}

// Spacing `wanted`, as estimate_spacing sees it.
demo::PointSet at_spacing(const demo::PointSet& set, double wanted) {
  demo::PointSet thin = demo::thinned(set, 0.8 * wanted);
  const double found = demo::estimate_spacing(thin);
  return found > 0 ? demo::thinned(set, 0.8 * wanted * wanted / found) : thin;
}

struct TaggedMesh {
  std::vector<float> points;
  std::vector<unsigned char> tags;
  std::vector<int> corners;

  void add(const demo::Surface& surface, unsigned char tag, double cut, double seam_width) {
    const int first = static_cast<int>(tags.size());
    for (const demo::Vec3& p : surface.points) {
      for (int d = 0; d < 3; ++d) points.push_back(static_cast<float>(p[d]));
      const bool at_seam = std::abs(p.x - cut) < seam_width;
      tags.push_back(static_cast<unsigned char>(at_seam ? tag | kAtSeam : tag));
    }
    for (const demo::Corners& f : surface.faces) {
      for (const int corner : f) corners.push_back(first + corner);
    }
  }
  void fill(Mesh_M::Mesh& mesh) {
    mesh.rebuild(points.data(), static_cast<int>(tags.size()), tags.data(), corners.data(),
                 static_cast<int>(corners.size() / 3));
  }
};

demo::Surface reconstructed(demo::PointSet set, double spacing) {
  Mesh_M::Mesh mesh;
  demo::reconstruct(demo::Reconstructor::ball, set, spacing, mesh);
  demo::Surface surface = demo::surface_of(mesh);
  demo::drop_unused_points(surface);
  return surface;
}

// Two scans of spacing 1 and `ratio`, side by side.
void make_scans(const demo::PointSet& set, double ratio, Mesh_M::Mesh& mesh) {
  double low = set.points.front().x;
  double high = low;
  for (const demo::Vec3& p : set.points) {
    low = std::min(low, p.x);
    high = std::max(high, p.x);
  }
  const double cut = (low + high) / 2;
  const double gap = 0.35 * ratio;
  TaggedMesh scans;
  const demo::PointSet coarse = at_spacing(side_of(set, low, cut - gap), ratio);
  scans.add(reconstructed(coarse, ratio), 0, cut, 2.5 * ratio);
  scans.add(reconstructed(side_of(set, cut + gap, high), 1), kFine, cut, gap + 3);
  scans.fill(mesh);
  mesh.setResolutionParam({static_cast<float>(ratio), 1, true});
}

void add_row(demo::Table& table, const std::string& title, Mesh_M::Mesh& mesh) {
  const demo::MeshCounts n = demo::count_all(mesh);
  table.add({title, demo::count(n.faces), demo::count(n.open_edges), demo::count(n.crowded_edges),
             demo::count(n.rings), demo::count(n.longest_ring)});
}

void save(Mesh_M::Mesh& mesh, double spacing, const std::string& path) {
  std::vector<demo::Triangle> triangles = demo::triangles_of(demo::surface_of(mesh));
  for (demo::Triangle& t : triangles) {
    for (demo::Vec3& p : t) p = p * spacing;
  }
  if (!demo::write_stl(path, triangles)) fail(path, "can't be written");
}

// The mesh that holds the result.
Mesh_M::Mesh& stitch(const std::string& form, Mesh_M::Mesh& mesh, Mesh_M::Mesh& target) {
  if (form == "copy") {
    BPA::Ball_Pivoting ball;
    ball.stitchMesh(mesh);
    ball.free();
    return mesh;
  }
  xbpa::XBallPivoting ball;
  if (form == "in-place") {
    ball.stitchMesh(mesh);
    return mesh;
  }
  target.inalize();
  ball.stitchMesh(mesh, target);
  return target;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) return usage();
  demo::PointSet set;
  std::string reason;
  if (!demo::read_points(options.points, set, reason)) return fail(options.points, reason);
  const double spacing = demo::estimate_spacing(set);
  if (!(spacing > 0)) return fail(options.points, "too few points to tell their spacing");
  // The library's tolerances are in a scanner's units, so the points get a spacing of 1.
  demo::scale(set, 1 / spacing);

  Mesh_M::Mesh mesh;
  Mesh_M::Mesh target;
  make_scans(set, options.ratio, mesh);
  demo::Table table(
      {"", "faces", "open edges", "edges with more than two faces", "holes", "longest, edges"});
  add_row(table, "before", mesh);
  save(mesh, spacing, options.before);
  const demo::Stopwatch watch;
  Mesh_M::Mesh& result = stitch(options.form, mesh, target);
  const double seconds = watch.seconds();
  add_row(table, "after", result);
  save(result, spacing, options.after);
  std::printf("\n%s\nStitched in %s s.\n", table.text().c_str(), demo::number(seconds, 3).c_str());
  return 0;
}
