#pragma once
// What the exchange tests share: the published equations of each format, written here from
// their documentation and not from the library's code, and the checks of an imported camera
// against them.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "VxCameraMath.h"
#include "VxExchange.h"

namespace vx_exchange_test {

// An exact import maps every point like the source to this many pixels.
constexpr double kExactPx = 1e-9;

// A Brown-Conrady camera in the terms of OpenCV's documentation (calib3d, "Camera Calibration
// and 3D Reconstruction"): normalised x' = X / Z, y' = Y / Z, rows down, pixel centres at
// integers, and the rational and Metashape terms beside them.
struct TSourceCamera {
  double width = 0, height = 0;
  double fx = 0, fy = 0, cx = 0, cy = 0;
  double k1 = 0, k2 = 0, p1 = 0, p2 = 0, k3 = 0;
  double k4 = 0, k5 = 0, k6 = 0;  // OpenCV's rational denominator
};

// OpenCV: x'' = x' (1 + k1 r2 + k2 r4 + k3 r6) / (1 + k4 r2 + k5 r4 + k6 r6)
//               + 2 p1 x' y' + p2 (r2 + 2 x'^2),
//         y'' = y' (...) / (...) + p1 (r2 + 2 y'^2) + 2 p2 x' y',  u = fx x'' + cx, v = fy y'' +
//         cy.
inline std::array<double, 2> OpenCvProject(const TSourceCamera& c, double x, double y) {
  const double r2 = x * x + y * y;
  const double radial = (1 + c.k1 * r2 + c.k2 * r2 * r2 + c.k3 * r2 * r2 * r2) /
                        (1 + c.k4 * r2 + c.k5 * r2 * r2 + c.k6 * r2 * r2 * r2);
  const double xd = x * radial + 2 * c.p1 * x * y + c.p2 * (r2 + 2 * x * x);
  const double yd = y * radial + c.p1 * (r2 + 2 * y * y) + 2 * c.p2 * x * y;
  return {c.fx * xd + c.cx, c.fy * yd + c.cy};
}

// Metashape (manual, appendix "Camera models", frame camera): pixel origin at the corner of the
// top-left pixel, cx, cy offsets from the image centre, P1 with (r2 + 2 x^2) in x.
struct TMetashapeCamera {
  double width = 0, height = 0, f = 0, cx = 0, cy = 0, b1 = 0, b2 = 0;
  double k1 = 0, k2 = 0, k3 = 0, k4 = 0, p1 = 0, p2 = 0, p3 = 0, p4 = 0;
};

inline std::array<double, 2> MetashapeProject(const TMetashapeCamera& c, double x, double y) {
  const double r2 = x * x + y * y;
  const double radial = 1 + r2 * (c.k1 + r2 * (c.k2 + r2 * (c.k3 + r2 * c.k4)));
  const double profile = 1 + c.p3 * r2 + c.p4 * r2 * r2;
  const double xs = x * radial + (c.p1 * (r2 + 2 * x * x) + 2 * c.p2 * x * y) * profile;
  const double ys = y * radial + (c.p2 * (r2 + 2 * y * y) + 2 * c.p1 * x * y) * profile;
  return {c.width * 0.5 + c.cx + xs * c.f + xs * c.b1 + ys * c.b2,
          c.height * 0.5 + c.cy + ys * c.f};
}

// Our camera system from a pixel whose centre convention is OpenCV's (docs/interop.md):
// X = (u - (W - 1) / 2) sx, Y = ((H - 1) / 2 - v) sy.
inline vec_t_<double, 2> PixelToCamera(double u, double v, double width, double height, double sx,
                                       double sy) {
  return {(u - (width - 1) / 2) * sx, ((height - 1) / 2 - v) * sy};
}

// The largest distance, in pixels of sx, between our camera's correction of the observed points
// and the ideal points they came from: `project` maps an ideal normalised point to the observed
// pixel (OpenCV's centre convention), `f` = fx sx.
template <class Project>
double LargestImportError(const TVxCameraInfo& camera, Project project, double width, double height,
                          double fx, double fy, double sx) {
  const TransformHandle transform = CreateCamToMmTransform(camera);
  const double f = fx * sx, sy = f / fy;
  double worst = 0.0;
  // Ideal points over the image as far as the corners (a grid of 41 x 41 in normalised units).
  const double xr = width / 2 / fx, yr = height / 2 / fy;
  for (int j = 0; j <= 40; ++j) {
    for (int i = 0; i <= 40; ++i) {
      const double x = xr * (i / 20.0 - 1), y = yr * (j / 20.0 - 1);
      const std::array<double, 2> uv = project(x, y);
      const vec_t_<double, 2> p = PixelToCamera(uv[0], uv[1], width, height, sx, sy);
      const vec_t_<double, 2> q = transform->TransformPoint(p);
      worst = std::max(worst, std::hypot((q.x - f * x) / sx, (q.y + f * y) / sy));
    }
  }
  return worst;
}

inline std::string DataPath(const std::string& name) {
  return std::string(VX_SOURCE_DIR) + "/tests/data/interop/" + name;
}

inline TVxExchangeOptions Options(double pixelSizeMm, const std::string& path = "test") {
  TVxExchangeOptions options;
  options.pixelSizeMm = pixelSizeMm;
  options.path = path;
  return options;
}

}  // namespace vx_exchange_test
