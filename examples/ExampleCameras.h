#pragma once
// The example cameras shipped under examples/cameras/, built in code from their sources so that
// the files are exactly what the library's own SaveE writes.

#include <string>
#include <vector>

#include "VxCameraInfo.h"

struct TExampleCamera {
  std::string fileName;  // under examples/cameras/
  TVxCameraInfo camera;
};

// Every example camera: a film camera of each distortion model that a calibration report gives,
// the illustrations of the other models, the DMC default and one camera of every mark kind.
std::vector<TExampleCamera> ExampleCameras();
