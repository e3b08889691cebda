// What other mesh libraries make of our files, and we of theirs: the same counts, the same
// coordinates. Fails when a pair that is known to work doesn't.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "peers/file_peers.h"
#include "quiet_output.h"
#include "support/console.h"

namespace {

using peers::FileKind;
using peers::FilePeer;
using peers::IndexedMesh;

struct Verdict {
  std::string text;
  bool good = false;
};

float printed(float value) {
  char text[64];
  std::snprintf(text, sizeof(text), "%f", static_cast<double>(value));
  return std::strtof(text, nullptr);
}

// As a text with six decimals brings it back.
IndexedMesh as_printed(IndexedMesh mesh) {
  for (float& value : mesh.points) value = printed(value);
  return mesh;
}

// Largest difference of a coordinate, corner by corner, whatever the numbering; below 0 where there
// is another number of corners.
double difference(const IndexedMesh& a, const IndexedMesh& b) {
  if (a.corners.size() != b.corners.size()) return -1;
  double most = 0;
  for (std::size_t i = 0; i < a.corners.size(); ++i) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double d =
          std::fabs(static_cast<double>(a.points[3 * std::size_t{a.corners[i]} + axis]) -
                    static_cast<double>(b.points[3 * std::size_t{b.corners[i]} + axis]));
      most = d > most ? d : most;
    }
  }
  return most;
}

// The corner of a face that comes first is a library's own choice.
IndexedMesh turned_like(IndexedMesh mesh, const IndexedMesh& wanted) {
  if (mesh.corners.size() != wanted.corners.size()) return mesh;
  for (std::size_t i = 0; i < mesh.corners.size(); i += 3) {
    for (int turn = 0; turn < 3; ++turn) {
      const float* const p = &mesh.points[3 * std::size_t{mesh.corners[i]}];
      const float* const q = &wanted.points[3 * std::size_t{wanted.corners[i]}];
      if (std::memcmp(p, q, 3 * sizeof(float)) == 0) break;
      const unsigned int first = mesh.corners[i];
      mesh.corners[i] = mesh.corners[i + 1];
      mesh.corners[i + 1] = mesh.corners[i + 2];
      mesh.corners[i + 2] = first;
    }
  }
  return mesh;
}

// How far coordinates may be apart: half of the last of six significant digits, where a library
// writes no more.
double six_digits(const IndexedMesh& mesh) {
  float most = 0;
  for (const float value : mesh.points) most = std::max(most, std::fabs(value));
  return static_cast<double>(most) * 5.1e-6;
}

Verdict judge(bool sound, const IndexedMesh& got, const IndexedMesh& wanted, double tolerance) {
  if (!sound) return {"refused", false};
  const double d = difference(turned_like(got, wanted), wanted);
  const std::string counts = demo::count(static_cast<long long>(got.points.size() / 3)) + " / " +
                             demo::count(static_cast<long long>(got.corners.size() / 3));
  if (d < 0) return {counts + ", other faces", false};
  if (d > tolerance && tolerance > 0 && d <= six_digits(wanted))
    return {counts + ", six digits", true};
  if (d > tolerance) return {counts + ", off by " + demo::number(d, 6), false};
  return {counts + (d > 0 ? ", last digit" : ""), true};
}

struct Setting {
  IndexedMesh mesh;
  std::string folder;
  bool good = true;
};

// A last digit of the file may come out as the neighbouring float in a reader of its own making.
double tolerance_of(FileKind kind, const IndexedMesh& mesh) {
  if (kind == FileKind::ply_binary || kind == FileKind::stl_binary) return 0;
  float most = 0;
  for (const float value : mesh.points) most = std::max(most, std::fabs(value));
  return static_cast<double>(most) * 3e-7;
}

void their_reading(Setting& setting) {
  const auto all = peers::file_peers();
  std::vector<std::string> head{"written by scanmesh"};
  for (const FilePeer& peer : all) head.push_back("read by " + peer.name);
  demo::Table table(head);
  for (const FileKind kind :
       {FileKind::stl_binary, FileKind::ply_ascii, FileKind::ply_binary, FileKind::obj}) {
    const std::string path = setting.folder + "/scanmesh_" +
                             std::to_string(static_cast<int>(kind)) + peers::extension_of(kind);
    all.front().save(setting.mesh, path, kind)();
    const bool text = kind == FileKind::ply_ascii || kind == FileKind::obj;
    const IndexedMesh wanted = text ? as_printed(setting.mesh) : setting.mesh;
    std::vector<std::string> row{peers::name_of(kind)};
    for (const FilePeer& peer : all) {
      if (kind == FileKind::obj && &peer == &all.front()) {
        row.push_back("no reader");
        continue;
      }
      IndexedMesh got;
      bool sound = false;
      {
        const bench::QuietOutput quiet;
        sound = peer.read(path, got);
      }
      const Verdict verdict = judge(sound, got, wanted, tolerance_of(kind, setting.mesh));
      setting.good = setting.good && verdict.good;
      row.push_back(verdict.text);
    }
    table.add(row);
  }
  std::printf("%s\n", table.text().c_str());
}

void our_reading(Setting& setting) {
  const auto all = peers::file_peers();
  demo::Table table({"read by scanmesh", "binary PLY", "ASCII PLY", "binary STL", "ASCII STL"});
  for (std::size_t i = 1; i < all.size(); ++i) {
    std::vector<std::string> row{"written by " + all[i].name};
    for (const FileKind kind :
         {FileKind::ply_binary, FileKind::ply_ascii, FileKind::stl_binary, FileKind::stl_ascii}) {
      const std::string path = setting.folder + "/" + all[i].name + "_" +
                               std::to_string(static_cast<int>(kind)) + peers::extension_of(kind);
      bool written = false;
      {
        const bench::QuietOutput quiet;
        const peers::Job job = all[i].save(setting.mesh, path, kind);
        written = job && job() >= 0;
      }
      if (!written) {
        row.push_back("not written");
        continue;
      }
      IndexedMesh got;
      bool sound = false;
      {
        const bench::QuietOutput quiet;
        sound = all.front().read(path, got);
      }
      const Verdict verdict = judge(sound, got, setting.mesh, tolerance_of(kind, setting.mesh));
      // ASCII STL with indented lines is refused, and known to be.
      setting.good = setting.good && (verdict.good || kind == FileKind::stl_ascii);
      row.push_back(verdict.text);
    }
    table.add(row);
  }
  std::printf("%s\n", table.text().c_str());
}

// These are no valid documents of their standards, and nothing is expected of them.
void marked_up_files(Setting& setting) {
  const auto all = peers::file_peers();
  std::vector<std::string> head{"written by scanmesh"};
  for (std::size_t i = 1; i < all.size(); ++i) head.push_back("read by " + all[i].name);
  demo::Table table(head);
  for (const FileKind kind : {FileKind::wrl, FileKind::x3d, FileKind::dae}) {
    const std::string path = setting.folder + "/scanmesh" + peers::extension_of(kind);
    all.front().save(setting.mesh, path, kind)();
    std::vector<std::string> row{peers::name_of(kind)};
    for (std::size_t i = 1; i < all.size(); ++i) {
      IndexedMesh got;
      const bench::QuietOutput quiet;
      const bool sound = all[i].read(path, got);
      row.push_back(judge(sound, got, as_printed(setting.mesh), 0).text);
    }
    table.add(row);
  }
  std::printf("%s\n", table.text().c_str());
}

void point_files(Setting& setting) {
  const std::string path = setting.folder + "/scanmesh.xyz";
  peers::scanmesh_files().save(setting.mesh, path, FileKind::xyz)();
  const IndexedMesh wanted = as_printed(setting.mesh);
  demo::Table table({"XYZ written by scanmesh", "points"});
  const auto check = [&](const char* name,
                         bool (*points_of)(const std::string&, std::vector<float>&)) {
    std::vector<float> points;
    bool sound = false;
    {
      const bench::QuietOutput quiet;
      sound = points_of(path, points);
    }
    sound = sound && points == wanted.points;
    setting.good = setting.good && sound;
    table.add(
        {std::string("read by ") + name,
         (sound ? "" : "differs: ") + demo::count(static_cast<long long>(points.size() / 3))});
  };
#ifdef SCANMESH_PEER_OPEN3D_FILES
  check("Open3D, as xyzn", peers::open3d_points_of);
#endif
#ifdef SCANMESH_PEER_CGAL_FILES
  check("CGAL", peers::cgal_points_of);
#endif
  std::printf("%s\n", table.text().c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s SCAN.stl FOLDER\n", argv[0]);
    return 2;
  }
  Setting setting{peers::read_indexed(argv[1]), argv[2]};
  if (setting.mesh.corners.empty()) {
    std::fprintf(stderr, "interop: %s: no facets\n", argv[1]);
    return 1;
  }
  std::printf("%s points, %s faces. Cells: points / faces.\n\n",
              demo::count(static_cast<long long>(setting.mesh.points.size() / 3)).c_str(),
              demo::count(static_cast<long long>(setting.mesh.corners.size() / 3)).c_str());
  their_reading(setting);
  our_reading(setting);
  point_files(setting);
  marked_up_files(setting);
  return setting.good ? 0 : 1;
}
