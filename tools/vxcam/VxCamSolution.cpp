#include "VxCamSolution.h"

#include <utility>

#include "VxCamApp.h"
#include "VxCamText.h"

namespace vxcam {

TSolvedScan SolveScan(const TVxCameraInfo& camera, TVxIntOrMeas measurements,
                      const std::string& measurementsPath, const TVxIntOrSolveOptions& options) {
  TSolvedScan scan{std::move(measurements), {}};
  std::string reason;
  if (!SolveIntOr(&scan.measurements, camera, options, &scan.solution, &reason))
    throw TNotSolvedError(measurementsPath + ": " + reason);
  return scan;
}

namespace {

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

std::string WarningText(const TVxIntOrWarning& warning) {
  if (!warning.markIndex) return warning.text;
  return Text("vxcam.label.mark") + " " + std::to_string(*warning.markIndex) + ": " + warning.text;
}

}  // namespace

TRows DescribeSolution(const TSolvedScan& scan, const TVxCameraInfo& camera) {
  const TVxIntOrSolution& s = scan.solution;
  const std::string px = UnitsPixUserTextAbbr(), um = UnitsCamMkmUserTextAbbr();
  TRows rows{{0, Text("vxcam.label.transform"), FittedModel(scan.measurements, camera)},
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
    for (const TVxIntOrWarning& warning : s.warnings) rows.push_back({1, "", WarningText(warning)});
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
