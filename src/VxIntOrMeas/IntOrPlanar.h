#pragma once
// The planar geometry of solving an interior orientation: 3x3 matrices acting on (x, y, 1),
// angles and quarter turns. Internal to the library.

#include <array>

#include "VxIntOrMeas.h"
#include "VxVec.h"

namespace vx_intor_detail {

using TPoint = vec_t_<double, 2>;
// A 3x3 matrix row by row, acting on (x, y, 1).
using TMatrix = std::array<double, 9>;

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegrees = 180.0 / kPi;

// The affine matrix (last row 0, 0, 1) of x' = L x + t.
constexpr TMatrix Affine(double l00, double l01, double t0, double l10, double l11, double t1) {
  return {l00, l01, t0, l10, l11, t1, 0.0, 0.0, 1.0};
}

// Pixel coordinates to the y-up pixel frame: the row counts downwards, the camera's y upwards.
constexpr TMatrix kFlipY = Affine(1.0, 0.0, 0.0, 0.0, -1.0, 0.0);

// a b.
TMatrix Multiply(const TMatrix& a, const TMatrix& b);
// The inverse of an affine matrix, kept affine (its last row exactly 0, 0, 1).
TMatrix InverseAffine(const TMatrix& m);
// The adjugate: the inverse times the determinant.
TMatrix Adjugate(const TMatrix& m);
// The inverse of a projective matrix, scaled so that its last element is 1.
TMatrix InverseProjective(const TMatrix& m);
// The image of p.
TPoint Apply(const TMatrix& m, const TPoint& p);
bool AllFinite(const TMatrix& m);
bool IsFinite(const TPoint& p);
// The smaller singular value of the map's Jacobian at the origin (for a projective map
// (A p + t) / (v.p + w), (A w - t v^T) / w^2; for an affine map, its linear part): how much the
// map shrinks the direction it shrinks most. Closed form of the 2x2 case:
//   s_max^2 + s_min^2 = |J|_F^2,  s_max s_min = |det J|.
double SmallestSingularValueAtOrigin(const TMatrix& m);
// The z component of a x b.
double Cross(const TPoint& a, const TPoint& b);
// An angle in radians brought into (-pi, pi].
double WrapRadians(double a);
// An angle in degrees brought into (-180, 180]; -0 becomes 0.
double WrapDegrees(double a);
// R(-rotation): an image turned counter-clockwise by `rotation` against the camera is turned
// back onto the camera's axes.
TMatrix RotationBack(double rotationRad);
// The record's rotation in degrees.
double QuarterTurnDeg(TCamRotate rotation);
// R(-rotation) for the record's quarter turns, written out: the cos and sin of multiples of
// pi / 2 are not exactly 0 and 1 in double.
TMatrix QuarterTurnBack(TCamRotate rotation);

}  // namespace vx_intor_detail
