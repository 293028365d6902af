// The two cameras the library makes without a file.

#include "VxCameraInfo.h"
#include "VxEOL.h"
#include "VxModule_Initializer.h"

TVxCameraInfo CreateDefaultCamera() {
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Digital;
  return camera;
}

TVxCameraInfo CreateDefaultDMCCamera() {
  const VxModule_Initializer& module = VxModule_Initializer::getInst();
  TVxCameraInfo camera;
  camera.cameraType = TCameraType::Digital;
  camera.name = module.get_resource_string("global.CamNameDMC");
  camera.description = VxNormalizeEOL(module.get_resource_string("global.CamDscDMC") +
                                          module.get_resource_string("global.CamDscAutoCreated"),
                                      TEOLType::CRLF);
  camera.focus = 120.0;
  camera.principalPoint = {0.0, 0.0};
  camera.pixelSize = {0.012, 0.012};
  camera.lengthX = 0.0;
  camera.lengthY = 0.0;
  camera.sensorDims = {7680, 13824};
  camera.digitalCameraOrigin = TVxCameraInfo::TDigitalCameraOrigin::Center;
  return camera;
}
