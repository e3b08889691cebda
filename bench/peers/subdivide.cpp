// One round of Loop subdivision, against other mesh libraries.
#include <cstdio>

#include "peers/contestants.h"

int main(int argc, char** argv) {
  const peers::Arguments arguments = peers::parse_arguments(argc, argv);
  for (const std::string& file : arguments.files) {
    const peers::IndexedMesh mesh = peers::read_indexed(file);
    if (mesh.corners.empty()) {
      std::fprintf(stderr, "%s: can't be read\n", file.c_str());
      return 1;
    }
    const auto outcomes = peers::compare(peers::subdivide_contestants(mesh), arguments.rounds);
    std::printf("Subdividing %d faces, median of %d:\n\n%s\n",
                static_cast<int>(mesh.corners.size() / 3), arguments.rounds,
                peers::ratio_table(outcomes).c_str());
  }
  return arguments.files.empty() ? 2 : 0;
}
