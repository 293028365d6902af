#include "VxCamPointChain.h"

#include "VxCameraMath.h"
#include "VxCombinedTransform.h"

namespace vxcam {
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
