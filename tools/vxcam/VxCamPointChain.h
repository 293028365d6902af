#pragma once
// The maps that `vxcam transform` applies to points, built from its options: camera
// coordinates to corrected millimetres and back, optionally from the pixels of a scan through its
// solved interior orientation, with the map to camera coordinates beside it, so that points outside
// the calibrated field can be told.

#include "VxCameraInfo.h"
#include "VxTransformHandle.h"

namespace vxcam {

struct TPointChain {
  // Input to output, whole; and input to camera coordinates (null where the input is camera
  // coordinates already).
  TransformHandle map;
  TransformHandle toCamera;
  bool outputIsCamera = false;  // --inverse without a scan: the camera point is the output
};

// The chain of `vxcam transform`: camera -> mm; with `inverse` mm -> camera; with the maps of a
// solved scan (both or neither), pixels -> camera -> mm, or with `inverse` mm -> camera -> pixels.
TPointChain MakePointChain(const TVxCameraInfo& camera, const TransformHandle* pixToCam,
                           const TransformHandle* camToPix, bool inverse);

}  // namespace vxcam
