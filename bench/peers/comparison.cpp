#include "peers/comparison.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "quiet_output.h"
#include "support/console.h"
#include "support/stl_file.h"

namespace peers {

std::vector<Outcome> compare(const std::vector<Contestant>& contestants, int rounds) {
  std::vector<Outcome> outcomes(contestants.size());
  std::vector<std::vector<double>> seconds(contestants.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < contestants.size(); ++i) {
      const bench::QuietOutput quiet;
      const Job job = contestants[i].prepare();
      const demo::Stopwatch watch;
      outcomes[i].faces = job();
      seconds[i].push_back(watch.seconds());
    }
  }
  for (std::size_t i = 0; i < contestants.size(); ++i) {
    outcomes[i].name = contestants[i].name;
    outcomes[i].seconds = median(seconds[i]);
  }
  return outcomes;
}

std::string ratio_table(const std::vector<Outcome>& outcomes) {
  demo::Table table({"", "seconds", "result, faces", "ratio to it"});
  for (const Outcome& o : outcomes) {
    const bool ours = &o == &outcomes.front();
    table.add({o.name, demo::number(o.seconds, 3), demo::count(o.faces),
               ours ? "" : demo::number(outcomes.front().seconds / o.seconds, 3)});
  }
  return table.text();
}

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const std::size_t half = values.size() / 2;
  return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

IndexedMesh read_indexed(const std::string& path) {
  std::vector<demo::Triangle> triangles;
  IndexedMesh mesh;
  if (!demo::read_stl(path, triangles)) return mesh;
  const demo::Surface surface = demo::weld(triangles);
  for (const demo::Vec3& p : surface.points) {
    for (int axis = 0; axis < 3; ++axis) mesh.points.push_back(static_cast<float>(p[axis]));
  }
  for (const demo::Corners& f : surface.faces) {
    // A face with a corner twice is no input that every contestant takes.
    if (f[0] == f[1] || f[1] == f[2] || f[2] == f[0]) continue;
    for (const int corner : f) mesh.corners.push_back(static_cast<unsigned int>(corner));
  }
  return mesh;
}

Arguments parse_arguments(int argc, char** argv) {
  Arguments arguments;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--rounds" && i + 1 < argc) {
      arguments.rounds = std::max(1, std::atoi(argv[++i]));
    } else {
      arguments.files.push_back(word);
    }
  }
  if (arguments.files.empty()) {
    std::fprintf(stderr, "usage: %s SCAN.stl... [--rounds N]\n", argv[0]);
  }
  return arguments;
}

}  // namespace peers
