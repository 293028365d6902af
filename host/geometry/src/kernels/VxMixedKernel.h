#pragma once
// The displacement of the mixed model (the formula stands in VxMixedDistortion.h), over any
// number type: double for one point, TVec8 for eight. The terms shared with the formula model are
// computed in the same order as there, so that both models give the same bits for the same
// coefficients. Internal to the library; the tests of the analytic Jacobians include it.

#include <array>

#include "../VxSimd.h"

namespace vx_geometry_detail {

struct TMixedKernel {
  double cx, cy, f;
  std::array<double, 7> a, b, c;
  std::array<double, 3> k;
  std::array<double, 2> p;
  bool higherOrder;

  template <class T>
  __attribute__((always_inline)) void Displace(const T& px, const T& py, T& dx, T& dy) const {
    const T x = px - cx;
    const T y = py - cy;
    const T r2 = x * x + y * y;
    const T radial = r2 * (k[0] + r2 * (k[1] + r2 * k[2]));
    const T tx = p[0] * (r2 + 2.0 * x * x) + 2.0 * p[1] * x * y;
    const T ty = p[1] * (r2 + 2.0 * y * y) + 2.0 * p[0] * x * y;
    dx = x * radial + tx + a[0] * x + a[1] * y;
    dy = y * radial + ty + b[0] * x + b[1] * y;
    dx += c[0] * x;
    dy += c[0] * y;
    if (!higherOrder) return;
    const T u = x / f;
    const T v = y / f;
    const T uu = u * u;
    const T uv = u * v;
    const T vv = v * v;
    const T rho2 = uu + vv;
    const T rho4 = rho2 * rho2;
    const T rho8 = rho4 * rho4;
    const T radialHigh = rho8 * (c[1] + c[2] * rho2);
    const T tangential = rho2 * (c[5] + c[6] * rho2);
    dx += f * (a[2] * uu + a[3] * uv + a[4] * vv + a[5] * uu * v + a[6] * u * vv + u * radialHigh +
               rho2 * (c[3] * (rho2 + 2.0 * uu) + 2.0 * c[4] * uv) - v * tangential);
    dy += f * (b[2] * uu + b[3] * uv + b[4] * vv + b[5] * uu * v + b[6] * u * vv + v * radialHigh +
               rho2 * (c[4] * (rho2 + 2.0 * vv) + 2.0 * c[3] * uv) + u * tangential);
  }
};

}  // namespace vx_geometry_detail
