// The data of the tour's page: two meshes, the rings of the first, what the second has filled, and
// histograms of both. Written as JSON.
//   tour_data SCAN.stl REPAIRED.stl OUT.json [TRUTH.off]
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "load_scan.h"
#include "repair_report.h"
#include "scanmesh/mesh.h"
#include "support/distance.h"
#include "support/stl_file.h"
#include "support/surface.h"

namespace {

constexpr std::size_t kBins = 48;
// A vertex this far from the scan, in mean edges of it, stands on a filled hole.
constexpr double kFilledDistance = 0.5;

template <typename T>
using Array = std::unique_ptr<T[]>;

struct Side {
  std::vector<float> points;    // 3 per vertex
  std::vector<int32_t> faces;   // 3 per face
  std::vector<float> rings;     // 6 per edge of a ring
  std::vector<uint8_t> filled;  // 1 for a vertex on a filled hole
  std::vector<double> edges;
  double mean_edge = 0;
};

demo::Vec3 point_of(const Side& side, std::size_t i) {
  return {side.points[3 * i], side.points[3 * i + 1], side.points[3 * i + 2]};
}

bool read_side(const std::string& path, Side& side) {
  Mesh_M::Mesh mesh;
  if (!demo::load_scan(path, mesh)) return false;
  mesh.inalize_mesh();
  int vertices = 0;
  const Array<int> numbers(mesh.get_point_index(vertices));
  const Array<float> points(mesh.getvert_poision(vertices));
  Mesh_R::_face** records = nullptr;
  int corners = 0;
  const Array<int> faces(mesh.get_face_index(records, corners, 1));
  const Array<Mesh_R::_face*> owned(records);
  side.points.assign(points.get(), points.get() + 3 * vertices);
  side.faces.assign(faces.get(), faces.get() + corners);
  int ends = 0;
  const Array<int> edges(mesh.get_edge_index(ends));
  for (int i = 0; i + 1 < ends; i += 2) {
    side.edges.push_back(demo::distance(point_of(side, static_cast<std::size_t>(edges[i])),
                                        point_of(side, static_cast<std::size_t>(edges[i + 1]))));
  }
  side.mean_edge = demo::mean_edge_length(mesh);
  mesh.build_hole();
  for (int i = 0; i < mesh.get_hole_num(); ++i) {
    int floats = 0;
    const Array<float> ring(mesh.get_hole_index(i, floats));
    if (ring != nullptr) side.rings.insert(side.rings.end(), ring.get(), ring.get() + floats);
  }
  return true;
}

std::vector<demo::Triangle> triangles_of(const Side& side) {
  std::vector<demo::Triangle> triangles;
  for (std::size_t i = 0; i + 2 < side.faces.size(); i += 3) {
    demo::Triangle triangle;
    for (std::size_t k = 0; k < 3; ++k) {
      triangle[k] = point_of(side, static_cast<std::size_t>(side.faces[i + k]));
    }
    triangles.push_back(triangle);
  }
  return triangles;
}

std::vector<double> distances(const Side& side, const demo::NearestTriangle& surface) {
  std::vector<double> result(side.points.size() / 3);
  for (std::size_t i = 0; i < result.size(); ++i)
    result[i] = surface.distance_to(point_of(side, i));
  return result;
}

// All values but the largest two in a hundred lie below it.
double usual_limit(std::vector<double> values) {
  if (values.empty()) return 1;
  const std::size_t at = values.size() * 98 / 100;
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(at), values.end());
  return values[at] > 0 ? values[at] : 1;
}

class Json {
 public:
  explicit Json(std::FILE* file) : file_(file) {}

  void text(const std::string& raw) { std::fputs(raw.c_str(), file_); }
  template <typename T>
  void base64(const std::vector<T>& values) {
    std::vector<uint8_t> bytes(values.size() * sizeof(T));
    if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
      uint32_t bits = 0;
      for (std::size_t k = 0; k < 3; ++k)
        bits = bits << 8 | (i + k < bytes.size() ? bytes[i + k] : 0U);
      for (std::size_t k = 0; k < 4; ++k) {
        out += i + k > bytes.size() ? '=' : kDigits[bits >> (18 - 6 * k) & 63U];
      }
    }
    text("\"" + out + "\"");
  }
  // Values beyond `high` are counted in the last bin.
  void series(const std::string& name, const std::vector<double>& values, double high) {
    std::vector<long> counts(kBins, 0);
    double sum = 0;
    for (const double value : values) {
      const auto bin = static_cast<std::size_t>(value / high * static_cast<double>(kBins));
      ++counts[std::min(bin, kBins - 1)];
      sum += value;
    }
    char mean[64];
    std::snprintf(mean, sizeof(mean), "%.6g",
                  values.empty() ? 0.0 : sum / static_cast<double>(values.size()));
    text("{\"name\":\"" + name + "\",\"mean\":" + mean + ",\"counts\":[");
    for (std::size_t i = 0; i < kBins; ++i) text((i == 0 ? "" : ",") + std::to_string(counts[i]));
    text("]}");
  }

 private:
  static constexpr const char* kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::FILE* file_;
};

void write_side(Json& json, const Side& side) {
  json.text("{\"points\":");
  json.base64(side.points);
  json.text(",\"faces\":");
  json.base64(side.faces);
  json.text(",\"rings\":");
  json.base64(side.rings);
  json.text(",\"filled\":");
  json.base64(side.filled);
  json.text("}");
}

struct Series {
  std::string name;
  std::vector<double> values;
};

void write_histogram(Json& json, const std::string& title, const std::vector<Series>& all) {
  double high = 0;
  for (const Series& series : all) high = std::max(high, usual_limit(series.values));
  json.text("{\"title\":\"" + title + "\",\"high\":" + std::to_string(high) + ",\"series\":[");
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (i > 0) json.text(",");
    json.series(all[i].name, all[i].values, high);
  }
  json.text("]}");
}

int fail(const std::string& file) {
  std::fprintf(stderr, "tour_data: %s can't be used\n", file.c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4 || argc > 5) {
    std::fputs("usage: tour_data SCAN.stl REPAIRED.stl OUT.json [TRUTH.off]\n", stderr);
    return 2;
  }
  Side scan;
  Side repaired;
  if (!read_side(argv[1], scan)) return fail(argv[1]);
  if (!read_side(argv[2], repaired)) return fail(argv[2]);
  const std::vector<double> from_scan =
      distances(repaired, demo::NearestTriangle(triangles_of(scan)));
  for (const double d : from_scan) repaired.filled.push_back(d > kFilledDistance * scan.mean_edge);
  scan.filled.assign(scan.points.size() / 3, 0);

  std::vector<Series> measured = {{"repaired, from the scan", from_scan}};
  std::string title = "Distance from the scan, mm";
  if (argc > 4) {
    demo::Surface truth;
    std::string reason;
    if (!demo::read_off(argv[4], truth, reason)) return fail(argv[4]);
    const demo::NearestTriangle surface(demo::triangles_of(truth));
    measured = {{"scan", distances(scan, surface)}, {"repaired", distances(repaired, surface)}};
    title = "Distance from the true surface, mm";
  }

  const demo::File file(std::fopen(argv[3], "w"));
  if (file == nullptr) return fail(argv[3]);
  Json json(file.get());
  json.text("{\"scan\":");
  write_side(json, scan);
  json.text(",\"repaired\":");
  write_side(json, repaired);
  json.text(",\"histograms\":[");
  write_histogram(json, "Edge length, mm", {{"scan", scan.edges}, {"repaired", repaired.edges}});
  json.text(",");
  write_histogram(json, title, measured);
  json.text("]}\n");
  return std::ferror(file.get()) != 0 || std::fflush(file.get()) != 0 ? fail(argv[3]) : 0;
}
