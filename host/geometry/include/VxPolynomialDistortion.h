#pragma once
// The polynomial distortion model of aerial camera calibration reports: an odd radial
// polynomial from K0 r to K7 r^15 and decentering P1..P4, all in millimetres.

#include <array>

#include "VxDistortionModel.h"

// With x = X - centre.x, y = Y - centre.y, r^2 = x^2 + y^2 (mm), the displacement is
//
//   dx = x (K0 + K1 r^2 + K2 r^4 + ... + K7 r^14)
//        + P1 (r^2 + 2 x^2) + 2 P2 x y  +  r^2 (P3 (r^2 + 2 x^2) + 2 P4 x y)
//   dy = y (K0 + K1 r^2 + K2 r^4 + ... + K7 r^14)
//        + P2 (r^2 + 2 y^2) + 2 P1 x y  +  r^2 (P4 (r^2 + 2 y^2) + 2 P3 x y)
//
// so the radial displacement is K0 r + K1 r^3 + ... + K7 r^15 (positive outwards), with Ki in
// mm^-2i: a report's K0..K4 in millimetre units go in unchanged. P1, P2 (mm^-1) are Brown's
// decentering terms and P3, P4 (mm^-3) the same pattern one order higher. All 12 coefficients
// enter linearly: scaling them by s scales the displacement by s. The focal length is kept for
// the record; the coefficients, being in millimetres, do not need it.
//
// The model maps p to p + d(p). With the inverse flag set, TransformPoint(p) returns q with
// q + d(q) = p instead (to 1e-10 mm), or NaN where no such q is found.
class VXGEOMETRY_EXPORT TPolynomialDistortion final
    : public TVxDistortionModel<TPolynomialDistortion> {
 public:
  // `K` points to 8 values K0..K7, `P` to 4 values P1..P4. The two trailing values are
  // reserved and must be 0.0.
  // Throws std::invalid_argument for a null pointer or a non-zero reserved value.
  TPolynomialDistortion(const vec_t_<double, 2>& centre, const double& focal, const double* K,
                        const double* P, const double& reserved1, const double& reserved2,
                        bool inverse);

  const vec_t_<double, 2>& Centre() const { return centre_; }
  double Focal() const { return focal_; }
  // K()[0] is K0; P()[0] is P1.
  const std::array<double, 8>& K() const { return k_; }
  const std::array<double, 4>& P() const { return p_; }
  const std::array<double, 2>& Reserved() const { return reserved_; }

  const char* Name() const override;  // "polynomial distortion"
  // True when all 12 coefficients are zero.
  bool IsIdentity() const override;

 private:
  friend class TVxDistortionModel<TPolynomialDistortion>;
  struct TKernel;  // the displacement, in the source
  VXGEOMETRY_NO_EXPORT TKernel Kernel() const;
  TPolynomialDistortion(const TPolynomialDistortion&) = default;

  vec_t_<double, 2> centre_;
  double focal_ = 0.0;
  std::array<double, 8> k_{};
  std::array<double, 4> p_{};
  std::array<double, 2> reserved_{};
};
