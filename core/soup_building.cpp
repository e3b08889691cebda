#include "core/soup_building.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <limits>
#include <new>
#include <system_error>
#include <utility>

#include "core/adjacency.h"
#include "core/face_building.h"
#include "core/facet_normal.h"
#include "core/live_records.h"
#include "core/parallel.h"

namespace scanmesh {

namespace {

using Mesh_M::Mesh;
using Mesh_R::_edge;
using Mesh_R::_face;
using Mesh_R::_vert;

constexpr std::size_t kCacheLine = 64;
// Fewer triangles are in before a second thread has woken up.
constexpr int kBulkFrom = 4096;

void insert_one_by_one(Mesh& mesh, const Soup& soup) {
  for (int i = 0; i < soup.count; ++i) {
    Vec3f a = soup.corner(i, 0);
    Vec3f b = soup.corner(i, 1);
    Vec3f c = soup.corner(i, 2);
    Vec3f normal{0, 0, 0};
    mesh.insert(a, b, c, normal);
  }
}

// Links and list entries that the bulk run looks at per triangle, on the average, before it is
// given up: a corner or an edge of very many faces makes every further look long. Scans stay far
// below.
constexpr int64_t kLooksPerTriangle = 64;

// A record by number, without a division where there is one block.
template <typename T>
T* record_at(MemS::MemAllo<T>& records, int32_t number) {
  return number < records.block_size ? records.block[0] + number : &records[number];
}

// The edges made so far, in chains by the lower number of their ends.
class EdgeChains {
 public:
  // A closed mesh has one and a half times as many edges as triangles; what isn't used isn't
  // touched.
  EdgeChains(std::size_t vertices, int triangles)
      : head_(vertices, -1), looks_left_(kLooksPerTriangle * triangles) {
    links_.reserve(static_cast<std::size_t>(triangles) * 7 / 4);
  }

  // The number of the edge, and whether it is new.
  std::pair<int32_t, bool> find_or_add(int32_t a, int32_t b) {
    int32_t& head = head_[static_cast<std::size_t>(std::min(a, b))];
    const int32_t sum = a ^ b;
    for (int32_t i = head; i >= 0; i = links_[static_cast<std::size_t>(i)].next) {
      --looks_left_;
      const Link& link = links_[static_cast<std::size_t>(i)];
      if ((link.a ^ link.b) == sum) return {i, false};
    }
    links_.push_back({a, b, head});
    head = static_cast<int32_t>(links_.size()) - 1;
    return {head, true};
  }

  // Counts what else is looked at; false when it has become too much.
  bool spend(int looks) { return (looks_left_ -= looks) >= 0; }

  // Ends in the order in which the edge was asked for.
  struct Link {
    int32_t a;
    int32_t b;
    int32_t next;
  };
  const std::vector<Link>& links() const { return links_; }

 private:
  std::vector<int32_t> head_;
  std::vector<Link> links_;
  int64_t looks_left_;
};

class BulkBuilding {
 public:
  BulkBuilding(Mesh& mesh, const Soup& soup)
      : mesh_(mesh), soup_(soup), welded_(weld_equal_corners(soup, processor_count())) {}

  // False when corners that aren't equal weld as well, when a vertex has more edges than its list
  // can count, or when the walks get long: the mesh is to be made anew then, one triangle after the
  // other.
  bool run() {
    if (welded_.clustered) return false;
    for (Vec3f& point : welded_.points) mesh_.vertex.records.allocate_mem().point = point;
    welded_.points = {};
    std::future<void> cells = std::async(std::launch::async, [this] { enter_cells(); });
    make_faces();
    give_lists();
    cells.get();
    if (stop_) return false;
    make_normals();
    enter_in_vertices();
    return !stop_;
  }

 private:
  _vert* vertex(int32_t id) { return record_at(mesh_.vertex.records, id); }
  int32_t vertices() { return mesh_.vertex.get_vertnum(); }

  // The cells of the octree.
  void enter_cells() {
    // A copy, so that its counters don't share a line of the cache with what another thread counts.
    MemS::MemAllo<_vert> records = mesh_.vertex.records;
    for_each_in(records, 0, vertices(), [&](int, _vert& vert) {
      if (stop_.load(std::memory_order_relaxed)) return;
      Mesh_M::oct_node* const leaf = mesh_.oct.insert(vert.point, Mesh_M::OctreeMode::kBucket);
      if (leaf == nullptr || leaf->vert != nullptr) {
        stop_ = true;
        return;
      }
      leaf->vert = &vert;
    });
  }

  // Room for the vertices' lists, which costs mostly the system's time for fresh memory; the cells
  // are still being made meanwhile.
  void give_lists() {
    for_each_in(mesh_.vertex.records, 0, vertices(), [&](int, _vert& vert) {
      give_list(vert.edge, vert.edge_cap, Mesh_R::kVertexListCapacity, mesh_.vertex.edge_mem);
      give_list(vert.face, vert.face_cap, Mesh_R::kVertexListCapacity, mesh_.vertex.face_mem);
    });
  }

  _edge* edge_between(int32_t a, int32_t b) {
    const auto [number, is_new] = edges_.find_or_add(a, b);
    if (is_new) return mesh_.edge.insert_edge(vertex(a), vertex(b));
    return record_at(mesh_.edge.records, number);
  }

  // Edges and faces, and the faces in the lists of the edges. Normals are left to more workers.
  void make_faces() {
    for (std::size_t i = 0; i < welded_.ids.size(); i += 3) {
      int32_t* const id = &welded_.ids[i];
      if (id[0] < 0) continue;
      if (stop_.load(std::memory_order_relaxed)) return;
      _edge* const edge[3] = {edge_between(id[1], id[2]), edge_between(id[0], id[2]),
                              edge_between(id[0], id[1])};
      if (!edges_.spend(edge[0]->face_num)) {
        stop_ = true;
        return;
      }
      _vert* const vert[3] = {vertex(id[0]), vertex(id[1]), vertex(id[2])};
      if (has_face(mesh_.edge, edge[0], vert[0], vert[1], vert[2])) {
        id[0] = -1;
        continue;
      }
      Vec3f later{0, 0, 0};
      mesh_.edge.insert_face(mesh_.face.insert_face(vert, edge, later));
    }
  }

  // Of the triangles' own corners, which may differ from the vertices in the sign of a zero.
  void make_normals() {
    run_slices(soup_.count, processor_count(), [this](std::ptrdiff_t begin, std::ptrdiff_t end) {
      int32_t face = 0;
      for (std::ptrdiff_t i = 0; i < end; ++i) {
        if (welded_.ids[3 * static_cast<std::size_t>(i)] < 0) continue;
        _face* const record = record_at(mesh_.face.records, face++);
        if (i < begin) continue;
        const auto triangle = static_cast<int>(i);
        record->vector = unit_normal(soup_.corner(triangle, 0), soup_.corner(triangle, 1),
                                     soup_.corner(triangle, 2));
      }
    });
  }

  // Edges and faces in the lists of the vertices. Each worker has vertices of its own, and walks
  // over everything: what it looks at is small beside what it writes to.
  void enter_in_vertices() {
    run_slices(vertices(), processor_count(), [this](std::ptrdiff_t begin, std::ptrdiff_t end) {
      const auto mine = [begin, end](int32_t id) { return id >= begin && id < end; };
      int32_t number = 0;
      for (const EdgeChains::Link& link : edges_.links()) {
        const int32_t edge = number++;
        if (!mine(link.a) && !mine(link.b)) continue;
        _edge* const record = record_at(mesh_.edge.records, edge);
        if (mine(link.a)) mesh_.vertex.insert_edge(vertex(link.a), record);
        if (mine(link.b)) mesh_.vertex.insert_edge(vertex(link.b), record);
      }
      number = 0;
      for (std::size_t i = 0; i < welded_.ids.size(); i += 3) {
        const int32_t* const id = &welded_.ids[i];
        if (id[0] < 0) continue;
        const int32_t face = number++;
        for (int k = 0; k < 3; ++k) {
          if (mine(id[k])) {
            mesh_.vertex.insert_face(vertex(id[k]), record_at(mesh_.face.records, face));
          }
        }
      }
      for (std::ptrdiff_t i = begin; i < end; ++i) {
        if (!has_room(vertex(static_cast<int32_t>(i)))) stop_ = true;
      }
    });
  }

  Mesh& mesh_;
  const Soup& soup_;
  WeldedSoup welded_;
  // Apart from what the workers write.
  alignas(kCacheLine) std::atomic<bool> stop_{false};
  alignas(kCacheLine) EdgeChains edges_{welded_.points.size(), soup_.count};
};

// Which start `insert_soup` can build upon.
bool is_fresh(Mesh& mesh) {
  if (mesh.oct.root == nullptr || mesh.vertex.get_vertnum() > 0 || mesh.edge.get_edgenum() > 0 ||
      mesh.face.get_facenum() > 0) {
    return false;
  }
  Mesh_M::oct_node** const cells = mesh.oct.root->child;
  return std::all_of(cells, cells + 8, [](const Mesh_M::oct_node* cell) { return !cell; });
}

// Back to that start.
void start_anew(Mesh& mesh, int32_t real_num) {
  const Vec3f center = mesh.oct.root->center;
  const float half = mesh.oct.root->half;
  mesh.oct.inalize(center, half);
  const auto renew = [](auto& store, auto inalize) {
    const int32_t size = store.records.block_size;
    const int32_t table = store.records.block_capacity;
    store.free();
    inalize(size, table);
  };
  renew(mesh.vertex, [&](int size, int table) { mesh.vertex.inalize(size, table); });
  renew(mesh.edge, [&](int size, int table) { mesh.edge.inalize(size, table); });
  renew(mesh.face,
        [&](int size, int table) { mesh.face.inalize(&mesh.vertex, &mesh.edge, size, table); });
  mesh.face.real_num = real_num;
}

bool build_in_bulk(Mesh& mesh, const Soup& soup) {
  try {
    return BulkBuilding(mesh, soup).run();
  } catch (const std::system_error&) {
    return false;  // no thread to be had
  } catch (const std::bad_alloc&) {
    return false;  // single insertions need less
  }
}

}  // namespace

void insert_soup(Mesh& mesh, const Soup& soup) {
  constexpr int kMost = std::numeric_limits<int32_t>::max() / 3;
  if (soup.count >= kBulkFrom && soup.count <= kMost && is_fresh(mesh)) {
    const int32_t real_num = mesh.face.real_num;
    if (build_in_bulk(mesh, soup)) return;
    start_anew(mesh, real_num);
  }
  insert_one_by_one(mesh, soup);
}

}  // namespace scanmesh
