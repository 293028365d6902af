#pragma once
// The interior orientation of a scan as the tool solves, reports and draws it: the measurements
// of a file solved with a camera, the report as rows for people and as JSON for programs.

#include <nlohmann/json.hpp>
#include <string>

#include "VxCamCommands.h"
#include "VxCamFormat.h"
#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"
#include "VxIntOrSolve.h"
#include "VxTransformHandle.h"

namespace CLI {
class App;
}

namespace vxcam {

// Adds the options of solving a scan that every command solving one offers: --y-up and
// --minimise pixels|camera.
void AddSolveOptions(CLI::App& app, TVxIntOrSolveOptions& options);

// The maps between a scan's pixels and the camera system: of measurements solved with the camera,
// or of a map that `solve --save-transform` wrote (LoadScanFile). `options` apply to solving;
// with a map file that ignores them a warning goes to io.err.
struct TPixelMaps {
  TransformHandle pixToCam;
  TransformHandle camToPix;
};
TPixelMaps PixelMapsOfScan(const TVxCameraInfo& camera, const std::string& path,
                           const TVxIntOrSolveOptions& options, const char* command, TIo& io);

// The measurements of one file and their solution; the measurements carry the residuals the
// solution filled in.
struct TSolvedScan {
  TVxIntOrMeas measurements;
  TVxIntOrSolution solution;
};

// Solves `measurements`, read from `measurementsPath`, with `camera`. Throws TNotSolvedError
// naming the file and the localised reason when they cannot be solved.
TSolvedScan SolveScan(const TVxCameraInfo& camera, TVxIntOrMeas measurements,
                      const std::string& measurementsPath, const TVxIntOrSolveOptions& options);

// The report: the transform in a person's terms, the redundancy, the residuals as a table and the
// warnings.
TRows DescribeSolution(const TSolvedScan& scan, const TVxCameraInfo& camera);
// The same for programs: lengths in the units their keys name, enumerations as file texts.
nlohmann::ordered_json SolutionToJson(const TSolvedScan& scan, const TVxCameraInfo& camera);

}  // namespace vxcam
