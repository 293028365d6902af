#pragma once
// The directed table distortion model: radial displacements tabulated along several directions.

#include <memory>
#include <vector>

#include "VxDistortionModel.h"

// With x = X - centre.x, y = Y - centre.y, r = sqrt(x^2 + y^2) and t = atan2(y, x), the
// displacement is dr(r, t) (x, y) / r: along the radius, positive outwards, zero at the centre,
// in the unit of r (mm).
//
// dr(r, t) is interpolated in two steps:
// 1. along the radius, for each direction j, in the column j of the table exactly as the radial
//    table model does (sorted rows, equal radii averaged, dr = 0 at the centre when no row is at
//    radius 0, natural cubic spline between rows, straight continuation beyond the last row);
// 2. around the centre, periodically in the angle, by the periodic cubic spline through the
//    directions' values (one direction: the same value all around).
// Both steps are linear in the table values: scaling every value by s scales the displacement
// by s.
//
// The model maps p to p + d(p). With the inverse flag set, TransformPoint(p) returns q with
// q + d(q) = p instead (to 1e-10 mm), or NaN where no such q is found.
class VXGEOMETRY_EXPORT TDirectedDistortion final : public TVxDistortionModel<TDirectedDistortion> {
 public:
  // One table row: a radius, then the radial displacement along each direction, in the order of
  // the angle list.
  struct TDirectedTableItem {
    double r = 0.0;
    std::vector<double> dr;
  };
  // The whole description of the model. Fields in this order.
  struct TDirectedData {
    vec_t_<double, 2> centre;  // centre of distortion (mm)
    // Direction angles in radians, counter-clockwise from +x, strictly ascending, spanning less
    // than a full turn.
    std::vector<double> angles;
    std::vector<TDirectedTableItem> table;  // rows in any order
  };

  // Throws std::invalid_argument when the angles are not finite, not strictly ascending or span
  // a full turn or more, when rows exist but no angles, when a row does not hold one value per
  // angle, or when a radius is negative or a value is not finite.
  TDirectedDistortion(const TDirectedData& data, bool inverse);

  // The description as given (rows in the given order).
  const TDirectedData& Data() const { return data_; }
  const vec_t_<double, 2>& Centre() const { return data_.centre; }
  // The interpolated radial displacement at radius r >= 0 (mm) in direction t (radians).
  double RadialDisplacement(double r, double t) const;

  const char* Name() const override;  // "directed table distortion"
  // True when every tabulated value is zero (or there are no rows).
  bool IsIdentity() const override;

 private:
  struct TProfile;  // the interpolation, shared by clones: it never changes
  friend class TVxDistortionModel<TDirectedDistortion>;
  struct TKernel;  // the displacement, in the source
  VXGEOMETRY_NO_EXPORT TKernel Kernel() const;
  TDirectedDistortion(const TDirectedDistortion&) = default;

  TDirectedData data_;
  std::shared_ptr<const TProfile> profile_;
};
