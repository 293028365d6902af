// A user of the installed library: starts it, reads a user text and the DMC default, writes
// the DMC as a COLMAP camera with the exchange library, names a mark status of the scan
// library, stops it.
#include <iostream>
#include <string>

#include "VxCameraInfo.h"
#include "VxCameraUtils.h"
#include "VxExchange.h"
#include "VxScan.h"

// Built without a standard of its own: the library's targets must have asked for C++17.
static_assert(__cplusplus >= 201703L, "VxCameraUtils needs C++17 and its targets say so");

int main() {
  Init_VxCameraUtils();
  const TVxCameraInfo dmc = CreateDefaultDMCCamera();
  const std::string type = CameraTypeToUserText(dmc.cameraType);
  const std::string colmap =
      ExportCameraE(dmc, TVxExchangeFormat::ColmapText, TVxExchangeOptions()).content;
  Deinit_VxCameraUtils();
  if (type.empty() || dmc.sensorDims.y != 13824) return 1;
  if (colmap.find("1 PINHOLE 7680 13824 10000 10000 3840 6912") == std::string::npos) return 1;
  if (std::string(MarkStatusToText(TVxMarkStatus::Rejected)) != "Rejected") return 1;
  std::cout << dmc.name << ": " << type << '\n';
  return 0;
}
