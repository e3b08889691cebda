// Reports of an algorithm's steps to the application.
#ifndef SCANMESH_CORE_PROGRESS_H
#define SCANMESH_CORE_PROGRESS_H

#include <cstdint>

#include "scanmesh/process_step.h"

namespace scanmesh {

// One stage of `step_count` steps, counted from 1, on the thread that calls. What the callback
// answers is ignored. An empty callback reports nothing.
inline void report_step(const Mesh_M::ProcessStepCallback& callback, int32_t step,
                        int32_t step_count) {
  if (!callback) return;
  qv::alg::ProcessStepInfoType info;
  info.step_count = step_count;
  info.step = step;
  callback(info);
}

}  // namespace scanmesh

#endif  // SCANMESH_CORE_PROGRESS_H
