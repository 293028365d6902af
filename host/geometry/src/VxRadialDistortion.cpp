#include "VxRadialDistortion.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "VxDistortionModelImpl.h"
#include "VxInverseSolver.h"
#include "VxNumberText.h"
#include "VxSimd.h"
#include "VxSpline.h"

struct TRadialDistortion::TProfile {
  vx_geometry_detail::TProfileSpline spline;
};

namespace {

std::vector<double> Radii(const std::vector<TRadialDistortion::TRadialTableItem>& table) {
  std::vector<double> radii;
  radii.reserve(table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    const auto& item = table[i];
    if (!std::isfinite(item.r) || item.r < 0.0 || !std::isfinite(item.dr)) {
      throw std::invalid_argument("TRadialDistortion: row " + std::to_string(i) + " has radius " +
                                  vx_geometry_detail::NumberText(item.r) + " and dr " +
                                  vx_geometry_detail::NumberText(item.dr) +
                                  "; radii must be finite and not negative, dr finite");
    }
    radii.push_back(item.r);
  }
  return radii;
}

std::vector<double> Values(const std::vector<TRadialDistortion::TRadialTableItem>& table) {
  std::vector<double> values;
  values.reserve(table.size());
  for (const auto& item : table) values.push_back(item.dr);
  return values;
}

struct TRadialKernel {
  double cx;
  double cy;
  const vx_geometry_detail::TProfileSpline* spline;

  void Displace(double px, double py, double& dx, double& dy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r = std::sqrt(x * x + y * y);
    if (r == 0.0) {
      dx = 0.0;
      dy = 0.0;
      return;
    }
    Scale(x, y, r, 1.0 / r, dx, dy);
  }

  // The displacement at (x, y) from the centre, at radius r > 0 with its reciprocal: one
  // division for both coordinates, computed apart from the profile so that a batch can take the
  // roots and reciprocals of many points first.
  void Scale(double x, double y, double r, double inverseR, double& dx, double& dy) const {
    const double w = spline->EvaluateSingle(r) * inverseR;
    dx = w * x;
    dy = w * y;
  }

  // The partial derivatives of the displacement: with w = dr / r, d = w (x, y) and
  // dw/dx = (dr' - w) x / r^2.
  void Jacobian(double px, double py, double& jxx, double& jxy, double& jyx, double& jyy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r2 = x * x + y * y;
    const double r = std::sqrt(r2);
    double dr = 0.0;
    double slope = 0.0;
    spline->Evaluate(r, &dr, &slope);
    if (r == 0.0) {
      // At the centre the profile starts as slope * r: the displacement is slope * (x, y).
      vx_geometry_detail::CentreJacobian(slope, jxx, jxy, jyx, jyy);
      return;
    }
    const double w = dr / r;
    const double k = (slope - w) / r2;
    jxx = w + k * x * x;
    jxy = k * x * y;
    jyx = jxy;
    jyy = w + k * y * y;
  }
};

// The distance of each point from the centre (cx, cy), and its reciprocal, two points at a time
// where SSE2 is there: square root and division are correctly rounded in every lane, so these
// are the bits of the one-point path.
void RadiiAndReciprocals(const vec_t_<double, 2>* in, std::size_t count, double cx, double cy,
                         double* radius, double* inverseRadius) {
  std::size_t k = 0;
#if defined(__SSE2__)
  const __m128d centreX = _mm_set1_pd(cx), centreY = _mm_set1_pd(cy), one = _mm_set1_pd(1.0);
  for (; k + 2 <= count; k += 2) {
    const __m128d a = _mm_loadu_pd(&in[k].x);      // x0 y0
    const __m128d b = _mm_loadu_pd(&in[k + 1].x);  // x1 y1
    const __m128d x = _mm_sub_pd(_mm_unpacklo_pd(a, b), centreX);
    const __m128d y = _mm_sub_pd(_mm_unpackhi_pd(a, b), centreY);
    const __m128d r = _mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(x, x), _mm_mul_pd(y, y)));
    _mm_storeu_pd(radius + k, r);
    _mm_storeu_pd(inverseRadius + k, _mm_div_pd(one, r));
  }
#endif
  for (; k < count; ++k) {
    const double x = in[k].x - cx;
    const double y = in[k].y - cy;
    radius[k] = std::sqrt(x * x + y * y);
    inverseRadius[k] = 1.0 / radius[k];
  }
}

}  // namespace

struct TRadialDistortion::TKernel : TRadialKernel {};

TRadialDistortion::TKernel TRadialDistortion::Kernel() const {
  return TKernel{{centre_.x, centre_.y, &profile_->spline}};
}

TRadialDistortion::TRadialDistortion(const vec_t_<double, 2>& centre,
                                     const std::vector<TRadialTableItem>& table, bool inverse)
    : TVxDistortionModel(inverse), centre_(centre), table_(table) {
  auto profile = std::make_shared<TProfile>();
  profile->spline = vx_geometry_detail::TProfileSpline(Radii(table_), Values(table_), 1);
  profile_ = std::move(profile);
}

double TRadialDistortion::RadialDisplacement(double r) const {
  return profile_->spline.EvaluateSingle(r);
}

// The forward batch in blocks, in two passes: first the radius and its reciprocal of every point
// of the block (independent square roots and divisions that overlap in the processor), then the
// profile at each radius. One loop with both would wait for the root and the division of each
// point before the next could finish. The results are those of Displace point by point.
std::size_t TRadialDistortion::TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                               std::size_t n) const {
  const TKernel kernel = Kernel();
  if (Inverse()) return vx_geometry_detail::MapPoints(kernel, true, in, out, n);
  constexpr std::size_t kBlock = 64;
  double radius[kBlock];
  double inverseRadius[kBlock];
  for (std::size_t start = 0; start < n; start += kBlock) {
    const std::size_t count = std::min(kBlock, n - start);
    RadiiAndReciprocals(in + start, count, kernel.cx, kernel.cy, radius, inverseRadius);
    for (std::size_t k = 0; k < count; ++k) {
      const double px = in[start + k].x;
      const double py = in[start + k].y;
      double dx = 0.0;
      double dy = 0.0;
      if (radius[k] != 0.0)
        kernel.Scale(px - kernel.cx, py - kernel.cy, radius[k], inverseRadius[k], dx, dy);
      out[start + k].x = px + dx;
      out[start + k].y = py + dy;
    }
  }
  return vx_geometry_detail::CountNaNPoints(out, n);
}

const char* TRadialDistortion::Name() const {
  return "radial table distortion";
}

bool TRadialDistortion::IsIdentity() const {
  return profile_->spline.IsZero();
}

template class TVxDistortionModel<TRadialDistortion>;
