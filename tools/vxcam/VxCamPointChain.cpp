#include "VxCamPointChain.h"

#include "VxAffineTransform.h"
#include "VxCameraMath.h"
#include "VxCombinedTransform.h"

namespace vxcam {
TransformHandle CreateMmToCamTransform(const TVxCameraInfo& camera) {
  TVxCameraDistortion reverse = camera.distortion;
  reverse.direction = camera.distortion.direction == TVxCameraDistortion::TDirection::CamToMm
                          ? TVxCameraDistortion::TDirection::MmToCam
                          : TVxCameraDistortion::TDirection::CamToMm;
  const vec_t_<double, 2> pp = camera.principalPoint;
  const TransformHandle distortion =
      CreateCameraDistortionTransform(reverse, camera.distortion.symmetryPoint - pp, camera.focus);
  const TransformHandle shift =
      MakeTransformHandle<TAffineTransform>(1.0, 0.0, pp.x, 0.0, 1.0, pp.y);
  return MakeCombinedTransformHandle({distortion.get(), shift.get()});
}

TPointChain MakePointChain(const TVxCameraInfo& camera, const TransformHandle* pixToCam,
                           const TransformHandle* camToPix, bool inverse) {
  TPointChain chain;
  if (!inverse) {
    const TransformHandle camToMm = CreateCamToMmTransform(camera);
    if (pixToCam == nullptr) {
      chain.map = camToMm;
    } else {
      chain.toCamera = *pixToCam;
      chain.map = MakeCombinedTransformHandle({pixToCam->get(), camToMm.get()});
    }
    return chain;
  }
  const TransformHandle mmToCam = CreateMmToCamTransform(camera);
  chain.toCamera = mmToCam;
  if (camToPix == nullptr) {
    chain.map = mmToCam;
    chain.outputIsCamera = true;
  } else {
    chain.map = MakeCombinedTransformHandle({mmToCam.get(), camToPix->get()});
  }
  return chain;
}

}  // namespace vxcam
