// Reporting to a caller, and stopping when it says so.
#ifndef SCANMESH_TOOLKIT_PROGRESS_H
#define SCANMESH_TOOLKIT_PROGRESS_H

#include <string_view>
#include <utility>

#include "scanmesh/toolkit/error.h"

namespace scanmesh {

inline void report(const Progress& progress, double fraction, std::string_view step) {
  if (progress && !progress(fraction, step)) throw Cancelled();
}

// The progress of a part: its 0 to 1 becomes `from` to `to` of the whole, under the whole's step.
inline Progress share_of(const Progress& progress, double from, double to, std::string_view step) {
  if (!progress) return {};
  return [&progress, from, to, step](double fraction, std::string_view) {
    return progress(from + (to - from) * fraction, step);
  };
}

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_PROGRESS_H
