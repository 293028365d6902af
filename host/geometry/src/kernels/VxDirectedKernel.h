#pragma once
// The displacement of the directed table model (see VxDirectedDistortion.h), for one point: the
// batch loops run it lane by lane (an angle and a spline over the directions per point). Internal
// to the library; the tests of the analytic Jacobians include it.

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "../VxSpline.h"

namespace vx_geometry_detail {

struct TDirectedKernel {
  double cx;
  double cy;
  const TProfileSpline* radial;
  const TPeriodicSpline* angular;

  // The radial displacement at radius r in direction t. Up to 16 directions are interpolated
  // without allocation; more take a vector.
  double RadialDisplacement(double r, double t) const {
    const std::size_t n = radial->Columns();
    if (n == 0) return 0.0;
    std::array<double, 16> small;  // filled by the radial profiles below
    std::vector<double> large;
    double* values = small.data();
    if (n > small.size()) {
      large.resize(n);
      values = large.data();
    }
    radial->Evaluate(r, values);
    return angular->Evaluate(t, values);
  }

  void Displace(double px, double py, double& dx, double& dy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r = std::sqrt(x * x + y * y);
    if (r == 0.0) {
      dx = 0.0;
      dy = 0.0;
      return;
    }
    const double dr = RadialDisplacement(r, std::atan2(y, x));
    dx = dr * x / r;
    dy = dr * y / r;
  }

  // The partial derivatives of the displacement. With g(r, t) the radial displacement and
  // w = g / r, d = w (x, y), dw/dx = (g_r - w) x / r^2 - g_t y / r^3 and
  // dw/dy = (g_r - w) y / r^2 + g_t x / r^3.
  void Jacobian(double px, double py, double& jxx, double& jxy, double& jyx, double& jyy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r2 = x * x + y * y;
    const double r = std::sqrt(r2);
    const std::size_t n = radial->Columns();
    std::array<double, 16> smallValues;  // filled by the radial profiles below
    std::array<double, 16> smallSlopes;
    std::vector<double> large;
    double* values = smallValues.data();
    double* slopes = smallSlopes.data();
    if (n > smallValues.size()) {
      large.resize(2 * n);
      values = large.data();
      slopes = large.data() + n;
    }
    double g = 0.0, gr = 0.0, gt = 0.0;
    if (n > 0) {
      radial->Evaluate(r, values, slopes);
      const double t = std::atan2(y, x);
      g = angular->Evaluate(t, values, gt);
      gr = angular->Evaluate(t, slopes);
    }
    if (r == 0.0) {
      // At the centre each profile starts as slope * r, in the direction of the point.
      CentreJacobian(gr, jxx, jxy, jyx, jyy);
      return;
    }
    const double w = g / r;
    const double wx = (gr - w) * x / r2 - gt * y / (r2 * r);
    const double wy = (gr - w) * y / r2 + gt * x / (r2 * r);
    jxx = w + x * wx;
    jxy = x * wy;
    jyx = y * wx;
    jyy = w + y * wy;
  }
};

}  // namespace vx_geometry_detail
