#include "VxCamField.h"

#include <algorithm>
#include <cmath>

#include "VxDistortionModels.h"

namespace vxcam {

std::optional<double> CalibratedRadius(const TVxCameraInfo& camera) {
  return DistortionTableReach(camera.distortion);
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
