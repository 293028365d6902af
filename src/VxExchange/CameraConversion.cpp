#include "CameraConversion.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ExchangeText.h"
#include "LeastSquares.h"
#include "VxCameraMath.h"

namespace vx_exchange {
namespace {

// Newton on the normalised distortion stops at 1e-15 (1e-12 px for a focal length of 1000 px)
// and accepts 1e-13 after its steps; the central-difference step 1e-7 keeps the Jacobian's
// error near 1e-9, which slows Newton down but cannot move the root.
constexpr double kUndistortTolerance = 1e-15;
constexpr double kUndistortAccept = 1e-13;
constexpr double kJacobianStep = 1e-7;
constexpr int kUndistortSteps = 50;
// The fit samples 61 x 61 points; the deviation is searched on 201 x 201.
constexpr int kFitGrid = 61;
constexpr int kDeviationGrid = 201;

bool AllZero(const TPixelCamera& c) {
  return c.k[0] == 0.0 && c.k[1] == 0.0 && c.k[2] == 0.0 && c.k[3] == 0.0 && c.p1 == 0.0 &&
         c.p2 == 0.0 && c.p3 == 0.0 && c.p4 == 0.0;
}

// The ideal normalised point whose distortion is (xd, yd); NaN when Newton does not converge.
std::array<double, 2> Undistort(const TPixelCamera& c, double xd, double yd) {
  double x = xd, y = yd;
  for (int step = 0; step < kUndistortSteps; ++step) {
    const std::array<double, 2> at = Distort(c, x, y);
    const double fx = at[0] - xd, fy = at[1] - yd;
    if (std::hypot(fx, fy) <= kUndistortTolerance) return {x, y};
    const std::array<double, 2> xp = Distort(c, x + kJacobianStep, y);
    const std::array<double, 2> xm = Distort(c, x - kJacobianStep, y);
    const std::array<double, 2> yp = Distort(c, x, y + kJacobianStep);
    const std::array<double, 2> ym = Distort(c, x, y - kJacobianStep);
    const double j00 = (xp[0] - xm[0]) / (2 * kJacobianStep);
    const double j10 = (xp[1] - xm[1]) / (2 * kJacobianStep);
    const double j01 = (yp[0] - ym[0]) / (2 * kJacobianStep);
    const double j11 = (yp[1] - ym[1]) / (2 * kJacobianStep);
    const double det = j00 * j11 - j01 * j10;
    if (!(std::abs(det) > 0.0)) break;
    x -= (j11 * fx - j01 * fy) / det;
    y -= (j00 * fy - j10 * fx) / det;
  }
  const std::array<double, 2> at = Distort(c, x, y);
  if (std::hypot(at[0] - xd, at[1] - yd) <= kUndistortAccept) return {x, y};
  const double nan = std::numeric_limits<double>::quiet_NaN();
  return {nan, nan};
}

}  // namespace

TVxCameraInfo ToCamera(const TPixelCamera& c, double sx) {
  TVxCameraInfo camera = CreateDefaultCamera();
  camera.name = c.name;
  const double f = c.fx * sx;
  const double sy = f / c.fy;
  camera.focus = f;
  camera.pixelSize = {sx, sy};
  camera.sensorDims = {c.width, c.height};
  camera.digitalCameraOrigin = TVxCameraInfo::TDigitalCameraOrigin::Center;
  // Rows run down, y up: the flip. "+ 0.0" turns a -0.0 into 0.0.
  const double midX = (static_cast<double>(c.width) - 1.0) / 2.0;
  const double midY = (static_cast<double>(c.height) - 1.0) / 2.0;
  camera.principalPoint = {(c.cx - midX) * sx + 0.0, (midY - c.cy) * sy + 0.0};
  TVxCameraDistortion& d = camera.distortion;
  if (AllZero(c)) return camera;
  d.type = TDistortionType::Formula;
  d.direction = TVxCameraDistortion::TDirection::MmToCam;
  d.symmetryPoint = camera.principalPoint;
  // x = f xn, y = -f yn: a term of r^2i scales by f^-2i, the decentering by f^-1, and the flip
  // of y turns OpenCV's p1 (its x y term in x) into minus our p2.
  const double f2 = f * f, f4 = f2 * f2;
  d.k1 = c.k[0] / f2;
  d.k2 = c.k[1] / f4;
  d.k3 = c.k[2] / (f4 * f2);
  d.k4 = c.k[3] / (f4 * f4);
  d.p1 = c.p2 / f;
  d.p2 = -c.p1 / f + 0.0;
  d.p3 = c.p3 / f2;
  d.p4 = c.p4 / f4;
  return camera;
}

bool HoldsExactly(const TVxCameraDistortion& d, const TPoint& principalPoint, bool profile) {
  if (d.type == TDistortionType::None) return true;
  if (d.type != TDistortionType::Formula) return false;
  if (d.direction != TVxCameraDistortion::TDirection::MmToCam) return false;
  if (d.symmetryPoint.x != principalPoint.x || d.symmetryPoint.y != principalPoint.y) return false;
  if (d.a1 != 0.0 || d.a2 != 0.0 || d.b1 != 0.0 || d.b2 != 0.0 || d.k5 != 0.0) return false;
  return profile || (d.k4 == 0.0 && d.p3 == 0.0 && d.p4 == 0.0);
}

TPixelCamera FromCamera(const TVxCameraInfo& camera, const TFrame& frame) {
  TPixelCamera c;
  c.name = camera.name;
  c.width = frame.width;
  c.height = frame.height;
  const double f = camera.focus;
  c.fx = f / frame.sx;
  c.fy = f / frame.sy;
  const double midX = (static_cast<double>(frame.width) - 1.0) / 2.0;
  const double midY = (static_cast<double>(frame.height) - 1.0) / 2.0;
  c.cx = (camera.principalPoint.x - frame.centre.x) / frame.sx + midX;
  c.cy = midY - (camera.principalPoint.y - frame.centre.y) / frame.sy;
  const TVxCameraDistortion& d = camera.distortion;
  if (d.type != TDistortionType::Formula) return c;
  const double f2 = f * f, f4 = f2 * f2;
  c.k = {d.k1 * f2, d.k2 * f4, d.k3 * (f4 * f2), d.k4 * (f4 * f4)};
  c.p1 = -d.p2 * f + 0.0;
  c.p2 = d.p1 * f;
  c.p3 = d.p3 * f2;
  c.p4 = d.p4 * f4;
  return c;
}

TFrame FrameOf(const TVxCameraInfo& camera, double sx, double side) {
  TFrame frame;
  if (camera.cameraType == TCameraType::Digital) {
    frame.width = camera.sensorDims.x;
    frame.height = camera.sensorDims.y;
    frame.sx = camera.pixelSize.x;
    frame.sy = camera.pixelSize.y;
    if (!(frame.sx > 0.0) || !(frame.sy > 0.0) || frame.width == 0 || frame.height == 0)
      Fail("", "",
           "the digital camera '" + camera.name +
               "' has no pixel size or sensor dimensions to export");
    if (sx > 0.0 && sx != frame.sx)
      Fail("", "",
           "the digital camera '" + camera.name + "' has pixels of " +
               ShortestText(frame.sx * 1000.0) + " um; a pixel size of " +
               ShortestText(sx * 1000.0) + " um was given");
    const double w = static_cast<double>(frame.width) * frame.sx / 2.0;
    const double h = static_cast<double>(frame.height) * frame.sy / 2.0;
    using TOrigin = TVxCameraInfo::TDigitalCameraOrigin;
    if (camera.digitalCameraOrigin == TOrigin::LowerLeft) frame.centre = {w, h};
    if (camera.digitalCameraOrigin == TOrigin::UpperLeft) frame.centre = {w, -h};
    return frame;
  }
  if (!(sx > 0.0))
    Fail("", "",
         "the film camera '" + camera.name + "' has no pixels: give the pixel size of its scan");
  double half = side / 2.0;
  if (half == 0.0 && camera.cameraType == TCameraType::Fiducials)
    for (const TVxCameraInfo::TFiducial& mark : camera.fiducials)
      half = std::max({half, std::abs(mark.coordsCam.x), std::abs(mark.coordsCam.y)});
  if (half == 0.0 && camera.cameraType == TCameraType::CalibratedCross)
    half = std::max(camera.lengthX, camera.lengthY) / 2.0;
  if (!(half > 0.0) || !std::isfinite(half))
    Fail("", "",
         "the film camera '" + camera.name +
             "' has neither fiducial marks nor a calibrated cross to give the size of its "
             "frame: give the frame");
  frame.width = frame.height = static_cast<std::uint64_t>(std::ceil(2.0 * half / sx));
  frame.sx = frame.sy = sx;
  return frame;
}

std::vector<TPoint> SensorGrid(const TFrame& frame, int n) {
  std::vector<TPoint> points;
  points.reserve(static_cast<std::size_t>(n * n));
  const double w = static_cast<double>(frame.width) * frame.sx;
  const double h = static_cast<double>(frame.height) * frame.sy;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      const double a = static_cast<double>(i) / (n - 1) - 0.5;
      const double b = static_cast<double>(j) / (n - 1) - 0.5;
      points.push_back({frame.centre.x + a * w, frame.centre.y + b * h});
    }
  }
  return points;
}

TCamToMm PixelCamToMm(const TPixelCamera& c, const TFrame& frame) {
  return [c, frame](const TPoint& p) -> TPoint {
    const double midX = (static_cast<double>(frame.width) - 1.0) / 2.0;
    const double midY = (static_cast<double>(frame.height) - 1.0) / 2.0;
    const double u = (p.x - frame.centre.x) / frame.sx + midX;
    const double v = midY - (p.y - frame.centre.y) / frame.sy;
    const double yd = (v - c.cy) / c.fy;
    const double xd = (u - c.cx - c.skew * yd) / c.fx;
    const std::array<double, 2> ideal = Undistort(c, xd, yd);
    const double f = c.fx * frame.sx;
    return {f * ideal[0], -f * ideal[1]};
  };
}

TVxCameraDistortion FitFormula(const TCamToMm& source, const TVxCameraInfo& camera,
                               const TFrame& frame, bool k4, bool b2) {
  const double f = camera.focus;
  const TPoint pp = camera.principalPoint;
  const std::size_t radial = k4 ? 4 : 3;
  const std::size_t n = radial + 2 + (b2 ? 1 : 0);
  std::vector<double> a, b;
  for (const TPoint& p : SensorGrid(frame, kFitGrid)) {
    const TPoint q = source(p);
    if (!std::isfinite(q.x) || !std::isfinite(q.y))
      Fail("", "", "the distortion cannot be inverted over the whole sensor");
    // In normalised coordinates (u = x / f) the columns are of one size: a better condition.
    const double u = q.x / f, v = q.y / f, r2 = u * u + v * v;
    std::vector<double> rowX, rowY;
    double power = r2;
    for (std::size_t j = 0; j < radial; ++j, power *= r2) {
      rowX.push_back(u * power);
      rowY.push_back(v * power);
    }
    rowX.insert(rowX.end(), {r2 + 2 * u * u, 2 * u * v});
    rowY.insert(rowY.end(), {2 * u * v, r2 + 2 * v * v});
    if (b2) {
      rowX.push_back(v);
      rowY.push_back(0.0);
    }
    a.insert(a.end(), rowX.begin(), rowX.end());
    a.insert(a.end(), rowY.begin(), rowY.end());
    b.push_back((p.x - pp.x - q.x) / f);
    b.push_back((p.y - pp.y - q.y) / f);
  }
  const std::vector<double> c = SolveLeastSquares(a, b, n);
  if (c.empty()) Fail("", "", "the least-squares fit of the distortion is undetermined");
  TVxCameraDistortion d;
  d.type = TDistortionType::Formula;
  d.direction = TVxCameraDistortion::TDirection::MmToCam;
  d.symmetryPoint = pp;
  double scale = f * f;
  double* ks[] = {&d.k1, &d.k2, &d.k3, &d.k4};
  for (std::size_t j = 0; j < radial; ++j, scale *= f * f) *ks[j] = c[j] / scale;
  d.p1 = c[radial] / f;
  d.p2 = c[radial + 1] / f;
  if (b2) d.b2 = c[radial + 2];
  return d;
}

std::array<double, 2> MaxDeviation(const TCamToMm& source, const TVxCameraInfo& camera,
                                   const TFrame& frame) {
  const TransformHandle transform = CreateCamToMmTransform(camera);
  double mm = 0.0, px = 0.0;
  for (const TPoint& p : SensorGrid(frame, kDeviationGrid)) {
    const TPoint a = source(p);
    const TPoint b = transform->TransformPoint(p);
    const double dx = a.x - b.x, dy = a.y - b.y;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    if (!std::isfinite(dx) || !std::isfinite(dy)) return {nan, nan};
    mm = std::max(mm, std::hypot(dx, dy));
    px = std::max(px, std::hypot(dx / frame.sx, dy / frame.sy));
  }
  return {mm, px};
}

}  // namespace vx_exchange
