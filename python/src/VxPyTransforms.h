#pragma once
// vxcameras.Transform: a planar transform of the library, applied to NumPy arrays of points.

#include "VxPyCommon.h"
#include "VxTransformHandle.h"

namespace vxpy {

// The handle a Python Transform holds; never empty. Transforms are immutable, so one object may
// be applied by several Python threads at once.
struct TPyTransform {
  TransformHandle handle;
};

}  // namespace vxpy
