#include <optional>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamPlausibility.h"
#include "VxCamPlot.h"
#include "VxCamText.h"

namespace vxcam {

int RunPlot(const TArgs& args, TIo& io) {
  std::string cameraPath;
  std::string measurementsPath;
  std::string outputPath;
  TVxIntOrSolveOptions options;
  return RunCommand(
      "plot", "vxcam.plot.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        AddFileArgument(app, "MEASUREMENTS", measurementsPath, "vxcam.arg.scan_to_plot");
        AddResidualLimitOption(app, options.residualLimitUm);
        AddOutputOption(app, outputPath, "vxcam.opt.output_svg", true);
      },
      [&] {
        const TVxCameraInfo camera = LoadCamera(cameraPath, io);
        for (const std::string& warning : PlausibilityWarnings(camera)) {
          ReportWarning(io, "plot", warning);
        }
        std::optional<TSolvedScan> scan;
        if (!measurementsPath.empty())
          scan =
              SolveScan(camera, LoadMeasurements(measurementsPath, io), measurementsPath, options);
        const std::string svg = WithContentOf(
            cameraPath, [&] { return PlotCameraSvg(camera, scan ? &*scan : nullptr); });
        WriteOutput(outputPath, svg, io);
        ReportWritten(io, outputPath);
        return kExitSuccess;
      });
}

}  // namespace vxcam
