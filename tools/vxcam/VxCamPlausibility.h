#pragma once
// Values that no camera has: what a person who entered a calibration report by hand most often
// gets wrong (micrometres typed where millimetres belong, a focal length in the wrong unit),
// told as warnings. The values are accepted; they are only named.

#include <string>
#include <vector>

#include "VxCameraInfo.h"

namespace vxcam {

// A focal length outside 1 .. 3000 mm, a pixel size outside 0.5 .. 100 µm, and a distortion that
// moves a point of the calibrated field by more than 0.5 mm: each as a localised sentence with
// the value.
std::vector<std::string> PlausibilityWarnings(const TVxCameraInfo& camera);

}  // namespace vxcam
