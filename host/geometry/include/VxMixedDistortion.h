#pragma once
// The mixed distortion model: the radial and decentering terms of the formula model, with
// per-axis polynomial groups and further radial, decentering and tangential terms.

#include <array>

#include "VxDistortionModel.h"

// With x = X - centre.x, y = Y - centre.y, r^2 = x^2 + y^2 (mm), the normalised coordinates
// u = x / f, v = y / f, rho^2 = u^2 + v^2 (f the focal length, mm), the displacement is
//
//   dx = x (K1 r^2 + K2 r^4 + K3 r^6) + P1 (r^2 + 2 x^2) + 2 P2 x y  +  a1 x + a2 y
//        + f (a3 u^2 + a4 u v + a5 v^2 + a6 u^2 v + a7 u v^2)
//        + c1 x + f u rho^8 (c2 + c3 rho^2)
//        + f rho^2 (c4 (rho^2 + 2 u^2) + 2 c5 u v)
//        - f v rho^2 (c6 + c7 rho^2)
//   dy = y (K1 r^2 + K2 r^4 + K3 r^6) + P2 (r^2 + 2 y^2) + 2 P1 x y  +  b1 x + b2 y
//        + f (b3 u^2 + b4 u v + b5 v^2 + b6 u^2 v + b7 u v^2)
//        + c1 y + f v rho^8 (c2 + c3 rho^2)
//        + f rho^2 (c5 (rho^2 + 2 v^2) + 2 c4 u v)
//        + f u rho^2 (c6 + c7 rho^2)
//
// Groups: K radial (r^3, r^5, r^7, units mm^-2, mm^-4, mm^-6) and P decentering (mm^-1), exactly
// as k1..k3, p1, p2 of the formula model; a the x terms and b the y terms (a1, a2, b1, b2 the
// in-plane terms, which the formula model calls b1, b2 and a1, a2; a3..a7, b3..b7 second- and
// third-order terms); c whole-image terms: c1 a scale of the radius, c2, c3 radial rho^9 and
// rho^11, c4, c5 decentering of higher order, c6, c7 tangential rho^3 and rho^5
// (counter-clockwise positive). a, b, c are dimensionless. Every one of the 26 coefficients
// enters linearly: scaling them all by s scales the displacement by s.
//
// The model maps p to p + d(p). With the inverse flag set, TransformPoint(p) returns q with
// q + d(q) = p instead (to 1e-10 mm), or NaN where no such q is found.
class VXGEOMETRY_EXPORT TMixedDistortion final : public TVxDistortionModel<TMixedDistortion> {
 public:
  // `a`, `b`, `c` point to 7 values each, `K` to 3, `P` to 2, numbered from 1. The three
  // trailing values are reserved and must be 0.0. The focal length is needed only when one of
  // a3..a7, b3..b7, c2..c7 is non-zero.
  // Throws std::invalid_argument for a null pointer, a non-zero reserved value, or a focal
  // length that is not positive and finite when it is needed.
  TMixedDistortion(const vec_t_<double, 2>& centre, const double& focal, const double* a,
                   const double* b, const double* c, const double* K, const double* P,
                   const double& reserved1, const double& reserved2, const double& reserved3,
                   bool inverse);

  const vec_t_<double, 2>& Centre() const { return centre_; }
  double Focal() const { return focal_; }
  // The coefficient groups as given: A()[0] is a1, and so on.
  const std::array<double, 7>& A() const { return a_; }
  const std::array<double, 7>& B() const { return b_; }
  const std::array<double, 7>& C() const { return c_; }
  const std::array<double, 3>& K() const { return k_; }
  const std::array<double, 2>& P() const { return p_; }
  const std::array<double, 3>& Reserved() const { return reserved_; }

  const char* Name() const override;  // "mixed distortion"
  // True when all 26 coefficients are zero.
  bool IsIdentity() const override;

 private:
  friend class TVxDistortionModel<TMixedDistortion>;
  struct TKernel;  // the displacement, in the source
  VXGEOMETRY_NO_EXPORT TKernel Kernel() const;
  TMixedDistortion(const TMixedDistortion&) = default;

  vec_t_<double, 2> centre_;
  double focal_ = 0.0;
  std::array<double, 7> a_{};
  std::array<double, 7> b_{};
  std::array<double, 7> c_{};
  std::array<double, 3> k_{};
  std::array<double, 2> p_{};
  std::array<double, 3> reserved_{};
  bool higherOrder_ = false;  // one of a3..a7, b3..b7, c2..c7 is non-zero
};
