// Simplifying a scan to a tenth, against other mesh libraries.
#include <cstdio>

#include "peers/contestants.h"

int main(int argc, char** argv) {
  const peers::Arguments arguments = peers::parse_arguments(argc, argv);
  for (const std::string& file : arguments.files) {
    const peers::IndexedMesh mesh = peers::read_indexed(file);
    const int faces = static_cast<int>(mesh.corners.size() / 3);
    if (faces == 0) {
      std::fprintf(stderr, "%s: can't be read\n", file.c_str());
      return 1;
    }
    const auto contestants = peers::simplify_contestants(mesh, faces / 10);
    const auto outcomes = peers::compare(contestants, arguments.rounds);
    std::printf("Simplifying %d faces to %d, median of %d:\n\n%s\n", faces, faces / 10,
                arguments.rounds, peers::ratio_table(outcomes).c_str());
  }
  return arguments.files.empty() ? 2 : 0;
}
