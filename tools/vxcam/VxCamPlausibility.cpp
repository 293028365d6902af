#include "VxCamPlausibility.h"

#include <algorithm>
#include <cmath>

#include "VxCamField.h"
#include "VxCamFormat.h"
#include "VxCamText.h"
#include "VxCameraMath.h"

namespace vxcam {
namespace {

// From fisheye lenses of a few millimetres to the longest reconnaissance lenses.
constexpr double kFocusMinMm = 1.0, kFocusMaxMm = 3000.0;
// From the smallest sensor pixels to the coarsest scans in use.
constexpr double kPixelMinMm = 0.0005, kPixelMaxMm = 0.1;
// Calibrated lenses of mapping cameras correct points by tens of micrometres; half a millimetre
// is a value in the wrong unit or with a wrong exponent.
constexpr double kLargestDisplacementMm = 0.5;
constexpr int kDirections = 16;
constexpr int kRadii = 20;

// The largest displacement of the distortion over the calibrated field, sampled on rings.
double LargestDisplacement(const TVxCameraInfo& camera, double reach) {
  TransformHandle distortion;
  try {
    distortion = CreateCameraDistortionTransform(camera.distortion, {0.0, 0.0}, camera.focus);
  } catch (const std::exception&) {
    return 0.0;  // refused where it is used, with its own message
  }
  if (!distortion) return 0.0;
  double largest = 0.0;
  for (int i = 1; i <= kRadii; ++i) {
    const double r = reach * i / kRadii;
    for (int k = 0; k < kDirections; ++k) {
      const double angle = 6.283185307179586 * k / kDirections;
      const vec_t_<double, 2> p{r * std::cos(angle), r * std::sin(angle)};
      const double moved = (distortion->TransformPoint(p) - p).Length();
      if (std::isfinite(moved)) largest = std::max(largest, moved);
    }
  }
  return largest;
}

}  // namespace

std::vector<std::string> PlausibilityWarnings(const TVxCameraInfo& camera) {
  std::vector<std::string> warnings;
  const std::string mm = " " + UnitsCamMmUserTextAbbr();
  if (std::isfinite(camera.focus) && camera.focus != 0.0 &&
      (std::abs(camera.focus) < kFocusMinMm || std::abs(camera.focus) > kFocusMaxMm)) {
    warnings.push_back(Text("vxcam.warning.focus") + " " + FormatNumber(camera.focus) + mm);
  }
  if (camera.cameraType == TCameraType::Digital) {
    for (double size : {camera.pixelSize.x, camera.pixelSize.y}) {
      if (size != 0.0 && (std::abs(size) < kPixelMinMm || std::abs(size) > kPixelMaxMm)) {
        warnings.push_back(Text("vxcam.warning.pixel_size") + " " + FormatNumber(size) + mm);
        break;
      }
    }
  }
  const auto [reach, by] = CalibratedReach(camera);
  const double field = reach > 0.0 ? reach : camera.focus / 2.0;
  if (std::isfinite(field) && field > 0.0) {
    const double largest = LargestDisplacement(camera, field);
    if (largest > kLargestDisplacementMm) {
      warnings.push_back(Text("vxcam.warning.displacement") + " " + FormatNumber(largest, 4) + mm +
                         " (r <= " + FormatNumber(field) + mm + ")");
    }
  }
  return warnings;
}

}  // namespace vxcam
