#pragma once
// The displacement of the polynomial model (the formula stands in VxPolynomialDistortion.h), over
// any number type: double for one point, TVec8 for eight. Internal to the library; the tests of
// the analytic Jacobians include it.

#include <array>

#include "../VxSimd.h"

namespace vx_geometry_detail {

struct TPolynomialKernel {
  double cx, cy;
  std::array<double, 8> k;
  std::array<double, 4> p;

  template <class T>
  __attribute__((always_inline)) void Displace(const T& px, const T& py, T& dx, T& dy) const {
    const T x = px - cx;
    const T y = py - cy;
    const T r2 = x * x + y * y;
    T radial;
    Radial(r2, radial);
    const T ex = r2 + 2.0 * x * x;
    const T ey = r2 + 2.0 * y * y;
    const T xy2 = 2.0 * x * y;
    dx = x * radial + p[0] * ex + p[1] * xy2 + r2 * (p[2] * ex + p[3] * xy2);
    dy = y * radial + p[1] * ey + p[0] * xy2 + r2 * (p[3] * ey + p[2] * xy2);
  }

  // The partial derivatives of the displacement.
  template <class T>
  __attribute__((always_inline)) void Jacobian(const T& px, const T& py, T& jxx, T& jxy, T& jyx,
                                               T& jyy) const {
    const T x = px - cx;
    const T y = py - cy;
    const T r2 = x * x + y * y;
    T radial;
    Radial(r2, radial);
    // d(radial)/d(r^2); d(r^2)/dx = 2x.
    const T radial1 =
        k[1] +
        r2 * (2.0 * k[2] +
              r2 * (3.0 * k[3] +
                    r2 * (4.0 * k[4] + r2 * (5.0 * k[5] + r2 * (6.0 * k[6] + r2 * 7.0 * k[7])))));
    const T ex = r2 + 2.0 * x * x;
    const T ey = r2 + 2.0 * y * y;
    const T xy2 = 2.0 * x * y;
    const T hx = p[2] * ex + p[3] * xy2;  // the r^2-scaled terms before the scaling
    const T hy = p[3] * ey + p[2] * xy2;
    jxx = radial + 2.0 * x * x * radial1 + 6.0 * x * p[0] + 2.0 * y * p[1] + 2.0 * x * hx +
          r2 * (6.0 * x * p[2] + 2.0 * y * p[3]);
    jxy = 2.0 * x * y * radial1 + 2.0 * y * p[0] + 2.0 * x * p[1] + 2.0 * y * hx +
          r2 * (2.0 * y * p[2] + 2.0 * x * p[3]);
    jyx = 2.0 * x * y * radial1 + 2.0 * x * p[1] + 2.0 * y * p[0] + 2.0 * x * hy +
          r2 * (2.0 * x * p[3] + 2.0 * y * p[2]);
    jyy = radial + 2.0 * y * y * radial1 + 6.0 * y * p[1] + 2.0 * x * p[0] + 2.0 * y * hy +
          r2 * (6.0 * y * p[3] + 2.0 * x * p[2]);
  }

 private:
  // k0 + k1 r^2 + ... + k7 r^14, by Horner's rule in r^2.
  template <class T>
  __attribute__((always_inline)) void Radial(const T& r2, T& radial) const {
    radial = k[0] +
             r2 * (k[1] +
                   r2 * (k[2] + r2 * (k[3] + r2 * (k[4] + r2 * (k[5] + r2 * (k[6] + r2 * k[7]))))));
  }
};

}  // namespace vx_geometry_detail
