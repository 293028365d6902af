#include "VxMixedDistortion.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "VxDistortionModelImpl.h"
#include "VxInverseSolver.h"
#include "VxNumberText.h"

namespace {

template <std::size_t N>
std::array<double, N> Group(const double* values, const char* name) {
  if (values == nullptr) {
    throw std::invalid_argument(std::string("TMixedDistortion: the coefficient group ") + name +
                                " is null");
  }
  std::array<double, N> group{};
  std::copy(values, values + N, group.begin());
  return group;
}

// The displacement of the mixed model; the formula stands in the header. The terms shared with
// the formula model are computed in the same order as there, so that both models give the same
// bits for the same coefficients.
struct TMixedKernel {
  double cx, cy, f;
  std::array<double, 7> a, b, c;
  std::array<double, 3> k;
  std::array<double, 2> p;
  bool higherOrder;

  void Displace(double px, double py, double& dx, double& dy) const {
    const double x = px - cx;
    const double y = py - cy;
    const double r2 = x * x + y * y;
    const double radial = r2 * (k[0] + r2 * (k[1] + r2 * k[2]));
    const double tx = p[0] * (r2 + 2.0 * x * x) + 2.0 * p[1] * x * y;
    const double ty = p[1] * (r2 + 2.0 * y * y) + 2.0 * p[0] * x * y;
    dx = x * radial + tx + a[0] * x + a[1] * y;
    dy = y * radial + ty + b[0] * x + b[1] * y;
    dx += c[0] * x;
    dy += c[0] * y;
    if (!higherOrder) return;
    const double u = x / f;
    const double v = y / f;
    const double uu = u * u;
    const double uv = u * v;
    const double vv = v * v;
    const double rho2 = uu + vv;
    const double rho4 = rho2 * rho2;
    const double rho8 = rho4 * rho4;
    const double radialHigh = rho8 * (c[1] + c[2] * rho2);
    const double tangential = rho2 * (c[5] + c[6] * rho2);
    dx += f * (a[2] * uu + a[3] * uv + a[4] * vv + a[5] * uu * v + a[6] * u * vv + u * radialHigh +
               rho2 * (c[3] * (rho2 + 2.0 * uu) + 2.0 * c[4] * uv) - v * tangential);
    dy += f * (b[2] * uu + b[3] * uv + b[4] * vv + b[5] * uu * v + b[6] * u * vv + v * radialHigh +
               rho2 * (c[4] * (rho2 + 2.0 * vv) + 2.0 * c[3] * uv) + u * tangential);
  }
};

}  // namespace

struct TMixedDistortion::TKernel : TMixedKernel {};

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
      a_(Group<7>(a, "a")),
      b_(Group<7>(b, "b")),
      c_(Group<7>(c, "c")),
      k_(Group<3>(K, "K")),
      p_(Group<2>(P, "P")),
      reserved_{reserved1, reserved2, reserved3} {
  for (std::size_t i = 0; i < reserved_.size(); ++i) {
    if (reserved_[i] != 0.0) {
      throw std::invalid_argument("TMixedDistortion: reserved value " + std::to_string(i + 1) +
                                  " is " + vx_geometry_detail::NumberText(reserved_[i]) +
                                  ", must be 0");
    }
  }
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
