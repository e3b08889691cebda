// Ball pivoting and its trees, side by side with other libraries.
//   peers_pivoting meshes SCAN.stl... [--rounds N]   times of reconstructions
//   peers_pivoting quality SCAN.stl...               what they make of clean samplings
//   peers_pivoting trees SCAN.stl... [--rounds N]    a tree, and 16 neighbours of every point
//   peers_pivoting processors SCAN.stl               one processor against all
//   peers_pivoting tree_memory | x_tree_memory | build_memory | x_build_memory
// The last measure this process, and are therefore run one by one.
#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <utility>

#if defined(__linux__)
#include <sched.h>
#endif

#include "generated_points.h"
#include "peers/point_contestants.h"
#include "quiet_output.h"
#include "support/console.h"

namespace {

using peers::Contestant;

struct Sample {
  std::string name;
  demo::PointSet set;
};

// Brought to spacing 1, the radii's unit.
bool load(const std::string& path, Sample& sample) {
  std::string error;
  if (!demo::read_points(path, sample.set, error)) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), error.c_str());
    return false;
  }
  demo::scale(sample.set, 1 / demo::estimate_spacing(sample.set));
  sample.name = path.substr(path.rfind('/') + 1);
  return true;
}

std::string titled(const Sample& sample) {
  return sample.name + ", " + demo::count(static_cast<long long>(sample.set.points.size())) +
         " points";
}

std::vector<Contestant> reconstructors(const demo::PointSet& set, demo::Surface* results) {
  const auto result = [&](int i) { return results == nullptr ? nullptr : results + i; };
  std::vector<Contestant> all{peers::scanmesh_ball(set, result(0)),
                              peers::scanmesh_x_ball(set, result(1))};
#ifdef SCANMESH_PEER_OPEN3D_POINTS
  all.push_back(peers::open3d_ball(set, result(2)));
#endif
  return all;
}

std::vector<Contestant> trees(const demo::PointSet& set) {
  std::vector<Contestant> all{peers::scanmesh_tree(set), peers::scanmesh_x_tree(set)};
#ifdef SCANMESH_PEER_OPEN3D_POINTS
  all.push_back(peers::open3d_tree(set));
#endif
#ifdef SCANMESH_PEER_CGAL_TREE
  all.push_back(peers::cgal_tree(set));
#endif
  return all;
}

// Both of ours against each of the others.
void print_ratios(const std::string& title, const std::string& unit,
                  const std::vector<peers::Outcome>& outcomes) {
  demo::Table table({"", "seconds", unit, "Ball_Pivoting's to it", "XBallPivoting's to it"});
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    const peers::Outcome& o = outcomes[i];
    const auto ratio = [&](std::size_t ours) {
      return i < 2 ? "" : demo::number(outcomes[ours].seconds / o.seconds, 3);
    };
    table.add({o.name, demo::number(o.seconds, 3), demo::count(o.faces), ratio(0), ratio(1)});
  }
  std::printf("%s:\n\n%s\n", title.c_str(), table.text().c_str());
}

int compare_meshes(const std::vector<Sample>& samples, int rounds) {
  for (const Sample& sample : samples) {
    const auto outcomes = peers::compare(reconstructors(sample.set, nullptr), rounds);
    print_ratios("Ball pivoting, " + titled(sample) + ", median of " + std::to_string(rounds),
                 "faces", outcomes);
  }
  return 0;
}

int compare_trees(const std::vector<Sample>& samples, int rounds) {
  for (const Sample& sample : samples) {
    const auto outcomes = peers::compare(trees(sample.set), rounds);
    print_ratios("A tree and the 16 nearest of every point, " + titled(sample) + ", median of " +
                     std::to_string(rounds),
                 "neighbours", outcomes);
  }
  return 0;
}

struct Quality {
  long long open = 0;
  long long crowded = 0;
  double used = 0;
};

Quality quality_of(const demo::Surface& surface) {
  std::map<std::pair<int, int>, int> edges;
  std::set<int> used;
  for (const demo::Corners& f : surface.faces) {
    for (std::size_t k = 0; k < 3; ++k) {
      used.insert(f[k]);
      ++edges[std::minmax(f[k], f[(k + 1) % 3])];
    }
  }
  Quality q;
  for (const auto& edge : edges) {
    q.open += edge.second == 1;
    q.crowded += edge.second > 2;
  }
  q.used = 100.0 * static_cast<double>(used.size()) / static_cast<double>(surface.points.size());
  return q;
}

int compare_quality(const std::vector<Sample>& samples) {
  demo::Table table(
      {"points", "", "faces", "open edges", "edges with more than two faces", "points used, %"});
  for (const Sample& sample : samples) {
    demo::Surface results[3];
    const auto all = reconstructors(sample.set, results);
    peers::compare(all, 1);
    for (std::size_t i = 0; i < all.size(); ++i) {
      const Quality q = quality_of(results[i]);
      table.add({i == 0 ? titled(sample) : "", all[i].name,
                 demo::count(static_cast<long long>(results[i].faces.size())), demo::count(q.open),
                 demo::count(q.crowded), demo::number(q.used, 2)});
    }
  }
  std::printf("Quality of reconstructions:\n\n%s\n", table.text().c_str());
  return 0;
}

// Threads that are started later stay on the processors of the one that starts them.
bool stay_on_one_processor() {
#if defined(__linux__)
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(0, &set);
  return sched_setaffinity(0, sizeof(set), &set) == 0;
#else
  return false;
#endif
}

int compare_processors(const std::vector<Sample>& samples, int rounds) {
  std::vector<std::vector<peers::Outcome>> all;
  for (const Sample& sample : samples) {
    std::vector<Contestant> ours = reconstructors(sample.set, nullptr);
    ours.resize(2);
    all.push_back(peers::compare(ours, rounds));
  }
  if (!stay_on_one_processor()) return 1;
  demo::Table table({"points", "", "seconds", "on one processor", "speed-up"});
  for (std::size_t s = 0; s < samples.size(); ++s) {
    std::vector<Contestant> ours = reconstructors(samples[s].set, nullptr);
    ours.resize(2);
    const auto one = peers::compare(ours, rounds);
    for (std::size_t i = 0; i < one.size(); ++i) {
      table.add({i == 0 ? titled(samples[s]) : "", one[i].name, demo::number(all[s][i].seconds, 3),
                 demo::number(one[i].seconds, 3),
                 demo::number(one[i].seconds / all[s][i].seconds, 2)});
    }
  }
  std::printf("All processors against one, median of %d:\n\n%s\n", rounds, table.text().c_str());
  return 0;
}

int measure_memory(const std::string& what) {
  constexpr int kPoints = 1000000;
  const demo::PointSet set = bench::wavy_points(kPoints);
  const auto points = static_cast<double>(set.points.size());
  double bytes = 0;
  if (what == "tree_memory") {
    bytes = peers::scanmesh_tree_bytes(set);
  } else if (what == "x_tree_memory") {
    bytes = peers::scanmesh_x_tree_bytes(set);
  } else {
    const Contestant ours = what == "build_memory" ? peers::scanmesh_ball(set, nullptr)
                                                   : peers::scanmesh_x_ball(set, nullptr);
    const bench::QuietOutput quiet;
    const double before = demo::resident_memory_mib();
    ours.prepare()();
    bytes = (demo::peak_memory_mib() - before) * 1024 * 1024 / points;
  }
  std::printf("%s: %s bytes per point\n", what.c_str(), demo::number(bytes, 0).c_str());
  return 0;
}

int usage() {
  std::fputs(
      "usage: peers_pivoting meshes|quality|trees|processors SCAN.stl... [--rounds N]\n"
      "       peers_pivoting tree_memory|x_tree_memory|build_memory|x_build_memory\n",
      stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  if (what.size() > 7 && what.substr(what.size() - 7) == "_memory") return measure_memory(what);
  const peers::Arguments arguments = peers::parse_arguments(argc - 1, argv + 1);
  std::vector<Sample> samples;
  for (const std::string& file : arguments.files) {
    if (!load(file, samples.emplace_back())) return 1;
  }
  const auto generated = [&](const char* name, demo::PointSet set) {
    samples.push_back({name, std::move(set)});
  };
  if (what == "quality") {
    generated("sphere", bench::sphere_points(20000));
    generated("torus", bench::torus_points(20000));
    generated("waves", bench::wavy_points(20000));
    return compare_quality(samples);
  }
  if (what == "trees") {
    generated("waves", bench::wavy_points(556000));
    generated("waves in no order", bench::wavy_points(556000, bench::Order::shuffled));
    return compare_trees(samples, arguments.rounds);
  }
  if (what != "meshes" && what != "processors") return usage();
  generated("waves", bench::wavy_points(1000000));
  return what == "meshes" ? compare_meshes(samples, arguments.rounds)
                          : compare_processors(samples, arguments.rounds);
}
