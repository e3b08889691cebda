#include "toolkit/hole_closing.h"

#include <algorithm>
#include <limits>

#include "toolkit/progress.h"
#include "toolkit/rings.h"
#include "toolkit/vector_math.h"

namespace scanmesh {
namespace {

constexpr PatchKind kKinds[] = {PatchKind::continuing, PatchKind::flat, PatchKind::plain};
// From here on a patch that crosses what it closes costs more to judge than to untangle.
constexpr std::int64_t kEnough = 1000;

struct Choice {
  Patch patch;
  std::int64_t faults = std::numeric_limits<std::int64_t>::max();
};

Choice best_patch(LiveMesh& live, const std::vector<std::int32_t>& ring, const Ground& ground) {
  Choice best;
  for (const PatchKind kind : kKinds) {
    std::vector<Patch> made{make_patch(live, ring, kind, ground)};
    if (!made[0].made) continue;
    const std::int64_t faults = faults_of(live, made, std::min(best.faults, kEnough));
    if (faults < best.faults) best = {std::move(made[0]), faults};
    if (best.faults == 0) break;
  }
  return best;
}

// A ring whose patch would be its own surroundings turned over: three open sides of one triangle,
// or of a few in one plane.
bool bounds_nothing(const LiveMesh& live, const Choice& choice,
                    const std::vector<std::int32_t>& ring) {
  if (choice.faults == 0) return false;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const std::int32_t a = ring[i];
    const std::int32_t b = ring[(i + 1) % ring.size()];
    const std::vector<std::int32_t> owner = live.with_side(b, a);
    if (owner.size() != 1) return false;
    for (const std::int32_t v : live.mesh().triangle(owner[0])) {
      if (std::find(ring.begin(), ring.end(), v) == ring.end()) return false;
    }
  }
  return true;
}

const char* refusal_of(const LiveMesh& live, const Choice& best,
                       const std::vector<std::int32_t>& ring, bool crossing) {
  if (!best.patch.made) return "a point isn't finite, or is met twice";
  if (bounds_nothing(live, best, ring)) return "its patch would lie on the faces around it";
  if (best.faults > 0 && !crossing) return "every patch would pass through the surface";
  return nullptr;
}

}  // namespace

HoleChanges close_rings(WorkMesh& mesh, const RingChoice& chosen, bool crossing,
                        const Ground& ground, const RingTold& tell, const Progress& progress) {
  HoleChanges changes;
  const EdgeTable edges(mesh.triangles, mesh.points.size());
  std::vector<std::vector<std::int32_t>> rings =
      walk_rings(mesh.triangles, opposite_sides(mesh.triangles, edges));
  rings.erase(
      std::remove_if(rings.begin(), rings.end(),
                     [&](const auto& ring) { return ring.size() < 3 || !chosen(mesh, ring); }),
      rings.end());
  changes.rings = static_cast<std::int64_t>(rings.size());
  if (rings.empty()) return changes;
  // Short rings first: what stands by then keeps the long ones from running into it.
  std::stable_sort(rings.begin(), rings.end(),
                   [](const auto& a, const auto& b) { return a.size() < b.size(); });
  LiveMesh live(mesh);
  for (std::size_t i = 0; i < rings.size(); ++i) {
    report(progress, static_cast<double>(i) / static_cast<double>(rings.size()), "holes");
    const Choice best = best_patch(live, rings[i], ground);
    const char* const refusal = refusal_of(live, best, rings[i], crossing);
    if (tell) tell(mesh, rings[i], refusal);
    if (refusal != nullptr) {
      ++changes.refused;
      continue;
    }
    take_patches(live, {best.patch});
    ++changes.closed;
    changes.crossing += best.faults > 0;
  }
  mesh.compact();
  return changes;
}

}  // namespace scanmesh
