#include "repair_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "support/console.h"
#include "support/distance.h"
#include "support/stl_file.h"

namespace demo {
namespace {

constexpr int kDeleted = 3;
constexpr std::size_t kMostFillsShown = 20;

void print_counts(const RepairReport& r) {
  Table table({"", "scan", "filled", "saved"});
  const auto row = [&](const char* name, long long Elements::*field) {
    table.add({name, count(r.before.*field), count(r.filled.*field), count(r.after.*field)});
  };
  row("faces", &Elements::faces);
  row("vertices", &Elements::vertices);
  row("rings", &Elements::rings);
  row("open edges", &Elements::open_edges);
  std::printf("\n%s", table.text().c_str());
  std::printf("\n%s faces of debris dropped, %s rings filled.\n", count(r.debris).c_str(),
              count(static_cast<long long>(r.fills.size())).c_str());
}

void print_seconds(const RepairReport& r) {
  Table table({"step", "seconds"});
  double total = 0;
  for (const auto& [step, seconds] : r.seconds) {
    table.add({step, number(seconds, 3)});
    total += seconds;
  }
  table.add({"all", number(total, 3)});
  std::printf("\n%s\nPeak memory: %s MiB.\n", table.text().c_str(), number(r.peak_mib, 0).c_str());
}

// The longest rings by themselves, then all of them.
void print_fills(const RepairReport& r, const Surface& truth) {
  const NearestTriangle surface(triangles_of(truth));
  const bool measured = !truth.faces.empty();
  std::vector<const Fill*> fills;
  std::vector<Triangle> all;
  for (const Fill& fill : r.fills) {
    fills.push_back(&fill);
    all.insert(all.end(), fill.faces.begin(), fill.faces.end());
  }
  std::stable_sort(fills.begin(), fills.end(),
                   [](const Fill* a, const Fill* b) { return a->ring_edges > b->ring_edges; });
  Table table(measured ? std::vector<std::string>{"ring", "faces", "seconds", "RMS", "maximum"}
                       : std::vector<std::string>{"ring", "faces", "seconds"});
  const auto row = [&](const std::string& name, const std::vector<Triangle>& faces,
                       double seconds) {
    std::vector<std::string> cells{name, count(static_cast<long long>(faces.size())),
                                   number(seconds, 3)};
    if (measured) {
      const Deviation d = deviation(faces, surface);
      cells.push_back(number(d.rms, 3));
      cells.push_back(number(d.largest, 3));
    }
    table.add(cells);
  };
  double seconds = 0;
  for (const Fill* fill : fills) seconds += fill->seconds;
  for (std::size_t i = 0; i < std::min(fills.size(), kMostFillsShown); ++i) {
    row(count(fills[i]->ring_edges) + " edges", fills[i]->faces, fills[i]->seconds);
  }
  row("all " + count(static_cast<long long>(fills.size())), all, seconds);
  std::printf("\n%s", table.text().c_str());
  if (measured)
    std::printf("\nRMS and maximum: distance of the filled area to the true surface.\n");
}

}  // namespace

Elements count_elements(Mesh_M::Mesh& mesh) {
  Elements n;
  for (int i = 0; i < mesh.face.get_facenum(); ++i) n.faces += mesh.face[i]->state != kDeleted;
  for (int i = 0; i < mesh.vertex.get_vertnum(); ++i)
    n.vertices += mesh.vertex[i]->state != kDeleted;
  for (int i = 0; i < mesh.edge.get_edgenum(); ++i) {
    const Mesh_R::_edge& edge = *mesh.edge[i];
    n.open_edges += edge.state != kDeleted && edge.face_num == 1;
  }
  mesh.destroy_hole();
  mesh.build_hole();
  for (int i = 0; i < mesh.get_hole_num(); ++i) n.rings += mesh.hole[i] != nullptr;
  return n;
}

void print_report(const RepairReport& report, const Surface& truth) {
  print_counts(report);
  if (!report.fills.empty()) print_fills(report, truth);
  print_seconds(report);
}

bool write_steps(const RepairReport& report, const std::string& path) {
  const File file(std::fopen(path.c_str(), "w"));
  if (file == nullptr) return false;
  const auto elements = [&file](const char* name, const Elements& e) {
    std::fprintf(file.get(),
                 "\"%s\":{\"faces\":%lld,\"vertices\":%lld,\"rings\":%lld,\"open_edges\":%lld},",
                 name, e.faces, e.vertices, e.rings, e.open_edges);
  };
  std::fputs("{", file.get());
  elements("before", report.before);
  elements("filled", report.filled);
  elements("after", report.after);
  std::fprintf(file.get(), "\"debris\":%d,\"fills\":%zu,\"peak_mib\":%.0f,\"steps\":[",
               report.debris, report.fills.size(), report.peak_mib);
  for (std::size_t i = 0; i < report.seconds.size(); ++i) {
    std::fprintf(file.get(), "%s{\"name\":\"%s\",\"seconds\":%.6f}", i == 0 ? "" : ",",
                 report.seconds[i].first.c_str(), report.seconds[i].second);
  }
  std::fputs("]}\n", file.get());
  return std::ferror(file.get()) == 0;
}

}  // namespace demo
