// Numbers for corners with equal coordinates, by a hash table that all workers fill together.
#include <algorithm>
#include <atomic>
#include <new>

#include "core/facet_normal.h"
#include "core/parallel.h"
#include "core/point_hash.h"
#include "core/soup_building.h"

namespace scanmesh {

namespace {

constexpr int32_t kEmpty = -1;
constexpr int kLeastBits = 16;
constexpr int kMostWorkers = 32;
// Slots that a worker takes before it tells the others; all workers' together fit into the reserve
// of the smallest table.
constexpr int64_t kTally = 256;
// A table of a hundred million corners, three quarters full, has runs of five hundred. A file whose
// corners were chosen to meet at one slot would walk over all of them for each.
constexpr int kMostProbes = 1024;
// Slots are numbered by 32 bits.
constexpr int kMostBits = 31;

// Open addressing. A slot holds the first corner, by number, of those that have met there: whoever
// comes earlier in the soup takes it over, so the outcome doesn't depend on who came first in time.
class CornerTable {
 public:
  CornerTable(const Soup& soup, int bits)
      : soup_(soup), slots_(std::size_t{1} << bits), shift_(64 - bits) {
    for (auto& slot : slots_) slot.store(kEmpty, std::memory_order_relaxed);
  }

  // The slot of a corner; kEmpty when it isn't found soon. Adds to `taken` when it takes a new one.
  int32_t enter(int32_t corner, const Vec3f& point, uint64_t hash, int64_t& taken) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t i = hash >> shift_;
    for (int probe = 0; probe < kMostProbes; ++probe, i = (i + 1) & mask) {
      std::atomic<int32_t>& slot = slots_[i];
      int32_t first = slot.load(std::memory_order_relaxed);
      if (first == kEmpty &&
          slot.compare_exchange_strong(first, corner, std::memory_order_relaxed)) {
        ++taken;
        return static_cast<int32_t>(i);
      }
      if (!same_point(soup_.corner(first / 3, first % 3), point)) continue;
      while (corner < first &&
             !slot.compare_exchange_weak(first, corner, std::memory_order_relaxed)) {
      }
      return static_cast<int32_t>(i);
    }
    return kEmpty;
  }

  // From here on it would be slow, and a full one would be walked for ever.
  bool crowded(int64_t taken) const {
    return taken > static_cast<int64_t>(slots_.size() - slots_.size() / 4);
  }

  std::atomic<int32_t>& operator[](int32_t slot) { return slots_[static_cast<std::size_t>(slot)]; }

 private:
  const Soup& soup_;
  std::vector<std::atomic<int32_t>> slots_;
  int shift_;
};

// The slots of corners met lately. Neighbouring triangles mostly follow one another in a file, and
// this fits into a cache where the table doesn't. A slot that is found here needn't be looked at:
// a worker's later corner never takes it over.
class RecentSlots {
 public:
  int32_t enter(CornerTable& table, int32_t corner, const Vec3f& point, int64_t& taken) {
    const uint64_t hash = point_hash(point);
    Entry& entry = entries_[(hash >> 20) % kEntries];
    if (entry.slot == kEmpty || !same_point(entry.point, point)) {
      entry = {point, table.enter(corner, point, hash, taken)};
    }
    return entry.slot;
  }

 private:
  static constexpr std::size_t kEntries = std::size_t{1} << 14;
  struct Entry {
    Vec3f point;
    int32_t slot = kEmpty;
  };
  std::vector<Entry> entries_ = std::vector<Entry>(kEntries);
};

enum class Entering { kAll, kCrowded, kClustered };

// Enters all corners; `slots` gets the slot of each, unless the table is too small or its corners
// stand in each other's way.
Entering enter_all(const Soup& soup, int workers, CornerTable& table, std::vector<int32_t>& slots) {
  std::atomic<int64_t> all_taken{0};
  std::atomic<Entering> outcome{Entering::kAll};
  run_slices(soup.count, workers, [&](std::ptrdiff_t begin, std::ptrdiff_t end) {
    int64_t taken = 0;
    RecentSlots recent;
    for (std::ptrdiff_t i = begin; i < end; ++i) {
      const auto triangle = static_cast<int>(i);
      int32_t* const out = &slots[3 * static_cast<std::size_t>(i)];
      const Vec3f corner[3] = {soup.corner(triangle, 0), soup.corner(triangle, 1),
                               soup.corner(triangle, 2)};
      if (!takes_facet(corner[0], corner[1], corner[2])) {
        std::fill_n(out, 3, kEmpty);
        continue;
      }
      for (int k = 0; k < 3; ++k) {
        out[k] = recent.enter(table, 3 * triangle + k, corner[k], taken);
        if (out[k] == kEmpty) outcome = Entering::kClustered;
      }
      if (outcome.load(std::memory_order_relaxed) != Entering::kAll) return;
      if (taken < kTally) continue;
      if (table.crowded(all_taken += taken)) outcome = Entering::kCrowded;
      taken = 0;
    }
  });
  return outcome;
}

// Slots become numbers in the order of the corners that hold them.
void number_slots(const Soup& soup, CornerTable& table, WeldedSoup& welded) {
  // What a slot holds once its number is given: below the mark of an empty one.
  const auto coded = [](int32_t id) { return kEmpty - 1 - id; };
  for (int32_t corner = 0, end = 3 * soup.count; corner < end; ++corner) {
    int32_t& id = welded.ids[static_cast<std::size_t>(corner)];
    if (id == kEmpty) continue;
    std::atomic<int32_t>& slot = table[id];
    const int32_t held = slot.load(std::memory_order_relaxed);
    if (held != corner) {
      id = coded(held);
      continue;
    }
    id = static_cast<int32_t>(welded.points.size());
    slot.store(coded(id), std::memory_order_relaxed);
    welded.points.push_back(soup.corner(corner / 3, corner % 3));
  }
}

}  // namespace

WeldedSoup weld_equal_corners(const Soup& soup, int workers) {
  WeldedSoup welded;
  welded.ids.resize(3 * static_cast<std::size_t>(soup.count));
  workers = std::clamp(workers, 1, kMostWorkers);
  // A closed mesh has half as many vertices as faces, and a table likes to be a third full.
  int bits = kLeastBits;
  while ((int64_t{1} << bits) < 3 * static_cast<int64_t>(soup.count) / 2) ++bits;
  for (;; bits = wider_table(bits)) {
    CornerTable table(soup, bits);
    const Entering outcome = enter_all(soup, workers, table, welded.ids);
    if (outcome == Entering::kCrowded) continue;
    welded.clustered = outcome == Entering::kClustered;
    if (welded.clustered) return welded;
    welded.points.reserve(static_cast<std::size_t>(soup.count) * 5 / 8);
    number_slots(soup, table, welded);
    return welded;
  }
}

int wider_table(int bits) {
  if (bits >= kMostBits) throw std::bad_alloc();
  return std::min(bits + 2, kMostBits);
}

}  // namespace scanmesh
