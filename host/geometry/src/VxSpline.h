#pragma once
// The interpolation behind the table models. Internal to the library.
//
// Both splines are linear in the tabulated values: scaling every value by s scales every
// interpolated and extrapolated value by s. That is what lets a distortion multiplier scale a
// table model exactly.

#include <cstddef>
#include <vector>

namespace vx_geometry_detail {

// Displacement profiles along the radius: a natural cubic spline over radius knots, with one or
// more value columns sharing the knots (one column per direction of a directed table).
//
// Knots: the given radii sorted ascending; rows of equal radius become one knot holding the mean
// of their values; when the smallest radius is above 0, the origin (0, 0) is added as the first
// knot, so that the profile starts at zero displacement at the centre. Between knots: the natural
// cubic spline (second derivative 0 at both end knots, which is also the behaviour of the odd
// polynomial r^3, r^5, ... at the centre). Beyond the last knot: the straight line that continues
// the spline with its end slope. A single knot (a single row at radius 0) gives a constant
// profile; no knots give the zero profile.
class TProfileSpline {
 public:
  TProfileSpline() = default;
  // `radii` has one entry per row; `values` holds the rows' columns row by row
  // (radii.size() * columns values). Radii must be finite and not negative, values finite;
  // the caller checks.
  TProfileSpline(const std::vector<double>& radii, const std::vector<double>& values,
                 std::size_t columns);

  std::size_t Columns() const { return columns_; }
  bool IsZero() const { return zero_; }
  // The profile of every column at radius r >= 0, written to out[0..Columns()).
  void Evaluate(double r, double* out) const;
  // The same, with the slope d(profile)/dr of every column in slope[0..Columns()).
  void Evaluate(double r, double* out, double* slope) const;

 private:
  std::size_t columns_ = 0;
  bool zero_ = true;
  std::vector<double> knots_;
  std::vector<double> values_;     // knots x columns
  std::vector<double> second_;     // second derivatives, knots x columns
  std::vector<double> end_slope_;  // slope beyond the last knot, per column
};

// Cardinal weights of a periodic cubic spline over angles: the value at angle t interpolated
// periodically (period 2 pi) between n >= 1 directions is the sum of w_j(t) g_j over the
// values g_j of the directions. Angles must be ascending and span less than 2 pi; the caller
// checks. One direction gives the constant weight 1.
class TPeriodicSpline {
 public:
  TPeriodicSpline() = default;
  explicit TPeriodicSpline(const std::vector<double>& angles);

  std::size_t Size() const { return n_; }
  // The value at angle `t` (radians, any value) of the periodic spline through g[0..Size()).
  double Evaluate(double t, const double* g) const;
  // The value and, in `slope`, the derivative with respect to the angle.
  double Evaluate(double t, const double* g, double& slope) const;

 private:
  std::size_t n_ = 0;
  double first_ = 0.0;
  std::vector<double> offsets_;  // angle - first angle, n + 1 entries, the last is 2 pi
  std::vector<double> moments_;  // n x n: second derivatives at the knots = moments_ * g
};

}  // namespace vx_geometry_detail
