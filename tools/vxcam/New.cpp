#include <map>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamText.h"

namespace vxcam {
namespace {

enum class TNewKind { Digital, Dmc };

const std::map<std::string, TNewKind> kKinds = {{"digital", TNewKind::Digital},
                                                {"dmc", TNewKind::Dmc}};

}  // namespace

int RunNew(const TArgs& args, TIo& io) {
  std::string kind;
  std::string outputPath;
  return RunCommand(
      "new", "vxcam.new.summary", args, io,
      [&](CLI::App& app) {
        app.add_option("KIND", kind, Text("vxcam.arg.kind"))
            ->required()
            ->option_text("digital|dmc")
            ->check(CLI::IsMember({"digital", "dmc"}));
        AddOutputOption(app, outputPath, "vxcam.opt.output_camera", true);
      },
      [&] {
        SaveCamera(
            kKinds.at(kind) == TNewKind::Dmc ? CreateDefaultDMCCamera() : CreateDefaultCamera(),
            outputPath, io);
        ReportWritten(io, outputPath);
        return kExitSuccess;
      });
}

}  // namespace vxcam
