// Filling holes, side by side.
//   peers_patches truth [--rounds N]            holes in surfaces of known equation
//   peers_patches scans FILE... [--rounds N]    all rings of OFF or STL models
//   peers_patches rings [EDGES...]              single large rings, timed
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "peers/comparison.h"
#include "peers/hole_cases.h"
#include "peers/hole_fillers.h"
#include "peers/patch_quality.h"
#include "quiet_output.h"
#include "support/console.h"
#include "support/stl_file.h"

namespace {

using peers::FilledSurface;
using peers::HoleFiller;

constexpr double noise_size = 0.02;
// One shake of a surface favours one filler or the other by chance: a noisy row is the mean of so
// many.
constexpr std::uint64_t noise_samples = 16;
constexpr double percent = 100;
// Beyond this many edges only our own time is taken: the others' patches grow with the area.
constexpr int most_compared_edges = 2000;

/// The last round's result with the median time. Contestants take turns within each round.
std::vector<FilledSurface> run(const std::vector<HoleFiller>& fillers, int rounds,
                               const demo::Surface& surface, const demo::Vec3* rim_point) {
  std::vector<FilledSurface> results(fillers.size());
  std::vector<std::vector<double>> seconds(fillers.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < fillers.size(); ++i) {
      const bench::QuietOutput quiet;
      results[i] = fillers[i].fill(surface, rim_point);
      seconds[i].push_back(results[i].seconds);
    }
  }
  for (std::size_t i = 0; i < fillers.size(); ++i) results[i].seconds = peers::median(seconds[i]);
  return results;
}

/// Geometric mean of ours / theirs, and the rows in which ours is the larger one.
class Ratio {
 public:
  void add(double ours, double theirs) {
    sum_ += std::log(ours / theirs);
    ++rows_;
    lost_ += ours > theirs;
  }
  std::string mean() const { return demo::number(std::exp(sum_ / std::max(1, rows_)), 3); }
  std::string lost() const { return std::to_string(lost_) + " of " + std::to_string(rows_); }

 private:
  double sum_ = 0;
  int rows_ = 0;
  int lost_ = 0;
};

struct Totals {
  Ratio rms;
  Ratio most;
  Ratio seam;
  Ratio time;
};

/// One filler on one hole, over all shakes of its surface.
class Samples {
 public:
  void add(const peers::Deviation& d, double seconds) {
    squares_ += d.rms * d.rms;
    most_ += d.most;
    seam_ += d.seam;
    seconds_.push_back(seconds);
  }
  std::size_t count() const { return seconds_.size(); }
  double rms() const { return std::sqrt(squares_ / static_cast<double>(count())); }
  double most() const { return most_ / static_cast<double>(count()); }
  double seam() const { return seam_ / static_cast<double>(count()); }
  double seconds() const { return peers::median(seconds_); }

 private:
  double squares_ = 0;
  double most_ = 0;
  double seam_ = 0;
  std::vector<double> seconds_;
};

struct TruthRow {
  std::string name;
  int ring_edges = 0;
  std::vector<Samples> by_filler;
};

void measure(const std::vector<HoleFiller>& fillers, int rounds, const peers::HoleCase& hole,
             TruthRow& row) {
  row.name = hole.name;
  row.by_filler.resize(fillers.size());
  const std::vector<FilledSurface> results = run(fillers, rounds, hole.surface, &hole.rim_point);
  for (std::size_t i = 0; i < fillers.size(); ++i) {
    if (results[i].patches.size() != 1) continue;
    const peers::Deviation d = peers::deviation(results[i].patches.front(), hole.truth);
    row.ring_edges = d.ring_edges;
    row.by_filler[i].add(d, results[i].seconds);
  }
}

void add_truth_row(const TruthRow& row, std::size_t samples, demo::Table& table, Totals& totals) {
  const std::vector<Samples>& found = row.by_filler;
  if (std::any_of(found.begin(), found.end(),
                  [&](const Samples& s) { return s.count() != samples; })) {
    table.add({row.name + ": not filled"});
    return;
  }
  std::vector<std::string> words{row.name, std::to_string(row.ring_edges)};
  for (const Samples& s : found) words.push_back(demo::number(percent * s.rms(), 4));
  for (const Samples& s : found) words.push_back(demo::number(percent * s.most(), 3));
  for (const Samples& s : found) words.push_back(demo::number(s.seam(), 2));
  for (const Samples& s : found) words.push_back(demo::number(1e3 * s.seconds(), 2));
  table.add(words);
  if (found.size() != 2) return;
  totals.rms.add(found[0].rms(), found[1].rms());
  totals.most.add(found[0].most(), found[1].most());
  totals.seam.add(found[0].seam(), found[1].seam());
  totals.time.add(found[0].seconds(), found[1].seconds());
}

void add_truth_rows(const std::vector<HoleFiller>& fillers, int rounds, double noise,
                    std::uint64_t samples, demo::Table& table, Totals& totals) {
  std::vector<TruthRow> rows;
  for (std::uint64_t seed = 0; seed < samples; ++seed) {
    const std::vector<peers::HoleCase> holes = peers::hole_cases({noise, seed});
    rows.resize(holes.size());
    for (std::size_t i = 0; i < holes.size(); ++i) measure(fillers, rounds, holes[i], rows[i]);
  }
  for (const TruthRow& row : rows) {
    add_truth_row(row, static_cast<std::size_t>(samples), table, totals);
  }
}

void compare_with_truth(const std::vector<HoleFiller>& fillers, int rounds) {
  std::vector<std::string> head{"hole", "edges"};
  for (const char* const what : {"RMS, %", "maximum, %", "seam, °", "ms"}) {
    for (const HoleFiller& filler : fillers) head.push_back(what + (", " + filler.name));
  }
  demo::Table table(head);
  Totals totals;
  add_truth_rows(fillers, rounds, 0.0, 1, table, totals);
  add_truth_rows(fillers, 1, noise_size, noise_samples, table, totals);
  std::printf(
      "Distance of the patch to the true surface in percent of the hole's diameter, angle of its "
      "outermost\nfaces to the true normal, time; median of %d:\n\n%s\n",
      rounds, table.text().c_str());
  if (fillers.size() < 2) return;
  demo::Table sums({"ours to theirs", "geometric mean", "rows in which ours is larger"});
  sums.add({"RMS", totals.rms.mean(), totals.rms.lost()});
  sums.add({"maximum", totals.most.mean(), totals.most.lost()});
  sums.add({"seam", totals.seam.mean(), totals.seam.lost()});
  sums.add({"time", totals.time.mean(), totals.time.lost()});
  std::printf("%s\n", sums.text().c_str());
}

std::string share(long long part, long long whole) {
  return whole == 0
             ? ""
             : demo::number(percent * static_cast<double>(part) / static_cast<double>(whole), 1);
}

bool read_model(const std::string& path, demo::Surface& surface) {
  std::string error = "can't be read as binary STL";
  std::vector<demo::Triangle> triangles;
  const bool is_off = path.size() > 4 && path.compare(path.size() - 4, 4, ".off") == 0;
  if (is_off ? !demo::read_off(path, surface, error) : !demo::read_stl(path, triangles)) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), error.c_str());
    return false;
  }
  // An OFF file may hold a point twice where its surface touches itself.
  surface = demo::weld(is_off ? demo::triangles_of(surface) : triangles);
  // The library's tolerances are in a scanner's units; a mean edge of 1 is a coarse scan.
  const double scale = 1 / demo::mean_edge_length(surface);
  for (demo::Vec3& p : surface.points) p = p * scale;
  return true;
}

bool compare_on_scans(const std::vector<HoleFiller>& fillers, int rounds,
                      const std::vector<std::string>& files) {
  demo::Table table({"model", "", "rings", "new faces", "edges 0.5 to 1.6, %", "angles over 15°, %",
                     "edges open", "edges crowded", "ms", "ratio to it"});
  for (const std::string& path : files) {
    demo::Surface surface;
    if (!read_model(path, surface)) return false;
    const std::vector<FilledSurface> results = run(fillers, rounds, surface, nullptr);
    const std::string model = path.substr(path.find_last_of('/') + 1);
    for (std::size_t i = 0; i < fillers.size(); ++i) {
      const FilledSurface& r = results[i];
      peers::Shape shape;
      for (const auto& patch : r.patches) peers::add_shape(patch, shape);
      table.add({i == 0 ? model : "", fillers[i].name, std::to_string(r.rings - r.refused),
                 demo::count(shape.faces), share(shape.fitting_edges, shape.inner_edges),
                 share(shape.round_faces, shape.faces), demo::count(r.open_edges),
                 demo::count(r.crowded_edges), demo::number(1e3 * r.seconds, 1),
                 i == 0 ? "" : demo::number(results[0].seconds / r.seconds, 3)});
    }
  }
  std::printf("All rings of a model, median of %d:\n\n%s\n", rounds, table.text().c_str());
  return true;
}

void time_large_rings(std::vector<HoleFiller> fillers, const std::vector<std::string>& sizes) {
  demo::Table table({"ring edges", "", "new faces", "RMS, %", "s"});
  for (const std::string& size : sizes) {
    const int edges = std::atoi(size.c_str());
    if (edges < 3) continue;
    if (edges > most_compared_edges) fillers.erase(fillers.begin() + 1, fillers.end());
    const peers::HoleCase hole = peers::round_strip(edges);
    const std::vector<FilledSurface> results = run(fillers, 1, hole.surface, &hole.rim_point);
    for (std::size_t i = 0; i < fillers.size(); ++i) {
      if (results[i].patches.empty()) continue;
      const auto& patch = results[i].patches.front();
      table.add({i == 0 ? demo::count(edges) : "", fillers[i].name,
                 demo::count(static_cast<long long>(patch.size())),
                 demo::number(percent * peers::deviation(patch, hole.truth).rms, 3),
                 demo::number(results[i].seconds, 3)});
    }
  }
  std::printf("One large ring, a single run:\n\n%s\n", table.text().c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  std::vector<std::string> words;
  int rounds = 3;
  for (int i = 2; i < argc; ++i) {
    if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else {
      words.emplace_back(argv[i]);
    }
  }
  const std::vector<HoleFiller> fillers = peers::hole_fillers();
  if (mode == "truth" && words.empty()) {
    compare_with_truth(fillers, rounds);
  } else if (mode == "scans" && !words.empty()) {
    return compare_on_scans(fillers, rounds, words) ? 0 : 1;
  } else if (mode == "rings") {
    time_large_rings(fillers, words.empty() ? std::vector<std::string>{"1000", "10000"} : words);
  } else {
    std::fprintf(stderr, "usage: %s truth | scans FILE... | rings [EDGES...]  [--rounds N]\n",
                 argv[0]);
    return 2;
  }
  return 0;
}
