#pragma once
// The displacement of the radial table model (see VxRadialDistortion.h), over any number type:
// double for one point, TVec8 for eight, the square roots and the table lookups lane by lane.
// Internal to the library; the tests of the analytic Jacobians include it.

#include <cmath>

#include "../VxSimd.h"
#include "../VxSpline.h"

namespace vx_geometry_detail {

struct TRadialKernel {
  double cx;
  double cy;
  const TProfileSpline* spline;

  // dr(r) (x, y) / r, and zero at the centre: one division for both coordinates.
  template <class T>
  __attribute__((always_inline)) void Displace(const T& px, const T& py, T& dx, T& dy) const {
    const T x = px - cx;
    const T y = py - cy;
    T r;
    Sqrt(x * x + y * y, r);
    T dr;
    PerLane(r, dr, [this](double radius) { return spline->EvaluateSingle(radius); });
    const T w = dr * (1.0 / r);
    dx = w * x;
    dy = w * y;
    ZeroWhereZero(r, dx);
    ZeroWhereZero(r, dy);
  }

  // The partial derivatives of the displacement: with w = dr / r, d = w (x, y) and
  // dw/dx = (dr' - w) x / r^2.
  void Jacobian(double px, double py, double& jxx, double& jxy, double& jyx, double& jyy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r2 = x * x + y * y;
    const double r = std::sqrt(r2);
    double dr = 0.0;
    double slope = 0.0;
    spline->Evaluate(r, &dr, &slope);
    if (r == 0.0) {
      // At the centre the profile starts as slope * r: the displacement is slope * (x, y).
      CentreJacobian(slope, jxx, jxy, jyx, jyy);
      return;
    }
    const double w = dr / r;
    const double k = (slope - w) / r2;
    jxx = w + k * x * x;
    jxy = k * x * y;
    jyx = jxy;
    jyy = w + k * y * y;
  }
};

}  // namespace vx_geometry_detail
