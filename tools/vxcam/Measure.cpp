#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamSolution.h"
#include "VxCamText.h"
#include "VxScan.h"
#include "VxScanResample.h"
#include "VxXIni.h"

namespace vxcam {
namespace {

// A bar on standard error for work that takes longer than a second; nothing for less.
class TProgressBar {
 public:
  TProgressBar(std::ostream& err, const char* command) : err_(err), command_(command) {}
  ~TProgressBar() {
    if (shown_) err_ << '\n' << std::flush;
  }
  TProgressBar(const TProgressBar&) = delete;
  TProgressBar& operator=(const TProgressBar&) = delete;

  void Update(double share) {
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    if (seconds < 1.0 && !shown_) return;
    const int width = 30;
    const int filled = static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * width));
    err_ << "\rvxcam " << command_ << ": " << Text("vxcam.measure.progress") << " ["
         << std::string(static_cast<std::size_t>(filled), '#')
         << std::string(static_cast<std::size_t>(width - filled), '.') << "] "
         << static_cast<int>(std::lround(share * 100.0)) << " %" << std::flush;
    shown_ = true;
  }

 private:
  std::ostream& err_;
  const char* command_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  bool shown_ = false;
};

TCameraMarkTemplates LoadTemplates(const std::string& path) {
  const std::unique_ptr<TVxXIniReader> reader = TVxXIniReader::FromFile(path);
  TCameraMarkTemplates templates;
  templates.LoadE(reader.get());
  return templates;
}

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

std::string StatusText(TVxMarkStatus status) {
  return Text((std::string("vxcam.measure.status.") + MarkStatusToText(status)).c_str());
}

std::string OrientationText(const TVxScanMeasurement& result) {
  std::string text = std::to_string(90 * result.quarterTurns) + "°";
  if (result.mirrored) text += ", " + Text("vxcam.measure.mirrored");
  return text;
}

void WriteReport(std::ostream& out, const TVxScanImage& scan, const TVxScanMeasurement& result) {
  const std::string px = UnitsPixUserTextAbbr();
  TRows rows = {
      {0, Text("vxcam.label.scan"),
       std::to_string(scan.Width()) + " × " + std::to_string(scan.Height()) + " " + px},
      {0, Text("vxcam.label.orientation"),
       OrientationText(result) + " (" + Text("vxcam.measure.correlation") + " " +
           FormatFixed(result.orientationScore, 3) + ", " + Text("vxcam.measure.next_best") + " " +
           FormatFixed(result.secondOrientationScore, 3) + ")"},
      {0, Text("vxcam.label.scale"), FormatFixed(result.scale, 5)},
      {0, Text("vxcam.label.measured_marks"),
       std::to_string(result.meas.marks.size()) + " / " + std::to_string(result.marks.size()) +
           ", RMS " + FormatFixed(result.rmsPix, 3) + " " + px},
      {0, Text("vxcam.label.mark_reports"), ""}};
  for (const TVxMarkReport& mark : result.marks) {
    std::string value = StatusText(mark.status);
    if (mark.status == TVxMarkStatus::Measured || mark.status == TVxMarkStatus::Rejected ||
        mark.status == TVxMarkStatus::Ambiguous || mark.status == TVxMarkStatus::LowScore ||
        mark.status == TVxMarkStatus::Disturbed) {
      value += ": " + FormatFixed(mark.coordsPix.x, 3) + ", " + FormatFixed(mark.coordsPix.y, 3) +
               " " + px + "; " + Text("vxcam.measure.correlation") + " " +
               FormatFixed(mark.score, 3) + ", " + Text("vxcam.measure.second_peak") + " " +
               FormatFixed(mark.secondScore, 3);
      if (mark.status == TVxMarkStatus::Measured || mark.status == TVxMarkStatus::Rejected)
        value += "; " + Text("vxcam.measure.residual") + " " + FormatFixed(mark.residualPix, 3) +
                 " " + px;
      if (mark.status == TVxMarkStatus::Disturbed)
        value += "; " + Text("vxcam.measure.disturbance") + " " +
                 FormatFixed(mark.disturbancePix, 3) + " " + px;
    }
    rows.push_back({1, std::to_string(mark.index), value});
  }
  WriteRows(out, rows);
}

nlohmann::ordered_json ReportJson(const TVxScanImage& scan, const TVxScanMeasurement& result) {
  nlohmann::ordered_json marks = nlohmann::ordered_json::array();
  for (const TVxMarkReport& mark : result.marks) {
    nlohmann::ordered_json m = {{"index", mark.index},
                                {"template_index", mark.templateIndex},
                                {"status", MarkStatusToText(mark.status)},
                                {"predicted_pix", PointToJson(mark.predictedPix)}};
    if (mark.status != TVxMarkStatus::NoTemplate && mark.status != TVxMarkStatus::OutsideScan) {
      m["coords_pix"] = PointToJson(mark.coordsPix);
      m["score"] = mark.score;
      m["second_score"] = mark.secondScore;
      m["residual_pix"] = mark.residualPix;
      m["disturbance_pix"] = mark.disturbancePix;
    }
    marks.push_back(m);
  }
  return {{"scan", {{"width", scan.Width()}, {"height", scan.Height()}, {"bits", scan.Bits()}}},
          {"quarter_turns", result.quarterTurns},
          {"mirrored", result.mirrored},
          {"orientation_score", result.orientationScore},
          {"second_orientation_score", result.secondOrientationScore},
          {"scale", result.scale},
          {"rms_pix", result.rmsPix},
          {"measured", result.meas.marks.size()},
          {"marks", marks}};
}

// A correlation coefficient: a number from -1 to 1.
CLI::Validator CorrelationValue() {
  return NumberValidator([](double value) { return value >= -1.0 && value <= 1.0; },
                         "vxcam.error.not_a_correlation", "CORRELATION");
}

// The file beside a resampled image that holds its pixel-to-camera map.
std::string MapPathOf(const std::string& imagePath) {
  return imagePath + ".pix_to_cam.yaml";
}

}  // namespace

int RunMeasure(const TArgs& args, TIo& io) {
  std::string scanPath, cameraPath, templatesPath, outputPath;
  TVxMeasureOptions options;
  bool json = false;
  return RunCommand(
      "measure", "vxcam.measure.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "SCAN", scanPath, "vxcam.arg.scan")->required();
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        AddFileArgument(app, "TEMPLATES", templatesPath, "vxcam.arg.templates")->required();
        AddOutputOption(app, outputPath, "vxcam.opt.output_measured", true);
        app.add_option("--search-radius", options.searchRadiusMm, Text("vxcam.opt.search_radius"))
            ->option_text("MM")
            ->check(PositiveNumber());
        app.add_option("--min-score", options.minScore, Text("vxcam.opt.min_score"))
            ->option_text("R")
            ->check(CorrelationValue());
        app.add_option("--reject-limit", options.rejectResidualUm, Text("vxcam.opt.reject_limit"))
            ->option_text("UM")
            ->check(PositiveNumber());
        app.add_option("--threads", options.threads, Text("vxcam.opt.scan_threads"))
            ->option_text("N")
            ->check(CLI::Range(1, 64));
        AddJsonFlag(app, json);
      },
      [&] {
        const TVxCameraInfo camera = LoadCamera(cameraPath);
        const TCameraMarkTemplates templates = LoadTemplates(templatesPath);
        std::unique_ptr<TVxScanImage> scan;
        std::vector<TVxRaster> images;
        try {
          scan = std::make_unique<TVxScanImage>(scanPath);
          images = LoadMarkTemplateImages(templates, FolderOf(templatesPath));
        } catch (const TVxScanError& e) {
          throw TFileError(e.what());
        }
        TProgressBar bar(io.err, "measure");
        options.progress = [&bar](double share) { bar.Update(share); };
        TVxScanMeasurement result;
        try {
          result = MeasureMarks(*scan, camera, templates, images, options);
        } catch (const TVxScanError& e) {
          throw TContentError(scanPath + ": " + e.what());
        }
        std::ostream& report = ReportStream(io, outputPath);
        if (json)
          WriteJson(report, ReportJson(*scan, result));
        else
          WriteReport(report, *scan, result);
        if (result.meas.marks.size() < 2) throw TNotSolvedError(Text("vxcam.measure.too_few"));
        SaveMeasurements(result.meas, outputPath, io);
        if (!json) ReportWritten(io, outputPath);
        return kExitSuccess;
      });
}

int RunResample(const TArgs& args, TIo& io) {
  std::string scanPath, cameraPath, measurementsPath, outputPath;
  TVxResampleOptions options;
  bool bilinear = false;
  bool json = false;
  return RunCommand(
      "resample", "vxcam.resample.summary", args, io,
      [&](CLI::App& app) {
        AddFileArgument(app, "SCAN", scanPath, "vxcam.arg.scan")->required();
        AddFileArgument(app, "CAMERA", cameraPath, "vxcam.arg.camera")->required();
        AddFileArgument(app, "MEASUREMENTS", measurementsPath, "vxcam.arg.scan_map")->required();
        AddOutputOption(app, outputPath, "vxcam.opt.output_image", true);
        app.add_option("--pixel-size", options.pixelSizeUm, Text("vxcam.opt.pixel_size_image"))
            ->option_text("UM")
            ->check(PositiveNumber());
        app.add_flag("--undistort", options.undistort, Text("vxcam.opt.undistort"));
        app.add_flag("--bilinear", bilinear, Text("vxcam.opt.bilinear"));
        app.add_option("--threads", options.threads, Text("vxcam.opt.scan_threads"))
            ->option_text("N")
            ->check(CLI::Range(1, 64));
        AddJsonFlag(app, json);
      },
      [&] {
        if (IsStandardStream(outputPath)) throw TUsageError(Text("vxcam.resample.not_stdout"));
        const TVxCameraInfo camera = LoadCamera(cameraPath);
        TScanFile scanFile = LoadScanFile(measurementsPath, io);
        TVxPixToCamMap map;
        if (scanFile.map) {
          map = *scanFile.map;
        } else {
          map = SolveScan(camera, std::move(scanFile.measurements), measurementsPath,
                          TVxIntOrSolveOptions())
                    .solution.map;
        }
        if (bilinear) options.interpolation = TVxInterpolation::Bilinear;
        std::unique_ptr<TVxScanImage> scan;
        try {
          scan = std::make_unique<TVxScanImage>(scanPath);
        } catch (const TVxScanError& e) {
          throw TFileError(e.what());
        }
        TVxResampleResult result;
        {
          TProgressBar bar(io.err, "resample");
          options.progress = [&bar](double share) { bar.Update(share); };
          try {
            result = ResampleScan(*scan, camera, map, outputPath, options);
          } catch (const TVxScanError& e) {
            throw TFileError(e.what());
          }
        }
        const std::string mapPath = MapPathOf(outputPath);
        try {
          SavePixToCamMap(result.map, mapPath, io);
        } catch (...) {
          std::remove(outputPath.c_str());
          throw;
        }
        if (json) {
          WriteJson(io.out, {{"width", result.width},
                             {"height", result.height},
                             {"pixel_size_um", result.pixelSizeUm},
                             {"undistorted", options.undistort},
                             {"interpolation", bilinear ? "bilinear" : "bicubic"},
                             {"output", outputPath},
                             {"pix_to_cam", mapPath}});
        } else {
          WriteRows(io.out,
                    {{0, Text("vxcam.label.image"),
                      std::to_string(result.width) + " × " + std::to_string(result.height) + " " +
                          UnitsPixUserTextAbbr() + ", " + FormatNumber(result.pixelSizeUm, 6) +
                          " " + UnitsCamMkmUserTextAbbr()},
                     {0, Text("vxcam.label.undistorted"), YesNo(options.undistort)}});
          ReportWritten(io, outputPath);
          ReportWritten(io, mapPath);
        }
        return kExitSuccess;
      });
}

}  // namespace vxcam
