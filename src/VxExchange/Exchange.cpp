// The import and export of a camera: the format's reader or writer, the exact conversion where
// the models agree, the fit where they do not, and the texts of the numbers written.
#include <cmath>
#include <cstdlib>

#include <sstream>

#include "CameraConversion.h"
#include "ColmapModels.h"
#include "ExchangeText.h"
#include "FormatIo.h"
#include "VxCameraMath.h"
#include "VxExchange.h"
#include "XmlFiles.h"
#include "YamlFiles.h"

namespace vx_exchange {
namespace {

TFormatIo IoOf(TVxExchangeFormat format) {
  switch (format) {
    case TVxExchangeFormat::OpenCvYaml:
      return OpenCvYamlIo();
    case TVxExchangeFormat::OpenCvXml:
      return OpenCvXmlIo();
    case TVxExchangeFormat::Ros:
      return RosIo();
    case TVxExchangeFormat::ColmapText:
      return ColmapTextIo();
    case TVxExchangeFormat::ColmapBinary:
      return ColmapBinaryIo();
    case TVxExchangeFormat::Metashape:
      return MetashapeIo();
  }
  Fail("", "format", "unknown format " + std::to_string(static_cast<int>(format)));
}

std::string BaseName(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The numbers of a camera that an import sets: what a written number must reproduce.
std::vector<double> Fields(const TVxCameraInfo& c) {
  const TVxCameraDistortion& d = c.distortion;
  return {static_cast<double>(d.type),
          c.focus,
          c.pixelSize.x,
          c.pixelSize.y,
          c.principalPoint.x,
          c.principalPoint.y,
          d.symmetryPoint.x,
          d.symmetryPoint.y,
          d.k1,
          d.k2,
          d.k3,
          d.k4,
          d.k5,
          d.p1,
          d.p2,
          d.p3,
          d.p4,
          d.b1,
          d.b2,
          d.a1,
          d.a2};
}

std::size_t Matches(const std::vector<double>& a, const std::vector<double>& b) {
  std::size_t same = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (a[i] == b[i]) ++same;
  return same;
}

TPixelCamera Apply(const std::vector<TParam>& params, const std::vector<double>& values,
                   TPixelCamera base) {
  for (std::size_t i = 0; i < params.size(); ++i) params[i].set(base, values[i]);
  return base;
}

// Chooses for each number the text with the fewest digits that imports back to the same
// camera as the number itself, trying its neighbours too when the number alone does not (a
// conversion by f^2 can land between two numbers of the file's side).
void ChooseTexts(std::vector<TParam>* params, const TPixelCamera& base, double sx,
                 const TVxCameraInfo& target) {
  const std::vector<double> want = Fields(target);
  std::vector<double> values;
  for (const TParam& p : *params) values.push_back(p.value);
  for (std::size_t i = 0; i < params->size(); ++i) {
    auto score = [&](double v) {
      values[i] = v;
      return Matches(Fields(ToCamera(Apply(*params, values, base), sx)), want);
    };
    double best = (*params)[i].value;
    std::size_t bestScore = score(best);
    double up = best, down = best;
    for (int step = 0; step < 2; ++step) {
      up = std::nextafter(up, INFINITY);
      down = std::nextafter(down, -INFINITY);
      for (double v : {up, down}) {
        const std::size_t s = score(v);
        if (s > bestScore) bestScore = s, best = v;
      }
    }
    // A text must give the camera that the number itself gives, or a better one.
    values[i] = best;
    const std::vector<double> bestFields = Fields(ToCamera(Apply(*params, values, base), sx));
    for (int digits = 1; digits <= 17; ++digits) {
      const std::string text = FormatDigits(best, digits);
      const double parsed = std::strtod(text.c_str(), nullptr);
      values[i] = parsed;
      const std::vector<double> got = Fields(ToCamera(Apply(*params, values, base), sx));
      if (digits == 17 || got == bestFields || Matches(got, want) > bestScore) {
        (*params)[i].text = text;
        break;
      }
    }
  }
}

// A camera whose distortion the format cannot hold: the Formula model fitted to its transform.
TVxCameraInfo FittedTarget(const TVxCameraInfo& camera, const TFrame& frame, bool k4) {
  const TransformHandle transform = CreateCamToMmTransform(camera);
  const TCamToMm source = [&transform](const TPoint& p) { return transform->TransformPoint(p); };
  TVxCameraInfo target = camera;
  target.distortion = FitFormula(source, camera, frame, k4, false);
  return target;
}

// A camera with rational terms or skew: the Formula model fitted to the source's own transform,
// with the terms the source's format holds (k4 for Metashape), so that the camera goes back into
// it without a second fit.
void FittedImport(const TPixelCamera& pixel, double sx, bool k4, const std::string& path,
                  TVxImportResult* result) {
  TPixelCamera bare = pixel;
  bare.k = {};
  bare.d = {};
  bare.p1 = bare.p2 = bare.p3 = bare.p4 = 0.0;
  bare.skew = 0.0;
  result->camera = ToCamera(bare, sx);
  const TFrame frame{pixel.width, pixel.height, sx, result->camera.pixelSize.y, {}};
  const TCamToMm source = PixelCamToMm(pixel, frame);
  try {
    result->camera.distortion = FitFormula(source, result->camera, frame, k4, pixel.skew != 0.0);
  } catch (const TVxExchangeError& e) {
    Fail(path, "", e.what());
  }
  const std::array<double, 2> deviation = MaxDeviation(source, result->camera, frame);
  if (!std::isfinite(deviation[0]))
    Fail(path, "", "the fitted distortion cannot be inverted over the whole sensor");
  result->report.fitted = true;
  result->report.maxDeviationMm = deviation[0];
  result->report.maxDeviationPx = deviation[1];
}

// The deviation of a fitted export: the camera against what the written numbers import to.
void MeasureWritten(const TVxCameraInfo& camera, const std::vector<TParam>& params,
                    const TPixelCamera& base, const TFrame& frame, TVxExchangeReport* report) {
  std::vector<double> values;
  for (const TParam& p : params) values.push_back(std::strtod(p.text.c_str(), nullptr));
  const TVxCameraInfo written = ToCamera(Apply(params, values, base), frame.sx);
  const TransformHandle transform = CreateCamToMmTransform(camera);
  const TCamToMm source = [&transform](const TPoint& p) { return transform->TransformPoint(p); };
  const std::array<double, 2> deviation = MaxDeviation(source, written, frame);
  if (!std::isfinite(deviation[0]))
    Fail("", "", "the camera's distortion cannot be mapped over the whole sensor");
  report->maxDeviationMm = deviation[0];
  report->maxDeviationPx = deviation[1];
}

// An XML file by its root element.
TVxExchangeFormat GuessXml(const std::string& content, const std::string& path) {
  pugi::xml_document document;
  LoadXmlE(&document, content, path);
  const std::string root = document.document_element().name();
  if (root == "opencv_storage") return TVxExchangeFormat::OpenCvXml;
  if (root == "calibration") return TVxExchangeFormat::Metashape;
  Fail(path, root, "an XML root of neither OpenCV (opencv_storage) nor Metashape (calibration)");
}

// A YAML mapping by its keys: ROS names its distortion model, OpenCV its camera matrix.
std::optional<TVxExchangeFormat> GuessYaml(const std::string& content) {
  YAML::Node root;
  try {
    root = LoadYamlE(content, "");
  } catch (const TVxExchangeError&) {
    return std::nullopt;
  }
  if (root["distortion_model"]) return TVxExchangeFormat::Ros;
  for (const char* key : {"camera_matrix", "Camera_Matrix", "cameraMatrix"})
    if (root[key]) return TVxExchangeFormat::OpenCvYaml;
  return std::nullopt;
}

// COLMAP's text: the first line that is not a comment names a model COLMAP knows.
bool LooksLikeColmapText(const std::string& content) {
  std::istringstream lines(content);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string id, model;
    if (!(words >> id) || id[0] == '#') continue;
    bool fisheye = false;
    return (words >> model) && ColmapParamCount(model, &fisheye) >= 0;
  }
  return false;
}

}  // namespace

const std::string& TextOf(const std::vector<TParam>& params, const std::string& name) {
  for (const TParam& p : params)
    if (p.name == name) return p.text;
  static const std::string zero = "0";
  return zero;
}

}  // namespace vx_exchange

using namespace vx_exchange;

std::string ExchangeFormatToText(TVxExchangeFormat format) {
  switch (format) {
    case TVxExchangeFormat::OpenCvYaml:
      return "opencv-yaml";
    case TVxExchangeFormat::OpenCvXml:
      return "opencv-xml";
    case TVxExchangeFormat::Ros:
      return "ros";
    case TVxExchangeFormat::ColmapText:
      return "colmap-text";
    case TVxExchangeFormat::ColmapBinary:
      return "colmap-bin";
    case TVxExchangeFormat::Metashape:
      return "metashape";
  }
  return "???";
}

std::optional<TVxExchangeFormat> TextToExchangeFormat(const std::string& text) {
  for (int i = 0; i <= static_cast<int>(TVxExchangeFormat::Metashape); ++i) {
    const auto format = static_cast<TVxExchangeFormat>(i);
    if (ExchangeFormatToText(format) == text) return format;
  }
  return std::nullopt;
}

TVxImportResult ImportCameraE(const std::string& content, TVxExchangeFormat format,
                              const TVxExchangeOptions& options) {
  if (!(options.pixelSizeMm > 0.0) || !std::isfinite(options.pixelSizeMm))
    Fail(options.path, "", "a pixel size is needed: the file gives pixels, the camera millimetres");
  const TFormatIo io = IoOf(format);
  const TPixelCamera pixel = io.read(content, options);
  if (pixel.s[0] != 0.0 || pixel.s[1] != 0.0 || pixel.s[2] != 0.0 || pixel.s[3] != 0.0)
    Fail(options.path, "distortion_coefficients",
         "the thin prism terms s1..s4 cannot be represented");
  TVxImportResult result;
  result.report.model = pixel.model;
  if (IsBrownConrady(pixel))
    result.camera = ToCamera(pixel, options.pixelSizeMm);
  else
    FittedImport(pixel, options.pixelSizeMm, io.holdsProfile, options.path, &result);
  for (double value : Fields(result.camera))
    if (!std::isfinite(value))
      Fail(options.path, "", "the camera's numbers reach beyond the range of numbers");
  if (result.camera.name.empty()) result.camera.name = BaseName(options.path);
  result.camera.description = "Imported from the " + ExchangeFormatToText(format) + " file '" +
                              BaseName(options.path) + "' (" + pixel.model + ").";
  return result;
}

TVxExportResult ExportCameraE(const TVxCameraInfo& camera, TVxExchangeFormat format,
                              const TVxExchangeOptions& options) {
  const TFormatIo io = IoOf(format);
  const TFrame frame = FrameOf(camera, options.pixelSizeMm, options.frameMm);
  TVxExportResult result;
  const bool exact = HoldsExactly(camera.distortion, camera.principalPoint, io.holdsProfile);
  const TVxCameraInfo target = exact ? camera : FittedTarget(camera, frame, io.holdsProfile);
  const TPixelCamera pixel = FromCamera(target, frame);
  std::vector<TParam> params = io.params(pixel, &result.report.model);
  // What an import of the file gives, in the camera system of the import (centred).
  TVxCameraInfo wanted = target;
  wanted.pixelSize = {frame.sx, frame.sy};
  wanted.principalPoint = {target.principalPoint.x - frame.centre.x,
                           target.principalPoint.y - frame.centre.y};
  if (wanted.distortion.type != TDistortionType::None)
    wanted.distortion.symmetryPoint = wanted.principalPoint;
  ChooseTexts(&params, pixel, frame.sx, wanted);
  for (const TParam& p : params)
    if (!std::isfinite(std::strtod(p.text.c_str(), nullptr)))
      Fail("", p.name, "the camera's value reaches beyond the range of numbers: " + p.text);
  result.content = io.write(params, pixel, options);
  result.report.fitted = !exact;
  if (!exact) MeasureWritten(camera, params, pixel, frame, &result.report);
  return result;
}

TVxExchangeFormat GuessExchangeFormatE(const std::string& content, const std::string& path) {
  if (content.find('\0') != std::string::npos) return TVxExchangeFormat::ColmapBinary;
  const std::size_t first = content.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  if (first == std::string::npos) Fail(path, "", "the file is empty");
  if (content[first] == '<') return GuessXml(content, path);
  // OpenCV's own header, which no other of these formats writes.
  if (content.compare(first, 6, "%YAML:") == 0) return TVxExchangeFormat::OpenCvYaml;
  if (const std::optional<TVxExchangeFormat> yaml = GuessYaml(content)) return *yaml;
  if (LooksLikeColmapText(content)) return TVxExchangeFormat::ColmapText;
  Fail(path, "",
       "not a camera file of a known format (opencv-yaml, opencv-xml, ros, colmap-text, "
       "colmap-bin, metashape)");
}
