#include "support/surface.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <locale>
#include <sstream>
#include <unordered_map>
#include <utility>

namespace demo {
namespace {

// The words of a file without its comments; numbers are read with a point whatever the locale.
class Words {
 public:
  explicit Words(const std::string& text) : stream_(text) { stream_.imbue(std::locale::classic()); }

  template <typename T>
  bool next(T& value) {
    while (!(stream_ >> std::ws).eof() && stream_.peek() == '#') {
      std::string comment;
      std::getline(stream_, comment);
    }
    return static_cast<bool>(stream_ >> value);
  }

  // What follows the corners of a face, colours for instance.
  void skip_line() {
    std::string rest;
    std::getline(stream_, rest);
  }

 private:
  std::istringstream stream_;
};

bool read_points(Words& words, std::size_t count, Surface& surface) {
  surface.points.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    Vec3 p;
    if (!words.next(p.x) || !words.next(p.y) || !words.next(p.z)) return false;
    surface.points.push_back(p);
  }
  return true;
}

bool read_faces(Words& words, std::size_t count, Surface& surface) {
  const long points = static_cast<long>(surface.points.size());
  for (std::size_t i = 0; i < count; ++i) {
    long corners = 0;
    if (!words.next(corners) || corners < 3 || corners > points) return false;
    std::array<long, 3> fan{};
    for (long k = 0; k < corners; ++k) {
      long corner = 0;
      if (!words.next(corner) || corner < 0 || corner >= points) return false;
      if (k < 2) {
        fan[static_cast<std::size_t>(k)] = corner;
        continue;
      }
      fan[2] = corner;
      surface.faces.push_back(
          {static_cast<int>(fan[0]), static_cast<int>(fan[1]), static_cast<int>(fan[2])});
      fan[1] = corner;
    }
    words.skip_line();
  }
  return true;
}

bool parse_off(const std::string& text, Surface& surface, std::string& error) {
  Words words(text);
  std::string magic;
  long points = 0;
  long faces = 0;
  long edges = 0;
  if (!words.next(magic) || magic != "OFF") return error = "no OFF file", false;
  if (!words.next(points) || !words.next(faces) || !words.next(edges)) {
    return error = "no counts", false;
  }
  // A point takes six characters at least, a face eight: counts beyond that are not believed.
  const long size = static_cast<long>(text.size());
  if (points < 0 || faces < 0 || points > size / 6 || faces > size / 8) {
    return error = "counts beyond the file's size", false;
  }
  if (!read_points(words, static_cast<std::size_t>(points), surface)) {
    return error = "bad points", false;
  }
  if (!read_faces(words, static_cast<std::size_t>(faces), surface)) {
    return error = "bad faces", false;
  }
  return true;
}

std::uint64_t edge_key(int a, int b) {
  return (static_cast<std::uint64_t>(std::min(a, b)) << 32) |
         static_cast<std::uint64_t>(std::max(a, b));
}

void split_once(Surface& surface) {
  std::unordered_map<std::uint64_t, int> midpoints;
  midpoints.reserve(surface.faces.size() * 3 / 2);
  const auto midpoint = [&](int a, int b) {
    const auto [place, fresh] =
        midpoints.try_emplace(edge_key(a, b), static_cast<int>(surface.points.size()));
    if (fresh) {
      const Vec3 sum =
          surface.points[static_cast<std::size_t>(a)] + surface.points[static_cast<std::size_t>(b)];
      surface.points.push_back(sum * 0.5);
    }
    return place->second;
  };
  std::vector<Corners> quarters;
  quarters.reserve(surface.faces.size() * 4);
  for (const Corners& f : surface.faces) {
    const int ab = midpoint(f[0], f[1]);
    const int bc = midpoint(f[1], f[2]);
    const int ca = midpoint(f[2], f[0]);
    quarters.insert(quarters.end(), {{f[0], ab, ca}, {ab, f[1], bc}, {ca, bc, f[2]}, {ab, bc, ca}});
  }
  surface.faces = std::move(quarters);
}

struct SamePoint {
  bool operator()(const Vec3& a, const Vec3& b) const {
    return a.x == b.x && a.y == b.y && a.z == b.z;
  }
};

struct PointHash {
  std::size_t operator()(const Vec3& p) const {
    std::uint64_t hash = 0;
    for (int axis = 0; axis < 3; ++axis) {
      const double value = p[axis] + 0.0;  // -0 equals 0, so both must hash alike
      std::uint64_t bits = 0;
      std::memcpy(&bits, &value, sizeof bits);
      hash = (hash ^ bits) * 0x9e3779b97f4a7c15u;
      hash ^= hash >> 29;
    }
    return static_cast<std::size_t>(hash);
  }
};

}  // namespace

bool read_off(const std::string& path, Surface& surface, std::string& error) {
  surface = {};
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf())) {
    error = "can't be read";
    return false;
  }
  if (parse_off(text.str(), surface, error)) return true;
  surface = {};
  return false;
}

bool write_off(const std::string& path, const Surface& surface) {
  std::ofstream file(path, std::ios::binary);
  file.imbue(std::locale::classic());
  file.precision(17);
  file << "OFF\n" << surface.points.size() << ' ' << surface.faces.size() << " 0\n";
  for (const Vec3& p : surface.points) file << p.x << ' ' << p.y << ' ' << p.z << '\n';
  for (const Corners& f : surface.faces) {
    file << "3 " << f[0] << ' ' << f[1] << ' ' << f[2] << '\n';
  }
  file.close();
  return !file.fail();
}

void scale_to_extent(Surface& surface, double extent) {
  if (surface.points.empty()) return;
  Vec3 low = surface.points.front();
  Vec3 high = low;
  for (const Vec3& p : surface.points) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
  }
  const Vec3 size = high - low;
  const double largest = std::max({size.x, size.y, size.z});
  if (!(largest > 0)) return;
  const Vec3 centre = (low + high) * 0.5;
  for (Vec3& p : surface.points) p = (p - centre) * (extent / largest);
}

void split_faces(Surface& surface, int times) {
  for (int i = 0; i < times; ++i) split_once(surface);
}

std::vector<Vec3> point_normals(const Surface& surface) {
  std::vector<Vec3> normals(surface.points.size());
  for (const Corners& f : surface.faces) {
    const Vec3& a = surface.points[static_cast<std::size_t>(f[0])];
    const Vec3& b = surface.points[static_cast<std::size_t>(f[1])];
    const Vec3& c = surface.points[static_cast<std::size_t>(f[2])];
    const Vec3 area = cross(b - a, c - a);
    for (const int corner : f) {
      Vec3& sum = normals[static_cast<std::size_t>(corner)];
      sum = sum + area;
    }
  }
  for (Vec3& n : normals) n = unit(n);
  return normals;
}

void drop_unused_points(Surface& surface) {
  std::vector<int> number(surface.points.size(), -1);
  std::vector<Vec3> kept;
  for (Corners& f : surface.faces) {
    for (int& corner : f) {
      int& fresh = number[static_cast<std::size_t>(corner)];
      if (fresh < 0) {
        fresh = static_cast<int>(kept.size());
        kept.push_back(surface.points[static_cast<std::size_t>(corner)]);
      }
      corner = fresh;
    }
  }
  surface.points = std::move(kept);
}

std::vector<Triangle> triangles_of(const Surface& surface) {
  std::vector<Triangle> triangles;
  triangles.reserve(surface.faces.size());
  const auto& p = surface.points;
  for (const Corners& f : surface.faces) {
    triangles.push_back({p[static_cast<std::size_t>(f[0])], p[static_cast<std::size_t>(f[1])],
                         p[static_cast<std::size_t>(f[2])]});
  }
  return triangles;
}

Surface weld(const std::vector<Triangle>& triangles) {
  Surface surface;
  surface.faces.reserve(triangles.size());
  std::unordered_map<Vec3, int, PointHash, SamePoint> numbers;
  numbers.reserve(triangles.size());
  for (const Triangle& t : triangles) {
    Corners face{};
    for (std::size_t k = 0; k < 3; ++k) {
      const auto [place, fresh] =
          numbers.try_emplace(t[k], static_cast<int>(surface.points.size()));
      if (fresh) surface.points.push_back(t[k]);
      face[k] = place->second;
    }
    surface.faces.push_back(face);
  }
  return surface;
}

double mean_edge_length(const Surface& surface) {
  double sum = 0;
  for (const Triangle& t : triangles_of(surface)) {
    sum += distance(t[0], t[1]) + distance(t[1], t[2]) + distance(t[2], t[0]);
  }
  return surface.faces.empty() ? 0 : sum / (3.0 * static_cast<double>(surface.faces.size()));
}

}  // namespace demo
