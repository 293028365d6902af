#include "VxCamApp.h"
#include "VxCamExchange.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"

namespace vxcam {

int RunExport(const TArgs& args, TIo& io) {
  std::string first, second, outputPath;
  double pixelSizeUm = 0.0;
  double frameMm = 0.0;
  std::uint64_t cameraId = 0;
  bool json = false;
  return RunCommand(
      "export", "vxcam.export.summary", args, io,
      [&](CLI::App& app) {
        app.add_option("FORMAT", first, Text("vxcam.arg.exchange_format_out"));
        AddFileArgument(app, "CAMERA", second, "vxcam.arg.camera");
        app.add_option("--pixel-size", pixelSizeUm, Text("vxcam.opt.pixel_size_film"))
            ->option_text("UM")
            ->check(PositiveNumber());
        app.add_option("--frame", frameMm, Text("vxcam.opt.frame"))
            ->option_text("MM")
            ->check(PositiveNumber());
        app.add_option("--camera-id", cameraId, Text("vxcam.opt.camera_id_out"))->option_text("N");
        AddOutputOption(app, outputPath, "vxcam.opt.output_exchange", true);
        AddJsonFlag(app, json);
      },
      [&] {
        SortFormatAndFile(first, second);
        const std::optional<TVxExchangeFormat> format =
            first.empty() ? FormatOfName(outputPath) : TextToExchangeFormat(first);
        if (!format) throw TUsageError(Text("vxcam.exchange.format_of_name") + " " + outputPath);
        const TVxCameraInfo camera = LoadCamera(second, io);
        TVxExchangeOptions options;
        options.pixelSizeMm = pixelSizeUm / 1000.0;
        options.frameMm = frameMm;
        if (cameraId != 0) options.cameraId = cameraId;
        TVxExportResult result;
        try {
          result = ExportCameraE(camera, *format, options);
        } catch (const TVxExchangeError& e) {
          throw TContentError(second + ": " + e.what());
        }
        WriteOutput(outputPath, result.content, io);
        ReportExchange(io, *format, result.report, outputPath, json);
        return kExitSuccess;
      });
}

}  // namespace vxcam
