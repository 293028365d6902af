#pragma once
// Helpers of the camera geometry tests: what a handle holds and the example cameras.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "VxCameraInfo.h"
#include "VxCameraMath.h"
#include "VxGeometry.h"
#include "VxNaturalSplineProfile.h"
#include "VxXIni.h"

namespace vx_test {

// The transform in `handle` as a T, or null if it is none or of another class.
template <class T>
const T* HeldAs(const TransformHandle& handle) {
  return dynamic_cast<const T*>(handle.get());
}

// A camera of examples/cameras, as a user loads it.
inline TVxCameraInfo ExampleCamera(const std::string& fileName) {
  const auto reader =
      TVxXIniReader::FromFile(std::string(VX_SOURCE_DIR) + "/examples/cameras/" + fileName);
  TVxCameraInfo camera;
  XIniLoadE(reader.get(), camera);
  return camera;
}

// A directed table row (r, dr[0..3]).
inline TVxCameraDistortion::T4Direction Row4(double r, double d0, double d1, double d2, double d3) {
  TVxCameraDistortion::T4Direction row;
  row.r = r;
  row.dr[0] = d0;
  row.dr[1] = d1;
  row.dr[2] = d2;
  row.dr[3] = d3;
  return row;
}

}  // namespace vx_test
