#include "VxCamField.h"

#include <algorithm>
#include <cmath>

namespace vxcam {

std::optional<double> CalibratedRadius(const TVxCameraInfo& camera) {
  const TVxCameraDistortion& d = camera.distortion;
  double last = -1.0;
  switch (d.type) {
    case TDistortionType::Radial:
      for (const auto& row : d.tableR) last = std::max(last, row.r);
      break;
    case TDistortionType::Directed4Plus:
    case TDistortionType::Directed4X:
    case TDistortionType::Directed8:
      for (const auto* table : {&d.table4Plus, &d.table4X}) {
        const bool used = (table == &d.table4Plus && d.type != TDistortionType::Directed4X) ||
                          (table == &d.table4X && d.type != TDistortionType::Directed4Plus);
        for (const auto& row : *table) last = used ? std::max(last, row.r) : last;
      }
      break;
    default:
      break;
  }
  if (last > 0.0) return last;
  return std::nullopt;
}

std::pair<double, const char*> CalibratedReach(const TVxCameraInfo& camera) {
  double reach = 0.0;
  const char* by = "";
  const vec_t_<double, 2> centre = camera.distortion.symmetryPoint;
  for (const auto& mark : camera.fiducials) {
    const double r = (mark.coordsCam - centre).Length();
    if (r > reach) reach = r, by = "vxcam.fit.field_fiducial";
  }
  if (camera.cameraType == TCameraType::Digital) {
    const double r = std::hypot(static_cast<double>(camera.sensorDims.x) * camera.pixelSize.x,
                                static_cast<double>(camera.sensorDims.y) * camera.pixelSize.y) /
                     2.0;
    if (r > reach) reach = r, by = "vxcam.fit.field_sensor";
  }
  if (const std::optional<double> last = CalibratedRadius(camera); last && *last > reach) {
    reach = *last, by = "vxcam.fit.field_table";
  }
  return {reach, by};
}

}  // namespace vxcam
