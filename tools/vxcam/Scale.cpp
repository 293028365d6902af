#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"
#include "VxCameraMath.h"
#include "VxDistortionModels.h"

namespace vxcam {

int RunScale(const TArgs& args, TIo& io) {
  std::string cameraPath;
  std::string outputPath;
  double factor = 1.0;
  return RunCommand(
      "scale", "vxcam.scale.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        app.add_option("FACTOR", factor, Text("vxcam.arg.factor"))
            ->required()
            ->check(FiniteNumber());
        AddOutputOption(app, outputPath, "vxcam.opt.output_camera", true);
      },
      [&] {
        TVxCameraInfo camera = LoadCamera(cameraPath, io);
        ApplyDistortionMultiplier(&camera.distortion, factor);
        // A finite factor can still carry a value past the range of numbers ("1e300 times").
        if (FirstNonFiniteValue(camera.distortion)) {
          throw TContentError(cameraPath + ": " + Text("vxcam.error.not_finite") + ' ' +
                              FormatNumber(factor, 17));
        }
        SaveCamera(camera, outputPath, io);
        ReportWritten(io, outputPath);
        return kExitSuccess;
      });
}

}  // namespace vxcam
