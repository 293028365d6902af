#include "VxCamApp.h"
#include "VxCamExchange.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"

namespace vxcam {

int RunImport(const TArgs& args, TIo& io) {
  std::string first, second, outputPath;
  double pixelSizeUm = 0.0;
  std::uint64_t cameraId = 0;
  bool json = false;
  return RunCommand(
      "import", "vxcam.import.summary", args, io,
      [&](CLI::App& app) {
        app.add_option("FORMAT", first, Text("vxcam.arg.exchange_format"));
        AddFileArgument(app, "FILE", second, "vxcam.arg.exchange_file");
        app.add_option("--pixel-size", pixelSizeUm, Text("vxcam.opt.pixel_size"))
            ->option_text("UM")
            ->required()
            ->check(PositiveNumber());
        app.add_option("--camera-id", cameraId, Text("vxcam.opt.camera_id"))->option_text("N");
        AddOutputOption(app, outputPath, "vxcam.opt.output_camera", true);
        AddJsonFlag(app, json);
      },
      [&] {
        SortFormatAndFile(first, second);
        const std::string content = ReadWholeFile(second, io);
        TVxExchangeOptions options;
        options.path = second;
        options.pixelSizeMm = pixelSizeUm / 1000.0;
        if (cameraId != 0) options.cameraId = cameraId;
        const TVxExchangeFormat format =
            first.empty() ? GuessExchangeFormatE(content, second) : *TextToExchangeFormat(first);
        const TVxImportResult result = ImportCameraE(content, format, options);
        SaveCamera(result.camera, outputPath, io);
        ReportExchange(io, format, result.report, outputPath, json);
        return kExitSuccess;
      });
}

}  // namespace vxcam
