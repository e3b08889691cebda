#include "scanmesh/x_ball_pivoting.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

#include "core/messages.h"
#include "core/platform.h"
#include "pivoting/pivot_search.h"
#include "pivoting/point_input.h"
#include "pivoting/x_ball_pivoting_traits.h"

namespace xbpa {

using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;
using scanmesh::BallLimits;
using scanmesh::Vec3f;

namespace {

// A batch that takes longer is noted.
constexpr double kLongBatch = 5.0;  // seconds

// The results of a search of `self`, farthest first.
XBallPivoting::XNode* const* table_of(XBallPivoting& self, std::size_t task, std::size_t count) {
  std::vector<XBallPivoting::XNode*>& table = self.task_nodes[task];
  const std::vector<std::size_t>& indices = self.task_indices[task];
  for (std::size_t i = 0; i < count; ++i) table[count - 1 - i] = &self.nodes[indices[i]];
  return table.data();
}

std::size_t search(XBallPivoting& self, const XBallPivoting::XNode& query, int k,
                   std::size_t task) {
  return self.tree.knnSearch(query, static_cast<std::size_t>(k), self.task_indices[task],
                             self.task_dists[task]);
}

}  // namespace

// ---- The exported calls
// ---------------------------------------------------------------------------

const int XBallPivoting::radsize;

XBallPivoting::XBallPivoting()
    : cos_20(scanmesh::cos_degrees(20)),
      cos_120(scanmesh::cos_degrees(120)),
      cos_75(scanmesh::cos_degrees(75)) {}

XBallPivoting::XBallPivoting(const XBallPivoting& other)
    : nn_count(other.nn_count),
      base_radius(other.base_radius),
      cos_20(other.cos_20),
      cos_120(other.cos_120),
      cos_75(other.cos_75),
      max_dist(other.max_dist),
      face_store(other.face_store),
      vert_store(other.vert_store),
      edge_store(other.edge_store),
      nodes(other.nodes),
      tree(other.tree),
      front(other.front),
      task_nodes(other.task_nodes),
      task_indices(other.task_indices),
      task_dists(other.task_dists) {
  std::copy(std::begin(other.radius), std::end(other.radius), radius);
  std::copy(std::begin(other.radius_sq), std::end(other.radius_sq), radius_sq);
  // The index was built over points that lie elsewhere now, in the same order.
  if (tree.cloud->points == other.nodes.data()) tree.cloud->set(nodes.data(), tree.cloud->count);
  // What the other's last search found is among its own points.
  for (std::vector<XNode*>& table : task_nodes) std::fill(table.begin(), table.end(), nullptr);
}

XBallPivoting& XBallPivoting::operator=(const XBallPivoting& other) {
  XBallPivoting copy(other);
  return *this = std::move(copy);
}

// NOLINTBEGIN(performance-noexcept-move-constructor): see the header
XBallPivoting::XBallPivoting(XBallPivoting&& other) = default;
XBallPivoting& XBallPivoting::operator=(XBallPivoting&& other) = default;
// NOLINTEND(performance-noexcept-move-constructor)

XBallPivoting::~XBallPivoting() = default;

void XBallPivoting::setDataPointer(Mesh_R::Face* faces, Mesh_R::Vertex* vertices,
                                   Mesh_R::Edge* edges) {
  face_store = faces;
  vert_store = vertices;
  edge_store = edges;
}

void XBallPivoting::init(float spacing) {
  scanmesh::set_schedule(spacing, base_radius, radius, radius_sq, max_dist);
}

void XBallPivoting::build_mesh(MemS::MemAllo<float[3]>& points, MemS::MemAllo<float[3]>& normals,
                               int count) {
  XBallPivotingTraits::build_mesh(*this, points, normals, count, scanmesh::processor_count());
}

void XBallPivoting::get_data(MemS::Point3v<float>*& data, int& count) {
  const TickClock clock;
  scanmesh::copy_facets(*face_store, data, count);
  // Hosts' logs hold this line, as those of build_mesh.
  scanmesh::Message() << "Fun get_data is: " << clock.seconds() << "s\n";
}

void XBallPivoting::output() {}

void XBallPivoting::free() {}

// ---- Searching
// ------------------------------------------------------------------------------------

bool XBallPivoting::FindSeed(XNode* node, _face*& out, int task) {
  const auto t = static_cast<std::size_t>(task);
  const BallLimits limits = XBallPivotingTraits::limits(*this);
  const scanmesh::StoreSet stores = XBallPivotingTraits::stores(*this);
  out = nullptr;
  const std::size_t count = search(*this, *node, nn_count + 1, t);
  // In a cloud of fewer points the table would have no end.
  if (count < static_cast<std::size_t>(nn_count) + 1) return false;
  XNode* const* const table = table_of(*this, t, count);
  out = scanmesh::SeedSearch<XNode>(limits, stores, table, nn_count, node->vert).run();
  return out != nullptr;
}

// A search without a result doesn't end the call: it finds no candidate.
bool XBallPivoting::FindPlace(_edge* edge, _vert*& out, MemS::Point3v<float>& normal, int task) {
  const auto t = static_cast<std::size_t>(task);
  const BallLimits limits = XBallPivotingTraits::limits(*this);
  _vert record;
  record.point = scanmesh::middle_of(*edge);
  const std::size_t count = search(*this, {&record, 0}, nn_count, t);
  XNode* const* const table = table_of(*this, t, count);
  using Search = scanmesh::PlaceSearch<XNode>;
  out = Search(limits, *edge, record.point, table, static_cast<int>(count)).run(normal);
  return out != nullptr;
}

void XBallPivoting::_FindPlace(std::vector<_edge*>* edges, const int* start, const int* end,
                               std::vector<_vert*>* results, std::vector<Vec3f>* normals,
                               int task) {
  if (edges == nullptr || start == nullptr || end == nullptr) return;
  scanmesh::search_places(*edges, *start, *end, [&](_edge* edge, std::size_t i) {
    return FindPlace(edge, (*results)[i], (*normals)[i], task);
  });
}

bool XBallPivoting::FindSphere(_vert* p, _vert* a, _vert* b, Vec3f& centre, Vec3f& normal,
                               double& r_sq, double& circ_sq) {
  return scanmesh::find_sphere(XBallPivotingTraits::limits(*this), *p, *a, *b, centre, normal, r_sq,
                               circ_sq);
}

bool XBallPivoting::CheckEdge(_edge* edge) {
  return scanmesh::may_stay(XBallPivotingTraits::limits(*this), *edge);
}

bool XBallPivoting::CheckEdge(_edge* edge, _vert* vert) {
  return scanmesh::lies_beyond(*edge, *vert);
}

_face* XBallPivoting::insert_face(_vert* a, _vert* b, _vert* c, Vec3f& normal) {
  return scanmesh::make_triangle(XBallPivotingTraits::stores(*this), a, b, c, normal);
}

// ---- Growing
// --------------------------------------------------------------------------------------

void XBallPivotingTraits::Progress::after_batch(std::chrono::nanoseconds time) {
  const auto ticks = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
  const double seconds = static_cast<double>(ticks) / 1000.0;
  // Hosts' logs hold this line.
  if (seconds > kLongBatch) scanmesh::Message() << "task:" << seconds << "s\n";
}

std::future<void> XBallPivotingTraits::enqueue(Mesh_M::ThreadPool& pool, XBallPivoting& self,
                                               scanmesh::Batch& batch, int task) {
  return pool.enqueue([&self, &batch, task] { search(self, batch, task); });
}

void XBallPivotingTraits::search(XBallPivoting& self, scanmesh::Batch& batch, int task) {
  const auto t = static_cast<std::size_t>(task);
  self._FindPlace(&batch.edges, &batch.start[t], &batch.end[t], &batch.results, &batch.normals,
                  task);
}

void XBallPivotingTraits::prepare_tasks(XBallPivoting& self, int tasks) {
  const auto n = static_cast<std::size_t>(tasks);
  self.task_nodes.resize(n);
  self.task_indices.resize(n);
  self.task_dists.resize(n);
  for (auto& table : self.task_nodes) table.resize(2 * static_cast<std::size_t>(self.nn_count) + 2);
}

void XBallPivotingTraits::grow(XBallPivoting& self, std::size_t first, int processors) {
  Progress progress;
  scanmesh::Front<XBallPivotingTraits> front(self, processors, progress);
  for (std::size_t i = first; i < self.nodes.size(); ++i) front.try_seed(self.nodes[i]);
}

void XBallPivotingTraits::build_mesh(XBallPivoting& self, MemS::MemAllo<float[3]>& points,
                                     MemS::MemAllo<float[3]>& normals, int count, int processors) {
  assert(self.vert_store != nullptr && self.edge_store != nullptr && self.face_store != nullptr);
  const TickClock clock;
  self.nodes.clear();
  self.nodes.reserve(static_cast<std::size_t>(std::max(count, 0)));
  scanmesh::take_points(points, normals, count, *self.vert_store, [&](_vert* vert) {
    self.nodes.push_back({vert, 0});
  });
  self.tree.rebuild(self.nodes.data(), self.nodes.size());
  if (self.nodes.empty()) return;
  // Hosts' logs hold this line and the two below.
  scanmesh::Message() << "KD-Tree initialize Time: " << clock.seconds() << "s\n";
  prepare_tasks(self, processors + scanmesh::kExtraTasks);
  scanmesh::Message() << "before while (!Q.empty())!\n";
  grow(self, 0, processors);
  scanmesh::delete_spurs(stores(self), 0);
  scanmesh::refresh_normals(stores(self), 0);
  scanmesh::Message() << "Fun build_mesh is: " << clock.seconds() << "s\n";
}

}  // namespace xbpa
