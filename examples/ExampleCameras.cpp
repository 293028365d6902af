#include "ExampleCameras.h"

#include <cmath>

#include "VxEOL.h"
#include "VxMatr3x3.h"

namespace {

using TRow = TVxCameraDistortion::TRadialDistortion;

// USGS Report of Calibration of Aerial Mapping Camera No. OSL/3036, 2004-05-05 (public domain):
// Wild RC10 serial 2337 with Universal Aviogon lens 1045.
constexpr double kRc10Focus = 153.228;

const char kRc10Source[] =
    "Wild RC10 aerial film camera, serial 2337, Universal Aviogon lens 1045 (nominal 153 mm).\n"
    "Source: U.S. Geological Survey, Report of Calibration of Aerial Mapping Camera,\n"
    "Report No. OSL/3036, 5 May 2004 (public domain).\n"
    "Principal point: the calibrated principal point (point of symmetry), xp = 0.000 mm,\n"
    "yp = 0.007 mm, relative to the principal point of autocollimation.\n"
    "Fiducial marks: the four corner marks of the report; its midside marks are not calibrated.\n";

// The report's symmetric radial distortion: field angle, then micrometres. The radius is
// CFL * tan(field angle); the record keeps the correction, which is the distortion negated.
std::vector<TRow> Rc10RadialCorrections() {
  const double table[][2] = {{7.5, 6}, {15, 10}, {22.7, 9}, {30, 1}, {35, -7}, {40, -10}};
  std::vector<TRow> rows;
  for (const auto& [angleDeg, distortionUm] : table) {
    const double r = std::round(kRc10Focus * std::tan(angleDeg * M_PI / 180.0) * 1000.0) / 1000.0;
    rows.push_back({r, -distortionUm / 1000.0});
  }
  return rows;
}

TVxCameraInfo Rc10Base(const std::string& nameSuffix, const std::string& distortionNote) {
  TVxCameraInfo c;
  c.name = "Wild RC10 2337 / UAG 1045" + nameSuffix;
  c.calibrationDate = "2004-05-05";
  c.description = VxNormalizeEOL(std::string(kRc10Source) + distortionNote, TEOLType::CRLF);
  c.cameraType = TCameraType::Fiducials;
  c.focus = kRc10Focus;
  c.principalPoint = {0.0, 0.007};
  c.fiducials = {{1, {-105.993, -106.006}, 1},
                 {2, {106.001, 106.002}, 2},
                 {3, {-106.015, 105.982}, 3},
                 {4, {106.015, -106.006}, 4}};
  c.distortion.symmetryPoint = {0.0, 0.007};
  return c;
}

TVxCameraInfo Rc10Radial() {
  TVxCameraInfo c = Rc10Base("", "Distortion: the report's radial table as corrections in mm.");
  c.distortion.type = TDistortionType::Radial;
  c.distortion.tableR = Rc10RadialCorrections();
  return c;
}

TVxCameraInfo Rc10Polynomial() {
  TVxCameraInfo c = Rc10Base(" (SMAC polynomial)",
                             "Distortion: the report's SMAC coefficients K0..K2 and P1, P2.");
  c.distortion.type = TDistortionType::Polynomial;
  c.distortion.polyK[0] = -0.3408e-3;
  c.distortion.polyK[1] = 0.5753e-7;
  c.distortion.polyK[2] = -0.1943e-11;
  c.distortion.polyP[0] = 0.1175e-7;
  c.distortion.polyP[1] = -0.2375e-6;
  return c;
}

// k1 r^3 + k2 r^5 + k3 r^7 through the report's six radial corrections by least squares
// (normal equations, solved by the adjugate), decentering P1 and P2 of the report.
TVxCameraInfo Rc10Formula() {
  TVxCameraInfo c = Rc10Base(" (formula)",
                             "Distortion: k1..k3 fitted by least squares to the report's radial "
                             "corrections; p1, p2 are the report's P1, P2.");
  matr3x3 normal;
  vec_t_<double, 3> rhs;
  for (const TRow& row : Rc10RadialCorrections()) {
    const double basis[3] = {std::pow(row.r, 3), std::pow(row.r, 5), std::pow(row.r, 7)};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) normal(i, j) += basis[i] * basis[j];
      rhs[i] += basis[i] * row.dr;
    }
  }
  normal.Invert_self(normal.Det());
  const vec_t_<double, 3> k = normal * rhs;
  TVxCameraDistortion& d = c.distortion;
  d.type = TDistortionType::Formula;
  d.k1 = k.x;
  d.k2 = k.y;
  d.k3 = k.z;
  d.p1 = 0.1175e-7;
  d.p2 = -0.2375e-6;
  return c;
}

// The formula camera in the mixed model: K and P carry k1..k3 and p1, p2.
TVxCameraInfo Rc10Mixed() {
  TVxCameraInfo c = Rc10Formula();
  c.name = "Wild RC10 2337 / UAG 1045 (mixed)";
  c.description = VxNormalizeEOL(
      std::string(kRc10Source) + "Distortion: the formula example written in the mixed model.",
      TEOLType::CRLF);
  TVxCameraDistortion& d = c.distortion;
  d.type = TDistortionType::Mixed;
  d.mixed.K[0] = d.k1;
  d.mixed.K[1] = d.k2;
  d.mixed.K[2] = d.k3;
  d.mixed.P[0] = d.p1;
  d.mixed.P[1] = d.p2;
  d.k1 = d.k2 = d.k3 = d.p1 = d.p2 = 0.0;
  return c;
}

// The radial corrections laid out along four directions, with a small asymmetry (a quarter of a
// micrometre per direction) so that the directions can be told apart. An illustration of the
// layout, not a calibration.
std::vector<TVxCameraDistortion::T4Direction> DirectedRows(double asymmetryMm) {
  std::vector<TVxCameraDistortion::T4Direction> rows;
  for (const TRow& row : Rc10RadialCorrections()) {
    TVxCameraDistortion::T4Direction directed;
    directed.r = row.r;
    for (int k = 0; k < 4; ++k) directed.dr[k] = row.dr + asymmetryMm * k;
    rows.push_back(directed);
  }
  return rows;
}

TVxCameraInfo Rc10Directed(TDistortionType type, const std::string& suffix) {
  TVxCameraInfo c = Rc10Base(
      " (" + suffix + ")",
      "Distortion: an illustration of the directed tables, the report's radial corrections "
      "along each direction with 0.25 um added per direction index.");
  c.distortion.type = type;
  if (type != TDistortionType::Directed4X) c.distortion.table4Plus = DirectedRows(0.00025);
  if (type != TDistortionType::Directed4Plus) c.distortion.table4X = DirectedRows(-0.00025);
  return c;
}

TVxCameraInfo MarksOnlyCamera(TCameraType type, const std::string& name) {
  TVxCameraInfo c = Rc10Polynomial();
  c.name = name;
  c.cameraType = type;
  c.fiducials.clear();
  c.description =
      VxNormalizeEOL("An illustration of a camera whose interior orientation is marked by " + name +
                         "; lens data of the Wild RC10 2337 (USGS OSL/3036).",
                     TEOLType::CRLF);
  if (type == TCameraType::CalibratedCross) {
    c.lengthX = 212.010;
    c.lengthY = 211.990;
  }
  return c;
}

}  // namespace

std::vector<TExampleCamera> ExampleCameras() {
  TVxCameraInfo dmc = CreateDefaultDMCCamera();
  dmc.calibrationDate = "2010-04-13";
  return {
      {"rc10_radial.yaml", Rc10Radial()},
      {"rc10_polynomial.yaml", Rc10Polynomial()},
      {"rc10_formula.yaml", Rc10Formula()},
      {"rc10_mixed.yaml", Rc10Mixed()},
      {"rc10_directed4plus.yaml", Rc10Directed(TDistortionType::Directed4Plus, "4+")},
      {"rc10_directed4x.yaml", Rc10Directed(TDistortionType::Directed4X, "4x")},
      {"rc10_directed8.yaml", Rc10Directed(TDistortionType::Directed8, "8 directions")},
      {"dmc.yaml", dmc},
      {"principal_point_camera.yaml",
       MarksOnlyCamera(TCameraType::PrincipalPoint, "the principal point only")},
      {"cross_camera.yaml", MarksOnlyCamera(TCameraType::Cross, "a cross")},
      {"calibrated_cross_camera.yaml",
       MarksOnlyCamera(TCameraType::CalibratedCross, "a calibrated cross")},
  };
}
