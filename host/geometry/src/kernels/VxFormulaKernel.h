#pragma once
// The displacement of the formula model (the formula stands in VxFormulaDistortion.h). Internal
// to the library; the tests of the analytic Jacobians include it.

#include "../VxSimd.h"
#include "VxFormulaDistortion.h"

namespace vx_geometry_detail {

// Which terms a kernel computes: kTerms leaves out terms whose coefficients are all zero (see
// FormulaTerms). kBrownTerms leaves out k4, k5 and the profile (1 + p3 r^2 + p4 r^4), which
// leaves the radial, decentering and in-plane terms of most calibrations with a quarter less
// arithmetic; kRadialDecentering also the in-plane terms (the model of OpenCV and of most
// close-range calibrations). One-point and batch paths choose alike.
constexpr int kAllTerms = 0;
constexpr int kBrownTerms = 1;
constexpr int kRadialDecentering = 2;

// The shortest kernel for the coefficients that leaves out only zero coefficients.
inline int FormulaTerms(const TFormulaDistortion::TDistCoeff& c) {
  if (!(c.k4 == 0.0 && c.k5 == 0.0 && c.p3 == 0.0 && c.p4 == 0.0)) return kAllTerms;
  if (c.b1 == 0.0 && c.b2 == 0.0 && c.a1 == 0.0 && c.a2 == 0.0) return kRadialDecentering;
  return kBrownTerms;
}

// The displacement with the terms kTerms, over any number type (double for one point, TVec8 for
// eight). The formula separates into terms of x alone (Column), terms of y alone (Row) and their
// combination (Combine), so that a grid can compute the terms of each column and each row once:
// Displace is Combine(Column(x), Row(y)), and a grid that combines tabulated terms gets the same
// operations on the same operands, hence the same bits.
template <int kTerms>
struct TFormulaKernel {
  static constexpr bool kBrown = kTerms != kAllTerms;
  static constexpr bool kInPlane = kTerms != kRadialDecentering;

  // The terms of x alone: x, x^2, 2 x^2, 2 p2 x, 2 p1 x, b1 x, a1 x (x from the centre).
  enum : int { kX, kXX, kX2X, kP2X, kP1X, kB1X, kA1X, kColumnTerms };
  // The terms of y alone: y, y^2, 2 y^2, b2 y, a2 y.
  enum : int { kY, kYY, kY2Y, kB2Y, kA2Y, kRowTerms };

  explicit TFormulaKernel(const TFormulaDistortion::TDistCoeff& c) : c_(c) {}

  // (Results through references: vectors are never passed by value, whose ABI differs between
  // the instruction sets.)
  template <class T>
  __attribute__((always_inline)) void Column(const T& px, T* column) const {
    const T x = px - c_.centre.x;
    column[kX] = x;
    column[kXX] = x * x;
    column[kX2X] = column[kXX] + column[kXX];  // 2 x^2 exactly, as (2 x) x, with an addition
    column[kP2X] = 2.0 * c_.p2 * x;
    column[kP1X] = 2.0 * c_.p1 * x;
    column[kB1X] = c_.b1 * x;
    column[kA1X] = c_.a1 * x;
  }

  template <class T>
  __attribute__((always_inline)) void Row(const T& py, T* row) const {
    const T y = py - c_.centre.y;
    row[kY] = y;
    row[kYY] = y * y;
    row[kY2Y] = row[kYY] + row[kYY];
    row[kB2Y] = c_.b2 * y;
    row[kA2Y] = c_.a2 * y;
  }

  // The displacement from the terms of a column and a row; TRow is TColumn's number type or
  // double (one row for eight columns).
  template <class TColumn, class TRow>
  __attribute__((always_inline)) void Combine(const TColumn* column, const TRow* row, TColumn& dx,
                                              TColumn& dy) const {
    const TColumn& x = column[kX];
    const TRow& y = row[kY];
    const TColumn r2 = column[kXX] + row[kYY];
    TColumn radial;
    Radial(r2, radial);
    TColumn tx, ty;
    Decentering(column, row, r2, tx, ty);
    if constexpr (kInPlane) {
      dx = x * radial + tx + column[kB1X] + row[kB2Y];
      dy = y * radial + ty + column[kA1X] + row[kA2Y];
    } else {
      dx = x * radial + tx;
      dy = y * radial + ty;
    }
  }

  template <class T>
  __attribute__((always_inline)) void Displace(const T& px, const T& py, T& dx, T& dy) const {
    T column[kColumnTerms];
    T row[kRowTerms];
    Column(px, column);
    Row(py, row);
    Combine(column, row, dx, dy);
  }

  // Where the inverse of p starts: the radial polynomial s = r (1 + k1 r^2 + ... + k5 r^10)
  // inverted as a series (by Lagrange inversion, five terms),
  //   r = s (1 + b1 s^2 + b2 s^4 + b3 s^6 + b4 s^8 + b5 s^10), s = |p - c|,
  // then the other terms (decentering with its profile, in-plane) taken off as they are at p.
  // The start is off by the series' next term, of the order of k2^3 s^13 (3e-6 mm at the corner
  // of a lens with 0.6 % of distortion there), and by how much the other terms change over the
  // radial displacement; Newton takes it from there, one step for such a lens.
  template <class T>
  __attribute__((always_inline)) void InverseStart(const T& px, const T& py, T& qx, T& qy) const {
    const double a = c_.k1, b = c_.k2, c = c_.k3, d = c_.k4, e = c_.k5;
    const double a2 = a * a;
    const double b1 = -a;
    const double b2 = 3.0 * a2 - b;
    const double b3 = -12.0 * a2 * a + 8.0 * a * b - c;
    const double b4 = 55.0 * a2 * a2 - 55.0 * a2 * b + 10.0 * a * c + 5.0 * b * b - d;
    const double b5 = -273.0 * a2 * a2 * a + 364.0 * a2 * a * b - 78.0 * a2 * c - 78.0 * a * b * b +
                      12.0 * a * d + 12.0 * b * c - e;
    T column[kColumnTerms];
    T row[kRowTerms];
    Column(px, column);
    Row(py, row);
    const T& x = column[kX];
    const T& y = row[kY];
    const T s2 = column[kXX] + row[kYY];
    // Estrin's scheme: the two halves of the polynomial in parallel, a shorter chain than Horner's.
    const T s4 = s2 * s2;
    const T low = 1.0 + s2 * (b1 + s2 * b2);
    const T high = b3 + s2 * (b4 + s2 * b5);
    const T scale = low + (s4 * s2) * high;
    T nx, ny;
    Decentering(column, row, s2, nx, ny);
    if constexpr (kInPlane) {
      nx = nx + column[kB1X] + row[kB2Y];
      ny = ny + column[kA1X] + row[kA2Y];
    }
    qx = c_.centre.x + (x * scale - nx);
    qy = c_.centre.y + (y * scale - ny);
  }

  // The partial derivatives of the displacement.
  template <class T>
  __attribute__((always_inline)) void Jacobian(const T& px, const T& py, T& jxx, T& jxy, T& jyx,
                                               T& jyy) const {
    const T x = px - c_.centre.x;
    const T y = py - c_.centre.y;
    const T r2 = x * x + y * y;
    // 2 x^2 and 2 y^2 as the displacement's terms compute them (with an addition).
    const T xx2 = x * x + x * x;
    const T yy2 = y * y + y * y;
    T radial;
    Radial(r2, radial);
    const T txx = 6.0 * c_.p1 * x + 2.0 * c_.p2 * y;
    const T txy = 2.0 * c_.p1 * y + 2.0 * c_.p2 * x;
    const T tyx = 2.0 * c_.p2 * x + 2.0 * c_.p1 * y;
    const T tyy = 6.0 * c_.p2 * y + 2.0 * c_.p1 * x;
    if constexpr (kBrown) {
      // d(radial)/d(r^2); d(r^2)/dx = 2x.
      const T radial1 = c_.k1 + r2 * (2.0 * c_.k2 + r2 * (3.0 * c_.k3));
      jxx = radial + xx2 * radial1 + txx;
      jxy = 2.0 * x * y * radial1 + txy;
      jyx = 2.0 * x * y * radial1 + tyx;
      jyy = radial + yy2 * radial1 + tyy;
      if constexpr (kInPlane) {
        jxx += c_.b1;
        jxy += c_.b2;
        jyx += c_.a1;
        jyy += c_.a2;
      }
    } else {
      // d(radial)/d(r^2) and d(profile)/d(r^2); d(r^2)/dx = 2x.
      const T radial1 =
          c_.k1 + r2 * (2.0 * c_.k2 + r2 * (3.0 * c_.k3 + r2 * (4.0 * c_.k4 + r2 * 5.0 * c_.k5)));
      const T profile = 1.0 + r2 * (c_.p3 + r2 * c_.p4);
      const T profile1 = c_.p3 + 2.0 * r2 * c_.p4;
      const T tx = c_.p1 * (r2 + xx2) + 2.0 * c_.p2 * x * y;
      const T ty = c_.p2 * (r2 + yy2) + 2.0 * c_.p1 * x * y;
      jxx = radial + xx2 * radial1 + 2.0 * x * profile1 * tx + profile * txx + c_.b1;
      jxy = 2.0 * x * y * radial1 + 2.0 * y * profile1 * tx + profile * txy + c_.b2;
      jyx = 2.0 * x * y * radial1 + 2.0 * x * profile1 * ty + profile * tyx + c_.a1;
      jyy = radial + yy2 * radial1 + 2.0 * y * profile1 * ty + profile * tyy + c_.a2;
    }
  }

 private:
  // The decentering displacement (with its profile when kTerms has one) from the column and row
  // terms and r^2.
  template <class TColumn, class TRow>
  __attribute__((always_inline)) void Decentering(const TColumn* column, const TRow* row,
                                                  const TColumn& r2, TColumn& tx,
                                                  TColumn& ty) const {
    const TRow& y = row[kY];
    // 2 p2 x y and 2 p1 x y as ((2 p2) x) y.
    tx = c_.p1 * (r2 + column[kX2X]) + column[kP2X] * y;
    ty = c_.p2 * (r2 + row[kY2Y]) + column[kP1X] * y;
    if constexpr (!kBrown) {
      const TColumn profile = 1.0 + r2 * (c_.p3 + r2 * c_.p4);
      tx = profile * tx;
      ty = profile * ty;
    }
  }

  template <class T>
  __attribute__((always_inline)) void Radial(const T& r2, T& radial) const {
    if constexpr (kBrown) {
      radial = r2 * (c_.k1 + r2 * (c_.k2 + r2 * c_.k3));
    } else {
      radial = r2 * (c_.k1 + r2 * (c_.k2 + r2 * (c_.k3 + r2 * (c_.k4 + r2 * c_.k5))));
    }
  }

  // A copy, so that the compiler knows that writing results cannot change it.
  TFormulaDistortion::TDistCoeff c_;
};

// The formula model's kernel: its coefficients, visited as the TFormulaKernel of their terms.
struct TFormulaDispatch {
  using TChoosesKernel = void;
  TFormulaDistortion::TDistCoeff c;

  template <class Visitor>
  __attribute__((always_inline)) decltype(auto) Visit(const Visitor& visit) const {
    switch (FormulaTerms(c)) {
      case kRadialDecentering:
        return visit(TFormulaKernel<kRadialDecentering>(c));
      case kBrownTerms:
        return visit(TFormulaKernel<kBrownTerms>(c));
      default:
        return visit(TFormulaKernel<kAllTerms>(c));
    }
  }
};

}  // namespace vx_geometry_detail
