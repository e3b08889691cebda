// Finding all rings of a scan, as a share of opening it.
#include <cstdio>
#include <vector>

#include "peers/comparison.h"
#include "scanmesh/mesh.h"
#include "support/console.h"

int main(int argc, char** argv) {
  const peers::Arguments arguments = peers::parse_arguments(argc, argv);
  demo::Table table({"faces", "rings", "opening, s", "finding rings, s", "share"});
  for (const std::string& path : arguments.files) {
    std::vector<double> load;
    std::vector<double> find;
    long long faces = 0;
    long long rings = 0;
    for (int round = 0; round < arguments.rounds; ++round) {
      Mesh_M::Mesh mesh;
      const demo::Stopwatch opening;
      std::FILE* const file = std::fopen(path.c_str(), "rb");
      if (file == nullptr || mesh.input_data(file) != 0) return 1;
      mesh.inalize_mesh();
      load.push_back(opening.seconds());
      const demo::Stopwatch finding;
      mesh.build_hole();
      find.push_back(finding.seconds());
      faces = mesh.face.real_num;
      rings = 0;
      for (int i = 0; i < mesh.get_hole_num(); ++i) rings += mesh.hole[i] != nullptr;
    }
    const double share = peers::median(find) / peers::median(load);
    table.add({demo::count(faces), demo::count(rings), demo::number(peers::median(load), 4),
               demo::number(peers::median(find), 4), demo::number(100 * share, 1) + " %"});
  }
  std::printf("All rings of a scan, median of %d:\n\n%s\n", arguments.rounds, table.text().c_str());
  return arguments.files.empty() ? 2 : 0;
}
