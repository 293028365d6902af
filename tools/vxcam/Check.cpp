#include <ostream>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"

namespace vxcam {
namespace {

// The outcome of Verify and IntOrReady: ready with a warning is ready.
struct TCheckResult {
  bool consistent = false;
  bool ready = false;
  std::string message;  // the reason when not ready, else the warning, if any
};

TCheckResult Check(const TVxIntOrMeas& measurements, const TVxCameraInfo& camera) {
  TCheckResult result;
  result.consistent = measurements.Verify(camera, &result.message);
  if (result.consistent) result.ready = measurements.IntOrReady(camera, &result.message);
  return result;
}

void WriteResult(std::ostream& out, const TCheckResult& result) {
  TRows rows{{0, Text("vxcam.label.consistent"), YesNo(result.consistent)},
             {0, Text("vxcam.label.ready"), YesNo(result.ready)}};
  if (!result.message.empty())
    rows.push_back(
        {0, Text(result.ready ? "vxcam.label.warning" : "vxcam.label.reason"), result.message});
  WriteRows(out, rows);
}

nlohmann::ordered_json ResultToJson(const TCheckResult& result) {
  nlohmann::ordered_json json = {{"consistent", result.consistent}, {"ready", result.ready}};
  json["reason"] = result.ready ? nlohmann::ordered_json() : nlohmann::ordered_json(result.message);
  json["warning"] = result.ready && !result.message.empty() ? nlohmann::ordered_json(result.message)
                                                            : nlohmann::ordered_json();
  return json;
}

}  // namespace

int RunCheck(const TArgs& args, TIo& io) {
  std::string cameraPath;
  std::string measurementsPath;
  bool json = false;
  return RunCommand(
      "check", "vxcam.check.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        AddFileArgument(app, "MEASUREMENTS", measurementsPath, "vxcam.arg.measurements")
            ->required();
        AddJsonFlag(app, json);
      },
      [&] {
        const TVxCameraInfo camera = LoadCamera(cameraPath);
        const TCheckResult result = Check(LoadMeasurements(measurementsPath), camera);
        if (json)
          WriteJson(io.out, ResultToJson(result));
        else
          WriteResult(io.out, result);
        return result.ready ? kExitSuccess : kExitCheckFailed;
      });
}

}  // namespace vxcam
