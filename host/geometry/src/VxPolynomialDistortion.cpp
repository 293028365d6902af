#include "VxPolynomialDistortion.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "VxCoefficientGroups.h"
#include "VxDistortionModelImpl.h"
#include "VxNumberText.h"
#include "kernels/VxPolynomialKernel.h"

namespace {

using vx_geometry_detail::CoefficientGroup;

constexpr char kName[] = "TPolynomialDistortion";

}  // namespace

struct TPolynomialDistortion::TKernel : vx_geometry_detail::TPolynomialKernel {};

TPolynomialDistortion::TKernel TPolynomialDistortion::Kernel() const {
  return TKernel{{centre_.x, centre_.y, k_, p_}};
}

TPolynomialDistortion::TPolynomialDistortion(const vec_t_<double, 2>& centre, const double& focal,
                                             const double* K, const double* P,
                                             const double& reserved1, const double& reserved2,
                                             bool inverse)
    : TVxDistortionModel(inverse),
      centre_(centre),
      focal_(focal),
      k_(CoefficientGroup<8>(kName, K, "K")),
      p_(CoefficientGroup<4>(kName, P, "P")),
      reserved_{reserved1, reserved2} {
  vx_geometry_detail::RequireZeroReserved(kName, reserved_);
}

const char* TPolynomialDistortion::Name() const {
  return "polynomial distortion";
}

bool TPolynomialDistortion::IsIdentity() const {
  const auto zero = [](double v) { return v == 0.0; };
  return std::all_of(k_.begin(), k_.end(), zero) && std::all_of(p_.begin(), p_.end(), zero);
}

template class TVxDistortionModel<TPolynomialDistortion>;
