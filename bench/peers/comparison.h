// Timing of alternatives to one another, in one process and by turns, so that what else the machine
// does meets all of them alike.
#ifndef SCANMESH_BENCH_PEERS_COMPARISON_H
#define SCANMESH_BENCH_PEERS_COMPARISON_H

#include <functional>
#include <string>
#include <vector>

namespace peers {

/// The timed part of the work; returns the faces of its result. What it built lives as long as the
/// job and is released outside the time.
using Job = std::function<long long()>;

struct Contestant {
  std::string name;
  std::function<Job()> prepare;  // untimed; a fresh job for every round
};

struct Outcome {
  std::string name;
  double seconds = 0;  // median of the rounds
  long long faces = 0;
};

/// Runs all contestants once per round, each round in the same order.
std::vector<Outcome> compare(const std::vector<Contestant>& contestants, int rounds);

/// As Markdown: seconds of each, and the first one's time divided by each other's.
std::string ratio_table(const std::vector<Outcome>& outcomes);

double median(std::vector<double> values);

/// An indexed triangle mesh, as the contestants' own structures are filled from it.
struct IndexedMesh {
  std::vector<float> points;          // x y z
  std::vector<unsigned int> corners;  // three per face
};

/// Reads binary STL and joins equal points. Empty when the file can't be read.
IndexedMesh read_indexed(const std::string& path);

/// The files to run on: the arguments, or an explanation on the standard error stream and none.
struct Arguments {
  std::vector<std::string> files;
  int rounds = 5;
};
Arguments parse_arguments(int argc, char** argv);

}  // namespace peers

#endif  // SCANMESH_BENCH_PEERS_COMPARISON_H
