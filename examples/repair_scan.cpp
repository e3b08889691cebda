// Repairs a scan: opens an STL file, drops debris, closes every hole, halves the faces, saves.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "load_scan.h"
#include "loose_parts.h"
#include "repair_report.h"
#include "scanmesh/mesh.h"
#include "support/console.h"
#include "support/distance.h"
#include "support/surface.h"

namespace {

struct Options {
  std::string scan;
  std::string result;
  std::string truth;     // the surface that was scanned, if it is known
  std::string steps;     // where the report goes as JSON, if anywhere
  int target_faces = 0;  // 0: half of what there is after filling
  int debris_limit = 0;  // parts of fewer faces are dropped; 0: a thousandth of all faces
  int longest_ring = 0;  // rings of more edges stay open; 0: every ring is filled
};

// A step of the work: a progress bar while it runs, and a line of the report.
class Step {
 public:
  Step(const std::string& title, demo::ProgressBar& bar, demo::RepairReport& report)
      : title_(title), bar_(bar), report_(report) {
    bar_.start(title_);
  }
  ~Step() { report_.seconds.emplace_back(title_, bar_.finish()); }
  Step(const Step&) = delete;
  Step& operator=(const Step&) = delete;

 private:
  std::string title_;
  demo::ProgressBar& bar_;
  demo::RepairReport& report_;
};

// Arrays that the library hands out belong to the caller.
template <typename T>
using Array = std::unique_ptr<T[]>;

std::vector<demo::Triangle> added_faces(Mesh_M::Mesh& mesh) {
  int floats = 0;
  const Array<float> data(mesh.return_add_face_data(floats));
  std::vector<demo::Triangle> faces;
  for (int i = 0; i + 12 <= floats; i += 12) {  // a normal and three corners
    demo::Triangle face;
    for (std::size_t k = 0; k < 3; ++k) {
      const float* const corner = data.get() + i + 3 + 3 * k;
      face[k] = {corner[0], corner[1], corner[2]};
    }
    faces.push_back(face);
  }
  return faces;
}

void fill_rings(Mesh_M::Mesh& mesh, const Options& options, demo::ProgressBar& bar,
                demo::RepairReport& report) {
  // The patches don't depend on it: they take their edge length from the ring.
  const float half_spacing = static_cast<float>(demo::mean_edge_length(mesh) / 2);
  const int cells = mesh.get_hole_num();
  for (int i = 0; i < cells; ++i) {
    bar.update(i + 1, cells);
    int floats = 0;
    const Array<float> ring(mesh.get_hole_index(i, floats));
    const int edges = floats / 6;  // two ends each; an empty cell has none
    if (edges < 3 || (options.longest_ring > 0 && edges > options.longest_ring)) continue;
    const demo::Stopwatch watch;
    mesh.fill_hole_No(i, half_spacing);
    report.fills.push_back({edges, added_faces(mesh), watch.seconds()});
  }
}

void repair(Mesh_M::Mesh& mesh, const Options& options, demo::RepairReport& report) {
  demo::ProgressBar bar;
  mesh.setProcessStepCallback([&bar](qv::alg::ProcessStepInfoType& info) {
    bar.update(info.step, info.step_count);
    return 0;
  });
  {
    const Step step("Normals and orientation", bar, report);
    mesh.inalize_mesh();
  }
  report.before = demo::count_elements(mesh);
  {
    const Step step("Dropping debris", bar, report);
    const int all = static_cast<int>(report.before.faces);
    const int limit = options.debris_limit > 0 ? options.debris_limit : all / 1000;
    report.debris = demo::drop_loose_parts(mesh, limit);
  }
  {
    const Step step("Finding holes", bar, report);
    mesh.destroy_hole();
    mesh.build_hole();
  }
  {
    const Step step("Filling holes", bar, report);
    fill_rings(mesh, options, bar, report);
  }
  report.filled = demo::count_elements(mesh);
  {
    const Step step("Simplifying", bar, report);
    const int half = static_cast<int>(report.filled.faces / 2);
    mesh.Mesh_simplify(options.target_faces > 0 ? options.target_faces : half, true);
  }
  report.after = demo::count_elements(mesh);
  mesh.setProcessStepCallback({});
}

int usage() {
  std::fputs(
      "usage: repair_scan SCAN.stl OUT.stl [options]\n"
      "  --truth FILE.off  measure the filled areas against the surface that was scanned\n"
      "  --steps FILE.json also write the report as JSON\n"
      "  --faces N         simplify to N faces (default: half)\n"
      "  --debris N        drop loose parts of fewer than N faces (default: 1/1000 of all)\n"
      "  --longest-ring N  leave rings of more than N edges open (default: fill every ring)\n",
      stderr);
  return 2;
}

int fail(const std::string& file, const std::string& reason) {
  std::fprintf(stderr, "repair_scan: %s: %s\n", file.c_str(), reason.c_str());
  return 1;
}

bool parse(int argc, char** argv, Options& options) {
  if (argc < 3 || argc % 2 == 0) return false;
  options.scan = argv[1];
  options.result = argv[2];
  for (int i = 3; i < argc; i += 2) {
    const std::string name = argv[i];
    if (name == "--truth")
      options.truth = argv[i + 1];
    else if (name == "--steps")
      options.steps = argv[i + 1];
    else if (name == "--faces")
      options.target_faces = std::atoi(argv[i + 1]);
    else if (name == "--debris")
      options.debris_limit = std::atoi(argv[i + 1]);
    else if (name == "--longest-ring")
      options.longest_ring = std::atoi(argv[i + 1]);
    else
      return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) return usage();
  demo::Surface truth;
  std::string reason;
  if (!options.truth.empty() && !demo::read_off(options.truth, truth, reason)) {
    return fail(options.truth, reason);
  }

  Mesh_M::Mesh mesh;
  const demo::Stopwatch watch;
  if (!demo::load_scan(options.scan, mesh))
    return fail(options.scan, "is no STL file, or too large for the memory at hand");
  demo::RepairReport report;
  report.seconds.emplace_back("Reading", watch.seconds());
  repair(mesh, options, report);

  const demo::Stopwatch save;
  if (!demo::save_scan(options.result, mesh)) return fail(options.result, "can't be written");
  report.seconds.emplace_back("Writing", save.seconds());
  report.peak_mib = demo::peak_memory_mib();
  demo::print_report(report, truth);
  if (!options.steps.empty() && !demo::write_steps(report, options.steps))
    return fail(options.steps, "can't be written");
  return 0;
}
