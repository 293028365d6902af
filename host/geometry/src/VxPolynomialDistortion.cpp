#include "VxPolynomialDistortion.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "VxDistortionModelImpl.h"
#include "VxInverseSolver.h"
#include "VxNumberText.h"

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

// The displacement of the polynomial model; the formula stands in the header.
struct TPolynomialKernel {
  double cx, cy;
  std::array<double, 8> k;
  std::array<double, 4> p;

  void Displace(double px, double py, double& dx, double& dy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r2 = x * x + y * y;
    const double radial =
        k[0] +
        r2 * (k[1] +
              r2 * (k[2] + r2 * (k[3] + r2 * (k[4] + r2 * (k[5] + r2 * (k[6] + r2 * k[7]))))));
    const double ex = r2 + 2.0 * x * x;
    const double ey = r2 + 2.0 * y * y;
    const double xy2 = 2.0 * x * y;
    dx = x * radial + p[0] * ex + p[1] * xy2 + r2 * (p[2] * ex + p[3] * xy2);
    dy = y * radial + p[1] * ey + p[0] * xy2 + r2 * (p[3] * ey + p[2] * xy2);
  }

  // The partial derivatives of the displacement.
  void Jacobian(double px, double py, double& jxx, double& jxy, double& jyx, double& jyy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r2 = x * x + y * y;
    const double radial =
        k[0] +
        r2 * (k[1] +
              r2 * (k[2] + r2 * (k[3] + r2 * (k[4] + r2 * (k[5] + r2 * (k[6] + r2 * k[7]))))));
    // d(radial)/d(r^2); d(r^2)/dx = 2x.
    const double radial1 =
        k[1] +
        r2 * (2.0 * k[2] +
              r2 * (3.0 * k[3] +
                    r2 * (4.0 * k[4] + r2 * (5.0 * k[5] + r2 * (6.0 * k[6] + r2 * 7.0 * k[7])))));
    const double ex = r2 + 2.0 * x * x;
    const double ey = r2 + 2.0 * y * y;
    const double xy2 = 2.0 * x * y;
    const double hx = p[2] * ex + p[3] * xy2;  // the r^2-scaled terms before the scaling
    const double hy = p[3] * ey + p[2] * xy2;
    jxx = radial + 2.0 * x * x * radial1 + 6.0 * x * p[0] + 2.0 * y * p[1] + 2.0 * x * hx +
          r2 * (6.0 * x * p[2] + 2.0 * y * p[3]);
    jxy = 2.0 * x * y * radial1 + 2.0 * y * p[0] + 2.0 * x * p[1] + 2.0 * y * hx +
          r2 * (2.0 * y * p[2] + 2.0 * x * p[3]);
    jyx = 2.0 * x * y * radial1 + 2.0 * x * p[1] + 2.0 * y * p[0] + 2.0 * x * hy +
          r2 * (2.0 * x * p[3] + 2.0 * y * p[2]);
    jyy = radial + 2.0 * y * y * radial1 + 6.0 * y * p[1] + 2.0 * x * p[0] + 2.0 * y * hy +
          r2 * (6.0 * y * p[3] + 2.0 * x * p[2]);
  }
};

}  // namespace

struct TPolynomialDistortion::TKernel : TPolynomialKernel {};

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
