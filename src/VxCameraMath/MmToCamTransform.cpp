// The inverse of the camera-to-millimetre transform: the distortion in the other sense, then the
// shift back by the principal point.

#include "VxAffineTransform.h"
#include "VxCameraMath.h"
#include "VxCombinedTransform.h"

TransformHandle CreateMmToCamTransform(const TVxCameraInfo& camera) {
  // Flipping the stored sense makes the distortion transform the inverse of the forward one:
  // the same record, solved by the shared Newton inverse where the stored sense was direct.
  TVxCameraDistortion reverse = camera.distortion;
  reverse.direction = camera.distortion.direction == TVxCameraDistortion::TDirection::CamToMm
                          ? TVxCameraDistortion::TDirection::MmToCam
                          : TVxCameraDistortion::TDirection::CamToMm;
  const vec_t_<double, 2>& pp = camera.principalPoint;
  const TransformHandle distortion =
      CreateCameraDistortionTransform(reverse, camera.distortion.symmetryPoint - pp, camera.focus);
  const TAffineTransform shift(1.0, 0.0, pp.x, 0.0, 1.0, pp.y);
  return MakeCombinedTransformHandle({distortion.get(), &shift});
}
