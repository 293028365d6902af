// The camera record: reset state and exact equality.

#include <algorithm>

#include "VxCameraInfo.h"

TVxCameraInfo::TVxCameraInfo() {
  Reset();
}

void TVxCameraInfo::Reset() {
  name.clear();
  calibrationDate.clear();
  description.clear();
  fiducialTemplateId.clear();
  cameraType = static_cast<TCameraType>(0);
  distortion.Reset();
  focus = 0.0;
  principalPoint = {0.0, 0.0};
  pixelSize = {0.0, 0.0};
  lengthX = lengthY = 0.0;
  sensorDims = {0, 0};
  fiducials.clear();
  digitalCameraOrigin = TDigitalCameraOrigin::Center;
}

bool TVxCameraInfo::operator==(const TVxCameraInfo& other) const {
  if (name != other.name || calibrationDate != other.calibrationDate ||
      description != other.description || fiducialTemplateId != other.fiducialTemplateId) {
    return false;
  }
  if (cameraType != other.cameraType || !(distortion == other.distortion)) return false;
  if (focus != other.focus || principalPoint != other.principalPoint ||
      pixelSize != other.pixelSize) {
    return false;
  }
  if (sensorDims.x != other.sensorDims.x || sensorDims.y != other.sensorDims.y) return false;
  if (lengthX != other.lengthX || lengthY != other.lengthY) return false;
  const bool sameMarks =
      std::equal(fiducials.begin(), fiducials.end(), other.fiducials.begin(), other.fiducials.end(),
                 [](const TFiducial& a, const TFiducial& b) {
                   return a.index == b.index && a.coordsCam == b.coordsCam &&
                          a.templateIndex == b.templateIndex;
                 });
  return sameMarks && digitalCameraOrigin == other.digitalCameraOrigin;
}
