#include "octree/marker_filling.h"

#include <algorithm>
#include <mutex>

#include "core/parallel.h"
#include "core/platform.h"
#include "core/progress.h"
#include "octree/marker_surface.h"
#include "octree/sample_refit.h"
#include "octree/workers.h"

namespace scanmesh {

namespace {

constexpr int kMostWorkers = 64;
constexpr int kMostReports = 5;
constexpr short kNewSampleTag = 1;
constexpr int kPoolBlock = 1000;
constexpr int kPoolTable = 1000;

// Hosts see one progress for the whole library; two fillings at once would count together.
std::mutex progress_lock;
int progress_count = 0;

void reset_progress() {
  const std::lock_guard<std::mutex> lock(progress_lock);
  progress_count = 0;
}

// At most five reports on the way. With up to five markers the step runs one ahead, as hosts know
// it.
void count_marker(int markers) {
  const int steps = std::min(markers, kMostReports);
  const int per_step = (markers + steps - 1) / steps;
  const std::lock_guard<std::mutex> lock(progress_lock);
  ++progress_count;
  if (per_step != 1 && progress_count % per_step != 1) return;
  report_step(octree_callback(), progress_count / per_step + 1, steps);
}

void close_markers(Fill_marker_Param* worker) {
  const SerialLoops serial;
  Oct_tree_Tri& tree = *worker->tree;
  MarkerSurface surface(tree);
  for (int i = worker->begin; i < worker->end; ++i) {
    count_marker(worker->marker_total);
    const MarkerPatch patch = surface.close(tree.marker_nodes[i], tree.marker_radius[i]);
    for (const Vec3f& seed : patch.seeds) worker->seeds.allocate_mem() = {seed.x, seed.y, seed.z};
    for (OctNode* const leaf : patch.ring) worker->ring.allocate_mem() = leaf;
    worker->seed_end.push_back(patch.seeds.empty() ? 0 : worker->seeds.size());
  }
}

}  // namespace

int marker_workers() {
  return std::min(2 * processor_count() + 1, kMostWorkers);
}

void MarkerFilling::run(int workers) {
  const int markers = tree_.marker_nodes.size();
  if (markers == 0 || tree_.node_blocks == nullptr) return;
  reset_progress();
  set_up_workers(markers, workers);
  run_workers(workers_, [](Fill_marker_Param* worker) { close_markers(worker); });
  insert_seeds();
  reserve_normals();
  run_workers(workers_, [this](Fill_marker_Param* worker) { renew_normals(*worker); });
  run_workers(workers_, [this](Fill_marker_Param* worker) { refit_ring(*worker); });
  replace_ring();
  release();
  reset_progress();
}

void MarkerFilling::set_up_workers(int markers, int workers) {
  const int share = (markers + workers - 1) / workers;
  for (int begin = 0; begin < markers; begin += share) {
    Fill_marker_Param worker;
    worker.tree = &tree_;
    worker.marker_total = markers;
    worker.begin = begin;
    worker.end = std::min(begin + share, markers);
    worker.seeds.inalize(kPoolBlock, kPoolTable);
    worker.ring.inalize(kPoolBlock, kPoolTable);
    workers_.push_back(std::move(worker));
  }
}

// A seed in an occupied cell is dropped, one that lands on the marker's node takes it over. A fit
// that went astray gives none.
void MarkerFilling::insert_seeds() {
  tree_.fill_start = tree_.leaves.count;
  for (Fill_marker_Param& worker : workers_) {
    const int first = tree_.leaves.count;
    int seed = 0;
    for (int i = worker.begin; i < worker.end; ++i) {
      const OctNode* const marker = tree_.marker_nodes[i];
      void* const normal = marker->data;
      const float half = marker->half;
      for (const int end = worker.seed_end[static_cast<std::size_t>(i - worker.begin)]; seed < end;
           ++seed) {
        Point3fv& p = worker.seeds[seed];
        if (!finite({p.x, p.y, p.z})) continue;
        tree_.oct_insert(&p.x, normal, half, kNewSampleTag);
      }
    }
    worker.begin = first;
    worker.end = tree_.leaves.count;
    worker.seeds.free();
    std::vector<int32_t>().swap(worker.seed_end);
  }
}

void MarkerFilling::reserve_normals() {
  const int added = tree_.leaves.count - tree_.fill_start;
  first_normal_ = tree_.fill_normals.size();
  for (int i = 0; i < added; ++i) {
    tree_.fill_normals.allocate_mem() = {0, 0, 0};
    const OctNode* const leaf = tree_.leaves.data[tree_.fill_start + i];
    marker_normals_.push_back(leaf != nullptr ? leaf->data : nullptr);
  }
}

// A worker sees its own new normals as it goes, and those of others as they were inserted.
void MarkerFilling::renew_normals(Fill_marker_Param& worker) const {
  const auto normal_at = [&](const OctNode* leaf) {
    if (leaf->index < tree_.fill_start ||
        (leaf->index >= worker.begin && leaf->index < worker.end)) {
      return normal_of(leaf);
    }
    const auto* const n = static_cast<const float*>(
        marker_normals_[static_cast<std::size_t>(leaf->index - tree_.fill_start)]);
    return n == nullptr ? Vec3f{0, 0, 0} : Vec3f{n[0], n[1], n[2]};
  };
  for (int i = worker.begin; i < worker.end; ++i) {
    OctNode* const leaf = tree_.leaves.data[i];
    if (leaf == nullptr) continue;
    const Vec3f normal = refit_sample(tree_, leaf, normal_at).normal;
    Point3fv& kept = tree_.fill_normals[first_normal_ + i - tree_.fill_start];
    kept = {normal.x, normal.y, normal.z};
    leaf->data = &kept;
  }
}

void MarkerFilling::refit_ring(Fill_marker_Param& worker) const {
  worker.ring_normals.inalize(kPoolBlock, kPoolTable);
  worker.ring_positions.inalize(kPoolBlock, kPoolTable);
  for (int i = 0; i < worker.ring.size(); ++i) {
    const Refit refit = refit_sample(tree_, worker.ring[i], normal_of);
    const Vec3f& n = refit.normal;
    const Vec3f& p = refit.position;
    worker.ring_normals.allocate_mem() = {n.x, n.y, n.z};
    worker.ring_positions.allocate_mem() = {p.x, p.y, p.z};
  }
}

void MarkerFilling::replace_ring() {
  for (Fill_marker_Param& worker : workers_) {
    for (int i = 0; i < worker.ring.size(); ++i) {
      replace(worker.ring[i], worker.ring_normals[i], worker.ring_positions[i]);
    }
  }
}

// A sample that two markers kept stands here twice; it has gone when its second turn comes.
void MarkerFilling::replace(OctNode* leaf, const Point3fv& normal, const Point3fv& position) {
  auto& leaves = tree_.leaves;
  const int place = leaf->index;
  if (place < 0 || place >= leaves.count || leaves.data[place] != leaf) return;
  leaf->parent->link[octant_in_parent(leaf)] = nullptr;
  // The caller's own normals are brought up to date: hosts shade their points by them.
  if (auto* const out = static_cast<float*>(leaf->data)) {
    out[0] = normal.x;
    out[1] = normal.y;
    out[2] = normal.z;
  }
  float point[3] = {position.x, position.y, position.z};
  tree_.oct_insert(point, leaf->data, leaf->half, leaf->tag);
  // The last one, as a rule the one just inserted, takes the place.
  OctNode* const last = leaves.data[--leaves.count];
  leaves.data[place] = last;
  if (last != nullptr) last->index = place;
  leaf->index = kVirtualVoxel;
  leaf->flag = 0;
}

void MarkerFilling::release() {
  for (Fill_marker_Param& worker : workers_) {
    worker.ring.free();
    worker.ring_normals.free();
    worker.ring_positions.free();
  }
  workers_.clear();
}

}  // namespace scanmesh

void Oct_tree_Tri::Fill_marker() {
  scanmesh::MarkerFilling(*this).run(scanmesh::marker_workers());
}
