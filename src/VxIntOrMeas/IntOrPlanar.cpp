#include "IntOrPlanar.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vx_intor_detail {

TMatrix Multiply(const TMatrix& a, const TMatrix& b) {
  TMatrix c{};
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t k = 0; k < 3; ++k) {
      double sum = 0.0;
      for (std::size_t j = 0; j < 3; ++j) sum += a[r * 3 + j] * b[j * 3 + k];
      c[r * 3 + k] = sum;
    }
  }
  return c;
}

// The inverse of an affine matrix, kept affine (its last row exactly 0, 0, 1).
TMatrix InverseAffine(const TMatrix& m) {
  const double det = m[0] * m[4] - m[1] * m[3];
  const double i00 = m[4] / det, i01 = -m[1] / det;
  const double i10 = -m[3] / det, i11 = m[0] / det;
  return Affine(i00, i01, -(i00 * m[2] + i01 * m[5]), i10, i11, -(i10 * m[2] + i11 * m[5]));
}

TMatrix Adjugate(const TMatrix& m) {
  return {m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
          m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
          m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
}

// The inverse of a projective matrix, scaled so that its last element is 1.
TMatrix InverseProjective(const TMatrix& m) {
  TMatrix adj = Adjugate(m);
  const double last = adj[8];
  for (double& v : adj) v /= last;
  return adj;
}

TPoint Apply(const TMatrix& m, const TPoint& p) {
  const double w = m[6] * p.x + m[7] * p.y + m[8];
  return {(m[0] * p.x + m[1] * p.y + m[2]) / w, (m[3] * p.x + m[4] * p.y + m[5]) / w};
}

bool AllFinite(const TMatrix& m) {
  return std::all_of(m.begin(), m.end(), [](double v) { return std::isfinite(v); });
}

double SmallestSingularValueAtOrigin(const TMatrix& m) {
  const double w = m[8];
  const double j00 = (m[0] * w - m[2] * m[6]) / (w * w);
  const double j01 = (m[1] * w - m[2] * m[7]) / (w * w);
  const double j10 = (m[3] * w - m[5] * m[6]) / (w * w);
  const double j11 = (m[4] * w - m[5] * m[7]) / (w * w);
  const double frobenius2 = j00 * j00 + j01 * j01 + j10 * j10 + j11 * j11;
  const double det = std::fabs(j00 * j11 - j01 * j10);
  // The larger root of s^4 - F s^2 + det^2 = 0 is well conditioned; the smaller follows from
  // the product, without the cancellation of the other root.
  const double largest2 =
      0.5 * (frobenius2 + std::sqrt(std::max(0.0, frobenius2 * frobenius2 - 4.0 * det * det)));
  return largest2 > 0.0 ? det / std::sqrt(largest2) : 0.0;
}

bool IsFinite(const TPoint& p) {
  return std::isfinite(p.x) && std::isfinite(p.y);
}

double Cross(const TPoint& a, const TPoint& b) {
  return a.x * b.y - a.y * b.x;
}

// An angle in radians brought into (-pi, pi].
double WrapRadians(double a) {
  a = std::remainder(a, 2.0 * kPi);
  return a <= -kPi ? a + 2.0 * kPi : a;
}

// An angle in degrees brought into (-180, 180]; -0 becomes 0.
double WrapDegrees(double a) {
  a = std::remainder(a, 360.0);
  return (a <= -180.0 ? a + 360.0 : a) + 0.0;
}

// R(-rotation): an image turned counter-clockwise by `rotation` against the camera is turned
// back onto the camera's axes.
TMatrix RotationBack(double rotationRad) {
  const double c = std::cos(rotationRad), s = std::sin(rotationRad);
  return Affine(c, s, 0.0, -s, c, 0.0);
}

// The record's rotation in degrees.
double QuarterTurnDeg(TCamRotate rotation) {
  return (static_cast<int>(rotation) - 1) * 90.0;
}

// R(-rotation) for the record's quarter turns, written out: the cos and sin of multiples of
// pi / 2 are not exactly 0 and 1 in double.
TMatrix QuarterTurnBack(TCamRotate rotation) {
  switch (rotation) {
    case TCamRotate::Rotate90:
      return Affine(0.0, 1.0, 0.0, -1.0, 0.0, 0.0);
    case TCamRotate::Rotate180:
      return Affine(-1.0, 0.0, 0.0, 0.0, -1.0, 0.0);
    case TCamRotate::Rotate270:
      return Affine(0.0, -1.0, 0.0, 1.0, 0.0, 0.0);
    default:
      return Affine(1.0, 0.0, 0.0, 0.0, 1.0, 0.0);
  }
}

}  // namespace vx_intor_detail
