#include <ostream>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamPlausibility.h"
#include "VxCamText.h"

namespace vxcam {

int RunShow(const TArgs& args, TIo& io) {
  std::string cameraPath;
  bool json = false;
  return RunCommand(
      "show", "vxcam.show.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        AddJsonFlag(app, json);
      },
      [&] {
        const TVxCameraInfo camera = LoadCamera(cameraPath, io);
        for (const std::string& warning : PlausibilityWarnings(camera)) {
          ReportWarning(io, "show", warning);
        }
        if (json)
          WriteJson(io.out, CameraToJson(camera));
        else
          WriteRows(io.out, DescribeCamera(camera));
        return kExitSuccess;
      });
}

}  // namespace vxcam
