#include <algorithm>

#include "core/compaction.h"
#include "core/parallel.h"
#include "core/vector_math.h"
#include "scanmesh/mesh.h"

namespace Mesh_M {

namespace {

// An ordinary scan never grows a store of this size; the memory is reserved, not touched.
#if defined(FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION)
constexpr int kScanBlock = 1000;  // a fuzzer makes hundreds of meshes a second
constexpr int kFaceBlock = 1000;
#else
constexpr int kScanBlock = 4000000;
constexpr int kFaceBlock = 100000;
#endif
constexpr int kHoleBlock = 40000;
constexpr int kSubmeshBlock = 1000;
constexpr int kBlockTable = 1000;

void inalize_stores(Mesh& mesh, int block_size) {
  mesh.vertex.inalize(block_size, kBlockTable);
  mesh.edge.inalize(block_size, kBlockTable);
  mesh.face.inalize(&mesh.vertex, &mesh.edge, kFaceBlock, kBlockTable);
}

}  // namespace

Mesh::Mesh() {}

Mesh::~Mesh() {
  free();
}

void Mesh::bind_hole() {
  hole.getEdge(&edge);
  hole.getFace(&face);
  hole.getVertex(&vertex);
}

void Mesh::inalize() {
  inalize_stores(*this, kScanBlock);
  bind_hole();
}

void Mesh::submeshinalize() {
  inalize_stores(*this, kSubmeshBlock);
  bind_hole();
}

void Mesh::inalize_oct(MemS::Point3v<float>& octree_center, float half) {
  inalize();
  oct.inalize(octree_center, half);
}

void Mesh::inalize_oct_hole(MemS::Point3v<float>& octree_center, float half) {
  inalize_stores(*this, kHoleBlock);
  bind_hole();
  oct.inalize(octree_center, half);
}

void Mesh::inalize_mesh() {
  oct.free();
  inlin_inalize_mesh();
}

void Mesh::inlin_inalize_mesh() {
  vertex.R_cal_vector();
  face.check_vector();
  bind_hole();
}

void Mesh::free() {
  // Its leaves name vertices.
  oct.free();
  face.free();
  vertex.free();
  edge.free();
}

void Mesh::sort_out_mem() {
  // Faces last: the two others still read the faces in the lists.
  vertex.sort_out_mem();
  scanmesh::compact_edges(edge, vertex);
  face.sort_out_mem();
  face.real_num = face.get_real_facenum();
}

void Mesh::set_Center(MemS::Point3v<float> new_center) {
  center = new_center;
}

void Mesh::setResolutionParam(const mesh_resolution_param& param) {
  resolution = param;
}

void Mesh::setProcessStepCallback(ProcessStepCallback callback) {
  process_step = std::move(callback);
}

ProcessStepCallback Mesh::getProcessStepCallback() {
  return process_step;
}

void Mesh::Memory_optimization(double&, int&, int&) {}

float* Mesh::input_data(const char*, std::string&, bool) {
  return nullptr;
}

void Mesh::transform(double* const matrix) {
  const int threads = std::max(scanmesh::processor_count() - 2, 4);
  const int vertices = vertex.get_vertnum();
  const int faces = face.get_facenum();
  omp_set_num_threads(threads);
#pragma omp parallel for schedule(dynamic, 2)
  for (int i = 0; i < vertices; ++i) {
    Mesh_R::_vert& vert = *vertex[i];
    if (vert.state == Mesh_R::kStateDeleted) continue;
    vert.point = scanmesh::transformed(matrix, vert.point);
    vert.vector = scanmesh::rotated(matrix, vert.vector);
  }
  omp_set_num_threads(threads);
#pragma omp parallel for schedule(dynamic, 2)
  for (int i = 0; i < faces; ++i) {
    Mesh_R::_face& record = *face[i];
    if (record.state != Mesh_R::kStateDeleted)
      record.vector = scanmesh::rotated(matrix, record.vector);
  }
}

}  // namespace Mesh_M
