#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamPlot.h"
#include "VxCamText.h"

namespace vxcam {

int RunPlot(const TArgs& args, TIo& io) {
  std::string cameraPath;
  std::string outputPath;
  return RunCommand(
      "plot", "vxcam.plot.summary", args, io,
      [&](CLI::App& app) {
        app.add_option("CAMERA", cameraPath, Text("vxcam.arg.camera"))
            ->type_name(Text("vxcam.help.file"))
            ->required();
        AddOutputOption(app, outputPath, "vxcam.opt.output_svg", true);
      },
      [&] {
        const TVxCameraInfo camera = LoadCamera(cameraPath);
        const std::string svg = WithContentOf(cameraPath, [&] { return PlotCameraSvg(camera); });
        WriteFileAtomically(outputPath, svg);
        ReportWritten(io, outputPath);
        return kExitSuccess;
      });
}

}  // namespace vxcam
