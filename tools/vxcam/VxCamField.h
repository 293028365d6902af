#pragma once
// How far a camera's calibration reaches: what its tables cover, and the farthest point that the
// calibration names at all. Beyond it a distortion model is an extrapolation.

#include <optional>
#include <utility>

#include "VxCameraInfo.h"

namespace vxcam {

// The radius around the symmetry point that the camera's tables cover: their last row (the larger
// of the two for Directed8); nothing for models without tables, which do not say.
std::optional<double> CalibratedRadius(const TVxCameraInfo& camera);

// How far from the symmetry point the calibration reaches, and the resource key of what reaches
// that far: the farthest fiducial mark, the sensor's corner, a table's last row; 0 and "" where
// the camera names nothing.
std::pair<double, const char*> CalibratedReach(const TVxCameraInfo& camera);

}  // namespace vxcam
