// Errors, cancelling and progress: the same for every function of the toolkit.
#ifndef SCANMESH_TOOLKIT_ERROR_H
#define SCANMESH_TOOLKIT_ERROR_H

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "scanmesh/toolkit/export.h"

namespace scanmesh {

/// What went wrong, for programs; Error::what() is a sentence for people.
enum class ErrorCode {
  invalid_argument,  // an option out of range, two meshes that don't fit
  invalid_mesh,      // a triangle names a point that isn't there, arrays of unequal length
  cannot_read,       // missing, a folder, empty, no mesh, shortened
  cannot_write,      // no such folder, no right, a full disk
  unknown_format     // an extension that no reader or writer knows
};

/// The toolkit's errors. Want of memory is std::bad_alloc.
class SCANMESH_TOOLKIT_API Error : public std::runtime_error {
 public:
  Error(ErrorCode code, const std::string& sentence) : std::runtime_error(sentence), code_(code) {}
  ErrorCode code() const { return code_; }

 private:
  ErrorCode code_;
};

/// A progress callback asked to stop. Whatever went in is as it was.
class SCANMESH_TOOLKIT_API Cancelled : public std::runtime_error {
 public:
  Cancelled() : std::runtime_error("cancelled") {}
};

/// Called now and then from the calling thread with the share done, 0 to 1, and the name of the
/// step. Returning false ends the call with Cancelled. Empty for none.
using Progress = std::function<bool(double fraction, std::string_view step)>;

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_ERROR_H
