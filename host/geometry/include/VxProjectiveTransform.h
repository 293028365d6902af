#pragma once
// The projective map (homography) of the plane.

#include <array>

#include "VxTransform.h"

// Maps (x, y) to ((h0 x + h1 y + h2) / w, (h3 x + h4 y + h5) / w) with w = h6 x + h7 y + h8:
// the 3x3 matrix h0..h8, row by row, applied to (x, y, 1). Any coefficients are accepted; the
// matrix and every multiple of it are the same map. With h6 = h7 = 0 and h8 = 1 it is the affine
// map (h0, h1, h2, h3, h4, h5).
// A point on the line w = 0 (the horizon of the map), or any point whose result is not finite,
// gives NaN in both coordinates.
class VXGEOMETRY_EXPORT TProjectiveTransform final : public TVx2DTransform {
 public:
  explicit TProjectiveTransform(const std::array<double, 9>& h);

  // The nine coefficients h0..h8 as given.
  const std::array<double, 9>& Coefficients() const { return h_; }

  std::unique_ptr<TVx2DTransform> Clone() const override;
  std::size_t TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                              std::size_t n) const override;
  const char* Name() const override;  // "projective"
  // True for a non-zero multiple of the unit matrix (h0 = h4 = h8 != 0, all others 0).
  bool IsIdentity() const override;
  vec_t_<double, 2> TransformPoint(const vec_t_<double, 2>& p) const override;

 private:
  TProjectiveTransform(const TProjectiveTransform&) = default;

  std::array<double, 9> h_;
};
