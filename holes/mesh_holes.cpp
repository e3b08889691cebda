// The doors of the mesh to its hole finder.
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

namespace {
constexpr int kListBlock = 10000;
constexpr int kListTable = 100;
constexpr int kFillRings = 3;
}  // namespace

// Neither of the builders frees the last rings: a host may still read them, and calls destroy_hole.
void Mesh::build_hole() {
  hole.inalize(kListBlock, kListTable);
  hole.build_hole();
}

void Mesh::build_smallhole(int limit) {
  hole.inalize(kListBlock, kListTable);
  hole.build_smallhole(limit);
}

void Mesh::destroy_hole() {
  hole.free();
}

int Mesh::get_hole_num() {
  return hole.hole_count;
}

float* Mesh::get_hole_index(int hole_number, int& n) {
  const Mesh_R::_hole* const ring = hole[hole_number];
  if (ring == nullptr) {
    n = 0;
    return nullptr;
  }
  const int edges = ring->edges->size();
  n = 6 * edges;
  float* const data = new float[static_cast<std::size_t>(n)];
  float* out = data;
  for (int i = 0; i < edges; ++i) {
    for (const Mesh_R::_vert* vert : (*ring->edges)[i]->vert) {
      *out++ = vert->point.x;
      *out++ = vert->point.y;
      *out++ = vert->point.z;
    }
  }
  return data;
}

// Non-manifold edges count as boundary, and so do deleted ones, which have no faces.
int* Mesh::get_boundary_index(int& n) {
  const int edges = edge.get_edgenum();
  int* const ends = new int[2 * static_cast<std::size_t>(edges)];
  int* out = ends;
  for (int i = 0; i < edges; ++i) {
    const Mesh_R::_edge* const record = edge[i];
    if (record->face_num == 2) continue;
    *out++ = record->vert[0]->index;
    *out++ = record->vert[1]->index;
  }
  n = static_cast<int>((out - ends) / 2);
  return ends;
}

void Mesh::fill_hole_No(int hole_number, float f) {
  hole.fill_Hole_Num(f, hole_number, kFillRings);
}

void Mesh::Revoked_fill_hole() {
  hole.Revoked_last();
}

float* Mesh::return_add_face_data(int& n) {
  return hole.return_add_face(n);
}

void Mesh::auto_fill_small_hole(int limit) {
  hole.inalize(kListBlock, kListTable);
  hole.build_hole();
  hole.auto_fill_small_hole(limit);
  hole.free();
  face.check_vector();
}

}  // namespace Mesh_M
