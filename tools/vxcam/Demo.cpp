#include <filesystem>
#include <fstream>
#include <ostream>
#include <system_error>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"
#include "VxScan.h"
#include "VxScanSynthetic.h"

namespace vxcam {
namespace {

// One step of the tour: a heading, the command line as a user would type it, and its run.
int Step(TIo& io, const char* headingKey, TRunFunction run, const char* name, const TArgs& args) {
  io.out << "\n== " << Text(headingKey) << "\n$ vxcam " << name;
  for (const auto& arg : args) io.out << ' ' << arg;
  io.out << '\n';
  return run(args, io);
}

void Tour(TIo& io, const std::string& examples, const std::string& outDir) {
  const std::string camera = DisplayPath(examples + "/cameras/rc10_radial.yaml");
  const auto scan = [&](const char* name) {
    return DisplayPath(examples + "/measurements/" + name + ".yaml");
  };
  const std::string fitted = outDir + "/rc10_formula.yaml";
  const std::string radialSvg = outDir + "/rc10_radial.svg";
  const std::string directedSvg = outDir + "/rc10_directed8.svg";
  const auto must = [](int status) {
    if (status >= kExitUsage) throw TContentError(Text("vxcam.error.demo_step"));
  };
  must(Step(io, "vxcam.demo.show", RunShow, "show", {camera}));
  for (const char* name : {"rc10_scan_complete", "rc10_scan_two_missing", "rc10_scan_unknown_mark"})
    must(Step(io, "vxcam.demo.check", RunCheck, "check", {camera, scan(name)}));
  const std::string solved = outDir + "/rc10_scan_solved.yaml";
  must(Step(io, "vxcam.demo.solve", RunSolve, "solve",
            {camera, scan("rc10_scan_complete"), "-o", solved}));
  must(Step(io, "vxcam.demo.fit", RunFit, "fit", {camera, "--model", "formula", "-o", fitted}));
  must(Step(io, "vxcam.demo.plot_scan", RunPlot, "plot",
            {camera, scan("rc10_scan_complete"), "-o", radialSvg}));
  must(Step(io, "vxcam.demo.plot", RunPlot, "plot",
            {DisplayPath(examples + "/cameras/rc10_directed8.yaml"), "-o", directedSvg}));
  io.out << "\n== " << Text("vxcam.demo.written") << '\n';
  for (const auto& path : {solved, fitted, radialSvg, directedSvg}) io.out << "  " << path << '\n';
}

// A scan of the RC10 camera written by the demo itself: its four corner marks drawn (each of its
// own shape, so that the scan's orientation shows), at 100 µm a pixel so that the file stays
// small, turned a quarter, 1 % too large and off centre; then measured, solved and resampled.
void ScanTour(TIo& io, const std::string& examples, const std::string& outDir) {
  const std::string cameraPath = DisplayPath(examples + "/cameras/rc10_radial.yaml");
  const TVxCameraInfo camera = LoadCamera(cameraPath);
  const std::string folder = outDir + "/scan";
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw TFileError(folder + ": " + error.message());
  constexpr double kPixelUm = 100.0;
  constexpr int kMarkSize = 41;
  const TVxDrawnMark kinds[4] = {TVxDrawnMark::CrossWithDot, TVxDrawnMark::RingWithBar,
                                 TVxDrawnMark::Triangle, TVxDrawnMark::Notch};
  TCameraMarkTemplates templates;
  templates.templatePixelSize = kPixelUm;
  templates.defaultScanSize = {240.0, 240.0};
  std::vector<TVxRaster> images;
  std::string yaml =
      "template_pixel_size_um: 100\ndefault_scan_size_mm: {x: 240, y: 240}\n"
      "mark_templates:\n";
  try {
    for (std::size_t i = 0; i < camera.fiducials.size(); ++i) {
      const TVxCameraInfo::TFiducial& fiducial = camera.fiducials[i];
      TCameraMarkTemplates::TMarkTemplate mark;
      mark.index = fiducial.templateIndex;
      mark.coordsCam = fiducial.coordsCam;
      mark.fileName = "mark" + std::to_string(mark.index) + ".tif";
      mark.halfSizeReduced = {16, 16};
      templates.templates.push_back(mark);
      images.push_back(DrawMarkTemplate(kinds[i % 4], kMarkSize));
      WriteRaster(folder + "/" + mark.fileName, images.back(), TVxRasterWriteOptions());
      yaml += "  - {template_index: " + std::to_string(mark.index) +
              ", coords_cam: {x: " + FormatExact(mark.coordsCam.x) +
              ", y: " + FormatExact(mark.coordsCam.y) + "}, filename: " + mark.fileName +
              ", half_size_reduced: {x: 16, y: 16}}\n";
    }
    TVxSyntheticScanOptions options;
    options.width = options.height = 2500;
    options.quarterTurns = 1;
    options.scaleX = options.scaleY = 1.01;
    options.angleDeg = 0.4;
    options.offsetPix = {14.0, -9.0};
    WriteSyntheticScan(folder + "/rc10_synthetic_scan.tif", camera, templates, images, options);
  } catch (const TVxScanError& e) {
    throw TFileError(e.what());
  }
  WriteOutput(folder + "/marks.yaml", yaml, io);
  const std::string scanPath = folder + "/rc10_synthetic_scan.tif";
  const std::string measured = folder + "/rc10_synthetic_measured.yaml";
  const std::string image = folder + "/rc10_synthetic_camera.tif";
  const auto must = [](int status) {
    if (status >= kExitUsage) throw TContentError(Text("vxcam.error.demo_step"));
  };
  io.out << "\n== " << Text("vxcam.demo.scan_written") << "\n  " << scanPath << '\n';
  must(Step(io, "vxcam.demo.measure", RunMeasure, "measure",
            {scanPath, cameraPath, folder + "/marks.yaml", "-o", measured}));
  must(Step(io, "vxcam.demo.solve_measured", RunSolve, "solve", {cameraPath, measured}));
  must(Step(io, "vxcam.demo.resample", RunResample, "resample",
            {scanPath, cameraPath, measured, "-o", image, "--undistort"}));
}

}  // namespace

int RunDemo(const TArgs& args, TIo& io) {
  std::string examples = FindExamplesDir();
  std::string outDir = "vxcam-demo";
  bool withScan = false;
  return RunCommand(
      "demo", "vxcam.demo.summary", args, io,
      [&](CLI::App& app) {
        app.add_option("--examples", examples, Text("vxcam.opt.examples"))
            ->option_text(Text("vxcam.help.folder"));
        app.add_option("-o,--output", outDir, Text("vxcam.opt.output_folder"))
            ->option_text(Text("vxcam.help.folder"))
            ->check(NonEmptyPath());
        app.add_flag("--scan", withScan, Text("vxcam.opt.demo_scan"));
      },
      [&] {
        std::error_code error;
        std::filesystem::create_directories(outDir, error);
        if (error) throw TFileError(outDir + ": " + error.message());
        io.out << Text("vxcam.demo.intro") << '\n';
        Tour(io, examples, outDir);
        if (withScan) ScanTour(io, examples, outDir);
        return kExitSuccess;
      });
}

}  // namespace vxcam
