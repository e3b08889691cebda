// The patch and the faces of the region next to it as one surface, with its discrete Laplacian.
#ifndef SCANMESH_PATCHING_BENDING_SYSTEM_H
#define SCANMESH_PATCHING_BENDING_SYSTEM_H

#include <vector>

#include "patching/patch_mesh.h"
#include "patching/surroundings.h"

namespace cavity {

enum class Weights { cotangent, uniform };

// Vertices are numbered: ring, free vertices of the patch, region.
struct JoinedSurface {
  int ring_size = 0;
  int patch_size = 0;
  std::vector<Point> points;
  std::vector<Triangle> faces;

  int size() const { return static_cast<int>(points.size()); }
  int free_count() const { return patch_size - ring_size; }
  bool is_free(int v) const { return v >= ring_size && v < patch_size; }
};

// The patch with every region face that touches the ring.
JoinedSurface join_to_region(const Surroundings& around, const PatchMesh& patch);

// No patch, but every region face that touches the ring or one of that many rows of vertices
// beyond it.
JoinedSurface rows_of_region(const Surroundings& around, int rows);

// Who is joined to whom, for the first vertices of a surface. It depends on the faces alone, so it
// serves for as long as only points move.
class Neighbourhoods {
 public:
  // Rows for the vertices below `vertices`; their neighbours may be any.
  Neighbourhoods(const JoinedSurface& surface, int vertices);

  int vertices() const { return static_cast<int>(start_.size()) - 1; }
  int slots() const { return static_cast<int>(to_.size()); }
  // The neighbours of v are to(s) for s in [begin(v), end(v)).
  int begin(int v) const { return start_[v]; }
  int end(int v) const { return start_[v + 1]; }
  int to(int slot) const { return to_[slot]; }
  // The same edge seen from its other end; -1 where that vertex has no row.
  int reverse(int slot) const { return reverse_[slot]; }
  // Whether the faces of v go all the way round it.
  bool is_closed(int v) const { return closed_[v] != 0; }
  // Slots of the edge that faces corner k of face f, from either end, -1 without a row.
  const std::array<int, 2>& edge_slots(std::size_t f, int k) const {
    return edge_slots_[3 * f + k];
  }

 private:
  void link(const JoinedSurface& surface, int v, const std::vector<int>& corners, int first,
            int last);
  int slot_to(int v, int other);

  std::vector<int> start_;
  std::vector<int> to_;
  std::vector<int> reverse_;
  std::vector<char> closed_;
  std::vector<std::array<int, 2>> edge_slots_;
};

// Edge weights and areas. The Laplacian of x at v is the sum of weights[s] (x_to(s) - x_v) over the
// slots of v, divided by area[v].
struct Laplacian {
  std::vector<double> weights;  // per slot
  std::vector<double> area;     // per vertex with a row, never zero
};

void weigh(const JoinedSurface& surface, const Neighbourhoods& near, Weights kind,
           Laplacian& result);

// The Laplacian of the positions at v, times area.
Point integrated_laplacian(const JoinedSurface& surface, const Neighbourhoods& near,
                           const Laplacian& laplacian, int v);

// Unit normals of the vertices, zero where the faces around one cancel out.
std::vector<Point> vertex_normals(const JoinedSurface& surface);

}  // namespace cavity

#endif  // SCANMESH_PATCHING_BENDING_SYSTEM_H
