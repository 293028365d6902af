#include <cmath>
#include <map>
#include <ostream>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"
#include "VxCameraMath.h"

namespace vxcam {
namespace {

const std::map<std::string, TDistortionType> kFitModels = {{"formula", TDistortionType::Formula},
                                                           {"mixed", TDistortionType::Mixed}};

struct TFit {
  TVxCameraDistortion distortion;
  double maxDeviation = 0.0;  // mm
};

TFit Fit(const TVxCameraInfo& camera, TDistortionType model, double radius,
         const std::string& path) {
  TFit fit;
  const bool done = WithContentOf(path, [&] {
    return ApproxCameraDistortion(model, &fit.distortion, camera, radius, &fit.maxDeviation);
  });
  if (!done || !std::isfinite(fit.maxDeviation) || !DistortionIsFinite(fit.distortion))
    throw TContentError(path + ": " + Text("vxcam.error.fit_failed") + " (" +
                        DistortionTypeToUserText(camera.distortion.type) + ")");
  return fit;
}

void WriteFit(std::ostream& out, const TFit& fit) {
  TRows rows{{0, Text("vxcam.label.max_deviation"),
              FormatNumber(fit.maxDeviation * 1000.0, 3) + " " + UnitsCamMkmUserTextAbbr()}};
  const TRows distortion = DescribeDistortion(fit.distortion, 0);
  rows.insert(rows.end(), distortion.begin(), distortion.end());
  WriteRows(out, rows);
}

}  // namespace

int RunFit(const TArgs& args, TIo& io) {
  std::string cameraPath;
  std::string outputPath;
  std::string model;
  double radius = 0.0;
  bool json = false;
  return RunCommand(
      "fit", "vxcam.fit.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        app.add_option("--model", model, Text("vxcam.opt.model"))
            ->required()
            ->option_text("formula|mixed")
            ->check(CLI::IsMember({"formula", "mixed"}));
        app.add_option("--radius", radius, Text("vxcam.opt.radius"))
            ->option_text(UnitsCamMmUserTextAbbr())
            ->check(PositiveNumber());
        AddOutputOption(app, outputPath, "vxcam.opt.output_camera", false);
        AddJsonFlag(app, json);
      },
      [&] {
        TVxCameraInfo camera = LoadCamera(cameraPath);
        const TFit fit = Fit(camera, kFitModels.at(model), radius, cameraPath);
        if (json)
          WriteJson(io.out, {{"max_deviation_um", fit.maxDeviation * 1000.0},
                             {"distortion", DistortionToJson(fit.distortion)}});
        else
          WriteFit(io.out, fit);
        if (!outputPath.empty()) {
          camera.distortion = fit.distortion;
          SaveCamera(camera, outputPath);
          if (!json) ReportWritten(io, outputPath);
        }
        return kExitSuccess;
      });
}

}  // namespace vxcam
