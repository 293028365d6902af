#pragma once
// The interpolation behind the table models. Internal to the library.
//
// Both splines are linear in the tabulated values: scaling every value by s scales every
// interpolated and extrapolated value by s. That is what lets a distortion multiplier scale a
// table model exactly.

#include <algorithm>
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
  void Evaluate(double r, double* out) const {
    if (knots_.empty()) return Zero(out);
    const std::size_t s = Segment(r);
    const double t = r - knots_[s];
    const double* c = &coefficients_[s * columns_ * 4];
    for (std::size_t col = 0; col < columns_; ++col, c += 4)
      out[col] = c[0] + t * (c[1] + t * (c[2] + t * c[3]));
  }
  // The profile of a single column at radius r >= 0 (Columns() == 1): the same value as
  // Evaluate, without the loop over columns.
  double EvaluateSingle(double r) const {
    if (knots_.empty()) return 0.0;
    const std::size_t s = Segment(r);
    const double t = r - knots_[s];
    const double* c = &coefficients_[s * 4];
    return c[0] + t * (c[1] + t * (c[2] + t * c[3]));
  }
  // The same, with the slope d(profile)/dr of every column in slope[0..Columns()).
  void Evaluate(double r, double* out, double* slope) const {
    if (knots_.empty()) {
      Zero(slope);
      return Zero(out);
    }
    const std::size_t s = Segment(r);
    const double t = r - knots_[s];
    const double* c = &coefficients_[s * columns_ * 4];
    for (std::size_t col = 0; col < columns_; ++col, c += 4) {
      out[col] = c[0] + t * (c[1] + t * (c[2] + t * c[3]));
      slope[col] = c[1] + t * (2.0 * c[2] + 3.0 * t * c[3]);
    }
  }

 private:
  void Zero(double* out) const {
    for (std::size_t col = 0; col < columns_; ++col) out[col] = 0.0;
  }
  // The piece that holds r: piece s covers [knots_[s], knots_[s + 1]); the last piece, the
  // straight continuation, everything from the last knot on (and NaN); a radius below the first
  // knot takes the first piece. A table of equal buckets over the knots gives a piece at or next
  // to the right one, so that the search costs a comparison or two instead of a bisection.
  std::size_t Segment(double r) const {
    const std::size_t last = knots_.size() - 1;
    if (!(r < knots_[last])) return last;
    if (!(r > knots_[0])) return 0;
    const double at = (r - knots_[0]) * bucket_scale_;
    std::size_t s = buckets_[std::min(static_cast<std::size_t>(at), buckets_.size() - 1)];
    while (s > 0 && r < knots_[s]) --s;
    while (r >= knots_[s + 1]) ++s;
    return s;
  }

  // The pieces of the spline through `values` with the second derivatives `second` at the knots
  // and the slope `endSlope` beyond the last, and the bucket table.
  void StorePieces(const std::vector<double>& values, const std::vector<double>& second,
                   const std::vector<double>& endSlope);

  std::size_t columns_ = 0;
  bool zero_ = true;
  std::vector<double> knots_;
  // Per piece and column, the cubic c0 + c1 t + c2 t^2 + c3 t^3 in t = r - knots_[piece]:
  // knots x columns x 4 values, the last piece the straight continuation.
  std::vector<double> coefficients_;
  // The piece at the lower end of each bucket; buckets_.size() buckets of equal width over
  // [knots_.front(), knots_.back()), bucket_scale_ buckets per millimetre.
  std::vector<std::size_t> buckets_;
  double bucket_scale_ = 0.0;
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

// The Jacobian of a displacement that starts at the centre as slope * (x, y), whatever the
// direction: the radial profiles of the table models at r = 0, where dr / r has no value.
inline void CentreJacobian(double slope, double& jxx, double& jxy, double& jyx, double& jyy) {
  jxx = slope;
  jxy = 0.0;
  jyx = 0.0;
  jyy = slope;
}

}  // namespace vx_geometry_detail
