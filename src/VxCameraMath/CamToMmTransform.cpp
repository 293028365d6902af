// The camera-to-millimetre transform of a camera: the shift to the principal point, then the
// lens distortion.

#include <new>

#include "VxAffineTransform.h"
#include "VxCameraMath.h"
#include "VxCombinedTransform.h"
#include "VxUnityTransform.h"

namespace {

// A composite of `first` then `second` (both copied) in a holder of its own. The holder is made
// first and owned by `owner`, so that a member that fails to copy frees it again.
TransformHandle MakeChain(const TVx2DTransform& first, const TVx2DTransform& second) {
  auto* block = new var_a_legacy::TEmbedded_var_a_item<TCombinedTransform>();
  TCombinedTransform* chain = nullptr;
  try {
    chain = ::new (static_cast<void*>(&block->object)) TCombinedTransform();
  } catch (...) {
    delete block;
    throw;
  }
  const TransformHandle owner(block, chain);
  chain->AddTransform(first);
  chain->AddTransform(second);
  return owner;
}

}  // namespace

TransformHandle CreateCamToMmTransform(const TVxCameraInfo& camera) {
  const vec_t_<double, 2>& pp = camera.principalPoint;
  const TransformHandle distortion = CreateCameraDistortionTransform(
      camera.distortion, camera.distortion.symmetryPoint - pp, camera.focus);
  // Ordinary comparison: -0.0 counts as zero, a NaN does not.
  const bool atOrigin = pp.x == 0.0 && pp.y == 0.0;

  if (distortion) {
    if (atOrigin) return distortion;
    const TAffineTransform shift(1.0, 0.0, -pp.x, 0.0, 1.0, -pp.y);
    return MakeChain(shift, *distortion);
  }
  if (atOrigin) return MakeTransformHandle<TUnityTransform>();
  return MakeTransformHandle<TAffineTransform>(1.0, 0.0, -pp.x, 0.0, 1.0, -pp.y);
}
