// Starts the library and prints the user texts of every camera type and distortion model in
// English and in German, then the default DMC camera in the language of VX_LANG.

#include <iostream>
#include <string>

#include "VxCameraInfo.h"
#include "VxCameraUtils.h"
#include "VxIntOrMeas.h"
#include "VxResources.h"

namespace {

void PrintCameraTypes() {
  for (int type = 1; type <= 5; ++type) {
    std::cout << "  " << CameraTypeToTextE(static_cast<TCameraType>(type), "@hello") << ": "
              << CameraTypeToUserText(static_cast<TCameraType>(type)) << '\n';
  }
}

void PrintDistortionModels() {
  for (int type = 1; type <= 8; ++type) {
    std::cout << "  " << DistortionTypeToTextE(static_cast<TDistortionType>(type), "@hello") << ": "
              << DistortionTypeToUserText(static_cast<TDistortionType>(type)) << '\n';
  }
}

}  // namespace

int main() {
  Init_VxCameraUtils();
  const std::string chosen = VxGetResLanguage();
  for (const char* language : {"en", "de"}) {
    VxSetResLanguage(language);
    std::cout << "[" << language << "] camera types:\n";
    PrintCameraTypes();
    std::cout << "[" << language << "] distortion models:\n";
    PrintDistortionModels();
  }
  VxSetResLanguage(chosen);
  const TVxCameraInfo dmc = CreateDefaultDMCCamera();
  std::cout << "[" << chosen << "] " << dmc.name << ": " << CameraTypeToUserText(dmc.cameraType)
            << ", " << dmc.focus << ' ' << UnitsCamMmUserTextAbbr() << ", " << dmc.sensorDims.x
            << " x " << dmc.sensorDims.y << ' ' << UnitsPixUserTextAbbr() << '\n';
  Deinit_VxCameraUtils();
  return 0;
}
