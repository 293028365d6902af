#include "VxMixedDistortion.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "VxCoefficientGroups.h"
#include "VxDistortionModelImpl.h"
#include "VxNumberText.h"
#include "kernels/VxMixedKernel.h"

namespace {

using vx_geometry_detail::CoefficientGroup;

constexpr char kName[] = "TMixedDistortion";

}  // namespace

struct TMixedDistortion::TKernel : vx_geometry_detail::TMixedKernel {};

TMixedDistortion::TKernel TMixedDistortion::Kernel() const {
  return TKernel{{centre_.x, centre_.y, focal_, a_, b_, c_, k_, p_, higherOrder_}};
}

TMixedDistortion::TMixedDistortion(const vec_t_<double, 2>& centre, const double& focal,
                                   const double* a, const double* b, const double* c,
                                   const double* K, const double* P, const double& reserved1,
                                   const double& reserved2, const double& reserved3, bool inverse)
    : TVxDistortionModel(inverse),
      centre_(centre),
      focal_(focal),
      a_(CoefficientGroup<7>(kName, a, "a")),
      b_(CoefficientGroup<7>(kName, b, "b")),
      c_(CoefficientGroup<7>(kName, c, "c")),
      k_(CoefficientGroup<3>(kName, K, "K")),
      p_(CoefficientGroup<2>(kName, P, "P")),
      reserved_{reserved1, reserved2, reserved3} {
  vx_geometry_detail::RequireZeroReserved(kName, reserved_);
  const auto nonZero = [](double v) { return v != 0.0; };
  higherOrder_ = std::any_of(a_.begin() + 2, a_.end(), nonZero) ||
                 std::any_of(b_.begin() + 2, b_.end(), nonZero) ||
                 std::any_of(c_.begin() + 1, c_.end(), nonZero);
  if (higherOrder_ && !(std::isfinite(focal_) && focal_ > 0.0)) {
    throw std::invalid_argument("TMixedDistortion: focal length " +
                                vx_geometry_detail::NumberText(focal_) +
                                " must be positive and finite for the higher-order terms");
  }
}

const char* TMixedDistortion::Name() const {
  return "mixed distortion";
}

bool TMixedDistortion::IsIdentity() const {
  const auto zero = [](double v) { return v == 0.0; };
  return std::all_of(a_.begin(), a_.end(), zero) && std::all_of(b_.begin(), b_.end(), zero) &&
         std::all_of(c_.begin(), c_.end(), zero) && std::all_of(k_.begin(), k_.end(), zero) &&
         std::all_of(p_.begin(), p_.end(), zero);
}

template class TVxDistortionModel<TMixedDistortion>;
