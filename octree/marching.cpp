// From voxels to facets.
#include <cassert>
#include <memory>
#include <optional>
#include <utility>

#include "octree/cell_surface.h"
#include "octree/split_grid.h"
#include "scanmesh/marching.h"

namespace {

using scanmesh::CellCase;
using scanmesh::FaceNeighbours;
using scanmesh::OctNode;
using scanmesh::Vec3f;

constexpr int kFacetBlock = 100000;
constexpr int kFacetTable = 1000;

// Only samples of the ordinary resolution draw the open rim towards themselves.
bool pulls(const OctNode* cell) {
  return cell->status != kOctFineLeaf && cell->index != scanmesh::kVirtualVoxel;
}

bool is_finite(const float* p) {
  return scanmesh::finite({p[0], p[1], p[2]});
}

// Where the surface ends at both faces of an edge, its vertex moves half way to the sample.
Vec3f pulled(const Vec3f& p, const OctNode* cell) {
  return scanmesh::scaled(scanmesh::add(p, scanmesh::position_of(cell)), 0.5);
}

Point3fv vertex_on(const OctNode* cell, int edge, const FaceNeighbours* faces) {
  const Vec3f p = scanmesh::cut_of_edge(cell, edge);
  return scanmesh::to_point(faces != nullptr && faces->open_at(edge) ? pulled(p, cell) : p);
}

}  // namespace

void MC_Triangulation::inalize(float* centre, int pointCount, float half, int levels,
                               float min_HalfEdge) {
  tree.oct_set_min_HalfEdge(min_HalfEdge, levels);
  tree.oct_initialize(centre, pointCount, half);
}

void MC_Triangulation::inalize_mark() {
  tree.inalize_mark();
}

void MC_Triangulation::insert_data(float* point, float* normal, float half, int tag) {
  // One such value would spread to the corners around, and from there to whole facets.
  if (!is_finite(point) || (normal != nullptr && !is_finite(normal))) return;
  tree.oct_insert(point, normal, half, static_cast<short>(tag));
}

void MC_Triangulation::insert_marker(float* point, void* normal, float half, float radius) {
  tree.oct_insert_marker(point, normal, half, radius);
}

void MC_Triangulation::Fill_marker() {
  tree.Fill_marker();
}

void MC_Triangulation::output_Point_data(float*& points, float*& normals, int& count,
                                         float*& halves, short*& tags) {
  tree.oct_output_PointCloud(points, normals, count, halves, tags);
}

void MC_Triangulation::setProcessStepCallback(
    std::function<int(qv::alg::ProcessStepInfoType&)> callback) {
  tree.setProcessStepCallback(std::move(callback));
}

T_F* MC_Triangulation::allocate_mem() {
  assert(facet_blocks != nullptr);
  if (facet_slot == kFacetBlock) {
    // The table doesn't grow: a hundred million facets are the limit, and what is beyond is lost.
    if (facet_block + 1 == kFacetTable) return nullptr;
    ++facet_block;
    facet_slot = 0;
  }
  T_F*& block = facet_blocks[facet_block];
  if (block == nullptr) block = new T_F[kFacetBlock];
  return block + facet_slot++;
}

void MC_Triangulation::free_mem() {
  if (facet_blocks != nullptr) {
    for (int i = 0; i <= facet_block; ++i) delete[] facet_blocks[i];
    delete[] facet_blocks;
  }
  facet_blocks = nullptr;
  facet_slot = 0;
  facet_block = 0;
}

void MC_Triangulation::mc_triangulation() {
  free_mem();
  facet_blocks = new T_F*[kFacetTable]();
  facet_blocks[0] = new T_F[kFacetBlock];
  tree.oct_build_voxel_Architecture();
  deal_Tri(tree.leaves);
  deal_Tri(tree.voxels);
  tree.oct_free();
}

void MC_Triangulation::deal_Tri(M_point_arry<Oct_tree_Triangulation**>& list) {
  std::unique_ptr<scanmesh::SplitGrid> room;  // made for the first split cell
  for (int i = 0; i < list.count; ++i) {
    OctNode* const cell = list.data[i];
    if (cell == nullptr) continue;
    const CellCase its_case = scanmesh::case_of(cell);
    if (its_case.row()[0] < 0) continue;
    if (cell->status == kOctBordersFiner && cell->index != scanmesh::kVirtualVoxel) {
      if (room == nullptr) room = std::make_unique<scanmesh::SplitGrid>(tree);
      if (!room->usable()) continue;
      deal_mesh_Split(cell, its_case.bits, room->size(), room->step(), room->grid(), room->list(),
                      room->used(), room->loop());
      continue;
    }
    std::optional<FaceNeighbours> faces;
    scanmesh::for_each_triangle(cell, its_case, [&](int e0, int e1, int e2) {
      if (!faces && pulls(cell)) faces.emplace(cell);
      const FaceNeighbours* const around = faces ? &*faces : nullptr;
      add_facet(
          {{0, 0, 0},
           {vertex_on(cell, e0, around), vertex_on(cell, e1, around), vertex_on(cell, e2, around)}},
          cell);
    });
  }
}

void MC_Triangulation::add_facet(const T_F& facet, const Oct_tree_Triangulation* node) {
  T_F* const out = allocate_mem();
  if (out == nullptr) return;
  *out = facet;
  scanmesh::orient(*out, node);
}

int MC_Triangulation::mc_add_triangle(int e0, int e1, int e2, Oct_tree_Triangulation* node) {
  T_F facet{};
  if (mc_add_triangle(e0, e1, e2, node, &facet) != 0) return -1;
  if (pulls(node)) {
    const FaceNeighbours faces(node);
    facet.vertex[0] = vertex_on(node, e0, &faces);
    facet.vertex[1] = vertex_on(node, e1, &faces);
    facet.vertex[2] = vertex_on(node, e2, &faces);
  }
  add_facet(facet, node);
  return 0;
}

int MC_Triangulation::mc_add_triangle(int e0, int e1, int e2, Oct_tree_Triangulation* node,
                                      T_F* facet) {
  if (!scanmesh::has_triangle(node, e0, e1, e2)) return -1;
  facet->vertex[0] = vertex_on(node, e0, nullptr);
  facet->vertex[1] = vertex_on(node, e1, nullptr);
  facet->vertex[2] = vertex_on(node, e2, nullptr);
  return 0;
}

int MC_Triangulation::mc_add_triangle(Point3fv* a, Point3fv* b, Point3fv* c,
                                      Oct_tree_Triangulation* node) {
  if (a == nullptr || b == nullptr || c == nullptr) return -1;
  add_facet({{0, 0, 0}, {*a, *b, *c}}, node);
  return 0;
}

void MC_Triangulation::mc_add_triangle_with_4_RealVoxel(unsigned char its_case,
                                                        Oct_tree_Triangulation* node) {
  const int8_t* const row = scanmesh::kTriangleTable[its_case];
  for (int i = 0; i + 2 < scanmesh::kRowLength && row[i] >= 0; i += 3) {
    mc_add_triangle(row[i], row[i + 1], row[i + 2], node);
  }
}
