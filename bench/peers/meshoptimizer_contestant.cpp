#include <meshoptimizer.h>

#include <limits>
#include <memory>

#include "peers/contestants.h"

namespace peers {

Contestant meshoptimizer_simplify(const IndexedMesh& mesh, int target) {
  return {"meshoptimizer", [&mesh, target]() -> Job {
            auto result = std::make_shared<std::vector<unsigned int>>(mesh.corners.size());
            return [&mesh, result, target]() -> long long {
              result->resize(meshopt_simplify(
                  result->data(), mesh.corners.data(), mesh.corners.size(), mesh.points.data(),
                  mesh.points.size() / 3, 3 * sizeof(float), static_cast<std::size_t>(target) * 3,
                  std::numeric_limits<float>::max(), 0, nullptr));
              return static_cast<long long>(result->size() / 3);
            };
          }};
}

}  // namespace peers
