// Repairs every mesh of a folder by the toolkit and writes each before and after as binary STL.
//   peers_repair_folder IN_FOLDER OUT_FOLDER
// OUT_FOLDER/before/NAME.stl, OUT_FOLDER/after/NAME.stl. A line per file: NAME, state, components
// before and after, share of the input's points that are there bit for bit, largest movement off
// defects over the box's diagonal, seconds, what the toolkit says; tab-separated.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <set>
#include <tuple>
#include <vector>

#include "scanmesh/toolkit/toolkit.h"

namespace fs = std::filesystem;

namespace {

std::set<std::tuple<double, double, double>> places(const scanmesh::TriangleMesh& mesh) {
  std::set<std::tuple<double, double, double>> set;
  for (const scanmesh::Triangle& t : mesh.triangles) {
    for (const std::int32_t v : t) {
      const scanmesh::Point& p = mesh.points[static_cast<std::size_t>(v)];
      set.emplace(p.x, p.y, p.z);
    }
  }
  return set;
}

const char* name_of(scanmesh::RepairState state) {
  constexpr const char* kNames[] = {"healthy", "repaired", "improved", "unchanged"};
  return kNames[static_cast<int>(state)];
}

void repair_one(const fs::path& path, const fs::path& out) {
  const std::string name = path.filename().string();
  scanmesh::TriangleMesh input;
  try {
    input = scanmesh::read_mesh(path);
  } catch (const scanmesh::Error& error) {
    std::cerr << error.what() << '\n';
    return;
  }
  // As a file of floats without connectivity, whatever the format was.
  const fs::path before = out / "before" / (name + ".stl");
  scanmesh::write_mesh(input, before);
  const scanmesh::TriangleMesh soup = scanmesh::read_mesh(before);
  const scanmesh::RepairResult result = scanmesh::repair(soup);
  const fs::path after = out / "after" / (name + ".stl");
  scanmesh::write_mesh(result.mesh, after);
  const auto old = places(soup);
  const auto now = places(scanmesh::read_mesh(after));
  const auto kept =
      std::count_if(old.begin(), old.end(), [&now](const auto& p) { return now.count(p) != 0; });
  std::cout << name << '\t' << name_of(result.report.state) << '\t'
            << result.report.before.components << '\t' << result.report.after.components << '\t'
            << static_cast<double>(kept) / static_cast<double>(old.size()) << '\t'
            << result.report.largest_movement / scanmesh::bounding_box(soup).diagonal() << '\t'
            << result.report.seconds << '\t' << scanmesh::describe(result.report.after)
            << std::endl;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::cerr << "peers_repair_folder IN_FOLDER OUT_FOLDER\n";
    return 2;
  }
  const fs::path out = arguments[2];
  fs::create_directories(out / "before");
  fs::create_directories(out / "after");
  std::vector<fs::path> paths;
  for (const auto& entry : fs::directory_iterator(arguments[1])) {
    if (entry.is_regular_file()) paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  for (const fs::path& path : paths) repair_one(path, out);
}
