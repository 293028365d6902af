#include "VxCameraUtils.h"

#include "VxModule_Initializer.h"

extern "C" {

void Init_VxCameraUtils() {
  VxModule_Initializer::getInst().init(std::string(), std::string());
}

void Deinit_VxCameraUtils() {
  VxModule_Initializer::getInst().deinit();
}
}
