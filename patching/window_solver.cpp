#include "patching/window_solver.h"

#include <map>

#include "patching/patch_mesh.h"
#include "patching/polygon_solver.h"

namespace cavity {
namespace {

// Triangles per piece in each sweep; different sizes put the seams in different places.
constexpr std::array<int, 3> window_sizes = {40, 56, 47};

using Edge = std::array<int, 2>;

class Sweep {
 public:
  Sweep(const std::vector<Point>& ring, const std::vector<Point>& rim_normals,
        const ChordSet& chords, std::vector<Triangle>& triangles)
      : ring_(ring),
        mesh_(ring, static_cast<int>(ring.size()), triangles, chords),
        triangles_(triangles),
        solver_(ring, chords),
        taken_(triangles.size(), 0) {
    const int n = static_cast<int>(ring.size());
    // Beyond a ring edge lies the region; it runs the edge backwards, like any neighbour.
    for (int i = 0; i < n; ++i) normal_on_[{(i + 1) % n, i}] = rim_normals[i];
    for (const Triangle& t : triangles) note_normal(t);
  }

  void run(int size) {
    for (int f = 0; f < mesh_.triangle_count(); ++f) {
      if (taken_[f] == 0) solve_window(gather(f, size));
    }
  }

 private:
  void note_normal(const Triangle& t) {
    const Point normal = normal_or_zero(ring_[t[0]], ring_[t[1]], ring_[t[2]]);
    for (int k = 0; k < 3; ++k) normal_on_[{t[k], t[next_corner(k)]}] = normal;
  }

  // Breadth first, so that the piece is compact.
  std::vector<int> gather(int start, int size) {
    std::vector<int> window = {start};
    taken_[start] = 1;
    for (std::size_t i = 0; i < window.size() && static_cast<int>(window.size()) < size; ++i) {
      for (int k = 0; k < 3; ++k) {
        const int g = mesh_.neighbour(window[i], k);
        if (g < 0 || taken_[g] != 0) continue;
        taken_[g] = 1;
        window.push_back(g);
      }
    }
    return window;
  }

  void solve_window(const std::vector<int>& window) {
    if (window.size() < 2) return;
    // All vertices lie on the outline, and the outline keeps the order of the ring.
    std::vector<int> outline;
    for (const int f : window) {
      outline.insert(outline.end(), mesh_.triangle(f).begin(), mesh_.triangle(f).end());
    }
    std::sort(outline.begin(), outline.end());
    outline.erase(std::unique(outline.begin(), outline.end()), outline.end());
    std::vector<Point> outsides;
    for (std::size_t i = 0; i < outline.size(); ++i) {
      outsides.push_back(normal_on_.at({outline[(i + 1) % outline.size()], outline[i]}));
    }
    std::vector<Triangle> better;
    solver_.solve(outline, outsides, better);
    for (std::size_t i = 0; i < window.size(); ++i) {
      triangles_[window[i]] = better[i];
      note_normal(better[i]);
    }
  }

  const std::vector<Point>& ring_;
  const PatchMesh mesh_;  // as it was before the sweep: the pieces are apart
  std::vector<Triangle>& triangles_;
  PolygonSolver solver_;
  std::vector<char> taken_;
  std::map<Edge, Point> normal_on_;
};

}  // namespace

void solve_windows(const std::vector<Point>& ring, const std::vector<Point>& rim_normals,
                   const ChordSet& chords, std::vector<Triangle>& triangles) {
  for (const int size : window_sizes) {
    Sweep(ring, rim_normals, chords, triangles).run(size);
  }
}

}  // namespace cavity
