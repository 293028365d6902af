#include "VxCamPointChain.h"

#include <algorithm>

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

TPointChain MakePointChain(const TVxCameraInfo& camera, const TVxIntOrSolution* scan,
                           bool inverse) {
  TPointChain chain;
  if (!inverse) {
    const TransformHandle camToMm = CreateCamToMmTransform(camera);
    if (scan == nullptr) {
      chain.map = camToMm;
    } else {
      chain.toCamera = scan->pixToCam;
      chain.map = MakeCombinedTransformHandle({scan->pixToCam.get(), camToMm.get()});
    }
    return chain;
  }
  const TransformHandle mmToCam = CreateMmToCamTransform(camera);
  chain.toCamera = mmToCam;
  if (scan == nullptr) {
    chain.map = mmToCam;
    chain.outputIsCamera = true;
  } else {
    chain.map = MakeCombinedTransformHandle({mmToCam.get(), scan->camToPix.get()});
  }
  return chain;
}

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

}  // namespace vxcam
