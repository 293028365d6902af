#pragma once
// The radial table distortion model: a radial displacement interpolated in a table of radii.

#include <memory>
#include <vector>

#include "VxDistortionModel.h"

// With x = X - centre.x, y = Y - centre.y, r = sqrt(x^2 + y^2), the displacement is
// dr(r) (x, y) / r: along the radius, positive outwards, and zero at the centre. dr is in the
// unit of r (mm).
//
// dr(r) interpolates the rows (r, dr) of the table:
// - rows may come in any order; they are sorted by radius internally (Table() keeps them as
//   given); rows of equal radius count as one row with the mean of their dr;
// - when the smallest radius is above 0, the profile starts at dr(0) = 0;
// - between rows: a natural cubic spline (smooth, with continuous slope and curvature);
// - beyond the last row: the straight line continuing the spline with its end slope;
// - one row at radius R > 0: the straight line dr = dr_R r / R;
// - no rows: the identity.
// The interpolation is linear in the dr values: scaling every dr by s scales the displacement
// by s.
//
// The model maps p to p + d(p). With the inverse flag set, TransformPoint(p) returns q with
// q + d(q) = p instead (to 1e-10 mm), or NaN where no such q is found.
class VXGEOMETRY_EXPORT TRadialDistortion final : public TVxDistortionModel<TRadialDistortion> {
 public:
  // One table row: the radius, then the radial displacement at that radius.
  struct TRadialTableItem {
    double r = 0.0;
    double dr = 0.0;
  };

  // Throws std::invalid_argument for a radius that is negative or not finite, or a dr that is
  // not finite.
  TRadialDistortion(const vec_t_<double, 2>& centre, const std::vector<TRadialTableItem>& table,
                    bool inverse);

  const vec_t_<double, 2>& Centre() const { return centre_; }
  // The rows as given, in the given order.
  const std::vector<TRadialTableItem>& Table() const { return table_; }
  // The interpolated radial displacement dr at radius r >= 0 (mm).
  double RadialDisplacement(double r) const;

  const char* Name() const override;  // "radial table distortion"
  // True when every dr is zero (or there are no rows).
  bool IsIdentity() const override;

 private:
  struct TProfile;  // the interpolation, shared by clones: it never changes
  friend class TVxDistortionModel<TRadialDistortion>;
  struct TKernel;  // the displacement, in the source
  VXGEOMETRY_NO_EXPORT TKernel Kernel() const;
  TRadialDistortion(const TRadialDistortion&) = default;

  vec_t_<double, 2> centre_;
  std::vector<TRadialTableItem> table_;
  std::shared_ptr<const TProfile> profile_;
};
