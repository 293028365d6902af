// Verification and readiness of interior orientation measurements against a camera.

#include <algorithm>

#include "FiducialLookup.h"
#include "VxIntOrMeas.h"
#include "VxModule_Initializer.h"

namespace {

// Fails a check: the localised text of `key` replaces the message, if one is asked for.
bool Fail(std::string* message, const char* key) {
  if (message != nullptr) *message = VxModule_Initializer::getInst().get_resource_string(key);
  return false;
}

// The number of marks a camera type has: the most Verify allows and what IntOrReady requires.
std::size_t MarksOfType(TCameraType type) {
  switch (type) {
    case TCameraType::PrincipalPoint:
      return 1;
    case TCameraType::Cross:
    case TCameraType::CalibratedCross:
      return 4;
    default:
      return 0;
  }
}

}  // namespace

bool TVxIntOrMeas::Verify(const TVxCameraInfo& camera, std::string* message) const {
  const auto type = static_cast<std::int32_t>(cameraType);
  if (type < 1 || type > 5) return Fail(message, "global.Err_MeasurementsNotPerformed");
  if (cameraType != camera.cameraType) return Fail(message, "global.Err_MeasTypeMismatch");
  if (cameraType == TCameraType::Fiducials) {
    const vx_intor_detail::TFiducialLookup fiducials(camera);
    for (const TMarkMeas& mark : marks) {
      if (fiducials.Find(mark.index) == nullptr) {
        return Fail(message, "global.Err_FidMeasMismatchCamera");
      }
    }
    return true;
  }
  if (marks.size() > MarksOfType(cameraType)) return Fail(message, "global.Err_FidMeasTooMany");
  return true;
}

bool TVxIntOrMeas::IntOrReady(const TVxCameraInfo& camera, std::string* message) const {
  if (!Verify(camera, message)) return false;
  if (cameraType == TCameraType::Fiducials) {
    const std::size_t measured = vx_intor_detail::CountMeasuredFiducials(*this, camera);
    if (camera.fiducials.empty() || measured < 2) return Fail(message, "global.Err_NFidLessMin");
    if (message != nullptr && measured != camera.fiducials.size()) {
      *message =
          VxModule_Initializer::getInst().get_resource_string("global.Warn_NotAllFidMeasured");
    }
    return true;
  }
  const bool needsRotation =
      cameraType == TCameraType::PrincipalPoint || cameraType == TCameraType::Digital;
  if (needsRotation && static_cast<std::int32_t>(rotation) == 0) {
    return Fail(message, "global.Err_InvalidCamRotate");
  }
  if (marks.size() != MarksOfType(cameraType)) return Fail(message, "global.Err_NFidLessMin");
  if (cameraType == TCameraType::PrincipalPoint || cameraType == TCameraType::Cross) {
    // Written as "0 >= value" on purpose: a resolution that is not a number passes.
    if (0.0 >= scanResolution.x || 0.0 >= scanResolution.y) {
      return Fail(message, "global.Err_IncorrectResolution");
    }
    if (resolutionUnits != TResolutionUnits::Mm && resolutionUnits != TResolutionUnits::Dpi) {
      return Fail(message, "global.Err_UnitsNotSpecified");
    }
  }
  return true;
}
