#include "VxCamSolution.h"

#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "VxCamApp.h"
#include "VxCamFiles.h"
#include "VxCamText.h"

namespace vxcam {

namespace {

constexpr const char* kMinimiseWords[] = {"pixels", "camera"};

}  // namespace

void AddSolveOptions(CLI::App& app, TVxIntOrSolveOptions& options) {
  app.add_flag_callback(
      "--y-up", [&options] { options.pixelYAxis = TVxPixelYAxis::Up; }, Text("vxcam.opt.y_up"));
  app.add_option_function<std::string>(
         "--minimise",
         [&options](const std::string& word) {
           options.minimise =
               word == kMinimiseWords[1] ? TVxResidualSpace::Camera : TVxResidualSpace::Pixels;
         },
         Text("vxcam.opt.minimise"))
      ->option_text("pixels|camera")
      ->check(CLI::IsMember({kMinimiseWords[0], kMinimiseWords[1]}));
}

TPixelMaps PixelMapsOfScan(const TVxCameraInfo& camera, const std::string& path,
                           const TVxIntOrSolveOptions& options, const char* command, TIo& io) {
  TScanFile file = LoadScanFile(path, io);
  if (file.map) {
    if (options.pixelYAxis != TVxPixelYAxis::Down || options.minimise != TVxResidualSpace::Pixels) {
      ReportWarning(io, command, Text("vxcam.warning.solve_options_ignored"));
    }
    return WithContentOf(path, [&] {
      return TPixelMaps{file.map->CreatePixToCam(), file.map->CreateCamToPix()};
    });
  }
  const TSolvedScan scan = SolveScan(camera, std::move(file.measurements), path, options);
  return {scan.solution.pixToCam, scan.solution.camToPix};
}

TSolvedScan SolveScan(const TVxCameraInfo& camera, TVxIntOrMeas measurements,
                      const std::string& measurementsPath, const TVxIntOrSolveOptions& options) {
  TSolvedScan scan{std::move(measurements), {}};
  std::string reason;
  if (!SolveIntOr(scan.measurements, camera, options, &scan.solution, &reason))
    throw TNotSolvedError(measurementsPath + ": " + reason);
  WriteResiduals(scan.solution, &scan.measurements);
  return scan;
}

namespace {

constexpr double kMicrometresPerInch = 25400.0;
// Width of a column of the residual table.
constexpr std::size_t kResidualColumn = 10;

std::string Unit(double value, const std::string& unit) {
  return FormatNumber(value, 6) + " " + unit;
}

// Lengths of residuals: to a thousandth of a pixel, a hundredth of a micrometre.
std::string Pixels(double value) {
  return FormatFixed(value, 3) + " " + UnitsPixUserTextAbbr();
}

std::string Micrometres(double value) {
  return FormatFixed(value, 2) + " " + UnitsCamMkmUserTextAbbr();
}

std::string Degrees(double value) {
  return FormatNumber(value, 6) + "°";
}

std::string PerPixel(const std::string& unit) {
  return unit + "/" + UnitsPixUserTextAbbr();
}

// What is fitted: the transform type for fiducial marks, the kind of camera otherwise.
std::string FittedModel(const TVxIntOrMeas& measurements, const TVxCameraInfo& camera) {
  if (camera.cameraType != TCameraType::Fiducials) return CameraTypeToUserText(camera.cameraType);
  return TransformTypeToUserText(measurements.transformType);
}

TRows ResidualTable(const TVxIntOrSolution& solution) {
  const std::string px = UnitsPixUserTextAbbr(), um = UnitsCamMkmUserTextAbbr();
  TRows rows{
      {0, Text("vxcam.label.residuals"), ""},
      {1, "",
       Columns({Text("vxcam.label.mark"), "x [" + px + "]", "y [" + px + "]", "rx [" + px + "]",
                "ry [" + px + "]", "rx [" + um + "]", "ry [" + um + "]", "|r| [" + um + "]"},
               kResidualColumn)}};
  for (const TVxIntOrMarkResidual& r : solution.residuals)
    rows.push_back({1, "",
                    Columns({std::to_string(r.index), FormatFixed(r.coordsPix.x, 2),
                             FormatFixed(r.coordsPix.y, 2), FormatFixed(r.residualPix.x, 3),
                             FormatFixed(r.residualPix.y, 3), FormatFixed(r.residualUm.x, 2),
                             FormatFixed(r.residualUm.y, 2), FormatFixed(r.lengthUm, 2)},
                            kResidualColumn) +
                        (r.aboveLimit ? "  !" : "")});
  return rows;
}

// The scan resolution in micrometres per pixel, if the measurements hold a usable one.
std::optional<vec_t_<double, 2>> ResolutionUm(const TVxIntOrMeas& measurements) {
  const vec_t_<double, 2> r = measurements.scanResolution;
  if (!(r.x > 0.0) || !(r.y > 0.0)) return std::nullopt;
  if (measurements.resolutionUnits == TResolutionUnits::Mm) return r * 1000.0;
  if (measurements.resolutionUnits == TResolutionUnits::Dpi) {
    return vec_t_<double, 2>{kMicrometresPerInch / r.x, kMicrometresPerInch / r.y};
  }
  return std::nullopt;
}

std::string ScalePair(const vec_t_<double, 2>& um) {
  const std::string unit = PerPixel(UnitsCamMkmUserTextAbbr());
  return "x = " + Unit(um.x, unit) + ", y = " + Unit(um.y, unit);
}

// A warning as a person reads it: the mark it is about, and for the scale the numbers compared.
std::string WarningText(const TVxIntOrWarning& warning, const TSolvedScan& scan) {
  if (warning.key == "global.Warn_IntOrScale") {
    const auto resolution = ResolutionUm(scan.measurements);
    const TVxIntOrSolution& s = scan.solution;
    std::string text = warning.text + " " + Text("vxcam.text.fitted_scale") + ": " +
                       ScalePair({s.scaleXUm, s.scaleYUm});
    if (resolution)
      text += "; " + Text("vxcam.text.scan_resolution") + ": " + ScalePair(*resolution);
    return text;
  }
  if (!warning.markIndex) return warning.text;
  return Text("vxcam.label.mark") + " " + std::to_string(*warning.markIndex) + ": " + warning.text;
}

// a x + b y + c as a person writes it: 0.0125 x - 2.6e-05 y + 120.3.
std::string LinearText(const double* row) {
  std::string text = FormatExact(row[0]) + " x";
  const char* const variables[] = {" y", ""};
  for (int k = 1; k <= 2; ++k) {
    text += std::signbit(row[k]) ? " - " : " + ";
    text += FormatExact(std::fabs(row[k])) + variables[k - 1];
  }
  return text;
}

// The map of a 3x3 matrix acting on (x, y, 1), one row per output coordinate.
TRows MatrixRows(const char* labelKey, const std::array<double, 9>& m, const std::string& unit) {
  const bool affine = m[6] == 0.0 && m[7] == 0.0 && m[8] == 1.0;
  TRows rows{{0, Text(labelKey), ""}};
  const char* const names[] = {"x", "y"};
  for (std::size_t k = 0; k < 2; ++k) {
    const std::string sum = LinearText(&m[3 * k]);
    rows.push_back(
        {1, std::string(names[k]) + " [" + unit + "]", affine ? sum : "(" + sum + ") / w"});
  }
  if (!affine) rows.push_back({1, "w", LinearText(&m[6])});
  return rows;
}

const char* MinimisedText(TVxResidualSpace space) {
  return space == TVxResidualSpace::Camera ? "vxcam.text.in_camera" : "vxcam.text.in_pixels";
}

const char* YAxisText(TVxPixelYAxis axis) {
  return axis == TVxPixelYAxis::Up ? "vxcam.text.y_up" : "vxcam.text.y_down";
}

nlohmann::ordered_json MatrixToJson(const std::array<double, 9>& m) {
  return {{m[0], m[1], m[2]}, {m[3], m[4], m[5]}, {m[6], m[7], m[8]}};
}

}  // namespace

TRows DescribeSolution(const TSolvedScan& scan, const TVxCameraInfo& camera) {
  const TVxIntOrSolution& s = scan.solution;
  const std::string px = UnitsPixUserTextAbbr(), um = UnitsCamMkmUserTextAbbr();
  TRows rows{{0, Text("vxcam.label.transform"), FittedModel(scan.measurements, camera)},
             {0, Text("vxcam.label.pixel_y_axis"), Text(YAxisText(s.map.pixelYAxis))},
             {0, Text("vxcam.label.scale"),
              "x = " + Unit(s.scaleXUm, PerPixel(um)) + ", y = " + Unit(s.scaleYUm, PerPixel(um))},
             {0, Text("vxcam.label.rotation"),
              Degrees(s.rotationDeg) + " (" + Text("vxcam.text.nearest_quarter_turn") + ": " +
                  CamRotateToUserText(s.fittedRotation) + ")"},
             {0, Text("vxcam.label.shear"), Degrees(s.shearDeg)},
             {0, Text("vxcam.label.mirrored"), YesNo(s.mirrored)}};
  if (s.perspective.x != 0.0 || s.perspective.y != 0.0)
    rows.push_back({0, Text("vxcam.label.perspective"),
                    "h6 = " + Unit(s.perspective.x, "1/" + px) +
                        ", h7 = " + Unit(s.perspective.y, "1/" + px)});
  rows.push_back({0, Text("vxcam.label.origin_pix"), FormatPoint(s.originPix, px)});
  for (const TRow& row :
       MatrixRows("vxcam.label.pix_to_cam", s.map.matrix, UnitsCamMmUserTextAbbr()))
    rows.push_back(row);
  for (const TRow& row : MatrixRows("vxcam.label.cam_to_pix", s.map.InverseMatrix(), px))
    rows.push_back(row);
  if (camera.cameraType == TCameraType::Fiducials)
    rows.push_back({0, Text("vxcam.label.minimised_in"), Text(MinimisedText(s.map.minimisedIn))});
  rows.push_back({0, Text("vxcam.label.observations"), std::to_string(s.observations)});
  rows.push_back({0, Text("vxcam.label.unknowns"), std::to_string(s.unknowns)});
  rows.push_back({0, Text("vxcam.label.redundancy"), std::to_string(s.redundancy)});
  if (!s.residuals.empty()) {
    rows.push_back({0, Text("vxcam.label.rms"), Pixels(s.rmsPix) + ", " + Micrometres(s.rmsUm)});
    if (s.redundancy > 0) rows.push_back({0, Text("vxcam.label.sigma0"), Micrometres(s.sigma0Um)});
    rows.push_back({0, Text("vxcam.label.largest_residual"),
                    Text("vxcam.label.mark") + " " + std::to_string(s.largestIndex) + ": " +
                        Pixels(s.largestPix) + ", " + Micrometres(s.largestUm)});
    rows.push_back({0, Text("vxcam.label.residual_limit"), Micrometres(s.residualLimitUm)});
    const TRows table = ResidualTable(s);
    rows.insert(rows.end(), table.begin(), table.end());
  }
  if (!s.warnings.empty()) {
    rows.push_back({0, Text("vxcam.label.warnings"), ""});
    for (const TVxIntOrWarning& warning : s.warnings)
      rows.push_back({1, "", WarningText(warning, scan)});
  }
  return rows;
}

nlohmann::ordered_json SolutionToJson(const TSolvedScan& scan, const TVxCameraInfo& camera) {
  const TVxIntOrSolution& s = scan.solution;
  nlohmann::ordered_json json = {
      {"camera_type", CameraTypeToTextE(camera.cameraType, "")},
      {"transform_type",
       camera.cameraType == TCameraType::Fiducials
           ? nlohmann::ordered_json(TransformTypeToTextE(scan.measurements.transformType, ""))
           : nlohmann::ordered_json()},
      {"scale_x_um", s.scaleXUm},
      {"scale_y_um", s.scaleYUm},
      {"rotation_deg", s.rotationDeg},
      {"fitted_rotation", CamRotateToTextE(s.fittedRotation, "")},
      {"shear_deg", s.shearDeg},
      {"mirrored", s.mirrored},
      {"perspective", PointToJson(s.perspective)},
      {"origin_pix", PointToJson(s.originPix)},
      {"pixel_y_axis", PixelYAxisToText(s.map.pixelYAxis)},
      {"minimised_in", camera.cameraType == TCameraType::Fiducials
                           ? nlohmann::ordered_json(ResidualSpaceToText(s.map.minimisedIn))
                           : nlohmann::ordered_json()},
      {"pix_to_cam", MatrixToJson(s.map.matrix)},
      {"cam_to_pix", MatrixToJson(s.map.InverseMatrix())},
      {"scan_resolution_um", ResolutionUm(scan.measurements)
                                 ? PointToJson(*ResolutionUm(scan.measurements))
                                 : nlohmann::ordered_json()},
      {"observations", s.observations},
      {"unknowns", s.unknowns},
      {"redundancy", s.redundancy},
      {"rms_pix", s.rmsPix},
      {"rms_um", s.rmsUm},
      {"sigma0_um", s.sigma0Um},
      {"largest", {{"index", s.largestIndex}, {"pix", s.largestPix}, {"um", s.largestUm}}},
      {"residual_limit_um", s.residualLimitUm}};
  json["residuals"] = nlohmann::ordered_json::array();
  for (const TVxIntOrMarkResidual& r : s.residuals)
    json["residuals"].push_back({{"index", r.index},
                                 {"coords_pix", PointToJson(r.coordsPix)},
                                 {"residual_pix", PointToJson(r.residualPix)},
                                 {"residual_um", PointToJson(r.residualUm)},
                                 {"length_pix", r.lengthPix},
                                 {"length_um", r.lengthUm},
                                 {"above_limit", r.aboveLimit}});
  json["warnings"] = nlohmann::ordered_json::array();
  for (const TVxIntOrWarning& w : s.warnings)
    json["warnings"].push_back(
        {{"key", w.key},
         {"text", w.text},
         {"mark", w.markIndex ? nlohmann::ordered_json(*w.markIndex) : nlohmann::ordered_json()}});
  return json;
}

}  // namespace vxcam
