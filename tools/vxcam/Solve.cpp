#include <utility>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamSolution.h"
#include "VxCamText.h"

namespace vxcam {
namespace {

// A scan resolution given on the command line. The files of fiducial and calibrated cross scans
// do not hold one, yet with it the fitted scale is checked against the scanner's.
struct TResolutionOption {
  double mmPerPixel = 0.0;
  double dpi = 0.0;
};

void AddResolutionOptions(CLI::App& app, TResolutionOption& resolution) {
  auto* mm = app.add_option("--resolution", resolution.mmPerPixel, Text("vxcam.opt.resolution"))
                 ->option_text("MM")
                 ->check(PositiveNumber());
  app.add_option("--dpi", resolution.dpi, Text("vxcam.opt.dpi"))
      ->option_text("DPI")
      ->check(PositiveNumber())
      ->excludes(mm);
}

void ApplyResolution(const TResolutionOption& resolution, TVxIntOrMeas& measurements) {
  if (resolution.mmPerPixel > 0.0) {
    measurements.scanResolution = {resolution.mmPerPixel, resolution.mmPerPixel};
    measurements.resolutionUnits = TResolutionUnits::Mm;
  } else if (resolution.dpi > 0.0) {
    measurements.scanResolution = {resolution.dpi, resolution.dpi};
    measurements.resolutionUnits = TResolutionUnits::Dpi;
  }
}

}  // namespace

int RunSolve(const TArgs& args, TIo& io) {
  std::string cameraPath;
  std::string measurementsPath;
  std::string outputPath;
  std::string mapPath;
  TVxIntOrSolveOptions options;
  TResolutionOption resolution;
  bool json = false;
  return RunCommand(
      "solve", "vxcam.solve.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        AddFileArgument(app, "MEASUREMENTS", measurementsPath, "vxcam.arg.measurements")
            ->required();
        AddResolutionOptions(app, resolution);
        AddResidualLimitOption(app, options.residualLimitUm);
        AddSolveOptions(app, options);
        AddOutputOption(app, outputPath, "vxcam.opt.output_measurements", false);
        app.add_option("--save-transform", mapPath, Text("vxcam.opt.save_transform"))
            ->option_text(Text("vxcam.help.file"))
            ->check(NonEmptyPath());
        AddJsonFlag(app, json);
      },
      [&] {
        if (IsStandardStream(outputPath) && IsStandardStream(mapPath))
          throw TUsageError(Text("vxcam.error.stdout_twice"));
        const TVxCameraInfo camera = LoadCamera(cameraPath, io);
        TVxIntOrMeas measurements = LoadMeasurements(measurementsPath, io);
        ApplyResolution(resolution, measurements);
        const TSolvedScan scan =
            SolveScan(camera, std::move(measurements), measurementsPath, options);
        // A file sent to standard output takes it whole; the report goes to standard error.
        std::ostream& report = ReportStream(io, IsStandardStream(mapPath) ? mapPath : outputPath);
        if (json)
          WriteJson(report, SolutionToJson(scan, camera));
        else
          WriteRows(report, DescribeSolution(scan, camera));
        if (!outputPath.empty()) {
          SaveMeasurements(scan.measurements, outputPath, io);
          if (!json) ReportWritten(io, outputPath);
        }
        if (!mapPath.empty()) {
          SavePixToCamMap(scan.solution.map, mapPath, io);
          if (!json) ReportWritten(io, mapPath);
        }
        return kExitSuccess;
      });
}

}  // namespace vxcam
