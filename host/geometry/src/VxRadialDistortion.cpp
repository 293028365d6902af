#include "VxRadialDistortion.h"

#include <cmath>
#include <stdexcept>
#include <string>

#include "VxDistortionModelImpl.h"
#include "VxNumberText.h"
#include "VxSpline.h"
#include "kernels/VxRadialKernel.h"

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

}  // namespace

struct TRadialDistortion::TKernel : vx_geometry_detail::TRadialKernel {};

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

const char* TRadialDistortion::Name() const {
  return "radial table distortion";
}

bool TRadialDistortion::IsIdentity() const {
  return profile_->spline.IsZero();
}

template class TVxDistortionModel<TRadialDistortion>;
