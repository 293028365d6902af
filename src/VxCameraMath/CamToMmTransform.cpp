// The camera-to-millimetre transform of a camera: the shift to the principal point, then the
// lens distortion.

#include "VxAffineTransform.h"
#include "VxCameraMath.h"
#include "VxCombinedTransform.h"
#include "VxUnityTransform.h"

TransformHandle CreateCamToMmTransform(const TVxCameraInfo& camera) {
  const vec_t_<double, 2>& pp = camera.principalPoint;
  const TransformHandle distortion = CreateCameraDistortionTransform(
      camera.distortion, camera.distortion.symmetryPoint - pp, camera.focus);
  // Ordinary comparison: -0.0 counts as zero, a NaN does not.
  const bool atOrigin = pp.x == 0.0 && pp.y == 0.0;

  if (distortion) {
    if (atOrigin) return distortion;
    const TAffineTransform shift(1.0, 0.0, -pp.x, 0.0, 1.0, -pp.y);
    return MakeCombinedTransformHandle({&shift, distortion.get()});
  }
  if (atOrigin) return MakeTransformHandle<TUnityTransform>();
  return MakeTransformHandle<TAffineTransform>(1.0, 0.0, -pp.x, 0.0, 1.0, -pp.y);
}
