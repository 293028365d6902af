#pragma once
// The displacement of the mixed model (the formula stands in VxMixedDistortion.h), over any
// number type: double for one point, TVec8 for eight. The terms shared with the formula model are
// computed in the same order as there, so that both models give the same bits for the same
// coefficients. Internal to the library; the tests of the analytic Jacobians include it.

#include <array>

#include "../VxSimd.h"

namespace vx_geometry_detail {

struct TMixedKernel {
  // The terms of the higher-order part: u = x / f, v = y / f, their products, rho^2 = u^2 + v^2
  // and its powers, and the radial and tangential profiles.
  template <class T>
  struct THigherOrder {
    T u, v, uu, uv, vv, rho2, rho4, rho8, radialHigh, tangential;
  };

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
    THigherOrder<T> h;
    HigherOrder(x, y, h);
    const T &u = h.u, &v = h.v, &uu = h.uu, &uv = h.uv, &vv = h.vv, &rho2 = h.rho2;
    const T &radialHigh = h.radialHigh, &tangential = h.tangential;
    dx += f * (a[2] * uu + a[3] * uv + a[4] * vv + a[5] * uu * v + a[6] * u * vv + u * radialHigh +
               rho2 * (c[3] * (rho2 + 2.0 * uu) + 2.0 * c[4] * uv) - v * tangential);
    dy += f * (b[2] * uu + b[3] * uv + b[4] * vv + b[5] * uu * v + b[6] * u * vv + v * radialHigh +
               rho2 * (c[4] * (rho2 + 2.0 * vv) + 2.0 * c[3] * uv) + u * tangential);
  }

  // The partial derivatives of the displacement. The low-order part is the formula model's; the
  // higher-order part is f G(u, v) with u = x / f, v = y / f, so its derivatives in x and y are
  // those of G in u and v. With R(rho^2) = rho^8 (c2 + c3 rho^2) and T(rho^2) = rho^2 (c6 + c7
  // rho^2) (the radial and the tangential profile), d(rho^2)/du = 2u.
  template <class T>
  __attribute__((always_inline)) void Jacobian(const T& px, const T& py, T& jxx, T& jxy, T& jyx,
                                               T& jyy) const {
    const T x = px - cx;
    const T y = py - cy;
    const T r2 = x * x + y * y;
    const T radial = r2 * (k[0] + r2 * (k[1] + r2 * k[2]));
    // d(radial)/d(r^2); d(r^2)/dx = 2x.
    const T radial1 = k[0] + r2 * (2.0 * k[1] + r2 * (3.0 * k[2]));
    jxx = radial + 2.0 * x * x * radial1 + 6.0 * p[0] * x + 2.0 * p[1] * y + a[0] + c[0];
    jxy = 2.0 * x * y * radial1 + 2.0 * p[0] * y + 2.0 * p[1] * x + a[1];
    jyx = 2.0 * x * y * radial1 + 2.0 * p[1] * x + 2.0 * p[0] * y + b[0];
    jyy = radial + 2.0 * y * y * radial1 + 6.0 * p[1] * y + 2.0 * p[0] * x + b[1] + c[0];
    if (!higherOrder) return;
    THigherOrder<T> h;
    HigherOrder(x, y, h);
    const T &u = h.u, &v = h.v, &uu = h.uu, &uv = h.uv, &vv = h.vv, &rho2 = h.rho2;
    const T &radialHigh = h.radialHigh, &tangential = h.tangential;
    const T radialHigh1 = h.rho4 * rho2 * (4.0 * c[1] + 5.0 * c[2] * rho2);
    const T tangential1 = c[5] + 2.0 * c[6] * rho2;
    // The decentering terms rho^2 sx and rho^2 sy.
    const T sx = c[3] * (rho2 + 2.0 * uu) + 2.0 * c[4] * uv;
    const T sy = c[4] * (rho2 + 2.0 * vv) + 2.0 * c[3] * uv;
    jxx += 2.0 * a[2] * u + a[3] * v + 2.0 * a[5] * uv + a[6] * vv + radialHigh +
           2.0 * uu * radialHigh1 + 2.0 * u * sx + rho2 * (6.0 * c[3] * u + 2.0 * c[4] * v) -
           2.0 * uv * tangential1;
    jxy += a[3] * u + 2.0 * a[4] * v + a[5] * uu + 2.0 * a[6] * uv + 2.0 * uv * radialHigh1 +
           2.0 * v * sx + rho2 * (2.0 * c[3] * v + 2.0 * c[4] * u) - tangential -
           2.0 * vv * tangential1;
    jyx += 2.0 * b[2] * u + b[3] * v + 2.0 * b[5] * uv + b[6] * vv + 2.0 * uv * radialHigh1 +
           2.0 * u * sy + rho2 * (2.0 * c[4] * u + 2.0 * c[3] * v) + tangential +
           2.0 * uu * tangential1;
    jyy += b[3] * u + 2.0 * b[4] * v + b[5] * uu + 2.0 * b[6] * uv + radialHigh +
           2.0 * vv * radialHigh1 + 2.0 * v * sy + rho2 * (6.0 * c[4] * v + 2.0 * c[3] * u) +
           2.0 * uv * tangential1;
  }

 private:
  template <class T>
  __attribute__((always_inline)) void HigherOrder(const T& x, const T& y,
                                                  THigherOrder<T>& h) const {
    h.u = x / f;
    h.v = y / f;
    h.uu = h.u * h.u;
    h.uv = h.u * h.v;
    h.vv = h.v * h.v;
    h.rho2 = h.uu + h.vv;
    h.rho4 = h.rho2 * h.rho2;
    h.rho8 = h.rho4 * h.rho4;
    h.radialHigh = h.rho8 * (c[1] + c[2] * h.rho2);
    h.tangential = h.rho2 * (c[5] + c[6] * h.rho2);
  }
};

}  // namespace vx_geometry_detail
