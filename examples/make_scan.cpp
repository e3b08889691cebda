// Makes a scan to play with: puts a closed surface under the virtual scanner.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/console.h"
#include "support/stl_file.h"
#include "support/surface.h"
#include "support/virtual_scanner.h"

namespace {

constexpr double kObjectSize = 155;  // millimetres, the largest extent of the object

int usage() {
  std::fputs(
      "usage: make_scan SURFACE.off SCAN.stl [options]\n"
      "  --truth FILE.off  also write the undamaged surface, in the scan's millimetres\n"
      "  --seed N          another scan of the same object (default 3)\n"
      "  --split N         split every face in four first, N times (default 0)\n",
      stderr);
  return 2;
}

int fail(const std::string& file, const std::string& reason) {
  std::fprintf(stderr, "make_scan: %s: %s\n", file.c_str(), reason.c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return usage();
  const std::string source = argv[1];
  const std::string target = argv[2];
  std::string truth;
  demo::ScanSettings settings;
  int splits = 0;
  for (int i = 3; i < argc; i += 2) {
    const std::string option = argv[i];
    if (i + 1 == argc) return usage();
    if (option == "--truth")
      truth = argv[i + 1];
    else if (option == "--seed")
      settings.seed = std::strtoull(argv[i + 1], nullptr, 10);
    else if (option == "--split")
      splits = std::atoi(argv[i + 1]);
    else
      return usage();
  }

  demo::Surface surface;
  std::string reason;
  if (!demo::read_off(source, surface, reason)) return fail(source, reason);
  if (surface.faces.empty()) return fail(source, "has no faces");
  demo::scale_to_extent(surface, kObjectSize);
  if (!truth.empty() && !demo::write_off(truth, surface)) return fail(truth, "can't be written");
  demo::split_faces(surface, splits);

  const demo::Scan scan = demo::scan_surface(surface, settings);
  if (!demo::write_stl(target, scan.triangles)) return fail(target, "can't be written");
  std::printf(
      "Scanned %s faces: %zu marker holes, %zu occluded patches, %zu spikes, %s loose faces\n",
      demo::count(static_cast<long long>(scan.triangles.size())).c_str(), scan.markers.size(),
      scan.patches.size(), scan.spikes.size(),
      demo::count(static_cast<long long>(scan.triangles.size() - scan.body_faces)).c_str());
  return 0;
}
