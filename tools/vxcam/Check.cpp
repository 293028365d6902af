#include <ostream>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"
#include "VxResources.h"

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

// The resource key whose text in the language in force is `message`: the checks answer with the
// text alone, and programs want the key, which stays the same in every language.
std::string KeyOfMessage(const std::string& message, const char* prefix) {
  for (const std::string& key : VxResKeys("VxCameraUtils", VxGetResLanguage())) {
    const std::string* text = nullptr;
    if (key.rfind(prefix, 0) == 0 && LoadResString("VxCameraUtils", key, &text) &&
        *text == message) {
      return key;
    }
  }
  return std::string();
}

// {"key": ..., "text": ...} as solve writes its warnings, or null.
nlohmann::ordered_json Message(const std::string& message, const char* prefix, bool present) {
  if (!present || message.empty()) return nlohmann::ordered_json();
  return {{"key", KeyOfMessage(message, prefix)}, {"text", message}};
}

nlohmann::ordered_json ResultToJson(const TCheckResult& result) {
  return {{"consistent", result.consistent},
          {"ready", result.ready},
          {"reason", Message(result.message, "global.Err_", !result.ready)},
          {"warning", Message(result.message, "global.Warn_", result.ready)}};
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
        const TVxCameraInfo camera = LoadCamera(cameraPath, io);
        const TCheckResult result = Check(LoadMeasurements(measurementsPath, io), camera);
        if (json)
          WriteJson(io.out, ResultToJson(result));
        else
          WriteResult(io.out, result);
        return result.ready ? kExitSuccess : kExitCheckFailed;
      });
}

}  // namespace vxcam
