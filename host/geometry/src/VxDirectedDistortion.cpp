#include "VxDirectedDistortion.h"

#include <cmath>
#include <stdexcept>
#include <string>

#include "VxDistortionModelImpl.h"
#include "VxNumberText.h"
#include "VxSpline.h"
#include "kernels/VxDirectedKernel.h"

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

}  // namespace

struct TDirectedDistortion::TKernel : vx_geometry_detail::TDirectedKernel {};

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
  const vx_geometry_detail::TDirectedKernel kernel{data_.centre.x, data_.centre.y,
                                                   &profile_->radial, &profile_->angular};
  return kernel.RadialDisplacement(r, t);
}

const char* TDirectedDistortion::Name() const {
  return "directed table distortion";
}

bool TDirectedDistortion::IsIdentity() const {
  return profile_->radial.IsZero();
}

template class TVxDistortionModel<TDirectedDistortion>;
