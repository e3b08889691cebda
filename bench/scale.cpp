// The road of a very large scan, with time and memory of every step.
//   scale write FACES SCAN.stl
//       makes the scan: gentle waves, with a gap in every thousandth cell
//   scale run SCAN.stl TARGET OUT.stl
//       opens it, closes its gaps, smooths, simplifies, saves
// Two calls, so that the making doesn't count in the memory of the road.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "generated_surfaces.h"
#include "quiet_output.h"
#include "scanmesh/mesh.h"
#include "support/console.h"

namespace {

constexpr int kSmoothingRounds = 5;
constexpr float kHalfSpacing = 0.5F;  // the generated scan has spacing 1
// The border of the scan itself is no hole.
constexpr int kLongestRing = 1000;

// Forgets the peak of earlier steps, where the system can do that.
void restart_peak() {
  if (std::FILE* const file = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", file);
    std::fclose(file);
  }
}

double peak_since_restart_mib() {
  std::FILE* const file = std::fopen("/proc/self/status", "r");
  if (file == nullptr) return demo::peak_memory_mib();
  char line[256];
  long kibibytes = 0;
  while (std::fgets(line, sizeof(line), file) != nullptr) {
    if (std::sscanf(line, "VmHWM: %ld", &kibibytes) == 1) break;
  }
  std::fclose(file);
  return static_cast<double>(kibibytes) / 1024.0;
}

class Road {
 public:
  explicit Road(Mesh_M::Mesh& mesh) : mesh_(mesh) {}

  bool step(const std::string& name, const std::function<bool()>& work) {
    restart_peak();
    const double millions_before = mesh_.face.real_num / 1e6;
    const demo::Stopwatch watch;
    bool done = false;
    {
      const bench::QuietOutput quiet;
      done = work();
    }
    const double seconds = watch.seconds();
    const double millions = millions_before > 0 ? millions_before : mesh_.face.real_num / 1e6;
    table_.add({name, demo::number(seconds, 1), demo::number(seconds / millions, 3),
                demo::number(peak_since_restart_mib(), 0),
                demo::number(demo::resident_memory_mib(), 0), demo::count(mesh_.face.real_num)});
    std::fprintf(stderr, "%s: %.1f s\n", name.c_str(), seconds);
    return done;
  }
  std::string text() const { return table_.text(); }

 private:
  Mesh_M::Mesh& mesh_;
  demo::Table table_{
      {"step", "seconds", "per million faces", "peak, MiB", "afterwards, MiB", "faces afterwards"}};
};

bool open_scan(Mesh_M::Mesh& mesh, const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  return file != nullptr && mesh.input_data(file) == 0;
}

long long fill_gaps(Mesh_M::Mesh& mesh) {
  long long filled = 0;
  for (int i = 0, n = mesh.get_hole_num(); i < n; ++i) {
    int floats = 0;
    const std::unique_ptr<float[]> ring(mesh.get_hole_index(i, floats));
    const int edges = floats / 6;
    if (edges < 3 || edges > kLongestRing) continue;
    mesh.fill_hole_No(i, kHalfSpacing);
    ++filled;
  }
  return filled;
}

int run(const std::string& scan, int target, const std::string& out) {
  {
    // A virtual machine takes seconds to be given memory that it hasn't used yet; not our time.
    Mesh_M::Mesh warming;
    open_scan(warming, scan);
  }
  Mesh_M::Mesh mesh;
  Road road(mesh);
  if (!road.step("opening", [&] { return open_scan(mesh, scan); })) {
    std::fprintf(stderr, "%s: can't be read\n", scan.c_str());
    return 1;
  }
  const auto always = [](const std::function<void()>& work) {
    return [work] {
      work();
      return true;
    };
  };
  long long filled = 0;
  road.step("normals and orientation", always([&] { mesh.inalize_mesh(); }));
  road.step("finding holes", always([&] { mesh.build_hole(); }));
  road.step("filling them", always([&] { filled = fill_gaps(mesh); }));
  road.step("smoothing, 5 rounds", always([&] { mesh.meshSmooth(kSmoothingRounds); }));
  road.step("simplifying", always([&] { mesh.Mesh_simplify(target, true); }));
  road.step("saving", always([&] { mesh.output_STL(out.c_str()); }));
  std::printf("The road of a scan, %lld holes filled:\n\n%s\n", filled, road.text().c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv, argv + argc);
  if (words.size() == 4 && words[1] == "write") {
    if (bench::write_wavy_grid(words[3], std::atoi(words[2].c_str()))) return 0;
    std::fprintf(stderr, "%s: can't be written\n", words[3].c_str());
    return 1;
  }
  if (words.size() == 5 && words[1] == "run") {
    return run(words[2], std::atoi(words[3].c_str()), words[4]);
  }
  std::fprintf(stderr, "usage: scale write FACES SCAN.stl | run SCAN.stl TARGET OUT.stl\n");
  return 2;
}
