#pragma once
// The module's exceptions: vxcameras.Error and the kinds below it, and the translation of the
// library's exceptions into them.

#include <string>

namespace vxpy {

// Raises vxcameras.SolveError (an interior orientation that cannot be solved) or
// vxcameras.FitError (a distortion that cannot be fitted) with the library's localised reason.
[[noreturn]] void RaiseSolveError(const std::string& message);
[[noreturn]] void RaiseFitError(const std::string& message);

}  // namespace vxpy
