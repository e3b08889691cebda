#include "scanmesh/ball_pivoting.h"

#include <algorithm>
#include <cmath>

#include "core/platform.h"
#include "pivoting/ball_pivoting_traits.h"
#include "pivoting/pivot_search.h"
#include "pivoting/point_input.h"

namespace BPA {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::BallLimits;
using scanmesh::SmallBuffer;
using scanmesh::Vec3f;

namespace {

// An ordinary scan never grows a store of this size; the memory is reserved, not touched.
constexpr int kScanBlock = 4000000;
constexpr int kFaceBlock = 100000;
constexpr int kBlockTable = 1000;
constexpr int kMostSteps = 50;

}  // namespace

// ---- The exported calls
// ---------------------------------------------------------------------------

const int Ball_Pivoting::radsize;

Ball_Pivoting::Ball_Pivoting()
    : cos_20(scanmesh::cos_degrees(20)),
      cos_120(scanmesh::cos_degrees(120)),
      cos_75(scanmesh::cos_degrees(75)) {}

void Ball_Pivoting::init(float spacing) {
  vert_store.inalize(kScanBlock, kBlockTable);
  edge_store.inalize(kScanBlock, kBlockTable);
  face_store.inalize(&vert_store, &edge_store, kFaceBlock, kBlockTable);
  face_store.real_num = 0;
  scanmesh::set_schedule(spacing, base_radius, radius, radius_sq, max_dist);
}

void Ball_Pivoting::build_mesh(MemS::MemAllo<float[3]>& points, MemS::MemAllo<float[3]>& normals,
                               int count) {
  BallPivotingTraits::build_mesh(*this, points, normals, count, scanmesh::processor_count());
}

void Ball_Pivoting::get_data(MemS::Point3v<float>*& data, int& count) {
  scanmesh::copy_facets(face_store, data, count);
}

void Ball_Pivoting::output() {
  face_store.output(nullptr);
}

void Ball_Pivoting::free() {
  vert_store.free();
  edge_store.free();
  face_store.free();
  face_store.real_num = 0;
}

void Ball_Pivoting::setProcessStepCallback(Mesh_M::ProcessStepCallback callback) {
  process_step = std::move(callback);
}

// ---- Searching
// ------------------------------------------------------------------------------------

bool Ball_Pivoting::FindSeed(T_node* node, _face*& out) {
  SmallBuffer<T_node*, scanmesh::kUsualTable> table(nn_count + 1);
  const BallLimits limits = BallPivotingTraits::limits(*this);
  const scanmesh::StoreSet stores = BallPivotingTraits::stores(*this);
  out = nullptr;
  // In a cloud of fewer points the table would have no end.
  if (tree.find_nearest(*node, nn_count + 1, table.data()) < nn_count + 1) return false;
  out = scanmesh::SeedSearch<T_node>(limits, stores, table.data(), nn_count, node->vert).run();
  return out != nullptr;
}

bool Ball_Pivoting::FindPlace(_edge* edge, _vert*& out, MemS::Point3v<float>& normal) {
  SmallBuffer<T_node*, scanmesh::kUsualTable> table(2 * nn_count);
  const BallLimits limits = BallPivotingTraits::limits(*this);
  _vert record;
  record.point = scanmesh::middle_of(*edge);
  T_node query(&record);
  const int count = tree.find_nearest(query, nn_count, table.data());
  if (count < 1) return false;
  using Search = scanmesh::PlaceSearch<T_node>;
  out = Search(limits, *edge, record.point, table.data(), count).run(normal);
  return out != nullptr;
}

void Ball_Pivoting::_FindPlace(std::vector<_edge*>* edges, const int* start, const int* end,
                               std::vector<_vert*>* results, Semap::Semaphore*, Semap::Semaphore*,
                               std::vector<Vec3f>* normals) {
  if (edges == nullptr || start == nullptr || end == nullptr) return;
  scanmesh::search_places(*edges, *start, *end, [&](_edge* edge, std::size_t i) {
    return FindPlace(edge, (*results)[i], (*normals)[i]);
  });
}

bool Ball_Pivoting::FindSphere(_vert* p, _vert* a, _vert* b, Vec3f& centre, Vec3f& normal,
                               double& r_sq, double& circ_sq) {
  return scanmesh::find_sphere(BallPivotingTraits::limits(*this), *p, *a, *b, centre, normal, r_sq,
                               circ_sq);
}

bool Ball_Pivoting::CheckEdge(_edge* edge) {
  return scanmesh::may_stay(BallPivotingTraits::limits(*this), *edge);
}

bool Ball_Pivoting::CheckEdge(_edge* edge, _vert* vert) {
  return scanmesh::lies_beyond(*edge, *vert);
}

_face* Ball_Pivoting::insert_face(_vert* a, _vert* b, _vert* c, Vec3f& normal) {
  return scanmesh::make_triangle(BallPivotingTraits::stores(*this), a, b, c, normal);
}

// ---- Growing
// --------------------------------------------------------------------------------------

BallPivotingTraits::Progress::Progress(const Mesh_M::ProcessStepCallback& callback, int points)
    : callback_(callback) {
  const int64_t expected = 2 * static_cast<int64_t>(points);
  total_ = static_cast<int32_t>(std::min<int64_t>(expected, kMostSteps));
  stride_ = (expected - 1 + total_) / total_;
}

void BallPivotingTraits::Progress::attempt() {
  ++attempts_;
  if (attempts_ % stride_ != 1) return;
  const int64_t step = std::min<int64_t>(total_ - 1, attempts_ / stride_ + 2);
  scanmesh::report_step(callback_, static_cast<int32_t>(step), total_);
}

std::future<void> BallPivotingTraits::enqueue(Mesh_M::ThreadPool& pool, Ball_Pivoting& self,
                                              scanmesh::Batch& batch, int task) {
  return pool.enqueue([&self, &batch, task] { search(self, batch, task); });
}

void BallPivotingTraits::search(Ball_Pivoting& self, scanmesh::Batch& batch, int task) {
  const auto t = static_cast<std::size_t>(task);
  // The barrier is the future of the task; the semaphores are left over from before.
  self._FindPlace(&batch.edges, &batch.start[t], &batch.end[t], &batch.results, nullptr, nullptr,
                  &batch.normals);
}

void BallPivotingTraits::grow(Ball_Pivoting& self, std::vector<Node>& nodes, std::size_t first,
                              int processors, Progress& progress) {
  std::vector<Node> finite;
  for (const Node& node : nodes) {
    if (scanmesh::finite(node.vert->point)) finite.push_back(node);
  }
  if (finite.empty()) return;
  self.tree.build_tree(finite.data(), static_cast<int>(finite.size()), {}, {});
  std::vector<Node>().swap(finite);
  scanmesh::Front<BallPivotingTraits> front(self, processors, progress);
  for (std::size_t i = first; i < nodes.size(); ++i) front.try_seed(nodes[i]);
  self.tree.free_tree();
}

void BallPivotingTraits::build_mesh(Ball_Pivoting& self, MemS::MemAllo<float[3]>& points,
                                    MemS::MemAllo<float[3]>& normals, int count, int processors) {
  if (count <= 0) {
    points.free();
    normals.free();
    return;
  }
  Progress progress(self.process_step, count);
  progress.begin();
  std::vector<Node> nodes;
  nodes.reserve(static_cast<std::size_t>(count));
  scanmesh::take_points(points, normals, count, self.vert_store,
                        [&](_vert* vert) { nodes.emplace_back(vert); });
  grow(self, nodes, 0, processors, progress);
  progress.end();
  scanmesh::delete_spurs(stores(self), 0);
  scanmesh::refresh_normals(stores(self), 0);
}

}  // namespace BPA
