#include "VxRadialDistortion.h"

#include <cmath>
#include <stdexcept>
#include <string>

#include "VxInverseSolver.h"
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
                                  std::to_string(item.r) + " and dr " + std::to_string(item.dr) +
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
    double dr = 0.0;
    spline->Evaluate(r, &dr);
    dx = dr * x / r;
    dy = dr * y / r;
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
      jxx = slope;
      jxy = 0.0;
      jyx = 0.0;
      jyy = slope;
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

}  // namespace

TRadialDistortion::TRadialDistortion(const vec_t_<double, 2>& centre,
                                     const std::vector<TRadialTableItem>& table, bool inverse)
    : centre_(centre), table_(table), inverse_(inverse) {
  auto profile = std::make_shared<TProfile>();
  profile->spline = vx_geometry_detail::TProfileSpline(Radii(table_), Values(table_), 1);
  profile_ = std::move(profile);
}

double TRadialDistortion::RadialDisplacement(double r) const {
  double dr = 0.0;
  profile_->spline.Evaluate(r, &dr);
  return dr;
}

std::unique_ptr<TVx2DTransform> TRadialDistortion::Clone() const {
  return std::unique_ptr<TVx2DTransform>(new TRadialDistortion(*this));
}

std::size_t TRadialDistortion::TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                               std::size_t n) const {
  const TRadialKernel kernel{centre_.x, centre_.y, &profile_->spline};
  return vx_geometry_detail::MapPoints(kernel, inverse_, in, out, n);
}

const char* TRadialDistortion::Name() const {
  return "radial table distortion";
}

bool TRadialDistortion::IsIdentity() const {
  return profile_->spline.IsZero();
}

vec_t_<double, 2> TRadialDistortion::TransformPoint(const vec_t_<double, 2>& p) const {
  const TRadialKernel kernel{centre_.x, centre_.y, &profile_->spline};
  return inverse_ ? vx_geometry_detail::InversePoint(kernel, p)
                  : vx_geometry_detail::ForwardPoint(kernel, p);
}
