// A user of the installed library: starts it, reads a user text and the DMC default, stops it.
#include <iostream>

#include "VxCameraInfo.h"
#include "VxCameraUtils.h"

// Built without a standard of its own: the library's targets must have asked for C++17.
static_assert(__cplusplus >= 201703L, "VxCameraUtils needs C++17 and its targets say so");

int main() {
  Init_VxCameraUtils();
  const TVxCameraInfo dmc = CreateDefaultDMCCamera();
  const std::string type = CameraTypeToUserText(dmc.cameraType);
  Deinit_VxCameraUtils();
  if (type.empty() || dmc.sensorDims.y != 13824) return 1;
  std::cout << dmc.name << ": " << type << '\n';
  return 0;
}
