#include "VxDirectedDistortion.h"

#include <array>
#include <cmath>
#include <stdexcept>
#include <string>

#include "VxDistortionModelImpl.h"
#include "VxInverseSolver.h"
#include "VxNumberText.h"
#include "VxSpline.h"

struct TDirectedDistortion::TProfile {
  vx_geometry_detail::TProfileSpline radial;  // one column per direction
  vx_geometry_detail::TPeriodicSpline angular;
};

namespace {

constexpr double kFullTurn = 6.283185307179586;

[[noreturn]] void Reject(const std::string& what) {
  throw std::invalid_argument("TDirectedDistortion: " + what);
}

void Check(const TDirectedDistortion::TDirectedData& data) {
  const auto& angles = data.angles;
  for (std::size_t j = 0; j < angles.size(); ++j) {
    if (!std::isfinite(angles[j])) Reject("angle " + std::to_string(j) + " is not finite");
    if (j > 0 && !(angles[j] > angles[j - 1])) {
      Reject("angle " + std::to_string(j) + " (" + vx_geometry_detail::NumberText(angles[j]) +
             ") does not follow the angle before it in ascending order");
    }
  }
  if (!angles.empty() && !(angles.back() - angles.front() < kFullTurn)) {
    Reject("the angles span a full turn or more");
  }
  if (!data.table.empty() && angles.empty()) Reject("the table has rows but there are no angles");
  for (std::size_t i = 0; i < data.table.size(); ++i) {
    const auto& item = data.table[i];
    const std::string row = "row " + std::to_string(i);
    if (item.dr.size() != angles.size()) {
      Reject(row + " has " + std::to_string(item.dr.size()) + " values for " +
             std::to_string(angles.size()) + " angles");
    }
    if (!std::isfinite(item.r) || item.r < 0.0) {
      Reject(row + " has radius " + vx_geometry_detail::NumberText(item.r) +
             "; radii must be finite and not negative");
    }
    for (double v : item.dr) {
      if (!std::isfinite(v)) Reject(row + " has a value that is not finite");
    }
  }
}

struct TDirectedKernel {
  double cx;
  double cy;
  const vx_geometry_detail::TProfileSpline* radial;
  const vx_geometry_detail::TPeriodicSpline* angular;

  // The radial displacement at radius r in direction t. Up to 16 directions are interpolated
  // without allocation; more take a vector.
  double RadialDisplacement(double r, double t) const {
    const std::size_t n = radial->Columns();
    if (n == 0) return 0.0;
    std::array<double, 16> small;  // filled by the radial profiles below
    std::vector<double> large;
    double* values = small.data();
    if (n > small.size()) {
      large.resize(n);
      values = large.data();
    }
    radial->Evaluate(r, values);
    return angular->Evaluate(t, values);
  }

  void Displace(double px, double py, double& dx, double& dy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r = std::sqrt(x * x + y * y);
    if (r == 0.0) {
      dx = 0.0;
      dy = 0.0;
      return;
    }
    const double dr = RadialDisplacement(r, std::atan2(y, x));
    dx = dr * x / r;
    dy = dr * y / r;
  }

  // The partial derivatives of the displacement. With g(r, t) the radial displacement and
  // w = g / r, d = w (x, y), dw/dx = (g_r - w) x / r^2 - g_t y / r^3 and
  // dw/dy = (g_r - w) y / r^2 + g_t x / r^3.
  void Jacobian(double px, double py, double& jxx, double& jxy, double& jyx, double& jyy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r2 = x * x + y * y;
    const double r = std::sqrt(r2);
    const std::size_t n = radial->Columns();
    std::array<double, 16> smallValues;  // filled by the radial profiles below
    std::array<double, 16> smallSlopes;
    std::vector<double> large;
    double* values = smallValues.data();
    double* slopes = smallSlopes.data();
    if (n > smallValues.size()) {
      large.resize(2 * n);
      values = large.data();
      slopes = large.data() + n;
    }
    double g = 0.0, gr = 0.0, gt = 0.0;
    if (n > 0) {
      radial->Evaluate(r, values, slopes);
      const double t = std::atan2(y, x);
      g = angular->Evaluate(t, values, gt);
      gr = angular->Evaluate(t, slopes);
    }
    if (r == 0.0) {
      // At the centre each profile starts as slope * r, in the direction of the point.
      vx_geometry_detail::CentreJacobian(gr, jxx, jxy, jyx, jyy);
      return;
    }
    const double w = g / r;
    const double wx = (gr - w) * x / r2 - gt * y / (r2 * r);
    const double wy = (gr - w) * y / r2 + gt * x / (r2 * r);
    jxx = w + x * wx;
    jxy = x * wy;
    jyx = y * wx;
    jyy = w + y * wy;
  }
};

}  // namespace

struct TDirectedDistortion::TKernel : TDirectedKernel {};

TDirectedDistortion::TKernel TDirectedDistortion::Kernel() const {
  return TKernel{{data_.centre.x, data_.centre.y, &profile_->radial, &profile_->angular}};
}

TDirectedDistortion::TDirectedDistortion(const TDirectedData& data, bool inverse)
    : TVxDistortionModel(inverse), data_(data) {
  Check(data_);
  const std::size_t columns = data_.angles.size();
  std::vector<double> radii;
  std::vector<double> values;
  radii.reserve(data_.table.size());
  values.reserve(data_.table.size() * columns);
  for (const auto& item : data_.table) {
    radii.push_back(item.r);
    values.insert(values.end(), item.dr.begin(), item.dr.end());
  }
  auto profile = std::make_shared<TProfile>();
  profile->radial = vx_geometry_detail::TProfileSpline(radii, values, columns);
  profile->angular = vx_geometry_detail::TPeriodicSpline(data_.angles);
  profile_ = std::move(profile);
}

double TDirectedDistortion::RadialDisplacement(double r, double t) const {
  const TDirectedKernel kernel{data_.centre.x, data_.centre.y, &profile_->radial,
                               &profile_->angular};
  return kernel.RadialDisplacement(r, t);
}

const char* TDirectedDistortion::Name() const {
  return "directed table distortion";
}

bool TDirectedDistortion::IsIdentity() const {
  return profile_->radial.IsZero();
}

template class TVxDistortionModel<TDirectedDistortion>;
