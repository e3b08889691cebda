// What an algorithm tells the application while it works.
#ifndef SCANMESH_PROCESS_STEP_H
#define SCANMESH_PROCESS_STEP_H

#include <cstdint>
#include <functional>
#include <string>

namespace qv {
namespace alg {

/// One report: `step` runs from 1 to `step_count` within `stage` of `stage_count`.
struct ProcessStepInfoType {
  std::wstring message;
  int32_t stage = 1;
  int32_t stage_count = 1;
  int32_t step_count = 0;
  int32_t step = 0;
};

}  // namespace alg
}  // namespace qv

namespace Mesh_M {

/// Called on the thread that is reporting. The result is ignored: a callback watches, it can't
/// cancel.
using ProcessStepCallback = std::function<int(qv::alg::ProcessStepInfoType&)>;

}  // namespace Mesh_M

#endif  // SCANMESH_PROCESS_STEP_H
