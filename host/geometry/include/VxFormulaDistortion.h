#pragma once
// The formula distortion model: radial polynomial, Brown's decentering with its profile, and
// the in-plane (affinity and shear) terms. The formulas stand in docs/distortion-models.md.

#include "VxDistortionModel.h"

// With x = X - centre.x, y = Y - centre.y, r^2 = x^2 + y^2 (all in mm), the displacement is
//
//   dx = x (k1 r^2 + k2 r^4 + k3 r^6 + k4 r^8 + k5 r^10)
//        + (1 + p3 r^2 + p4 r^4) (p1 (r^2 + 2 x^2) + 2 p2 x y)  +  b1 x + b2 y
//   dy = y (k1 r^2 + k2 r^4 + k3 r^6 + k4 r^8 + k5 r^10)
//        + (1 + p3 r^2 + p4 r^4) (p2 (r^2 + 2 y^2) + 2 p1 x y)  +  a1 x + a2 y
//
// so the radial displacement is k1 r^3 + ... + k5 r^11 (positive outwards). Units: k1 mm^-2,
// k2 mm^-4, k3 mm^-6, k4 mm^-8, k5 mm^-10, p1 and p2 mm^-1, p3 mm^-2, p4 mm^-4; b1, b2, a1, a2
// are dimensionless.
//
// The model maps p to p + d(p). With the inverse flag set, TransformPoint(p) returns q with
// q + d(q) = p instead (to 1e-10 mm), or NaN where no such q is found.
//
// Every coefficient but p3 and p4 enters linearly: scaling k1..k5, p1, p2, b1, b2, a1, a2 by s
// scales the displacement by s. p3 and p4 shape the decentering profile.
class VXGEOMETRY_EXPORT TFormulaDistortion final : public TVxDistortionModel<TFormulaDistortion> {
 public:
  // The whole description of the model. Fields in this order.
  struct TDistCoeff {
    vec_t_<double, 2> centre;  // centre of distortion (mm)
    double k1 = 0.0, k2 = 0.0, k3 = 0.0, k4 = 0.0, k5 = 0.0;
    double p1 = 0.0, p2 = 0.0, p3 = 0.0, p4 = 0.0;
    double b1 = 0.0, b2 = 0.0;
    double a1 = 0.0, a2 = 0.0;
    bool inverse = false;  // TransformPoint solves the model instead of applying it
  };

  explicit TFormulaDistortion(const TDistCoeff& coefficients);
  // The radial and decentering terms only: b1 = b2 = a1 = a2 = 0.
  TFormulaDistortion(const vec_t_<double, 2>& centre, double k1, double k2, double k3, double k4,
                     double k5, double p1, double p2, double p3, double p4, bool inverse);

  // The coefficients as built, with the centre and the inverse flag.
  const TDistCoeff& Coefficients() const { return c_; }
  const vec_t_<double, 2>& Centre() const { return c_.centre; }

  const char* Name() const override;  // "formula distortion"
  // True when every coefficient that moves a point (all but p3, p4) is zero.
  bool IsIdentity() const override;

 private:
  friend class TVxDistortionModel<TFormulaDistortion>;
  struct TKernel;  // the displacement, in the source
  VXGEOMETRY_NO_EXPORT TKernel Kernel() const;
  TFormulaDistortion(const TFormulaDistortion&) = default;

  TDistCoeff c_;
};
