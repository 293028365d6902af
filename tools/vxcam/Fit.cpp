#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <ostream>
#include <utility>

#include "VxCamApp.h"
#include "VxCamField.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"
#include "VxCameraMath.h"
#include "VxDistortionModels.h"

namespace vxcam {
namespace {

const std::map<std::string, TDistortionType> kFitModels = {{"formula", TDistortionType::Formula},
                                                           {"mixed", TDistortionType::Mixed}};

struct TFit {
  TVxCameraDistortion distortion;
  double maxDeviation = 0.0;           // mm
  double radius = 0.0;                 // mm, the disc sampled; 0 for an exact conversion
  const char* radiusKey = "";          // where the radius came from: its text for people
  const char* radiusSource = "exact";  // and its word for programs
};

// The disc the library samples, as it chooses it: a table's last row, whatever --radius says;
// for the formula and mixed models --radius up to the focal length, else half the focal length.
void ChooseDisc(const TVxCameraInfo& camera, double radiusOption, TFit* fit) {
  if (const std::optional<double> last = CalibratedRadius(camera)) {
    fit->radius = *last;
    fit->radiusKey = "vxcam.fit.radius_table";
    fit->radiusSource = "table";
  } else if (radiusOption > 0.0) {
    fit->radius = std::min(radiusOption, camera.focus);
    const bool limited = radiusOption > camera.focus;
    fit->radiusKey = limited ? "vxcam.fit.radius_focus_limit" : "vxcam.fit.radius_option";
    fit->radiusSource = limited ? "focal_length" : "option";
  } else {
    fit->radius = camera.focus / 2.0;
    fit->radiusKey = "vxcam.fit.radius_half_focus";
    fit->radiusSource = "half_focal_length";
  }
}

TFit Fit(const TVxCameraInfo& camera, TDistortionType model, double radius,
         const std::string& path) {
  TFit fit;
  const bool done = WithContentOf(path, [&] {
    return ApproxCameraDistortion(model, &fit.distortion, camera, radius, &fit.maxDeviation);
  });
  if (!done || !std::isfinite(fit.maxDeviation) || FirstNonFiniteValue(fit.distortion))
    throw TContentError(path + ": " + Text("vxcam.error.fit_failed") + " (" +
                        DistortionTypeToUserText(camera.distortion.type) + ")");
  return fit;
}

std::string RadiusText(const TFit& fit) {
  if (fit.radius == 0.0) return Text("vxcam.fit.exact");
  return FormatNumber(fit.radius) + " " + UnitsCamMmUserTextAbbr() + " (" + Text(fit.radiusKey) +
         ")";
}

void WriteFit(std::ostream& out, const TFit& fit) {
  TRows rows{{0, Text("vxcam.label.fit_radius"), RadiusText(fit)},
             {0, Text("vxcam.label.max_deviation"),
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
        TVxCameraInfo camera = LoadCamera(cameraPath, io);
        TFit fit = Fit(camera, kFitModels.at(model), radius, cameraPath);
        // An exact conversion samples nothing; a fit samples the disc the library chose.
        if (fit.maxDeviation != 0.0) ChooseDisc(camera, radius, &fit);
        if (radius > 0.0 && CalibratedRadius(camera))
          ReportWarning(io, "fit", Text("vxcam.warning.radius_ignored"));
        const auto [reach, by] = CalibratedReach(camera);
        if (fit.radius > 0.0 && reach > fit.radius) {
          ReportWarning(io, "fit",
                        Text("vxcam.warning.disc_short") + " " + FormatNumber(reach) + " " +
                            UnitsCamMmUserTextAbbr() + " (" + Text(by) + ")");
        }
        std::ostream& report = ReportStream(io, outputPath);
        if (json)
          WriteJson(report, {{"radius_mm", fit.radius},
                             {"radius_source", fit.radiusSource},
                             {"max_deviation_um", fit.maxDeviation * 1000.0},
                             {"distortion", DistortionToJson(fit.distortion)}});
        else
          WriteFit(report, fit);
        if (!outputPath.empty()) {
          camera.distortion = fit.distortion;
          SaveCamera(camera, outputPath, io);
          if (!json) ReportWritten(io, outputPath);
        }
        return kExitSuccess;
      });
}

}  // namespace vxcam
