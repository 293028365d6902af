#include "VxFormulaDistortion.h"

#include "VxInverseSolver.h"

namespace {

// The displacement of the formula model; the formula stands in the header.
struct TFormulaKernel {
  explicit TFormulaKernel(const TFormulaDistortion::TDistCoeff& c) : c_(c) {}

  void Displace(double px, double py, double& dx, double& dy) const {
    const double x = px - c_.centre.x;
    const double y = py - c_.centre.y;
    const double r2 = x * x + y * y;
    const double radial = r2 * (c_.k1 + r2 * (c_.k2 + r2 * (c_.k3 + r2 * (c_.k4 + r2 * c_.k5))));
    const double profile = 1.0 + r2 * (c_.p3 + r2 * c_.p4);
    const double tx = c_.p1 * (r2 + 2.0 * x * x) + 2.0 * c_.p2 * x * y;
    const double ty = c_.p2 * (r2 + 2.0 * y * y) + 2.0 * c_.p1 * x * y;
    dx = x * radial + profile * tx + c_.b1 * x + c_.b2 * y;
    dy = y * radial + profile * ty + c_.a1 * x + c_.a2 * y;
  }

  // The partial derivatives of the displacement.
  void Jacobian(double px, double py, double& jxx, double& jxy, double& jyx, double& jyy) const {
    const double x = px - c_.centre.x;
    const double y = py - c_.centre.y;
    const double r2 = x * x + y * y;
    const double radial = r2 * (c_.k1 + r2 * (c_.k2 + r2 * (c_.k3 + r2 * (c_.k4 + r2 * c_.k5))));
    // d(radial)/d(r^2) and d(profile)/d(r^2); d(r^2)/dx = 2x.
    const double radial1 =
        c_.k1 + r2 * (2.0 * c_.k2 + r2 * (3.0 * c_.k3 + r2 * (4.0 * c_.k4 + r2 * 5.0 * c_.k5)));
    const double profile = 1.0 + r2 * (c_.p3 + r2 * c_.p4);
    const double profile1 = c_.p3 + 2.0 * r2 * c_.p4;
    const double tx = c_.p1 * (r2 + 2.0 * x * x) + 2.0 * c_.p2 * x * y;
    const double ty = c_.p2 * (r2 + 2.0 * y * y) + 2.0 * c_.p1 * x * y;
    const double txx = 6.0 * c_.p1 * x + 2.0 * c_.p2 * y;
    const double txy = 2.0 * c_.p1 * y + 2.0 * c_.p2 * x;
    const double tyx = 2.0 * c_.p2 * x + 2.0 * c_.p1 * y;
    const double tyy = 6.0 * c_.p2 * y + 2.0 * c_.p1 * x;
    jxx = radial + 2.0 * x * x * radial1 + 2.0 * x * profile1 * tx + profile * txx + c_.b1;
    jxy = 2.0 * x * y * radial1 + 2.0 * y * profile1 * tx + profile * txy + c_.b2;
    jyx = 2.0 * x * y * radial1 + 2.0 * x * profile1 * ty + profile * tyx + c_.a1;
    jyy = radial + 2.0 * y * y * radial1 + 2.0 * y * profile1 * ty + profile * tyy + c_.a2;
  }

  // A copy, so that the compiler knows that writing results cannot change it.
  TFormulaDistortion::TDistCoeff c_;
};

}  // namespace

TFormulaDistortion::TFormulaDistortion(const TDistCoeff& coefficients) : c_(coefficients) {}

TFormulaDistortion::TFormulaDistortion(const vec_t_<double, 2>& centre, double k1, double k2,
                                       double k3, double k4, double k5, double p1, double p2,
                                       double p3, double p4, bool inverse) {
  c_.centre = centre;
  c_.k1 = k1;
  c_.k2 = k2;
  c_.k3 = k3;
  c_.k4 = k4;
  c_.k5 = k5;
  c_.p1 = p1;
  c_.p2 = p2;
  c_.p3 = p3;
  c_.p4 = p4;
  c_.inverse = inverse;
}

std::unique_ptr<TVx2DTransform> TFormulaDistortion::Clone() const {
  return std::unique_ptr<TVx2DTransform>(new TFormulaDistortion(*this));
}

std::size_t TFormulaDistortion::TransformPoints(const vec_t_<double, 2>* in, vec_t_<double, 2>* out,
                                                std::size_t n) const {
  return vx_geometry_detail::MapPoints(TFormulaKernel(c_), c_.inverse, in, out, n);
}

const char* TFormulaDistortion::Name() const {
  return "formula distortion";
}

bool TFormulaDistortion::IsIdentity() const {
  return c_.k1 == 0.0 && c_.k2 == 0.0 && c_.k3 == 0.0 && c_.k4 == 0.0 && c_.k5 == 0.0 &&
         c_.p1 == 0.0 && c_.p2 == 0.0 && c_.b1 == 0.0 && c_.b2 == 0.0 && c_.a1 == 0.0 &&
         c_.a2 == 0.0;
}

vec_t_<double, 2> TFormulaDistortion::TransformPoint(const vec_t_<double, 2>& p) const {
  const TFormulaKernel kernel(c_);
  return c_.inverse ? vx_geometry_detail::InversePoint(kernel, p)
                    : vx_geometry_detail::ForwardPoint(kernel, p);
}
