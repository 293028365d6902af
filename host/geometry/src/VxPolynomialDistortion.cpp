#include "VxPolynomialDistortion.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "VxDistortionModelImpl.h"
#include "VxInverseSolver.h"
#include "VxNumberText.h"
#include "kernels/VxPolynomialKernel.h"

namespace {

template <std::size_t N>
std::array<double, N> Group(const double* values, const char* name) {
  if (values == nullptr) {
    throw std::invalid_argument(std::string("TPolynomialDistortion: the coefficient group ") +
                                name + " is null");
  }
  std::array<double, N> group{};
  std::copy(values, values + N, group.begin());
  return group;
}

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
      k_(Group<8>(K, "K")),
      p_(Group<4>(P, "P")),
      reserved_{reserved1, reserved2} {
  for (std::size_t i = 0; i < reserved_.size(); ++i) {
    if (reserved_[i] != 0.0) {
      throw std::invalid_argument("TPolynomialDistortion: reserved value " + std::to_string(i + 1) +
                                  " is " + vx_geometry_detail::NumberText(reserved_[i]) +
                                  ", must be 0");
    }
  }
}

const char* TPolynomialDistortion::Name() const {
  return "polynomial distortion";
}

bool TPolynomialDistortion::IsIdentity() const {
  const auto zero = [](double v) { return v == 0.0; };
  return std::all_of(k_.begin(), k_.end(), zero) && std::all_of(p_.begin(), p_.end(), zero);
}

template class TVxDistortionModel<TPolynomialDistortion>;
