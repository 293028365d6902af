#pragma once
// The affine map of the plane.

#include <array>

#include "VxTransform.h"

// Maps (x, y) to (a0 x + a1 y + a2, a3 x + a4 y + a5). A translation by (tx, ty) is
// (1, 0, tx, 0, 1, ty). Any coefficients are accepted; a singular map is allowed.
class VXGEOMETRY_EXPORT TAffineTransform final : public TVx2DTransform {
 public:
  TAffineTransform(double a0, double a1, double a2, double a3, double a4, double a5);

  // The six coefficients a0..a5 as given.
  const std::array<double, 6>& Coefficients() const { return a_; }

  std::unique_ptr<TVx2DTransform> Clone() const override;
  std::size_t TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                              std::size_t n) const override;
  const char* Name() const override;  // "affine"
  // True for exactly (1, 0, 0, 0, 1, 0).
  bool IsIdentity() const override;
  vec_t_<double, 2> TransformPoint(const vec_t_<double, 2>& p) const override;
  // Its coefficients: a composite fuses the map into the member that follows it.
  bool AffineCoefficients(std::array<double, 6>* coefficients) const override;

 private:
  TAffineTransform(const TAffineTransform&) = default;

  std::array<double, 6> a_;
};
